#include "boxes/table_box.h"

#include "boxes/chunk_offset_box.h"
#include "boxes/table_support.h"
#include "boxes/time_to_sample_box.h"
#include "support/temp_file.h"

namespace kt::test {
namespace {

// Memory or time spent on what a count claims: each of these boxes would take gigabytes.
TEST(TableBox, RefusesACountThatTheFileCannotHoldBeforeKeepingARecord) {
  for (const char* code : {"stts", "ctts", "stco", "co64", "stsc", "stss", "elst"}) {
    SCOPED_TRACE(code);
    const Bytes box = FullBox(code, 0, 0, Bytes().U32(0xFFFFFFF0));
    EXPECT_EQ(ReadBox(box).result, MP4_OUT_OF_RANGE);

    const TempFile file(box);
    CStorage storage;
    ASSERT_EQ(storage.Open(file.Name().c_str(), MP4_MODE_READ), MP4_OK);
    std::unique_ptr<CBox> read;
    u32 type = 0;
    EXPECT_EQ(CreateBox(&storage, 0, &read, &type), MP4_FILE_IO);
  }
  const Bytes sizes = FullBox("stsz", 0, 0, Bytes().U32(0).U32(0xFFFFFFF0));
  EXPECT_EQ(ReadBox(sizes).result, MP4_OUT_OF_RANGE);
}

TEST(TableBox, KeepsNoRecordOfACountThatIsRefused) {
  Bytes bytes = Bytes().U32(0).U32(1000).U32(1).U32(2);  // version and flags, count, one record
  CMemoryStorage storage;
  ASSERT_EQ(storage.Open(bytes.data(), static_cast<u32>(bytes.size()), MP4_MODE_READ), MP4_OK);
  CTimeToSampleBox box;
  EXPECT_EQ(box.Deserialize(&storage), MP4_OUT_OF_RANGE);
  CTimeToSampleTableEntry entry{};
  EXPECT_EQ(box.GetEntry(1, &entry), MP4_NOT_FOUND);
}

// The count alone says what is read, and readers rely on it: a count too large takes the next box's bytes.
TEST(TableBox, ReadsOnBehindItsEndWhenTheCountIsTooLarge) {
  Bytes bytes = FullBox("stco", 0, 0, Bytes().U32(3).U32(1).U32(2));
  bytes.Add(Box("free"));
  const auto box = ReadBoxAs<CChunkOffsetBox>(bytes);
  ASSERT_NE(box, nullptr);
  EXPECT_EQ(Ask<u32>([&](u32* offset) { return box->GetChunkOffset(3, offset); }), (Answer<u32>{MP4_OK, 8}));
}

// The size of a new box before the first CalculateSize: 4 and 8 bytes more in two of the tables.
TEST(TableBox, CountsPartOfItsPayloadWhenNew) {
  u64 size = 0;
  EXPECT_EQ(CChunkOffsetBox().GetSize(&size), MP4_OK);
  EXPECT_EQ(size, 16u);
  EXPECT_EQ(CTimeToSampleBox().GetSize(&size), MP4_OK);
  EXPECT_EQ(size, 12u);
}

}  // namespace
}  // namespace kt::test
