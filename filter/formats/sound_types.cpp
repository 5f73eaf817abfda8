#include "filter/formats/sound_types.h"

#include <algorithm>
#include <iterator>
#include <limits>

#include "filter/formats/audio_config.h"
#include "filter/formats/format_block.h"

namespace kt {
namespace {

constexpr u16 kRawAacTag = 0x00FF;
constexpr u16 kHeAacTag = 0x1610;
constexpr u16 kMp3Tag = 0x0055;

/// What HEAACWAVEINFO says behind WAVEFORMATEX: raw blocks (0), a profile that is not told (0xFE), the set-up
/// as it is (0), and reserved fields.
constexpr u8 kHeAacFacts[12] = {0x00, 0x00, 0xFE};

constexpr std::size_t kMostBehind = std::numeric_limits<u16>::max();

}  // namespace

std::vector<MediaType> AacTypes(std::span<const u8> config, u32 sampleRate, u32 channels) {
  if (config.empty() || config.size() > kMostBehind - std::size(kHeAacFacts)) return {};
  AudioConfig facts;
  facts.sampleRate = facts.outputRate = sampleRate;
  facts.channels = facts.outputChannels = channels;
  if (const auto read = ReadAudioConfig(config)) {
    if (!IsAac(read->objectType)) return {};
    facts = *read;
  }
  if (!facts.sampleRate || !facts.channels) return {};

  const SoundFacts output = {.tag = kRawAacTag,
                             .channels = static_cast<u16>(facts.outputChannels),
                             .sampleRate = facts.outputRate,
                             .bitsPerSample = 16};
  const SoundFacts core = {.tag = kHeAacTag,
                           .channels = static_cast<u16>(facts.channels),
                           .sampleRate = facts.sampleRate,
                           .bitsPerSample = 16};
  std::vector<u8> behind(std::begin(kHeAacFacts), std::end(kHeAacFacts));
  behind.insert(behind.end(), config.begin(), config.end());
  return {CodedSound(MEDIASUBTYPE_RAW_AAC1, WaveFormatBlock(output, config)),
          CodedSound(MEDIASUBTYPE_MPEG_HEAAC, WaveFormatBlock(core, behind))};
}

std::vector<MediaType> Mp3Types(u32 sampleRate, u32 channels) {
  static constexpr u32 kRates[] = {8000, 11025, 12000, 16000, 22050, 24000, 32000, 44100, 48000};
  if (std::ranges::find(kRates, sampleRate) == std::end(kRates) || channels < 1 || channels > 2) return {};
  // The most that Layer III takes, as its rate of bits is not known: converters divide by these.
  const bool isFirstStandard = sampleRate >= 32000;
  const SoundFacts facts = {.tag = kMp3Tag,
                            .channels = static_cast<u16>(channels),
                            .sampleRate = sampleRate,
                            .bytesPerSecond = isFirstStandard ? 40000u : 20000u};
  const u32 frame = facts.bytesPerSecond * (isFirstStandard ? 1152 : 576) / sampleRate + 1;
  // MPEGLAYER3WAVEFORMAT: the kind MPEG (1), padding as the frames say (0), bytes of a block of one frame,
  // delay.
  const u8 behind[12] = {1, 0, 0, 0, 0, 0, static_cast<u8>(frame), static_cast<u8>(frame >> 8), 1, 0, 0, 0};
  return {CodedSound(MEDIASUBTYPE_MP3, WaveFormatBlock(facts, behind))};
}

}  // namespace kt
