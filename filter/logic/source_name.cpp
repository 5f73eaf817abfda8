#include "filter/logic/source_name.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace kt {

namespace {

constexpr std::string_view kScheme = "ktmp4file://";
/// The length of "&mdccid=". These characters are skipped unread.
constexpr std::size_t kCallbackNameOffset = 8;

bool EqualsWithoutCase(std::string_view text, std::string_view smallLetters) {
  return std::ranges::equal(text, smallLetters, [](char a, char b) {
    return (a >= 'A' && a <= 'Z' ? static_cast<char>(a + ('a' - 'A')) : a) == b;
  });
}

}  // namespace

FilterResult ParseSourceName(const char* name, SourceName* parsed) {
  if (!name || !std::memchr(name, 0, kSourceNameRoom)) return FilterResult::Fail;
  const std::string_view text(name);
  if (!text.starts_with(kScheme)) {
    *parsed = {std::string(text), false, ""};
    return FilterResult::Ok;
  }

  const std::string_view location = text.substr(kScheme.size());
  if (location.empty()) return FilterResult::Fail;
  std::string path(1, location[0]);
  if (!location.substr(1).starts_with(':')) path += ':';
  path += location.substr(1);

  std::string callbackName;
  const std::size_t parameters = path.find('&');
  if (parameters != std::string::npos) {
    // Readers rely on the fixed distance: with another parameter ahead, a wrong name comes out.
    if (path.find("mdccid", parameters + 1) != std::string::npos &&
        parameters + kCallbackNameOffset < path.size()) {
      callbackName = path.substr(parameters + kCallbackNameOffset);
    }
    path.resize(parameters);
  }
  *parsed = {std::move(path), true, std::move(callbackName)};
  return FilterResult::Ok;
}

void ApplyCaptionMode(std::string_view word, SourceSwitches* switches) {
  switches->m_captionText = EqualsWithoutCase(word, "on");
  // "text", "on_ovl" and whatever else is said: the bytes go downstream.
  switches->m_captionOverlay = !switches->m_captionText && !EqualsWithoutCase(word, "off");
}

void ApplyUrlParameters(const UrlParameterStore& parameters, SourceSwitches* switches) {
  i32 number = 0;
  if (parameters.GetInt("vmr9", &number) && number == 0) switches->m_vmr9Dropped = true;

  ApplyCaptionMode(parameters.GetString("cc"), switches);
  if (parameters.GetInt("forextractoruse", &number)) switches->m_forExtractor = number != 0;
  if (const std::string word = parameters.GetString("adapt"); !word.empty()) {
    switches->m_adapt = EqualsWithoutCase(word, "on");
  }
}

}  // namespace kt
