#pragma once

#include <optional>
#include <span>

#include <ktmp4/types.h>

namespace kt {

/// What the decoder set-up of MPEG-4 audio says. Rates are per second; channels for low frequencies count.
struct AudioConfig {
  /// Of the core, and so never SBR (5) or PS (29). ISO/IEC 14496-3, 1.5.1.1.
  u32 objectType = 0;
  u32 sampleRate = 0;
  u32 channels = 0;
  /// What comes out behind SBR and PS, where the set-up says that these are there; else as of the core.
  u32 outputRate = 0;
  u32 outputChannels = 0;
  bool sbr = false;
  bool ps = false;

  bool operator==(const AudioConfig&) const = default;
};

/// Reads an AudioSpecificConfig: ISO/IEC 14496-3, 1.6.2.1. Nothing when it is cut short or says a reserved
/// rate or arrangement of channels. SBR and PS that are signalled behind the set-up of the core are found for
/// the kinds of AAC (GASpecificConfig, 4.4.1) alone, since only there the end of that set-up is known.
std::optional<AudioConfig> ReadAudioConfig(std::span<const u8> bytes);

/// True for the object types that a decoder of AAC is for, whether it knows each of them or not.
bool IsAac(u32 objectType);

}  // namespace kt
