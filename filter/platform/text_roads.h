#pragma once

#include <ktmp4/ktmp4source.h>
#include "filter/logic/text_delivery.h"
#include "module/graph/base_filter.h"

namespace kt {

/// The roads of texts to the application: its callback and the events of the graph. Used by workers, which
/// are in the multi-threaded apartment, where the callback is kept.
class CTextRoads final : public TextRoads {
 public:
  /// Borrowed; the filter sends the events.
  explicit CTextRoads(CBaseFilter& filter) : m_filter(filter) {}
  CTextRoads(const CTextRoads&) = delete;
  CTextRoads& operator=(const CTextRoads&) = delete;

  bool FindCallback(const std::string& mappingName) override;
  void CallBack(TextKind kind, const std::string& time, const std::string& text) override;
  void NotifyEvent(i32 code) override;
  void NotifyTextEvent(i32 code, const char* word, const char* text) override;

 private:
  CBaseFilter& m_filter;
  /// Never released: it is kept for the filter's whole life, and at its end there may be nobody left to tell.
  ICaptionCallback* m_captionCallback = nullptr;
};

}  // namespace kt
