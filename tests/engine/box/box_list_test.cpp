#include "engine/box/box_list.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace kt {
namespace {

// The searches resume where the last ones stood; the order in which they are asked must not show, and nothing
// of old items is remembered.
TEST(BoxList, FindsOccurrencesLikeAPlainWalk) {
  std::mt19937 random(3);
  const auto anyType = [&random] {
    const u32 types[] = {FourCc("trak"), FourCc("free"), FourCc("skip"), FourCc("moov")};
    return types[random() % 4];
  };
  CBoxList list(nullptr);
  std::vector<std::pair<u32, CBox*>> boxes;
  for (int step = 0; step < 20'000; ++step) {
    if (step % 2000 == 0) {
      list.Clear();
      boxes.clear();
    }
    if (random() % 20 == 0) {
      const u32 type = anyType();
      auto box = std::make_unique<CBox>(type);
      boxes.emplace_back(type, box.get());
      ASSERT_EQ(list.Add(std::move(box)), MP4_OK);
    }
    const u32 wanted = anyType(), occurrence = static_cast<u32>(random() % 30);
    CBox *expected = nullptr, *found = nullptr;
    u32 left = std::max(occurrence, 1u);
    for (const auto& [type, box] : boxes) {
      if (type == wanted && left > 0 && --left == 0) expected = box;
    }
    ASSERT_EQ(list.FindByType(wanted, &found, occurrence), expected ? MP4_OK : MP4_NOT_FOUND) << step;
    ASSERT_EQ(found, expected) << step;
  }
}

}  // namespace
}  // namespace kt
