#pragma once

#include <string>
#include <vector>

#include <ktmp4/mp4_file.h>
#include "tools/terminal/notes.h"

namespace kt {

/// Copies the copyright notices of a file, or of a track, to another one, and answers what the writer
/// answers. `name` is what messages call the source. A notice in a language that cannot be written is in
/// "und", undetermined.
template <class Object>
Mp4Result CopyNotices(Object& from, Object& to, const Notes& notes, const std::string& name) {
  // A notice is found by a walk over those ahead of it.
  constexpr u32 kMostNotices = 1000;
  u32 size = 0;
  std::string notice;
  for (u32 index = 1; from.GetCopyright(nullptr, nullptr, &size, index) == MP4_OK; ++index) {
    if (index > kMostNotices) {
      notes(name + " has more than " + std::to_string(kMostNotices) +
            " copyright notices; the copy has no more");
      break;
    }
    char language[4] = {};
    notice.resize(size);
    KT_TRY(from.GetCopyright(language, notice.data(), &size, index));
    const bool canBeWritten = language[0] >= 'a' && language[1] >= 'a' && language[2] >= 'a';
    KT_TRY(to.SetCopyright(canBeWritten ? language : "und", notice.c_str(), index));
  }
  return MP4_OK;
}

}  // namespace kt
