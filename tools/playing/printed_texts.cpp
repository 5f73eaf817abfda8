#include "tools/playing/printed_texts.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

#include "tools/terminal/failure.h"

namespace kt {

PrintedTexts::PrintedTexts(TextStorage& storage, std::function<void(const std::string& line)> print)
    : m_storage(storage), m_print(std::move(print)) {
  static_cast<void>(m_storage.Enable(TextStorage::kCaptions, 1));
  static_cast<void>(m_storage.Enable(TextStorage::kMetadata, 1));
}

void PrintedTexts::NotifyEvent(i32 code) {
  const bool caption = code == kCaptionTextEvent;
  const auto print = [&](u64 time, const std::string& text) {
    m_print((caption ? "row at " : "text at ") + HnsText(static_cast<i64>(time)) + ": " + Quoted(text) +
            "\n");
    return FilterResult::Ok;
  };
  const u32 type = caption ? TextStorage::kCaptions : TextStorage::kMetadata;
  while (m_storage.GetItem(type, print) == FilterResult::Ok) {
  }
}

void PrintedTexts::NotifyTextEvent(i32 /*code*/, const char* /*word*/, const char* text) {
  // The decoder sends a screen again and again; what has not changed is not worth a line.
  if (m_screen == text) return;
  m_screen = text;
  m_print("screen at " + HnsText(m_position) + ": " + Quoted(m_screen) + "\n");
}

std::string HnsText(i64 hns) {
  char text[40];
  std::snprintf(text, sizeof text, "%s%lld.%07lld", hns < 0 ? "-" : "", std::abs(hns / 10'000'000LL),
                std::abs(hns % 10'000'000LL));
  return text;
}

}  // namespace kt
