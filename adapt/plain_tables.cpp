#include "adapt/plain_tables.h"

#include <algorithm>

#include "adapt/sample_entries.h"

namespace kt::adapt {
namespace {

/// The records of a table box: what its count says, and no more than the box holds.
class CTable {
 public:
  CTable(CBytes box, u64 headerSize, u64 recordSize) : m_records(box.From(headerSize)), m_width(recordSize) {
    const u64 held = m_records.Size() / recordSize;
    m_count = static_cast<u32>(std::min<u64>(box.U32(headerSize - 4), held));
  }
  u32 Count() const { return m_count; }
  u32 Field(u32 record, u32 field) const { return m_records.U32(record * m_width + u64{field} * 4); }
  u64 Wide(u32 record) const { return m_records.U64(record * m_width); }

 private:
  CBytes m_records;
  u64 m_width;
  u32 m_count;
};

constexpr u64 kCounted = 8;  // version, flags and a count

struct TableBoxes {
  CBytes times, offsets, sizes, compactSizes, chunkRuns, chunks, largeChunks, sync;
};

// A result other than of memory is a reason to leave the track out.
Mp4Result ReadSizes(const TableBoxes& boxes, u64 fileSize, u32 frameSize, CSampleTables* tables) {
  if (boxes.sizes.Size() >= 12) {
    const u32 constant = boxes.sizes.U32(4);
    if (constant != 0) {
      const u32 count = boxes.sizes.U32(8);
      if (count > fileSize) return MP4_OUT_OF_RANGE;
      return tables->AddSizes(count, constant == 1 && frameSize != 0 ? frameSize : constant);
    }
    const u32 claimed = boxes.sizes.U32(8);
    const CTable sizes(boxes.sizes, 12, 4);
    // Without a list the samples are all empty, and none of them takes a byte.
    if (sizes.Count() < claimed) return MP4_CORRUPT;
    tables->ListSizes(boxes.sizes.Part(12, u64{sizes.Count()} * 4));
    return MP4_OK;
  }
  if (boxes.compactSizes.Size() < 12) return MP4_OK;
  const u32 width = boxes.compactSizes.U8(7);
  const u32 count = boxes.compactSizes.U32(8);
  const CBytes fields = boxes.compactSizes.From(12);
  if ((width != 4 && width != 8 && width != 16) || (u64{count} * width + 7) / 8 > fields.Size()) {
    return MP4_CORRUPT;
  }
  for (u32 i = 0; i < count; ++i) {
    u32 size = width == 16 ? fields.U16(2 * u64{i}) : fields.U8(width == 8 ? i : i / 2);
    if (width == 4) size = i % 2 == 0 ? size >> 4 : size & 0x0F;
    KT_TRY(tables->AddSizes(1, size));
  }
  return MP4_OK;
}

Mp4Result ReadTimes(CBytes box, CSampleTables* tables) {
  const CTable runs(box, kCounted, 8);
  u64 left = tables->Count();
  for (u32 i = 0; i < runs.Count(); ++i) {
    const u32 count = runs.Field(i, 0);
    if (count > left) return MP4_CORRUPT;
    KT_TRY(tables->AddTimes(count, runs.Field(i, 1)));
    left -= count;
  }
  return left == 0 ? MP4_OK : MP4_CORRUPT;
}

// Offsets of all versions are taken as signed: writers of both worlds put them below 0 without saying so.
Mp4Result ReadOffsets(CBytes box, CSampleTables* tables) {
  const CTable runs(box, kCounted, 8);
  if (tables->ListOffsets(box.Part(kCounted, u64{runs.Count()} * 8))) return MP4_OK;
  u32 left = tables->Count();
  for (u32 i = 0; i < runs.Count() && left > 0; ++i) {
    const u32 count = std::min(runs.Field(i, 0), left);
    KT_TRY(tables->AddOffsets(count, static_cast<i32>(runs.Field(i, 1))));
    left -= count;
  }
  return runs.Count() > 0 ? tables->AddOffsets(left, 0) : MP4_OK;
}

Mp4Result ReadChunks(const TableBoxes& boxes, CSampleTables* tables) {
  const bool large = boxes.chunks.Data() == nullptr;
  const CTable chunks(large ? boxes.largeChunks : boxes.chunks, kCounted, large ? 8 : 4);
  const CTable runs(boxes.chunkRuns, kCounted, 12);
  u32 left = tables->Count();
  u32 chunk = 0;
  for (u32 run = 0; run < runs.Count() && left > 0; ++run) {
    const bool last = run + 1 == runs.Count();
    const u32 nextRun = last ? chunks.Count() : std::min(runs.Field(run + 1, 0) - 1, chunks.Count());
    const u32 samples = runs.Field(run, 1);
    if (nextRun < chunk || (samples == 0 && nextRun > chunk)) return MP4_CORRUPT;
    for (; chunk < nextRun && left > 0; ++chunk) {
      const u32 taken = std::min(samples, left);
      KT_TRY(
          tables->AddChunk({large ? chunks.Wide(chunk) : chunks.Field(chunk, 0), taken, runs.Field(run, 2)}));
      left -= taken;
    }
  }
  return left == 0 ? MP4_OK : MP4_CORRUPT;
}

// Numbers that do not rise, or that no sample has, name none.
Mp4Result ReadSync(CBytes box, CSampleTables* tables) {
  if (box.Data() == nullptr) return tables->AddSync(1, tables->Count());
  tables->NameSyncSamples();
  const CTable numbers(box, kCounted, 4);
  u32 before = 0;
  for (u32 i = 0; i < numbers.Count(); ++i) {
    const u32 number = numbers.Field(i, 0);
    if (number <= before || number > tables->Count()) continue;
    KT_TRY(tables->AddSync(number, 1));
    before = number;
  }
  return MP4_OK;
}

Mp4Result ReadAll(const TableBoxes& boxes, u64 fileSize, CTrack* track) {
  CSampleTables* const tables = &track->tables;
  const u32 frameSize = track->IsSound() ? PlainSoundFrameSize(track->sampleDescription) : 0;
  KT_TRY(ReadSizes(boxes, fileSize, frameSize, tables));
  if (tables->Count() == 0) {
    const bool claims = boxes.times.U32(4) != 0 || boxes.chunks.U32(4) != 0 || boxes.largeChunks.U32(4) != 0;
    if (claims) track->notes |= ADAPT_NO_SIZES;
    return MP4_OK;
  }
  KT_TRY(ReadTimes(boxes.times, tables));
  KT_TRY(ReadOffsets(boxes.offsets, tables));
  KT_TRY(ReadChunks(boxes, tables));
  return ReadSync(boxes.sync, tables);
}

}  // namespace

Mp4Result ReadPlainTables(CBytes sampleTable, u64 fileSize, CTrack* track) {
  TableBoxes boxes;
  FindBoxes(sampleTable, {{FourCc("stts"), &boxes.times},
                          {FourCc("ctts"), &boxes.offsets},
                          {FourCc("stsz"), &boxes.sizes},
                          {FourCc("stz2"), &boxes.compactSizes},
                          {FourCc("stsc"), &boxes.chunkRuns},
                          {FourCc("stco"), &boxes.chunks},
                          {FourCc("co64"), &boxes.largeChunks},
                          {FourCc("stss"), &boxes.sync}});
  const Mp4Result result = ReadAll(boxes, fileSize, track);
  if (result == MP4_NO_MEMORY) return result;
  if (result == MP4_OUT_OF_RANGE) track->notes |= ADAPT_TOO_MANY_SAMPLES;
  if (result == MP4_BAD_TIMING) track->notes |= ADAPT_TIMES_OUT_OF_RANGE;
  if (result == MP4_CORRUPT) track->notes |= ADAPT_TABLES_CONTRADICT;
  return MP4_OK;
}

}  // namespace kt::adapt
