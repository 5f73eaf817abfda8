#include "filter/formats/picture_order.h"

#include <gtest/gtest.h>

#include "support/box_writer.h"

namespace kt {
namespace {

using test::Bytes;

Bytes Picture(const Bytes& behind) {
  return Bytes({0, 0, 1, 0xB6}).Add(behind);
}

TEST(PictureOrder, TellsTheKindByTheFirstPicture) {
  using enum PictureKind;
  const Bytes between = Picture({0x90, 0xE0, 0x64, 0x86, 0xF7});
  // Behind the start code. Real: I and one more, S, P that skips all of a small picture. Flagged as coded
  // behind 5 bits of time and behind whole seconds. Without the 0 that ends it.
  const Bytes intra = Bytes({0x10, 0x61, 0x06, 0x08, 0xD8}).Add(between),
              sprite = {0xD1, 0xF0, 0x22, 0x14, 0xF1};
  const Bytes skips = {0x51, 0x60, 0x23, 0xEF}, coded = {0x51, 0xEF}, late = {0x7F, 0xD1, 0xEF},
              unended = {0x54, 0xFF};
  for (const Bytes& picture : {intra, sprite, skips, coded, late, unended})
    EXPECT_EQ(KindOfPicture(Picture(picture)), Reference) << testing::PrintToString(picture);
  // Not coded behind 5 bits of time and ahead of another, behind 15 bits, 1 bit and whole seconds.
  const Bytes packed = Bytes({0x51, 0xCF}).Add(between);
  for (const Bytes& picture : {packed, {0x50, 0x7D, 0x33}, {0x6A, 0x7F}, {0x7F, 0xD1, 0xCF}, {}})
    EXPECT_EQ(KindOfPicture(Picture(picture)), None) << testing::PrintToString(picture);
  EXPECT_EQ(KindOfPicture(Picture({0x90, 0xE1, 0x64, 0xA3, 0xFF, 0xF7})), Between);
  const Bytes sample = Bytes({0, 0, 1, 0xB3, 0, 0x10, 7, 0, 0, 1, 0xB2, 'a', 0, 0}).Add(between);
  for (std::size_t size = 0; size <= sample.size(); ++size) {
    const std::vector<u8> cut(sample.data(), sample.data() + size);
    EXPECT_EQ(KindOfPicture(cut), size > 18 ? Between : None) << size;
  }
}

// Set-ups as two encoders write them, and by hand one without the flag for each type of object.
TEST(PictureOrder, TellsOfDelayByTheFirstLayer) {
  const Bytes start = {0, 0, 1, 0xB0, 1, 0, 0, 1, 0xB5, 0x09, 0, 0, 1, 0, 0, 0, 1, 0x20};
  const auto plain = [&](u8 objectType) {
    const u8 high = static_cast<u8>(objectType >> 1), low = static_cast<u8>(objectType << 7 | 0x04);
    return Bytes(start).Add({high, low, 0x40, 0x0C, 0xA0, 0x14, 0x10, 0x10, 0x8F});
  };
  const Bytes withDelay = {0x08, 0xD4, 0x8D, 0x08, 0x00, 0xCD, 0x05, 0x84, 0x12, 0x14, 0x18, 0x3F};
  const Bytes without = {0x00, 0xBC, 0x04, 0x06, 0xC4, 0x00, 0x67, 0x0C, 0x08, 0x10, 0x18, 0x51, 0x8F};
  const std::pair<Bytes, std::optional<bool>> rows[] = {
      {Bytes(start).Add(withDelay), false},
      {Bytes(start).Add(without), true},
      {Bytes(start).Add(without).Add(start).Add(withDelay), true},
      {Bytes(start).Add(without).Add(Picture({})), true},
      {Picture({0x10, 0x60}).Add(start).Add(without), {}},
      {plain(1), true},
      {plain(10), true},
      {plain(17), {}},
      {Bytes(start).Add({0x09, 0x54}).Add(Bytes(withDelay.begin() + 2, withDelay.end())), {}},  // type 18
  };
  for (const auto& [bytes, expected] : rows) {
    SCOPED_TRACE(testing::PrintToString(bytes));
    EXPECT_EQ(ComesInOrderOfDisplay(bytes), expected);
    for (std::size_t size = 0; size < bytes.size(); ++size) {
      const auto cut = ComesInOrderOfDisplay(std::vector<u8>(bytes.data(), bytes.data() + size));
      EXPECT_TRUE(!cut || cut == expected) << size;
    }
  }
}

}  // namespace
}  // namespace kt
