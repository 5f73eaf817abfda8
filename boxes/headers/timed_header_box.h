#pragma once

#include "engine/box/fields_box.h"

namespace kt {

/// What "mvhd", "tkhd" and "mdhd" have in common: creation and modification time, in seconds since the start
/// of 1904, and a duration. In version 1 these take 64 bits in the file and in any other version 32, to which
/// wider values are cut without notice; a new box has version 0.
class CTimedHeaderBox : public CFullBox {
 public:
  /// In ticks of the movie, in "mdhd" of the media.
  Mp4Result GetDuration(u64* duration) const;
  Mp4Result SetDuration(u64 duration);

 protected:
  using CFullBox::CFullBox;

  /// Names the three times and, in front of the duration, the fields that stand there in the file.
  template <class Fields, class... Between>
  Mp4Result VisitTimes(Fields& fields, Between&... between) {
    const bool wide = m_version == 1;
    KT_TRY(fields.Sized(m_ui64CreationTime, wide));
    KT_TRY(fields.Sized(m_ui64ModificationTime, wide));
    KT_TRY(fields(between...));
    return fields.Sized(m_ui64Duration, wide);
  }
  /// Prints the two lines of the creation and the modification time.
  void DumpTimes(int indent) const;

  u64 m_ui64CreationTime = 0;
  u64 m_ui64ModificationTime = 0;
  u64 m_ui64Duration = 0;
};

/// "mvhd" and "mdhd", which also say in what ticks durations count.
class CScaledHeaderBox : public CTimedHeaderBox {
 public:
  /// Ticks per second.
  Mp4Result GetTimeScale(u32* timeScale) const;
  Mp4Result SetTimeScale(u32 timeScale);
  /// The creation time as a date. MP4_BAD_VALUE beyond the year 2199.
  Mp4Result GetCreationDate(u32* year, u32* month, u32* day, u32* hour, u32* minute, u32* second) const;
  /// MP4_BAD_ARGUMENT, with nothing stored, as `DateToSeconds` says.
  Mp4Result SetCreationDate(u32 year, u32 month, u32 day, u32 hour, u32 minute, u32 second);

 protected:
  using CTimedHeaderBox::CTimedHeaderBox;

  u32 m_ui32TimeScale = 0;
};

/// The transformation of "mvhd" and "tkhd", 16.16 and 2.30 fixed; a new one leaves the picture alone.
struct Matrix {
  i32 values[9] = {0x10000, 0, 0, 0, 0x10000, 0, 0, 0, 0x40000000};
};

}  // namespace kt
