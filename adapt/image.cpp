#include "adapt/image.h"

#include <algorithm>

#include "adapt/descriptors.h"
#include "adapt/image_tables.h"
#include "adapt/sample_entries.h"

namespace kt::adapt {
namespace {

constexpr u8 kWide = 1;  // the version of headers and edit lists with 64-bit times

// Which headers go with a track: of the media that it says, else of the handler.
enum class MediaKind { kVideo, kSound, kHint, kOther };

MediaKind KindOf(const CTrack& track) {
  if (track.videoHeader.Data() != nullptr) return MediaKind::kVideo;
  if (track.soundHeader.Data() != nullptr) return MediaKind::kSound;
  if (track.hintHeader.Data() != nullptr) return MediaKind::kHint;
  if (track.handler == FourCc("vide")) return MediaKind::kVideo;
  return track.handler == FourCc("soun") ? MediaKind::kSound : MediaKind::kOther;
}

bool IsChanged(const CTrack& track) {
  const bool grew = track.tables.Count() > track.samplesOfMovie;
  return grew || track.startTicks > 0 || track.range.Count() < track.tables.Count() ||
         track.edits.mediaTime > 0;
}

// How long the samples of the image last, media ticks.
u64 MediaDuration(const CTrack& track) {
  if (track.range.Count() == 0) return 0;
  return DurationOf(track.tables, track.range);
}

// In ticks of the image's movie. What the file says stands where nothing has moved.
u64 TrackDuration(const CMovie& movie, const CTrack& track) {
  constexpr u64 kUnknown = 0xFFFFFFFF;
  const u64 told = ReadTimedHeader(track.header, true).duration;
  if (!IsChanged(track) && told < kUnknown) return told * movie.scaleFactor;
  return Scale(track.startTicks + MediaDuration(track), movie.ImageScale(), track.timeScale);
}

u64 MovieDuration(const CMovie& movie) {
  constexpr u64 kUnknown = 0xFFFFFFFF;
  const u64 told = ReadTimedHeader(movie.header, false).duration;
  u64 duration = told < kUnknown ? told * movie.scaleFactor : 0;
  for (u32 i = 0; i < movie.trackCount; ++i) {
    const CTrack& track = movie.tracks[i];
    if (!track.IsLeftOut() && IsChanged(track)) duration = std::max(duration, TrackDuration(movie, track));
  }
  return duration;
}

void WriteFileType(CBytes fileType, CImageWriter* writer) {
  writer->Box(FourCc("ftyp"), [&] {
    if (fileType.Size() >= 8) {
      writer->Copy(fileType.Part(0, fileType.Size() & ~std::size_t{3}));
    } else {
      writer->U32(FourCc("qt  ")).U32(0);  // QuickTime from before there was the box
    }
  });
}

void WriteMovieHeader(const CMovie& movie, CImageWriter* writer) {
  constexpr std::size_t kRest = 80;
  const TimedHeader header = ReadTimedHeader(movie.header, false);
  writer->FullBox(FourCc("mvhd"), kWide, 0, [&] {
    writer->U64(header.creationTime).U64(header.modificationTime).U32(movie.ImageScale());
    writer->U64(MovieDuration(movie)).CopyExactly(header.rest, kRest);
  });
}

void WriteTrackHeader(const CMovie& movie, const CTrack& track, CImageWriter* writer) {
  constexpr std::size_t kRest = 60;
  const TimedHeader header = ReadTimedHeader(track.header, true);
  writer->FullBox(FourCc("tkhd"), kWide, track.header.U24(1), [&] {
    writer->U64(header.creationTime).U64(header.modificationTime).U32(header.number).U32(0);
    writer->U64(TrackDuration(movie, track)).CopyExactly(header.rest, kRest);
  });
}

// A track that begins later than the movie: an empty edit, and one of all of its media behind it.
void WriteEdits(const CMovie& movie, const CTrack& track, CImageWriter* writer) {
  if (track.startTicks == 0) return;
  const u64 delay = MovieTicks(track.startTicks, track.timeScale, movie.ImageScale());
  const u64 duration = TrackDuration(movie, track);
  writer->Box(FourCc("edts"), [&] {
    writer->FullBox(FourCc("elst"), kWide, 0, [&] {
      writer->U32(2).U64(delay).U64(~u64{0}).U32(0x10000);
      writer->U64(duration > delay ? duration - delay : 0).U64(0).U32(0x10000);
    });
  });
}

void WriteReferences(CBytes references, CImageWriter* writer) {
  if (references.Data() == nullptr) return;
  writer->Box(FourCc("tref"), [&] {
    CBoxWalk walk(references);
    for (BoxView box; walk.Next(&box);) {
      if (box.code != FourCc("hint") && box.code != FourCc("mpod")) continue;
      writer->Box(box.code, [&] { writer->Copy(box.payload.Part(0, box.payload.Size() & ~std::size_t{3})); });
    }
  });
}

// Of what "udta" can hold the copyright notices and the session description are read.
void WriteUserData(CBytes userData, bool isMovie, CImageWriter* writer) {
  constexpr std::size_t kLeastNotice = 6;
  const u32 textCode = isMovie ? FourCc("rtp ") : FourCc("sdp ");
  if (userData.Data() == nullptr) return;
  writer->Box(FourCc("udta"), [&] {
    CBoxWalk walk(userData);
    for (BoxView box; walk.Next(&box);) {
      CBytes text;
      if (box.code == FourCc("cprt") && box.payload.Size() >= kLeastNotice) {
        writer->Box(box.code, [&] { writer->Copy(box.payload); });
      } else if (box.code == FourCc("hnti") && FindBox(box.payload, textCode, &text) && text.Size() >= 4) {
        writer->Box(box.code, [&] { writer->Box(textCode, [&] { writer->Copy(text); }); });
      }
    }
  });
}

void WriteMediaHeader(const CTrack& track, CImageWriter* writer) {
  const TimedHeader header = ReadTimedHeader(track.mediaHeader, false);
  const u64 duration = IsChanged(track) ? MediaDuration(track) : header.duration;
  writer->FullBox(FourCc("mdhd"), kWide, 0, [&] {
    writer->U64(header.creationTime).U64(header.modificationTime).U32(track.timeScale);
    writer->U64(duration).CopyExactly(header.rest, 4);
  });
}

// QuickTime counts the characters of the name ahead of them, where ISO/IEC 14496-12, 8.4.3 ends them with a
// zero.
CBytes HandlerName(CBytes box) {
  constexpr u64 kFields = 24;
  constexpr u64 kMostName = 1024;
  CBytes name = box.From(kFields).Part(0, kMostName);
  const u8 count = name.U8(0);
  if (count > 0 && (box.U32(4) != 0 || name.Size() == u64{count} + 1)) name = name.Part(1, count);
  u64 length = 0;
  while (length < name.Size() && name.U8(length) != 0) ++length;
  return name.Part(0, length);
}

void WriteHandler(const CTrack& track, CImageWriter* writer) {
  if (track.handlerBox.Data() == nullptr) return;
  const u32 handler = track.handler != 0 ? track.handler : FourCc("null");
  writer->FullBox(FourCc("hdlr"), 0, 0,
                  [&] { writer->U32(0).U32(handler).Zeros(12).Copy(HandlerName(track.handlerBox)).U8(0); });
}

void WriteKindHeader(const CTrack& track, CImageWriter* writer) {
  constexpr u64 kFullBoxHeader = 4;
  switch (KindOf(track)) {
    case MediaKind::kVideo:
      writer->FullBox(FourCc("vmhd"), 0, 1,
                      [&] { writer->CopyExactly(track.videoHeader.From(kFullBoxHeader), 8); });
      break;
    case MediaKind::kSound:
      writer->FullBox(FourCc("smhd"), 0, 0,
                      [&] { writer->CopyExactly(track.soundHeader.From(kFullBoxHeader), 4); });
      break;
    case MediaKind::kHint:
      writer->FullBox(FourCc("hmhd"), 0, 0,
                      [&] { writer->CopyExactly(track.hintHeader.From(kFullBoxHeader), 16); });
      break;
    case MediaKind::kOther:
      writer->FullBox(FourCc("nmhd"), 0, 0, [] {});
      break;
  }
}

void WriteDataInformation(CImageWriter* writer) {
  writer->Box(FourCc("dinf"), [&] {
    writer->FullBox(FourCc("dref"), 0, 0, [&] { writer->U32(1).FullBox(FourCc("url "), 0, 1, [] {}); });
  });
}

void WriteTrack(const CMovie& movie, CTrack* track, CImageWriter* writer) {
  writer->Box(FourCc("trak"), [&] {
    WriteTrackHeader(movie, *track, writer);
    WriteEdits(movie, *track, writer);
    WriteReferences(track->references, writer);
    writer->Box(FourCc("mdia"), [&] {
      WriteMediaHeader(*track, writer);
      WriteHandler(*track, writer);
      writer->Box(FourCc("minf"), [&] {
        WriteKindHeader(*track, writer);
        WriteDataInformation(writer);
        writer->Box(FourCc("stbl"), [&] {
          writer->Box(FourCc("stsd"), [&] {
            track->notes |= WriteSampleEntries(track->sampleDescription, track->handler, writer);
          });
          WriteTables(track->tables, track->range, writer);
        });
      });
    });
    WriteUserData(track->userData, false, writer);
  });
}

}  // namespace

void WriteImage(CMovie* movie, CImageWriter* writer) {
  WriteFileType(movie->fileType, writer);
  writer->Box(FourCc("moov"), [&] {
    WriteMovieHeader(*movie, writer);
    CImageWriter measure;
    if (WriteObjectDescriptor(movie->objectDescriptor, &measure)) {
      writer->Box(FourCc("iods"), [&] { WriteObjectDescriptor(movie->objectDescriptor, writer); });
    }
    for (u32 i = 0; i < movie->trackCount; ++i) {
      if (!movie->tracks[i].IsLeftOut()) WriteTrack(*movie, &movie->tracks[i], writer);
    }
    WriteUserData(movie->userData, true, writer);
  });
}

}  // namespace kt::adapt
