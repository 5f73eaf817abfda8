#pragma once

#include "filter/logic/guarded.h"
#include "filter/logic/line21_text_decoder.h"
#include "filter/logic/sample_delivery.h"
#include "filter/logic/timed_text_queue.h"

namespace kt {

enum class TextKind { Caption, Metadata };

/// The codes of the graph events that announce a text.
inline constexpr i32 kMetadataTextEvent = 0x8064;
inline constexpr i32 kCaptionTextEvent = 0x8065;
/// The event of a screen text, the platform's EC_OLE_EVENT; its first text is `kScreenTextWord`.
inline constexpr i32 kScreenTextEvent = 24;
inline constexpr const char* kScreenTextWord = "Text";

/// "1:02:05" for a time in 100 ns units; the hours are not padded. A negative time has its sign in each part
/// that is not 0.
std::string TimeText(i64 time);

/// The two queues as applications reach them.
class TextStorage {
 public:
  /// Switches a queue: the one of the captions for type 1, that of the metadata texts for any other type, as
  /// applications expect. Always Ok.
  FilterResult Enable(i32 type, i32 enabled);
  /// Hands the oldest text to `copy` as `TimedTextQueue::Get` does: of the captions for type 1, of the
  /// metadata texts for type 2; InvalidArgument for any other type. The time of a metadata text is to be read
  /// as a signed number; see `TextReceiver`.
  template <class Copy>
  FilterResult GetItem(u32 type, Copy copy) {
    if (type == kCaptions) return m_captionQueue.Get(copy);
    return type == kMetadata ? m_metadataQueue.Get(copy) : FilterResult::InvalidArgument;
  }
  TimedTextQueue& Queue(TextKind kind) {
    return kind == TextKind::Caption ? m_captionQueue : m_metadataQueue;
  }

  static constexpr u32 kCaptions = 1;
  static constexpr u32 kMetadata = 2;

 private:
  TimedTextQueue m_captionQueue;
  TimedTextQueue m_metadataQueue;
};

/// The ends of the roads to the application that only the platform can supply. Called on the pins' workers,
/// two of which may come at once but to `FindCallback`.
class TextRoads {
 public:
  /// Looks behind the named file mapping for the application's callback; true when it is there, and it is
  /// then kept. Asked anew for each text until it is found.
  virtual bool FindCallback(const std::string& mappingName) = 0;
  /// Calls the callback that was found, with the time as text. What it answers does not count.
  virtual void CallBack(TextKind kind, const std::string& time, const std::string& text) = 0;
  /// Sends a graph event without parameters.
  virtual void NotifyEvent(i32 code) = 0;
  /// Sends the event `code` with two texts. When it can not be sent, both are freed here.
  virtual void NotifyTextEvent(i32 code, const char* word, const char* text) = 0;

 protected:
  ~TextRoads() = default;
};

/// Brings texts to the application: to its callback, then to a queue, then by an event, so that whoever sees
/// the event finds the text.
class TextDelivery final : public CaptionReceiver, public TextReceiver {
 public:
  /// All is borrowed. The source tells the caption switch and the name of the callback's mapping.
  TextDelivery(const CReaderSource& source, TextStorage& storage, TextRoads& roads)
      : m_source(source), m_storage(storage), m_roads(roads) {}

  void SendScreenText(const char* text) override;
  void AddCaptionText(i64 time, const char* text) override;
  void AddMetadataText(i64 time, const char* text) override;

 private:
  void Deliver(TextKind kind, i64 time, const char* text, i32 event);
  bool HasCallback();

  const CReaderSource& m_source;
  TextStorage& m_storage;
  TextRoads& m_roads;
  /// Held around the search for the callback, which two workers may begin at once.
  Guarded<bool> m_hasCallback;
};

}  // namespace kt
