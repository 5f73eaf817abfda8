#include "boxes/data_list.h"

#include <gtest/gtest.h>

namespace kt {
namespace {

void Fill(CDataList<u32>* list, u32 count) {
  for (u32 i = 1; i <= count; ++i) {
    const u32 record = 10 * i;
    ASSERT_EQ(list->Append(&record), MP4_OK);
  }
}

TEST(DataList, FindsRecordsInAnyOrderAcrossBlocksAndGrowths) {
  CDataList<u32> list;
  Fill(&list, 12345);
  for (const u32 index : {1u, 100u, 101u, 250u, 120u, 12345u, 12301u, 200u, 1u}) {
    u32 record = 0;
    ASSERT_EQ(list.GetAt(index, &record), MP4_OK) << index;
    EXPECT_EQ(record, 10 * index);
  }
}

TEST(DataList, NumbersItsBlocksByTheirFirstRecord) {
  CDataList<u32> list;
  Fill(&list, 201);
  EXPECT_EQ(list.Block(0).m_ui32FirstIndex, 1u);
  EXPECT_EQ(list.Block(1).m_ui32FirstIndex, 101u);
  EXPECT_EQ(list.Block(2).m_ui32FirstIndex, 201u);
}

TEST(DataList, RefusesNumbersThatItDoesNotHold) {
  CDataList<u32> list;
  u32 record = 5;
  u32* pointer = nullptr;
  for (const u32 count : {0u, 3u}) {
    Fill(&list, count);
    EXPECT_EQ(list.GetAt(0, &record), MP4_ZERO_INDEX);
    EXPECT_EQ(list.GetAt(count + 1, &record), MP4_NOT_FOUND);
    EXPECT_EQ(list.GetPointerAt(0, &pointer), MP4_ZERO_INDEX);
    EXPECT_EQ(list.GetPointerAt(count + 1, &pointer), MP4_NOT_FOUND);
  }
  EXPECT_EQ(record, 5u);
  EXPECT_EQ(pointer, nullptr);
}

TEST(DataList, ChangesARecordInPlace) {
  CDataList<u32> list;
  Fill(&list, 150);
  u32* pointer = nullptr;
  ASSERT_EQ(list.GetPointerAt(101, &pointer), MP4_OK);
  *pointer = 7;
  EXPECT_EQ(list.At(101), 7u);
  EXPECT_EQ(list.At(100), 1000u);
}

TEST(DataList, IsUsableAfterClear) {
  CDataList<u32> list;
  list.Clear();
  Fill(&list, 150);
  list.Clear();
  u32 record = 0;
  EXPECT_EQ(list.GetAt(1, &record), MP4_NOT_FOUND);
  Fill(&list, 2);
  EXPECT_EQ(list.GetCount(), 2u);
  EXPECT_EQ(list.Block(0).m_ui32FirstIndex, 1u);
  EXPECT_EQ(list.At(2), 20u);
}

}  // namespace
}  // namespace kt
