#include "filter/formats/audio_config.h"

#include <algorithm>
#include <iterator>

#include "filter/formats/bit_reader.h"

namespace kt {
namespace {

// ISO/IEC 14496-3, 1.5.1.1.
constexpr u32 kAacScalable = 6;
constexpr u32 kSbr = 5;
constexpr u32 kFirstResilient = 17;
constexpr u32 kResilientScalable = 20;
constexpr u32 kBsac = 22;
constexpr u32 kResilientLowDelay = 23;
constexpr u32 kPs = 29;

/// The object types whose set-up is a GASpecificConfig.
bool HasGeneralConfig(u32 objectType) {
  static constexpr u32 kTypes[] = {1, 2, 3, 4, 6, 7, 17, 19, 20, 21, 22, 23};
  return std::ranges::find(kTypes, objectType) != std::end(kTypes);
}

bool IsResilient(u32 objectType) {
  return objectType >= kFirstResilient && objectType <= kResilientLowDelay;
}

u32 ReadObjectType(BitReader* bits) {
  const u32 type = bits->Read(5);
  return type == 31 ? 32 + bits->Read(6) : type;
}

/// 0 for a reserved index. ISO/IEC 14496-3, 1.6.3.4.
u32 ReadRate(BitReader* bits) {
  static constexpr u32 kRates[] = {96000, 88200, 64000, 48000, 44100, 32000, 24000,
                                   22050, 16000, 12000, 11025, 8000,  7350};
  const u32 index = bits->Read(4);
  if (index == 15) return bits->Read(24);
  return index < std::size(kRates) ? kRates[index] : 0;
}

/// By arrangement of channels: 0 for a reserved one, and for 0, with which they are listed instead.
/// ISO/IEC 14496-3, 1.6.3.5.
constexpr u32 kChannels[16] = {0, 1, 2, 3, 4, 5, 6, 8, 0, 0, 0, 7, 8, 24, 8, 0};

/// The channels that a program_config_element lists: ISO/IEC 14496-3, 4.4.1.1.
u32 ReadListedChannels(BitReader* bits) {
  bits->Skip(4 + 2 + 4);  // tag, profile, rate
  const u32 front = bits->Read(4);
  const u32 side = bits->Read(4);
  const u32 back = bits->Read(4);
  const u32 lowFrequency = bits->Read(2);
  const u32 data = bits->Read(3);
  const u32 coupling = bits->Read(4);
  if (bits->ReadFlag()) bits->Skip(4);  // mixdowns: mono, stereo, matrix
  if (bits->ReadFlag()) bits->Skip(4);
  if (bits->ReadFlag()) bits->Skip(3);
  u32 channels = lowFrequency;
  for (u32 element = 0; element < front + side + back; ++element) {
    channels += bits->ReadFlag() ? 2U : 1U;
    bits->Skip(4);
  }
  bits->Skip(4 * (lowFrequency + data) + 5 * coupling);
  bits->Align();
  bits->Skip(u64{8} * bits->Read(8));  // a comment
  return channels;
}

/// GASpecificConfig: ISO/IEC 14496-3, 4.4.1. Learns the channels when the head does not tell them.
void ReadGeneralConfig(BitReader* bits, bool listsChannels, AudioConfig* config) {
  bits->Skip(1);                         // length of a frame
  if (bits->ReadFlag()) bits->Skip(14);  // delay of the core coder
  const bool isExtended = bits->ReadFlag();
  if (listsChannels) config->channels = ReadListedChannels(bits);
  const u32 type = config->objectType;
  if (type == kAacScalable || type == kResilientScalable) bits->Skip(3);
  if (!isExtended) return;
  if (type == kBsac) bits->Skip(5 + 11);
  if (IsResilient(type) && type != 21 && type != kBsac) bits->Skip(3);
  bits->Skip(1);
}

/// What writers put behind the set-up of the core, for readers that know SBR: ISO/IEC 14496-3, 1.6.5.
void ReadExtension(BitReader* bits, AudioConfig* config) {
  if (bits->BitsLeft() < 16 || bits->Read(11) != 0x2B7) return;
  if (ReadObjectType(bits) != kSbr) return;
  config->sbr = bits->ReadFlag();
  if (!config->sbr) return;
  config->outputRate = ReadRate(bits);
  if (bits->BitsLeft() < 12 || bits->Read(11) != 0x548) return;
  config->ps = bits->ReadFlag();
}

}  // namespace

std::optional<AudioConfig> ReadAudioConfig(std::span<const u8> bytes) {
  BitReader bits(bytes);
  AudioConfig config;
  config.objectType = ReadObjectType(&bits);
  config.sampleRate = config.outputRate = ReadRate(&bits);
  const u32 arrangement = bits.Read(4);
  config.channels = kChannels[arrangement];
  config.ps = config.objectType == kPs;
  config.sbr = config.ps || config.objectType == kSbr;
  const bool isLayered = config.sbr;
  if (isLayered) {
    config.outputRate = ReadRate(&bits);
    config.objectType = ReadObjectType(&bits);
    if (config.objectType == kBsac) bits.Skip(4);
  }
  if (HasGeneralConfig(config.objectType)) {
    ReadGeneralConfig(&bits, arrangement == 0, &config);
    // Above 1 a set-up for the protection of errors would follow.
    const bool isProtected = IsResilient(config.objectType) && bits.Read(2) > 1;
    if (!isLayered && !isProtected) ReadExtension(&bits, &config);
  }
  config.outputChannels = config.ps && config.channels == 1 ? 2 : config.channels;
  const bool isCore = config.objectType != 0 && config.objectType != kSbr && config.objectType != kPs;
  if (!bits.IsWhole() || !isCore || !config.sampleRate || !config.outputRate || !config.channels) return {};
  return config;
}

bool IsAac(u32 objectType) {
  static constexpr u32 kTypes[] = {1, 2, 3, 4, 6, 17, 19, 20, 23, 39, 42};
  return std::ranges::find(kTypes, objectType) != std::end(kTypes);
}

}  // namespace kt
