#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include <ktmp4/mp4_file.h>
#include "filter/logic/guarded.h"
#include "filter/logic/reader_pin.h"
#include "filter/logic/source_name.h"

namespace kt {

/// The filter's own list of track sorts, as applications see it. It is not the library's `Mp4TrackKind`.
enum ReaderTrackType : u32 {
  READER_TRACK_UNKNOWN = 0,
  READER_TRACK_VIDEO = 1,
  READER_TRACK_AUDIO = 2,
  READER_TRACK_LINE21 = 3,
  READER_TRACK_SCENE_DESCRIPTION = 4,
  READER_TRACK_OBJECT_DESCRIPTOR = 5,
  READER_TRACK_HINT = 6,
};

/// Tracks beyond this number are ignored.
inline constexpr u32 kMaxTracks = 32;

/// The facts of the loaded file, per track in file order.
struct TrackTables {
  u32 m_trackCount = 0;
  /// Ticks per second of the movie.
  u32 m_movieTimeScale = 1000;
  u32 m_trackId[kMaxTracks] = {};
  /// `ReaderTrackType`; 0 also for a caption track that was not wanted.
  u32 m_trackType[kMaxTracks] = {};
  u32 m_sampleCount[kMaxTracks] = {};
  /// Media ticks per second.
  u32 m_timeScale[kMaxTracks] = {};
  /// Movie ticks.
  u64 m_duration[kMaxTracks] = {};
};

/// What a source asks of the program that it runs in while it loads.
class ReaderHost {
 public:
  /// Tells a person that something could not be read; loading goes on.
  virtual void ShowError(const char* text) = 0;
  /// Makes the host's own pin around `pin`, which the source owns and which has no track yet. False when
  /// there is no memory for it; otherwise `pin` lives as long as the source.
  virtual bool AddPin(CReaderPin& pin) = 0;

 protected:
  ~ReaderHost() = default;
};

/// The source filter without the platform: from the name of a file to its track tables and pins.
///
/// What workers and other threads ask for while they play is told under a lock, as a copy, and so can be
/// asked for at any time: the switches, the names, the pin that answers for positions, its length. `Tables`,
/// `Pins` and the rest change while a `Load` is under way, and must not be looked at meanwhile.
class CReaderSource {
 public:
  /// Makes a file object; replaced in tests.
  using FileFactory = std::function<Mp4Result(CMp4File**)>;

  /// Without a factory the file is made by `CreateMp4File`, or `CreateAdaptingMp4File` where that is wished.
  explicit CReaderSource(ReaderHost& host, FileFactory createFile = {});
  CReaderSource(const CReaderSource&) = delete;
  CReaderSource& operator=(const CReaderSource&) = delete;
  /// Gives the tracks of all pins back, then closes the file. No worker may run any more.
  ~CReaderSource();

  /// Another filter of this class was already in the graph and the platform allows but one: `Load` refuses.
  void SetSecondInstance(bool secondInstance) { m_secondInstance = secondInstance; }

  /// What the URL parameter `forextractoruse` sets, for a host with a switch of its own.
  void SetForExtractor(bool forExtractor) {
    m_settings.With([&](Settings& settings) { settings.switches.m_forExtractor = forExtractor; });
  }

  /// What the URL parameter `adapt` sets; to be told before `Load`.
  void SetAdapt(bool adapt) {
    m_settings.With([&](Settings& settings) { settings.switches.m_adapt = adapt; });
  }

  /// What the URL parameter `cc` sets, likewise; to be told before `Load`, where a URL sets it anew.
  void SetCaptionMode(std::string_view word) {
    m_settings.With([&](Settings& settings) { ApplyCaptionMode(word, &settings.switches); });
  }

  /// Opens a file or a ktmp4file:// URL (see `ParseSourceName`), fills the tables and makes a pin for each
  /// video, audio and, when captions are wanted, Line 21 track. What can not be read of a track is told to
  /// the host and left out; a file without a usable track loads and has no pins. `name` is in the system's
  /// 8-bit encoding; `givenName` is what the host was given, kept for `GivenName` once the name is accepted.
  ///
  /// WrongState for a second instance and Fail for a refused name, both with nothing changed; Fail when the
  /// file can not be opened or its tracks not be counted; OutOfMemory when a pin can not be made, with what
  /// was loaded so far in place. A second `Load` closes the file of the first, whose pins stay without
  /// tracks.
  FilterResult Load(const char* name, std::wstring givenName = {});

  const TrackTables& Tables() const { return m_tables; }
  SourceSwitches Switches() const { return Tell(&Settings::switches); }
  std::string CallbackName() const { return Tell(&Settings::callbackName); }
  std::wstring GivenName() const { return Tell(&Settings::givenName); }
  bool IsLoaded() const { return m_file != nullptr; }
  bool HasLine21() const { return m_hasLine21; }
  bool HasVideo() const { return m_hasVideo; }
  bool HasAudio() const { return m_hasAudio; }
  /// To look who holds it; the pins alone take it, and the source around what it asks of its file.
  const CTrackLock& TrackLock() const { return m_trackLock; }
  const std::vector<std::unique_ptr<CReaderPin>>& Pins() const { return m_pins; }
  /// The pin that answers for positions; null without pins.
  CReaderPin* SeekPin() const { return Tell(&Settings::seekPin); }
  /// The length of the seek pin's track in 100 ns units; False, with 0 stored, when there is none or it can
  /// not tell.
  FilterResult GetDuration(i64* duration) const;

 private:
  struct Settings {
    SourceSwitches switches;
    std::string callbackName;
    std::wstring givenName;
    CReaderPin* seekPin = nullptr;
  };
  template <class T>
  using Setting = T Settings::*;
  template <class T>
  T Tell(Setting<T> setting) const {
    return m_settings.With([&](const Settings& settings) { return settings.*setting; });
  }

  FilterResult OpenFile(const std::string& path);
  void CloseFile();
  FilterResult LoadTrack(u32 trackNumber);
  /// Fills the tables but for the track's type; returns its `Mp4TrackKind`, none when it can not be read.
  std::optional<u32> ReadFacts(CMp4Track* track, u32 index);
  FilterResult MakePin(CMp4Track* track, u32 trackNumber, ReaderTrackType type, const char* name);
  Mp4Result CreateFile(CMp4File** file) const;
  /// Makes a pin and has the host make its own around it; false, with neither, when there is no memory.
  bool OfferPin(const char* name);
  void GiveBack(CMp4Track* track);
  /// Calls into the file under the track lock, which is not held while the host talks to a person.
  template <class Call>
  Mp4Result Locked(Call call) {
    const std::lock_guard lock(m_trackLock);
    return call();
  }

  ReaderHost& m_host;
  const FileFactory m_createFile;
  CTrackLock m_trackLock;
  Guarded<Settings> m_settings;
  std::unique_ptr<CMp4File> m_file;
  TrackTables m_tables;
  std::vector<std::unique_ptr<CReaderPin>> m_pins;
  bool m_hasLine21 = false;
  bool m_hasVideo = false;
  bool m_hasAudio = false;
  bool m_secondInstance = false;
};

}  // namespace kt
