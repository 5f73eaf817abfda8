#pragma once

#include <ktmp4/mp4_file.h>

namespace kt {

/// Makes a file object that also reads what other writers make of the format: boxes that a plain file does
/// not have, fragments, edit lists, QuickTime. `CMp4File::Open` for reading goes once through the structure
/// of the file, puts it into the words of a plain one, and reads that; the bytes of samples come from the
/// file itself. What cannot be put so is read as `CreateMp4File`'s object would, with its results. Opened for
/// writing it is an ordinary file object.
///
/// Edit lists act as far as empty edits ahead of the first real one, and the media time and length of that
/// one, say (ISO/IEC 14496-12, 8.6.6): samples that are neither shown nor needed to decode what is shown are
/// left out, and all tracks move later by one common delay where one would begin below 0. A sample that lies
/// beyond the end of the file fails when it is read.
///
/// The caller owns `*file`. MP4_NO_MEMORY, with `*file` null.
KT_API Mp4Result CreateAdaptingMp4File(CMp4File** file);
/// The same over a whole file in memory; with `bytes`, `size` and results as `CreateMp4FileOver` has them.
KT_API Mp4Result CreateAdaptingMp4FileOver(const void* bytes, std::size_t size, CMp4File** file);

/// What adapting did to a track that its user may want to know; one bit each.
enum AdaptNote : u32 {
  // Why a track was left out.
  ADAPT_NO_TRACK_BOXES = 1u << 0,
  ADAPT_TABLES_CONTRADICT = 1u << 1,
  ADAPT_TOO_MANY_SAMPLES = 1u << 2,
  ADAPT_NO_TRACK_ID = 1u << 3,
  ADAPT_TIMES_OUT_OF_RANGE = 1u << 4,
  // What a track that is there has lost.
  ADAPT_NO_SIZES = 1u << 8,
  ADAPT_SAMPLES_OUTSIDE_EDIT = 1u << 9,
  ADAPT_FURTHER_EDITS = 1u << 10,
  ADAPT_EDIT_RATE = 1u << 11,
  ADAPT_ENTRY_BOXES = 1u << 12,
  ADAPT_NO_DECODER_SET_UP = 1u << 13,
  ADAPT_ENTRY_REPLACED = 1u << 14,
  ADAPT_RUNS_IGNORED = 1u << 15,
  ADAPT_TIMES_OVERLAP = 1u << 16,
  ADAPT_DATA_ELSEWHERE = 1u << 17,
  ADAPT_DELAY_ROUNDED = 1u << 18,
};

/// One clause for a person to read, as in "track 2 is left out: its tables contradict each other".
KT_API const char* AdaptNoteText(AdaptNote note);

/// What became of a track of an adapted file.
struct AdaptedTrack {
  u32 trackId = 0;         ///< As the file has it.
  u32 positionInFile = 0;  ///< Among the tracks of the file, from 1.
  u32 position = 0;        ///< The index for `CMp4File::OpenTrack`; 0 for a track that was left out.
  u32 notes = 0;           ///< Of `AdaptNote`.
  u32 furtherEdits = 0;    ///< How many edits do not act.
};

/// What a sample entry of an adapted file says, as it stands in the file. ISO/IEC 14496-12, 8.5.2.
struct AdaptedEntry {
  u32 position = 0;    ///< Of its track, the index for `CMp4File::OpenTrack`.
  u32 index = 0;       ///< Among the entries of the track, from 1.
  u32 code = 0;        ///< Four characters, as `FourCc` has them.
  u32 width = 0;       ///< Pixels of a picture, else 0.
  u32 height = 0;      ///< Pixels of a picture, else 0.
  u32 channels = 0;    ///< Of sound, else 0.
  u32 sampleRate = 0;  ///< Samples of sound per second, else 0.
  /// What stands behind the fields: the boxes that set a decoder up ("avcC", "dOps", ...), with their
  /// headers. Borrowed; good until the file is closed.
  const u8* boxes = nullptr;
  u32 boxesSize = 0;  ///< Bytes of `boxes`.
};

/// How many tracks the file has, those included that were left out. This and the next two answer
/// MP4_NOT_FOUND unless the file is open, was made by `CreateAdaptingMp4File`, and has been adapted;
/// MP4_BAD_ARGUMENT for null.
KT_API Mp4Result GetAdaptedTrackCount(CMp4File* file, u32* count);
/// Tells of a track by its position in the file, from 1. MP4_NOT_FOUND beyond the last, MP4_ZERO_INDEX for 0.
KT_API Mp4Result GetAdaptedTrack(CMp4File* file, u32 positionInFile, AdaptedTrack* track);
/// Tells of a sample entry; track and entry count from 1. MP4_NOT_FOUND for one that is not there,
/// MP4_ZERO_INDEX.
KT_API Mp4Result GetAdaptedEntry(CMp4File* file, u32 trackIndex, u32 entryIndex, AdaptedEntry* entry);

}  // namespace kt
