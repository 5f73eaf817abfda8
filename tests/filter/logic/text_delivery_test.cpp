#include "filter/logic/text_delivery.h"

#include <atomic>
#include <limits>
#include <new>
#include <thread>

#include "support/fake_host.h"

namespace kt {
namespace {

using Log = std::vector<std::string>;

/// A source with a delivery, whose far ends write down what arrives.
class Bench : public test::FakeHost, TextRoads {
 public:
  explicit Bench(const char* name) : FakeHost({}, name) {
    static_cast<void>(storage.Enable(1, 1));
    // Any type but that of captions means the other queue, though only 2 fetches from it.
    EXPECT_EQ(storage.Enable(7, 1), FilterResult::Ok);
  }

  /// The oldest text with its time, or nothing.
  std::string Item(u32 type) {
    std::string item;
    EXPECT_FALSE(IsFailure(storage.GetItem(type, [&](u64 time, const std::string& text) {
      item = std::to_string(time) + " " + text;
      return FilterResult::Ok;
    })));
    return item;
  }

  Log log;
  int callbackAtSearch = 1;
  TextStorage storage;
  TextDelivery delivery{Source(), storage, *this};

 private:
  bool FindCallback(const std::string& mappingName) override {
    log.push_back("find " + mappingName);
    return --callbackAtSearch <= 0;
  }
  void CallBack(TextKind kind, const std::string& time, const std::string& text) override {
    const u32 type = kind == TextKind::Caption ? 1 : 2;
    log.push_back("call " + std::to_string(type) + " " + time + " " + text + Item(type));
  }
  void NotifyEvent(i32 code) override {
    log.push_back("event " + std::to_string(code) + " " + Item(code == 0x8065 ? 1 : 2));
  }
  void NotifyTextEvent(i32 code, const char* word, const char* text) override {
    log.push_back("event " + std::to_string(code) + " " + word + " " + text);
  }
};

constexpr const char* kWithCallback = "ktmp4file://c/x.mp4&mdccid=MAP";

// Whoever sees the event finds the text in the queue; the callback has come before it was there.
TEST(TextDelivery, CallsBackThenQueuesThenSendsTheEvent) {
  Bench bench(kWithCallback);
  bench.delivery.AddCaptionText(37'250'000'000, "row");
  bench.delivery.AddMetadataText(10'000'000, "meta");
  EXPECT_EQ(bench.log, (Log{"find MAP", "call 1 1:02:05 row", "event 32869 37250000000 row",
                            "call 2 0:00:01 meta", "event 32868 10000000 meta"}));
}

TEST(TextDelivery, LooksForTheCallbackUntilItIsThere) {
  Bench bench(kWithCallback);
  bench.callbackAtSearch = 3;
  for (int i = 0; i < 4; ++i) bench.delivery.AddMetadataText(0, "m");
  EXPECT_EQ(bench.log, (Log{"find MAP", "event 32868 0 m", "find MAP", "event 32868 0 m", "find MAP",
                            "call 2 0:00:00 m", "event 32868 0 m", "call 2 0:00:00 m", "event 32868 0 m"}));
  Bench unnamed("a.mp4");
  unnamed.delivery.AddCaptionText(0, "r");
  EXPECT_EQ(unnamed.log, (Log{"event 32869 0 r"}));
}

TEST(TextDelivery, ScreenTextsAreForTheTextModeAlone) {
  for (const bool text : {true, false}) {
    Bench bench(text ? "ktmp4file://c/x.mp4&cc=on" : "ktmp4file://c/x.mp4&cc=text");
    // The event of a row comes also when its queue has dropped it.
    static_cast<void>(bench.storage.Enable(1, 0));
    bench.delivery.AddCaptionText(2, "dropped");
    bench.delivery.SendScreenText("a<br>");
    EXPECT_EQ(bench.log, text ? (Log{"event 32869 ", "event 24 Text a<br>"}) : Log{"event 32869 "});
  }
}

TEST(TimeText, DoesNotPadTheHours) {
  const std::pair<i64, const char*> rows[] = {{0, "0:00:00"},
                                              {9'999'999, "0:00:00"},
                                              {37'250'000'000, "1:02:05"},
                                              {36'000'000'000 * 100 - 1, "99:59:59"},
                                              {-650'000'000, "0:-1:-5"},
                                              {std::numeric_limits<i64>::max(), "256204778:48:05"}};
  for (const auto& [time, text] : rows) EXPECT_EQ(TimeText(time), text);
}

std::vector<std::string> Drain(TimedTextQueue& queue) {
  std::vector<std::string> items;
  const auto take = [&](u64 time, const std::string& text) {
    items.push_back(std::to_string(time) + text);
    return FilterResult::Ok;
  };
  while (queue.Get(take) == FilterResult::Ok) {
  }
  return items;
}

TEST(TimedTextQueue, StoresWhileEnabledUntilTheCopyIsMade) {
  TimedTextQueue queue;
  queue.Add(1, "early");
  queue.Enable(true);
  queue.Add(1, "a");
  queue.Add(2, "");
  queue.Enable(true);
  // The application's memory may be exhausted.
  const auto fail = [](u64, const std::string&) { return FilterResult::OutOfMemory; };
  const auto lack = [](u64, const std::string&) -> FilterResult { throw std::bad_alloc(); };
  EXPECT_EQ(queue.Get(fail), FilterResult::OutOfMemory);
  EXPECT_THROW(static_cast<void>(queue.Get(lack)), std::bad_alloc);
  EXPECT_EQ(Drain(queue), (Log{"1a", "2"}));
  queue.Add(3, "c");
  queue.Enable(false);
  queue.Enable(true);
  EXPECT_EQ(Drain(queue), Log()) << "disabling drops what is stored";
}

TEST(TimedTextQueue, EachItemIsFetchedOnce) {
  TimedTextQueue queue;
  queue.Enable(true);
  constexpr u64 kItems = 100'000;
  for (u64 i = 1; i <= kItems; ++i) queue.Add(i, "");
  std::atomic<u64> sum = 0;
  const auto fetch = [&] {
    for (const std::string& item : Drain(queue)) sum += std::stoull(item);
  };
  std::thread other(fetch);
  fetch();
  other.join();
  EXPECT_EQ(sum, kItems * (kItems + 1) / 2);
}

}  // namespace
}  // namespace kt
