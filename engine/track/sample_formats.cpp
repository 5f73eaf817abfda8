#include "engine/track/sample_formats.h"

#include "boxes/entries/amr_sample_entry.h"
#include "boxes/entries/h263_sample_entry.h"
#include "boxes/entries/mp4_sample_entry.h"

namespace kt {
namespace {

constexpr struct {
  u32 code;
  u32 format;
  u32 kind;
} kFormats[] = {
    {CMP4VisualSampleEntry::kType, MP4_FORMAT_MP4V, MP4_KIND_VIDEO},
    {CMP4AudioSampleEntry::kType, MP4_FORMAT_MP4A, MP4_KIND_AUDIO},
    {CMP4MpegSampleEntry::kType, MP4_FORMAT_MP4S, MP4_KIND_UNKNOWN},  // the systems tracks, of two kinds
    {CH263SampleEntry::kType, MP4_FORMAT_S263, MP4_KIND_VIDEO},
    {CAMRWBSampleEntry::kType, MP4_FORMAT_SAWB, MP4_KIND_AUDIO},
    {CAMRNBSampleEntry::kType, MP4_FORMAT_SAMR, MP4_KIND_AUDIO},
};

}  // namespace

u32 FormatOfEntry(u32 code) {
  for (const auto& row : kFormats) {
    if (row.code == code) return row.format;
  }
  return MP4_FORMAT_UNKNOWN;
}

u32 EntryOfFormat(u32 format, u32 kind) {
  for (const auto& row : kFormats) {
    if (row.format == format && row.kind == kind) return row.code;
  }
  return 0;
}

}  // namespace kt
