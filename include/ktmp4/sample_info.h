#pragma once

#include <ktmp4/mp4_track.h>

namespace kt {

/// What is mostly asked of a sample beside its bytes.
struct SampleInfo {
  u32 size = 0;             ///< In bytes.
  u64 decodingTime = 0;     ///< In media ticks.
  u64 compositionTime = 0;  ///< In media ticks.
};

/// `GetSampleSize` and both times in one call, which costs half of what the three do. Their results, in this
/// order; MP4_BAD_ARGUMENT for null. After a failure what was asked before it is stored.
KT_API Mp4Result GetSampleInfo(CMp4Track* track, u32 sample, SampleInfo* info);
/// `ReadSample` and both times in one call, with the results of the three in this order; MP4_BAD_ARGUMENT for
/// a null `track` or `info`. With MP4_BUFFER_TOO_SMALL `info->size` is stored.
KT_API Mp4Result ReadSampleAndInfo(CMp4Track* track, u32 sample, u32 bufferSize, u8* buffer,
                                   SampleInfo* info);

}  // namespace kt
