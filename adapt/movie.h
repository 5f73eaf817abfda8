#pragma once

#include <memory>

#include <ktmp4/adapting_file.h>
#include "adapt/box_walk.h"
#include "adapt/edits.h"
#include "adapt/sample_tables.h"

namespace kt::adapt {

/// The notes of a track that was left out.
inline constexpr u32 kAdaptLeftOut = ADAPT_NO_TRACK_BOXES | ADAPT_TABLES_CONTRADICT | ADAPT_TOO_MANY_SAMPLES |
                                     ADAPT_NO_TRACK_ID | ADAPT_TIMES_OUT_OF_RANGE;

/// What "trex" says of the samples of fragments that do not say it themselves. ISO/IEC 14496-12, 8.8.3.
struct FragmentDefaults {
  u32 entry = 1;
  u32 duration = 0;
  u32 size = 0;
  u32 flags = 0;
};

/// A track of a file, as views of its boxes and what became of its tables.
struct CTrack {
  bool IsLeftOut() const { return (notes & kAdaptLeftOut) != 0; }
  bool IsSound() const { return handler == FourCc("soun"); }

  u32 id = 0;
  u32 notes = 0;  // of AdaptNote
  u32 handler = 0;
  u32 timeScale = 0;

  CBytes header;       // "tkhd", and the payloads of the boxes below
  CBytes mediaHeader;  // "mdhd"
  CBytes handlerBox;   // "hdlr"
  CBytes videoHeader, soundHeader, hintHeader;
  CBytes dataReferences;  // "dref"
  CBytes sampleDescription;
  CBytes references;  // "tref"
  CBytes userData;

  CSampleTables tables;
  EditList edits;
  FragmentDefaults defaults;
  u32 samplesOfMovie = 0;   // that "moov" tells of
  i64 mediaEndOfMovie = 0;  // media ticks
  u64 fragmentEnd = 0;      // where the data of its last run ends

  SampleRange range;   // the samples that the image has
  u64 startTicks = 0;  // decoding time of the first of them in the image, media ticks
};

/// A file's "moov", as views of its bytes, with the tables of each track read.
struct CMovie {
  /// The first track of this number, or null.
  CTrack* FindTrack(u32 id);
  u32 ImageScale() const { return timeScale * scaleFactor; }

  CBytes fileType;  // "ftyp"
  CBytes header;    // "mvhd"
  CBytes userData;
  CBytes objectDescriptor;  // "iods"
  u32 timeScale = 0;        // of the file, or 1000 where it has none
  u32 scaleFactor = 1;      // of the image's time scale to that of the file
  u64 fileSize = 0;
  u64 claimsLeft = 0;  // how many claimed samples may still be listed one by one
  u32 trackCount = 0;
  std::unique_ptr<CTrack[]> tracks;
  std::unique_ptr<u64[]> byId;  // number and index of each track, sorted
};

/// Takes the movie's own boxes and its tracks out of the payload of "moov", which has to outlive it. A track
/// that cannot be read is marked with the reason. MP4_NO_MEMORY; MP4_NOT_FOUND without any track.
Mp4Result ReadMovie(CBytes moov, CMovie* movie);

/// The numbers that the fields of both versions of a header box hold. ISO/IEC 14496-12, 8.2.2, 8.3.2, 8.4.2.
struct TimedHeader {
  u64 creationTime = 0;
  u64 modificationTime = 0;
  u32 number = 0;  // time scale, or the number of the track
  u64 duration = 0;
  CBytes rest;  // behind the duration
};
TimedHeader ReadTimedHeader(CBytes box, bool isTrackHeader);

}  // namespace kt::adapt
