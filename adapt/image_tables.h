#pragma once

#include "adapt/edits.h"
#include "adapt/image_writer.h"

namespace kt::adapt {

/// Writes the tables of "stbl" for the samples of `range`, but for "stsd". ISO/IEC 14496-12, 8.6 and 8.7.
/// Offsets below 0 are lifted to 0 and up, which moves the decoding times: by `tables.LargestLead()` earlier.
void WriteTables(const CSampleTables& tables, const SampleRange& range, CImageWriter* writer);

/// How long the samples of `range` last, media ticks.
u64 DurationOf(const CSampleTables& tables, const SampleRange& range);

}  // namespace kt::adapt
