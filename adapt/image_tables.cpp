#include "adapt/image_tables.h"

#include <algorithm>

namespace kt::adapt {
namespace {

// Calls `visit(count, run)` for the part of each run that lies in the range; `at` tells a run by its number.
template <class At, class Visit>
void ForEachRun(u32 runs, At at, const SampleRange& range, Visit visit) {
  u64 next = 1;
  for (u32 index = 1; index <= runs && next <= range.last; ++index) {
    const auto run = at(index);
    const u64 from = std::max<u64>(next, range.first);
    const u64 end = std::min<u64>(next + run.count, u64{range.last} + 1);
    next += run.count;
    if (from < end) visit(static_cast<u32>(end - from), run);
  }
}

template <class Visit>
void ForEachTimeRun(const CSampleTables& tables, const SampleRange& range, Visit visit) {
  const auto timeAt = [&](u32 index) { return tables.Times().At(index); };
  ForEachRun(tables.Times().GetCount(), timeAt, range, visit);
}

/// Writes records behind their number, which is known once they have been written.
template <class Records>
void WriteCounted(u32 code, CImageWriter* writer, Records records) {
  writer->FullBox(code, 0, 0, [&] {
    const u64 place = writer->Reserve32();
    u32 count = 0;
    records(&count);
    writer->Fill32(place, count);
  });
}

void WriteTimes(const CSampleTables& tables, const SampleRange& range, CImageWriter* writer) {
  WriteCounted(FourCc("stts"), writer, [&](u32* records) {
    ForEachTimeRun(tables, range, [&](u32 count, const TimeRun& run) {
      writer->U32(count).U32(run.delta);
      ++*records;
    });
  });
}

void WriteOffsets(const CSampleTables& tables, const SampleRange& range, CImageWriter* writer) {
  if (!tables.HasOffsets()) return;
  const i64 lead = tables.LargestLead();
  const bool isAsListed = lead == 0 && range.Count() == tables.Count() &&
                          tables.ListedOffsets().Size() == u64{tables.OffsetRunCount()} * 8;
  WriteCounted(FourCc("ctts"), writer, [&](u32* records) {
    if (isAsListed) {
      *records = tables.OffsetRunCount();
      writer->Copy(tables.ListedOffsets());
      return;
    }
    const auto at = [&](u32 index) { return tables.OffsetRunAt(index); };
    ForEachRun(tables.OffsetRunCount(), at, range, [&](u32 count, const OffsetRun& run) {
      writer->U32(count).U32(static_cast<u32>(run.offset + lead));
      ++*records;
    });
  });
}

void WriteSync(const CSampleTables& tables, const SampleRange& range, CImageWriter* writer) {
  if (!tables.NamesSyncSamples() && tables.AllAreSync()) return;
  WriteCounted(FourCc("stss"), writer, [&](u32* records) {
    for (u32 index = 1; index <= tables.Sync().GetCount(); ++index) {
      const SyncRun& run = tables.Sync().At(index);
      const u64 end = std::min<u64>(u64{run.first} + run.count, u64{range.last} + 1);
      for (u64 sample = std::max(run.first, range.first); sample < end; ++sample) {
        writer->U32(sample - range.first + 1);
        ++*records;
      }
    }
  });
}

void WriteSizes(const CSampleTables& tables, const SampleRange& range, CImageWriter* writer) {
  writer->FullBox(FourCc("stsz"), 0, 0, [&] {
    const bool isConstant = tables.SizesAreConstant() && tables.ConstantSize() != 0;
    writer->U32(isConstant ? tables.ConstantSize() : 0).U32(range.Count());
    if (isConstant) return;
    const u64 listed = std::min(range.last, tables.ListedCount());
    u64 sample = range.first;
    if (sample <= listed)
      writer->Copy(tables.ListedSizes().Part((sample - 1) * 4, (listed - sample + 1) * 4));
    for (sample = std::max(sample, listed + 1); sample <= range.last; ++sample) {
      writer->U32(tables.SizeOf(static_cast<u32>(sample)));
    }
  });
}

// Calls `visit` with the part of each chunk that lies in the range.
template <class Visit>
void ForEachChunk(const CSampleTables& tables, const SampleRange& range, Visit visit) {
  u64 next = 1;
  for (u32 index = 1; index <= tables.Chunks().GetCount() && next <= range.last; ++index) {
    SampleChunk chunk = tables.Chunks().At(index);
    const u64 from = std::max<u64>(next, range.first);
    const u64 end = std::min<u64>(next + chunk.samples, u64{range.last} + 1);
    if (from < end) {
      if (tables.SizesAreConstant()) {
        chunk.position += (from - next) * tables.ConstantSize();
      } else {
        for (u64 sample = next; sample < from; ++sample)
          chunk.position += tables.SizeOf(static_cast<u32>(sample));
      }
      next += chunk.samples;
      chunk.samples = static_cast<u32>(end - from);
      visit(chunk);
    } else {
      next += chunk.samples;
    }
  }
}

void WriteChunks(const CSampleTables& tables, const SampleRange& range, CImageWriter* writer) {
  WriteCounted(FourCc("stsc"), writer, [&](u32* records) {
    SampleChunk before{};
    u32 number = 0;
    ForEachChunk(tables, range, [&](const SampleChunk& chunk) {
      ++number;
      if (chunk.samples == before.samples && chunk.entry == before.entry) return;
      writer->U32(number).U32(chunk.samples).U32(chunk.entry);
      before = chunk;
      ++*records;
    });
  });
  bool isLarge = false;
  ForEachChunk(tables, range,
               [&](const SampleChunk& chunk) { isLarge = isLarge || chunk.position >> 32 != 0; });
  WriteCounted(isLarge ? FourCc("co64") : FourCc("stco"), writer, [&](u32* records) {
    ForEachChunk(tables, range, [&](const SampleChunk& chunk) {
      if (isLarge) {
        writer->U64(chunk.position);
      } else {
        writer->U32(chunk.position);
      }
      ++*records;
    });
  });
}

}  // namespace

void WriteTables(const CSampleTables& tables, const SampleRange& range, CImageWriter* writer) {
  WriteTimes(tables, range, writer);
  WriteOffsets(tables, range, writer);
  WriteSync(tables, range, writer);
  WriteSizes(tables, range, writer);
  WriteChunks(tables, range, writer);
}

u64 DurationOf(const CSampleTables& tables, const SampleRange& range) {
  u64 duration = 0;
  ForEachTimeRun(tables, range, [&](u32 count, const TimeRun& run) { duration += u64{count} * run.delta; });
  return duration;
}

}  // namespace kt::adapt
