#pragma once

#include "filter/logic/reader_source.h"

namespace kt {

/// The facts of a loaded file as applications ask for them, in the order of the filter's IMP4FileReader.
/// Tracks are told by their index from 0 in file order, those without a pin included: a negative index gives
/// InvalidArgument, one beyond the last NoMoreItems, a success; the output is then untouched.
class FileFacts {
 public:
  virtual FilterResult GetTrackCount(u32* count) const = 0;
  /// Ticks per second of the movie, 1000 before a file is loaded.
  virtual FilterResult GetMovieTimeScale(u32* timeScale) const = 0;
  virtual FilterResult GetTrackId(i32 index, u32* id) const = 0;
  /// Stores a `ReaderTrackType`.
  virtual FilterResult GetTrackType(i32 index, u32* type) const = 0;
  virtual FilterResult GetSampleCount(i32 index, u32* count) const = 0;
  /// Media ticks per second.
  virtual FilterResult GetTimeScale(i32 index, u32* timeScale) const = 0;
  /// Movie ticks.
  virtual FilterResult GetDuration(i32 index, u64* duration) const = 0;

 protected:
  ~FileFacts() = default;
};

/// The facts out of the tables of a source. Needs no lock: the tables do not change once a file is loaded.
class LoadedFileFacts final : public FileFacts {
 public:
  explicit LoadedFileFacts(const CReaderSource& source) : m_source(source) {}

  FilterResult GetTrackCount(u32* count) const override;
  FilterResult GetMovieTimeScale(u32* timeScale) const override;
  FilterResult GetTrackId(i32 index, u32* id) const override;
  FilterResult GetTrackType(i32 index, u32* type) const override;
  FilterResult GetSampleCount(i32 index, u32* count) const override;
  FilterResult GetTimeScale(i32 index, u32* timeScale) const override;
  FilterResult GetDuration(i32 index, u64* duration) const override;

 private:
  template <class T>
  FilterResult Look(const T (&table)[kMaxTracks], i32 index, T* entry) const;

  const CReaderSource& m_source;
};

}  // namespace kt
