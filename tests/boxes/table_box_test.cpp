#include "boxes/table_box.h"

#include "boxes/chunk_offset_box.h"
#include "boxes/time_to_sample_box.h"
#include "support/box_probe.h"
#include "support/track_boxes.h"

namespace kt::test {
namespace {

// Memory or time spent on what a count claims: each of these boxes would take gigabytes.
TEST(TableBox, RefusesACountThatTheFileCannotHoldBeforeKeepingARecord) {
  for (const char* code : {"stts", "ctts", "stco", "co64", "stsc", "stss", "elst"}) {
    const Bytes box = TableBox(code, 0xFFFFFFF0, {});
    EXPECT_EQ(ReadBox(box).result, MP4_OUT_OF_RANGE) << code;
    EXPECT_EQ(ReadBoxFrom(FileOf(box)).result, MP4_FILE_IO) << code;
  }
  EXPECT_EQ(ReadBox(ConstantStsz(0, 0xFFFFFFF0)).result, MP4_OUT_OF_RANGE);
  MemoryBlock storage(Bytes().U32(0).U32s({1000, 1, 2}));  // version and flags, count, one record
  CTimeToSampleBox box;
  EXPECT_EQ(box.Deserialize(storage), MP4_OUT_OF_RANGE);
  CTimeToSampleTableEntry entry{};
  EXPECT_EQ(box.GetEntry(1, &entry), MP4_NOT_FOUND);
}

// The count alone says what is read, and readers rely on it: a count too large takes the next box's bytes.
TEST(TableBox, ReadsOnBehindItsEndWhenTheCountIsTooLarge) {
  const auto box = ReadBoxAs<CChunkOffsetBox>(TableBox("stco", 3, Bytes().U32s({1, 2})).Add(Box("free")));
  ASSERT_NE(box, nullptr);
  EXPECT_EQ(Got(*box, &CChunkOffsetBox::GetChunkOffset, 3u), 8u);
}

}  // namespace
}  // namespace kt::test
