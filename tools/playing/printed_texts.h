#pragma once

#include <functional>
#include <string>

#include "filter/logic/text_delivery.h"

namespace kt {

/// An application that prints what reaches it: it has no callback, listens to the events and empties the
/// queues at each of them.
class PrintedTexts final : public TextRoads {
 public:
  /// `storage` is borrowed; its queues are enabled. `print` takes whole lines.
  PrintedTexts(TextStorage& storage, std::function<void(const std::string& line)> print);

  /// Where the file is now, in 100 ns units: screen texts come without a time.
  void SetPosition(i64 position) { m_position = position; }

  bool FindCallback(const std::string& /*mappingName*/) override { return false; }
  void CallBack(TextKind /*kind*/, const std::string& /*time*/, const std::string& /*text*/) override {}
  void NotifyEvent(i32 code) override;
  void NotifyTextEvent(i32 code, const char* word, const char* text) override;

 private:
  TextStorage& m_storage;
  const std::function<void(const std::string& line)> m_print;
  i64 m_position = 0;
  std::string m_screen;
};

/// Seconds with all seven places, for a time in 100 ns units.
std::string HnsText(i64 hns);

}  // namespace kt
