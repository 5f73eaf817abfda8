#pragma once

#include "filter/logic/reader_source.h"
#include "support/answer.h"
#include "support/fake_track.h"

namespace kt::test {

/// A source over a fake file of these tracks, and the host that it talks to.
class FakeHost : public ReaderHost {
 public:
  explicit FakeHost(std::vector<FakeTrackFacts> tracks = {})
      : m_source(*this, [this](CMp4File** created) -> Mp4Result {
          *created = nullptr;
          if (file.failing.contains("CreateMp4File")) return MP4_NO_MEMORY;
          *created = new FakeFile(file);
          return MP4_OK;
        }) {
    file.lock = &m_source.TrackLock();
    file.tracks = std::move(tracks);
  }
  /// The same with the file loaded.
  FakeHost(std::vector<FakeTrackFacts> tracks, const char* name) : FakeHost(std::move(tracks)) {
    EXPECT_EQ(m_source.Load(name), FilterResult::Ok);
  }
  virtual ~FakeHost() = default;

  void ShowError(const char* text) override {
    EXPECT_FALSE(m_source.TrackLock().IsHeldByCaller()) << "a person is asked under the track lock";
    errors.push_back(text);
  }
  bool AddPin(CReaderPin& pin) override {
    offered.push_back(pin.Name());
    return offered.size() <= pinRoom;
  }

  CReaderSource& Source() { return m_source; }
  CReaderPin& Pin(std::size_t index = 0) { return *m_source.Pins().at(index); }
  /// Loads a plain name and gives the only pin.
  CReaderPin& LoadOnePin() {
    EXPECT_EQ(m_source.Load("a.mp4"), FilterResult::Ok);
    return Pin();
  }

  FakeFileFacts file;
  std::vector<std::string> errors;
  /// The names of the pins that the source wanted.
  std::vector<std::string> offered;
  std::size_t pinRoom = 100;

 private:
  CReaderSource m_source;
};

/// Where a pin stands and its track, for a test to write down and to ask.
inline void SetPosition(CReaderPin& pin, const PinPosition& wanted) {
  pin.WithPosition([&](CMp4Track*, PinPosition& position) { position = wanted; });
}
inline CMp4Track* TrackBehind(const CReaderPin& pin) {
  return pin.WithPosition([](CMp4Track* track, const PinPosition&) { return track; });
}

/// A track with one of these samples at each time, a sync sample.
inline FakeTrackFacts TrackAt(const std::vector<u64>& times, const std::vector<u8>& bytes = {1, 2, 3, 4}) {
  FakeTrackFacts track;
  for (const u64 time : times) track.samples.push_back({bytes, time, time, true});
  return track;
}

/// A caption track with one pair of bytes at each time.
inline FakeTrackFacts CaptionTrack(std::initializer_list<u64> times) {
  FakeTrackFacts track = TrackAt(times, {0x00, 0x94, 0x20});
  track.kind = MP4_KIND_TEXT;
  track.format = MP4_FORMAT_UNKNOWN;
  return track;
}

}  // namespace kt::test
