#include "adapt/fragments.h"

#include <algorithm>

namespace kt::adapt {
namespace {

// ISO/IEC 14496-12, 8.8.7 and 8.8.8: which fields a "tfhd" and a "trun" have.
enum TrackFlag : u32 {
  kBaseOffset = 0x000001,
  kDefaultEntry = 0x000002,
  kDefaultDuration = 0x000008,
  kDefaultSize = 0x000010,
  kDefaultFlags = 0x000020,
  kNoSamples = 0x010000,
  kBaseIsMoof = 0x020000,
};
enum RunFlag : u32 {
  kDataOffset = 0x000001,
  kFirstFlags = 0x000004,
  kDurations = 0x000100,
  kSizes = 0x000200,
  kFlags = 0x000400,
  kOffsets = 0x000800,
};

// 8.8.3.1: the sample is no sync sample; and it depends on others, which says the same.
constexpr u32 kIsNotSync = 0x00010000;
constexpr u32 kDependence = 0x03000000;
constexpr u32 kDependsOnOthers = 0x01000000;

/// Reads optional fields one behind the other.
class CFieldCursor {
 public:
  explicit CFieldCursor(CBytes bytes) : m_rest(bytes) {}
  u32 U32(bool isThere, u32 otherwise) { return isThere ? Take(4).U32(0) : otherwise; }
  u64 U64(bool isThere, u64 otherwise) { return isThere ? Take(8).U64(0) : otherwise; }
  CBytes Rest() const { return m_rest; }

 private:
  CBytes Take(std::size_t count) {
    const CBytes field = m_rest.Part(0, count);
    m_rest = m_rest.From(count);
    return field;
  }
  CBytes m_rest;
};

/// What holds for the runs of one "traf".
struct TrackFragment {
  CTrack* track = nullptr;  // null for a track that the image does not have
  FragmentDefaults defaults;
  u64 base = 0;     // what the data offsets of its runs count from
  u64 dataEnd = 0;  // where the data of the run before ends
};

/// One "trun".
struct Run {
  u32 count = 0;
  u32 flags = 0;
  u32 firstFlags = 0;
  u64 position = 0;
  CBytes records;
  u32 recordSize = 0;
};

struct Sample {
  u32 duration;
  u32 size;
  u32 flags;
  i32 offset;
};

Sample SampleOf(const Run& run, const FragmentDefaults& defaults, u32 index) {
  CFieldCursor record(run.records.From(u64{index} * run.recordSize));
  Sample sample{};
  sample.duration = record.U32((run.flags & kDurations) != 0, defaults.duration);
  sample.size = record.U32((run.flags & kSizes) != 0, defaults.size);
  sample.flags = record.U32((run.flags & kFlags) != 0, defaults.flags);
  if (index == 0 && (run.flags & kFirstFlags) != 0) sample.flags = run.firstFlags;
  sample.offset = static_cast<i32>(record.U32((run.flags & kOffsets) != 0, 0));
  return sample;
}

Mp4Result AddSamples(CTrack* track, const Sample& sample, u32 count) {
  CSampleTables& tables = track->tables;
  // Every sound sample can be decoded by itself; writers leave the flags of pictures on them.
  const bool dependent = (sample.flags & kIsNotSync) != 0 || (sample.flags & kDependence) == kDependsOnOthers;
  if (track->IsSound() || !dependent) KT_TRY(tables.AddSync(tables.Count() + 1, count));
  // A sample of no duration would hide the one behind it; where a fragment says when it begins, that holds.
  KT_TRY(tables.AddTimes(count, std::max(sample.duration, 1u)));
  KT_TRY(tables.AddOffsets(count, sample.offset));
  return tables.AddSizes(count, sample.size);
}

// Whether the samples that a run claims without a record for each can be: a sample takes a byte of the file,
// and those that have to be listed take some of what the structure of the file grants.
bool ClaimIsSane(const CMovie& movie, const CTrack& track, u32 count, u32 size) {
  const u64 most = std::min<u64>(movie.fileSize, CSampleTables::kMostSamples);
  return u64{track.tables.Count()} + count <= most && u64{count} * std::max(size, 1u) <= movie.fileSize &&
         track.tables.ClaimsListedBy(count, size) <= movie.claimsLeft;
}

// Adds what a run holds, samples that are alike together, and tells how many bytes they have. Stops at a
// sample that cannot be.
Mp4Result AddRunSamples(const Run& run, const FragmentDefaults& defaults, CMovie* movie, CTrack* track,
                        u64* bytes, u32* added) {
  u32 index = 0;
  while (index < run.count) {
    const Sample sample = SampleOf(run, defaults, index);
    u32 alike = 1;
    if (run.recordSize == 0) alike = index == 0 && (run.flags & kFirstFlags) != 0 ? 1 : run.count - index;
    if (track != nullptr) {
      const u64 length = u64{alike} * std::max(sample.duration, 1u);
      const bool inTime = length <= static_cast<u64>(CSampleTables::kLatestTime - track->tables.EndTime());
      if (!inTime || !ClaimIsSane(*movie, *track, alike, sample.size)) {
        track->notes |= ADAPT_RUNS_IGNORED;
        return MP4_OK;
      }
      movie->claimsLeft -= track->tables.ClaimsListedBy(alike, sample.size);
      KT_TRY(AddSamples(track, sample, alike));
    }
    *bytes += u64{alike} * sample.size;
    *added += alike;
    index += alike;
  }
  return MP4_OK;
}

Run ReadRun(CBytes box, const TrackFragment& fragment, bool* isSane) {
  Run run;
  run.flags = box.U24(1);
  run.count = box.U32(4);
  CFieldCursor fields(box.From(8));
  run.position = fragment.dataEnd;
  if ((run.flags & kDataOffset) != 0) {
    const auto offset = static_cast<i32>(fields.U32(true, 0));
    run.position = fragment.base + static_cast<u64>(i64{offset});
  }
  run.firstFlags = fields.U32((run.flags & kFirstFlags) != 0, 0);
  run.records = fields.Rest();
  for (const u32 field : {kDurations, kSizes, kFlags, kOffsets})
    run.recordSize += (run.flags & field) != 0 ? 4 : 0;
  *isSane = run.position <= static_cast<u64>(CSampleTables::kLatestTime);
  if (run.recordSize > 0) {
    const u64 held = run.records.Size() / run.recordSize;
    *isSane = *isSane && run.count <= held;
    run.count = static_cast<u32>(std::min<u64>(run.count, held));
  }
  return run;
}

Mp4Result AddRun(CBytes box, CMovie* movie, TrackFragment* fragment) {
  bool isSane = true;
  const Run run = ReadRun(box, *fragment, &isSane);
  CTrack* track = fragment->track;
  if (track != nullptr && !isSane) track->notes |= ADAPT_RUNS_IGNORED;
  if (run.position > static_cast<u64>(CSampleTables::kLatestTime)) return MP4_OK;
  u64 bytes = 0;
  u32 added = 0;
  KT_TRY(AddRunSamples(run, fragment->defaults, movie, track, &bytes, &added));
  fragment->dataEnd = run.position + std::min(bytes, static_cast<u64>(CSampleTables::kLatestTime));
  return track == nullptr ? MP4_OK : track->tables.AddChunk({run.position, added, fragment->defaults.entry});
}

// Where a fragment says when it begins, the samples ahead of it end there. ISO/IEC 14496-12, 8.8.12.
void StartFragment(CBytes box, CTrack* track) {
  if (box.Data() == nullptr) return;
  const u64 time = box.U8(0) == 1 ? box.U64(4) : box.U32(4);
  if (time > static_cast<u64>(CSampleTables::kLatestTime)) {
    track->notes |= ADAPT_TIMES_OVERLAP;
    return;
  }
  const i64 start = static_cast<i64>(time);
  CSampleTables& tables = track->tables;
  if (tables.Count() == 0) {
    tables.StartAt(start);
  } else if (start != tables.EndTime()) {
    const bool overlaps = start <= tables.EndTime() - i64{tables.LastDelta()};
    if (overlaps || tables.EndLastAt(start) != MP4_OK) track->notes |= ADAPT_TIMES_OVERLAP;
  }
}

void ReadTrackFragmentHeader(CBytes box, CMovie* movie, u64 moofPosition, bool isFirst,
                             TrackFragment* fragment) {
  const u32 flags = box.U24(1);
  CTrack* const track = movie->FindTrack(box.U32(4));
  FragmentDefaults defaults = track != nullptr ? track->defaults : FragmentDefaults();
  CFieldCursor fields(box.From(8));
  // Without a word on it offsets count from the data of the track fragment ahead, or from the "moof".
  const u64 implied = (flags & kBaseIsMoof) != 0 || isFirst ? moofPosition : fragment->dataEnd;
  fragment->base = fields.U64((flags & kBaseOffset) != 0, implied);
  fragment->dataEnd = fragment->base;
  defaults.entry = fields.U32((flags & kDefaultEntry) != 0, defaults.entry);
  defaults.duration = fields.U32((flags & kDefaultDuration) != 0, defaults.duration);
  defaults.size = fields.U32((flags & kDefaultSize) != 0, defaults.size);
  defaults.flags = fields.U32((flags & kDefaultFlags) != 0, defaults.flags);
  fragment->defaults = defaults;
  fragment->track = track != nullptr && !track->IsLeftOut() ? track : nullptr;
}

Mp4Result AddTrackFragment(CBytes traf, CMovie* movie, u64 moofPosition, bool isFirst,
                           TrackFragment* fragment) {
  CBytes header, time;
  FindBoxes(traf, {{FourCc("tfhd"), &header}, {FourCc("tfdt"), &time}});
  if (header.Data() == nullptr) return MP4_OK;
  ReadTrackFragmentHeader(header, movie, moofPosition, isFirst, fragment);
  if ((header.U24(1) & kNoSamples) != 0) return MP4_OK;
  if (fragment->track != nullptr) StartFragment(time, fragment->track);
  CBoxWalk walk(traf);
  for (BoxView box; walk.Next(&box);) {
    if (box.code == FourCc("trun")) KT_TRY(AddRun(box.payload, movie, fragment));
  }
  return MP4_OK;
}

}  // namespace

Mp4Result AddFragment(CBytes moof, u64 position, CMovie* movie) {
  constexpr u64 kClaimsPerByte = 8;
  movie->claimsLeft += kClaimsPerByte * moof.Size();
  TrackFragment fragment;
  bool isFirst = true;
  CBoxWalk walk(moof);
  for (BoxView box; walk.Next(&box);) {
    if (box.code != FourCc("traf")) continue;
    KT_TRY(AddTrackFragment(box.payload, movie, position, isFirst, &fragment));
    isFirst = false;
  }
  return MP4_OK;
}

}  // namespace kt::adapt
