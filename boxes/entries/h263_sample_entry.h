#pragma once

#include "boxes/entries/specific_box.h"
#include "boxes/entries/specific_sample_entry.h"
#include "boxes/entries/visual_sample_entry.h"

namespace kt {

/// "d263": profile and level of H.263 video, kept as bytes. 3GPP TS 26.244, 6.8.
class CH263SpecificBox final : public CSpecificBox {
 public:
  static constexpr u32 kType = FourCc("d263");
  CH263SpecificBox() : CSpecificBox(kType) {}
  explicit CH263SpecificBox(CBox&& header) : CSpecificBox(std::move(header)) {}
};

/// "s263": H.263 video. 3GPP TS 26.244, 6.6.
class CH263SampleEntry final : public CSpecificSampleEntry<CVisualSampleEntry, CH263SpecificBox> {
 public:
  static constexpr u32 kType = FourCc("s263");
  CH263SampleEntry() : CSpecificSampleEntry(kType) {}
  explicit CH263SampleEntry(CBox&& header) : CSpecificSampleEntry(std::move(header)) {}
};

}  // namespace kt
