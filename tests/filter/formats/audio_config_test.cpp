#include "filter/formats/audio_config.h"

#include <gtest/gtest.h>

#include "support/box_writer.h"

namespace kt {
namespace {

using test::Bytes;

// Each is cut at every byte as well, on the heap, so that a sanitizer sees a reader that goes too far.
TEST(AudioConfig, TellsWhatItSaysAndNothingOfWhatItDoesNot) {
  const std::pair<Bytes, std::optional<AudioConfig>> rows[] = {
      // Written by ffmpeg, which says behind the core that there is no SBR.
      {{0x12, 0x10, 0x56, 0xE5, 0x00}, {{2, 44100, 2, 44100, 2}}},
      {{0x10, 0x38, 0x56, 0xE5, 0x00}, {{2, 96000, 8, 96000, 8}}},
      // Channels are listed: by ffmpeg, and with mixdowns, data and coupling; SBR behind either list.
      {Bytes({0x12, 0x80, 0x05, 0x48, 0x44, 0x00, 0x20, 0x00, 0x88, 0x0D})
           .Text("Lavc59.37.100")
           .Add({0x56, 0xE5, 0x90}),
       {{2, 32000, 5, 64000, 5, true}}},
      {{0x11, 0x80, 0x14, 0xC8, 0x45, 0x23, 0x3A, 0xF0, 0x23, 0x29, 0x80, 0x40, 0x00, 0x56, 0xE5, 0x80},
       {{2, 48000, 8, 96000, 8, true}}},
      // SBR around and behind the core, with PS.
      {{0x2B, 0x92, 0x08, 0x2B, 0x72, 0x80}, {{2, 22050, 2, 44100, 2, true}}},
      {{0xEB, 0x09, 0x88, 0x00}, {{2, 24000, 1, 48000, 2, true, true}}},
      {{0xEB, 0x31, 0x88, 0x00}, {{2, 24000, 6, 48000, 6, true, true}}},
      {{0x13, 0x08, 0x56, 0xE5, 0x9D, 0x48, 0x80}, {{2, 24000, 1, 48000, 2, true, true}}},
      // Behind a delay, flags of resilience and protection; unread behind more protection.
      {{0x11, 0x92, 0x02, 0x61, 0x5B, 0x96, 0x20}, {{2, 48000, 2, 88200, 2, true}}},
      {{0x8B, 0x09, 0x01, 0x5B, 0x96, 0x60}, {{17, 24000, 1, 48000, 1, true}}},
      {{0x8B, 0x09, 0x09, 0x5B, 0x96, 0x60}, {{17, 24000, 1, 24000, 1}}},
      // Low delay by the longer type and a rate that is written out; CELP.
      {{0xF8, 0xFE, 0x01, 0x58, 0x88, 0x40}, {{39, 44100, 2, 44100, 2}}},
      {{0x45, 0x88}, {{8, 8000, 1, 8000, 1}}},
      // Reserved rate and channels, channels that are nowhere listed, SBR around SBR, a rate of 0.
      {{0x2E, 0x89, 0x88, 0x00}, {}},
      {{0x12, 0x48}, {}},
      {{0x45, 0x80}, {}},
      {{0x2B, 0x09, 0x94, 0x00}, {}},
      {{0x2B, 0x0F, 0x80, 0x00, 0x00, 0x08, 0x00}, {}},
  };
  for (const auto& [bytes, expected] : rows) {
    SCOPED_TRACE(testing::PrintToString(bytes));
    EXPECT_EQ(ReadAudioConfig(bytes), expected);
    for (std::size_t size = 0; size < bytes.size(); ++size) {
      // No more is lost than what follows the core.
      const auto cut = ReadAudioConfig(std::vector<u8>(bytes.data(), bytes.data() + size));
      if (!cut) continue;
      ASSERT_TRUE(expected) << size;
      EXPECT_EQ(cut->objectType, expected->objectType) << size;
      EXPECT_EQ(cut->channels, expected->channels) << size;
    }
  }
}

}  // namespace
}  // namespace kt
