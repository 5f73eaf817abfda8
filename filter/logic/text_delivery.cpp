#include "filter/logic/text_delivery.h"

#include <cstdio>

namespace kt {

std::string TimeText(i64 time) {
  const i64 hours = time / 36'000'000'000;
  const i64 minutes = time / 600'000'000 - hours * 60;
  const i64 seconds = time / 10'000'000 % 60;
  char text[40];
  std::snprintf(text, sizeof text, "%d:%02d:%02d", static_cast<int>(hours), static_cast<int>(minutes),
                static_cast<int>(seconds));
  return text;
}

FilterResult TextStorage::Enable(i32 type, i32 enabled) {
  Queue(type == static_cast<i32>(kCaptions) ? TextKind::Caption : TextKind::Metadata).Enable(enabled != 0);
  return FilterResult::Ok;
}

void TextDelivery::SendScreenText(const char* text) {
  if (m_source.Switches().m_captionText) m_roads.NotifyTextEvent(kScreenTextEvent, kScreenTextWord, text);
}

void TextDelivery::AddCaptionText(i64 time, const char* text) {
  Deliver(TextKind::Caption, time, text, kCaptionTextEvent);
}

void TextDelivery::AddMetadataText(i64 time, const char* text) {
  Deliver(TextKind::Metadata, time, text, kMetadataTextEvent);
}

void TextDelivery::Deliver(TextKind kind, i64 time, const char* text, i32 event) {
  if (HasCallback()) m_roads.CallBack(kind, TimeText(time), text);
  m_storage.Queue(kind).Add(static_cast<u64>(time), text);
  // Also for a text that a disabled queue has dropped.
  m_roads.NotifyEvent(event);
}

bool TextDelivery::HasCallback() {
  return m_hasCallback.With([this](bool& hasCallback) {
    if (hasCallback) return true;
    const std::string mapping = m_source.CallbackName();
    if (!mapping.empty()) hasCallback = m_roads.FindCallback(mapping);
    return hasCallback;
  });
}

}  // namespace kt
