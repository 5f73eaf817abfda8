#pragma once

#include <span>
#include <vector>

#include "filter/formats/media_type.h"

namespace kt {

/// The types of AAC in raw blocks, in the order of preference, whose set-up (AudioSpecificConfig, ISO/IEC
/// 14496-3, 1.6.2.1) is `config`. What a set-up that cannot be read does not tell is taken from `sampleRate`
/// and `channels`, those of the sample entry. None when these say nothing either, when there is no set-up,
/// and when it tells of a coding that is not AAC.
std::vector<MediaType> AacTypes(std::span<const u8> config, u32 sampleRate, u32 channels);

/// The types of MPEG-1 and MPEG-2 audio in whole frames (ISO/IEC 11172-3, 13818-3), of which the sample entry
/// says `sampleRate` and `channels`. None when it says what these do not have.
std::vector<MediaType> Mp3Types(u32 sampleRate, u32 channels);

}  // namespace kt
