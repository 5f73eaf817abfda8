#include "adapt/movie.h"

#include <algorithm>
#include <new>

#include "adapt/plain_tables.h"

namespace kt::adapt {
namespace {

// ISO/IEC 14496-12, 8.7.2: each entry is a box whose flag 1 means this very file.
bool NamesAnotherFile(CBytes dataReferences) {
  constexpr u64 kHeader = 8;
  constexpr u64 kFullBoxHeader = 4;
  CBoxWalk walk(dataReferences.From(kHeader));
  for (BoxView entry; walk.Next(&entry);) {
    const bool hasLocation = entry.payload.U8(kFullBoxHeader) != 0;
    if ((entry.payload.U24(1) & 1) == 0 && hasLocation) return true;
  }
  return false;
}

// The next "trak". One that has no room for a track's headers is none: a few bytes each, they would cost more
// memory than they take in the file.
bool NextTrack(CBoxWalk* walk, BoxView* box) {
  constexpr std::size_t kLeastTrack = 100;
  while (walk->Next(box)) {
    if (box->code == FourCc("trak") && box->payload.Size() >= kLeastTrack) return true;
  }
  return false;
}

Mp4Result MakeTracks(CBytes moov, CMovie* movie) {
  CBoxWalk walk(moov);
  movie->trackCount = 0;
  for (BoxView box; NextTrack(&walk, &box);) ++movie->trackCount;
  if (movie->trackCount == 0) return MP4_NOT_FOUND;
  movie->tracks.reset(new (std::nothrow) CTrack[movie->trackCount]);
  movie->byId.reset(new (std::nothrow) u64[movie->trackCount]);
  return movie->tracks && movie->byId ? MP4_OK : MP4_NO_MEMORY;
}

Mp4Result ReadTrack(CBytes trak, const CMovie& movie, CTrack* track) {
  CBytes media, edits, information, dataInformation, sampleTable, editList;
  FindBoxes(trak, {{FourCc("tkhd"), &track->header},
                   {FourCc("mdia"), &media},
                   {FourCc("edts"), &edits},
                   {FourCc("tref"), &track->references},
                   {FourCc("udta"), &track->userData}});
  FindBoxes(media, {{FourCc("mdhd"), &track->mediaHeader},
                    {FourCc("hdlr"), &track->handlerBox},
                    {FourCc("minf"), &information}});
  FindBoxes(information, {{FourCc("vmhd"), &track->videoHeader},
                          {FourCc("smhd"), &track->soundHeader},
                          {FourCc("hmhd"), &track->hintHeader},
                          {FourCc("dinf"), &dataInformation},
                          {FourCc("stbl"), &sampleTable}});
  FindBoxes(dataInformation, {{FourCc("dref"), &track->dataReferences}});
  FindBoxes(sampleTable, {{FourCc("stsd"), &track->sampleDescription}});
  FindBoxes(edits, {{FourCc("elst"), &editList}});
  track->id = ReadTimedHeader(track->header, true).number;
  track->timeScale = std::max(ReadTimedHeader(track->mediaHeader, false).number, 1u);
  track->handler = track->handlerBox.U32(8);
  if (track->header.Size() == 0 || track->mediaHeader.Size() == 0 || track->sampleDescription.Size() == 0) {
    track->notes |= ADAPT_NO_TRACK_BOXES;
    return MP4_OK;
  }
  if (track->id == 0) {
    track->notes |= ADAPT_NO_TRACK_ID;
    return MP4_OK;
  }
  if (NamesAnotherFile(track->dataReferences)) track->notes |= ADAPT_DATA_ELSEWHERE;
  track->edits = ReadEditList(editList);
  KT_TRY(ReadPlainTables(sampleTable, movie.fileSize, track));
  track->samplesOfMovie = track->tables.Count();
  track->mediaEndOfMovie = track->tables.EndTime();
  return MP4_OK;
}

void ReadFragmentDefaults(CBytes extends, CMovie* movie) {
  CBoxWalk walk(extends);
  for (BoxView box; walk.Next(&box);) {
    if (box.code != FourCc("trex")) continue;
    CTrack* const track = movie->FindTrack(box.payload.U32(4));
    if (track == nullptr) continue;
    track->defaults = {box.payload.U32(8), box.payload.U32(12), box.payload.U32(16), box.payload.U32(20)};
  }
}

}  // namespace

CTrack* CMovie::FindTrack(u32 id) {
  const u64* const first = byId.get();
  const u64* const end = first + trackCount;
  const u64* const found = std::lower_bound(first, end, u64{id} << 32);
  return found != end && *found >> 32 == id ? &tracks[static_cast<u32>(*found)] : nullptr;
}

TimedHeader ReadTimedHeader(CBytes box, bool isTrackHeader) {
  TimedHeader header;
  const bool wide = box.U8(0) == 1;
  const u64 width = wide ? 8 : 4;
  const auto time = [&](u64 offset) { return wide ? box.U64(offset) : box.U32(offset); };
  const u64 numberAt = 4 + 2 * width;
  const u64 durationAt =
      numberAt + (isTrackHeader ? 8 : 4);  // a track's number has a reserved word behind it
  header.creationTime = time(4);
  header.modificationTime = time(4 + width);
  header.number = box.U32(numberAt);
  header.duration = time(durationAt);
  header.rest = box.From(durationAt + width);
  return header;
}

Mp4Result ReadMovie(CBytes moov, CMovie* movie) {
  CBytes extends;
  FindBoxes(moov, {{FourCc("mvhd"), &movie->header},
                   {FourCc("udta"), &movie->userData},
                   {FourCc("iods"), &movie->objectDescriptor},
                   {FourCc("mvex"), &extends}});
  movie->timeScale = ReadTimedHeader(movie->header, false).number;
  if (movie->timeScale == 0) movie->timeScale = 1000;
  constexpr u64 kClaims = 65536;
  constexpr u64 kClaimsPerByte = 8;
  movie->claimsLeft = kClaims + kClaimsPerByte * moov.Size();
  KT_TRY(MakeTracks(moov, movie));
  CBoxWalk walk(moov);
  u32 index = 0;
  for (BoxView box; NextTrack(&walk, &box); ++index) {
    KT_TRY(ReadTrack(box.payload, *movie, &movie->tracks[index]));
    movie->byId[index] = u64{movie->tracks[index].id} << 32 | index;
  }
  std::sort(movie->byId.get(), movie->byId.get() + movie->trackCount);
  ReadFragmentDefaults(extends, movie);
  return MP4_OK;
}

}  // namespace kt::adapt
