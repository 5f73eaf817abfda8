#include "engine/box/box_list.h"

#include <tuple>

#include "support/answer.h"

namespace kt {
namespace {

constexpr u32 kTrak = FourCc("trak");
constexpr u32 kFree = FourCc("free");
constexpr u32 kOthers = 20;  // in front of the boxes that are looked for: short walks are not remembered

void Append(CBoxList* list, u32 type, u32 count = 1) {
  for (; count > 0; --count) ASSERT_EQ(list->Add(std::make_unique<CBox>(type)), MP4_OK);
}

// The searches resume where the last ones stood; the order in which they are asked must not show.
TEST(BoxList, FindsOccurrencesInAnyOrder) {
  CBoxList list(nullptr);
  Append(&list, FourCc("skip"), kOthers);
  Append(&list, kFree);
  Append(&list, kTrak, 2);
  Append(&list, kFree);
  Append(&list, kTrak);
  const auto indexOf = [&list](u32 type, u32 occurrence) {
    CBox* found = nullptr;
    if (list.FindByType(type, &found, occurrence) != MP4_OK) {
      EXPECT_EQ(found, nullptr);
      return 0u;
    }
    for (u32 index = 1;; ++index) {
      CBox* box = nullptr;
      EXPECT_EQ(list.GetByIndex(index, &box), MP4_OK);
      if (box == found) return index - kOthers;
    }
  };
  // Code, occurrence and index, 0 for none.
  const std::tuple<u32, u32, u32> searches[] = {
      {kTrak, 3, 5}, {kTrak, 2, 3}, {kTrak, 1, 2}, {kTrak, 0, 2}, {kFree, 2, 4}, {kTrak, 3, 5},
      {kTrak, 4, 0}, {kTrak, 3, 5}, {kFree, 0, 1}, {kFree, 3, 0}, {kTrak, 2, 3}, {FourCc("moov"), 1, 0}};
  for (const auto& [type, occurrence, index] : searches) {
    EXPECT_EQ(indexOf(type, occurrence), index) << type << " " << occurrence;
  }
  Append(&list, kTrak);
  EXPECT_EQ(indexOf(kTrak, 4), 6u);
  list.Clear();
  EXPECT_EQ(indexOf(kTrak, 1), 0u) << "nothing of the old items is remembered";
  Append(&list, FourCc("skip"), kOthers);
  Append(&list, kTrak);
  EXPECT_EQ(indexOf(kTrak, 1), 1u);
}

}  // namespace
}  // namespace kt
