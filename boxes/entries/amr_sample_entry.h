#pragma once

#include "boxes/entries/audio_sample_entry.h"
#include "boxes/entries/specific_box.h"
#include "boxes/entries/specific_sample_entry.h"

namespace kt {

/// "damr": modes and packing of AMR speech, kept as bytes. 3GPP TS 26.244, 6.7.
class CAMRSpecificBox final : public CSpecificBox {
 public:
  static constexpr u32 kType = FourCc("damr");
  CAMRSpecificBox() : CSpecificBox(kType) {}
  explicit CAMRSpecificBox(CBox&& header) : CSpecificBox(std::move(header)) {}
};

/// AMR speech. 3GPP TS 26.244, 6.5.
class CAMRSampleEntry : public CSpecificSampleEntry<CAudioSampleEntry, CAMRSpecificBox> {
 public:
  /// Always 1, whatever the field says, which the operation of the same name of `CAudioSampleEntry` tells.
  virtual Mp4Result GetChannelCount(u16* channels) const {
    *channels = 1;
    return MP4_OK;
  }

 protected:
  explicit CAMRSampleEntry(u32 type) : CSpecificSampleEntry(type) {}
  explicit CAMRSampleEntry(CBox&& header) : CSpecificSampleEntry(std::move(header)) {}
};

/// "samr": narrow-band AMR.
class CAMRNBSampleEntry final : public CAMRSampleEntry {
 public:
  static constexpr u32 kType = FourCc("samr");
  CAMRNBSampleEntry() : CAMRSampleEntry(kType) {}
  explicit CAMRNBSampleEntry(CBox&& header) : CAMRSampleEntry(std::move(header)) {}
};

/// "sawb": wide-band AMR.
class CAMRWBSampleEntry final : public CAMRSampleEntry {
 public:
  static constexpr u32 kType = FourCc("sawb");
  CAMRWBSampleEntry() : CAMRSampleEntry(kType) {}
  explicit CAMRWBSampleEntry(CBox&& header) : CAMRSampleEntry(std::move(header)) {}
};

}  // namespace kt
