#pragma once

#include <string>
#include <string_view>

#include "filter/logic/filter_result.h"
#include "filter/logic/url_parameter_store.h"

namespace kt {

/// Room for a name with its terminating zero; a longer one is refused.
inline constexpr u32 kSourceNameRoom = 256;

/// What the name given to `Load` means.
struct SourceName {
  /// The file to open.
  std::string path;
  /// The name is a ktmp4file:// URL, so its parameters count.
  bool isUrl = false;
  /// The file mapping in which an application has left its callback; see `ParseSourceName`.
  std::string callbackName;
};

/// Takes a file name or a ktmp4file:// URL apart. A name is the path as it stands, "&" and all. In a URL a
/// drive letter, with or without its colon, and a path stand behind the scheme; the path ends at the first
/// "&". The scheme is told by its small letters.
///
/// The callback name is whatever follows the eighth character from that "&" on, up to the end of the URL,
/// provided "mdccid" occurs there at all: applications put "&mdccid=" first and the name last.
///
/// FilterResult::Fail for null, for a name of kSourceNameRoom bytes or more, and for a URL with nothing
/// behind its scheme; `*parsed` is then left alone.
FilterResult ParseSourceName(const char* name, SourceName* parsed);

/// The switches that a URL can set. A switch that a URL does not name keeps its value, but for the two of
/// `cc`, which every URL sets.
struct SourceSwitches {
  /// Caption bytes go downstream as they are.
  bool m_captionOverlay = true;
  /// Caption bytes are decoded to text inside the filter.
  bool m_captionText = false;
  /// Samples go downstream empty, nothing is paced.
  bool m_forExtractor = false;
  /// The newer of the two mixing renderers must not be used. Once set it stays.
  bool m_vmr9Dropped = false;
  /// The file is read as `CreateAdaptingMp4File` reads it.
  bool m_adapt = false;

  bool operator==(const SourceSwitches&) const = default;
};

/// Sets the two caption switches by a word of `cc`, capitals or not: "on" is text, "off" neither, anything
/// else the bytes as they are.
void ApplyCaptionMode(std::string_view word, SourceSwitches* switches);

/// Takes over `vmr9`, `cc`, `forextractoruse` and `adapt`, which is "on", capitals or not, or off.
void ApplyUrlParameters(const UrlParameterStore& parameters, SourceSwitches* switches);

}  // namespace kt
