#include "engine/storage/data_list.h"

#include <gtest/gtest.h>

namespace kt {
namespace {

TEST(DataList, FindsAndChangesRecordsInAnyOrderAcrossBlocksAndGrowths) {
  CDataList<u32> list;
  for (u32 i = 10; i <= 123450; i += 10) ASSERT_EQ(list.Append(&i), MP4_OK);
  u32* pointer = nullptr;
  ASSERT_EQ(list.GetPointerAt(102, &pointer), MP4_OK);
  *pointer = 7;
  u32 record = 5;
  for (const u32 index : {1u, 100u, 101u, 102u, 250u, 120u, 12345u, 12301u, 200u, 1u}) {
    ASSERT_EQ(list.GetAt(index, &record), MP4_OK) << index;
    EXPECT_EQ(record, index == 102 ? 7 : 10 * index);
  }
}

}  // namespace
}  // namespace kt
