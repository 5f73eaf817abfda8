#include "boxes/tables/table_box.h"

#include "boxes/tables/chunk_offset_box.h"
#include "boxes/tables/time_to_sample_box.h"
#include "support/box_probe.h"
#include "support/track_boxes.h"

namespace kt::test {
namespace {

// Memory and time spent on what a count claims: nothing of a table is kept that the file cannot hold whole.
// The records that there are would fill more than one pass of the reader.
TEST(TableBox, RefusesACountThatTheFileCannotHoldBeforeKeepingARecord) {
  CTimeToSampleBox box;
  const Bytes payload = Bytes().U32(0).U32(2000).Zeros(8 * 1999);  // version and flags, count, records
  EXPECT_EQ(box.Deserialize(FileOf(payload)), MP4_FILE_IO);
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
