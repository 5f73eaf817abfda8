#include "boxes/table_box.h"

#include "boxes/chunk_offset_box.h"
#include "boxes/table_support.h"
#include "boxes/time_to_sample_box.h"
#include "support/temp_file.h"

namespace kt::test {
namespace {

struct RoundTrip {
  const char* name;
  Bytes box;
  const char* dumpedCount;
};

const RoundTrip kRoundTrips[] = {
    {"stts", Table("stts", {{3, 10}, {0, 5}}), "Entry count = 2\n"},
    {"ctts", Table("ctts", {{3, 0xFFFFFFFE}}), "Entry count = 1\n"},
    {"stco", Table("stco", {{48}, {0xFFFFFFFF}}), "Entry count = 2\n"},
    {"co64", FullBox("co64", 0, 0, Bytes().U32(1).U64(0x123456789A)), "Entry count = 1\n"},
    {"stsc", Table("stsc", {{1, 2, 1}, {3, 5, 2}}), "Entry count = 2\n"},
    {"stss", Table("stss", {{1}, {10}, {20}}), "Entry count = 3\n"},
    {"stsz of a table", SizeTable({7, 0, 9}), "Sample Size = 0\n    Entry Count = 3\n"},
    {"stsz of a constant", FullBox("stsz", 0, 0, Bytes().U32(500).U32(3)),
     "Sample Size = 500\n    Entry Count = 3\n"},
    {"elst of version 0",
     FullBox("elst", 0, 0, Bytes().U32(1).U32(0xFFFFFFF0).U32(0xFFFFFFFF).U16(1).U16(0x8000)),
     "Entry count = 1\n"},
    {"elst of version 1",
     FullBox("elst", 1, 0, Bytes().U32(1).U64(0x100000000).U64(~u64{0}).U16(0xFFFF).U16(2)),
     "Entry count = 1\n"},
    {"no records", Table("stts", {}), "Entry count = 0\n"},
    {"version and flags", FullBox("stss", 9, 0xABCDEF, Bytes().U32(1).U32(4)), "Entry count = 1\n"},
};

// A field read in the wrong order, width or sign, or a size that does not count what is written.
TEST(TableBox, WritesWhatItRead) {
  for (const RoundTrip& row : kRoundTrips) {
    SCOPED_TRACE(row.name);
    const std::unique_ptr<CBox> box = ReadBoxAs(row.box);
    ASSERT_NE(box, nullptr);
    EXPECT_EQ(WrittenBytes(box.get()), row.box);
    u64 size = 0;
    EXPECT_EQ(box->GetSize(&size), MP4_OK);
    EXPECT_EQ(size, row.box.size());
    u64 remaining = 1;
    EXPECT_EQ(box->GetRemaining(&remaining), MP4_OK);
    EXPECT_EQ(remaining, 0u);
    const std::string dump = DumpText(box.get(), 2);
    EXPECT_NE(dump.find("\n    " + std::string(row.dumpedCount)), std::string::npos) << dump;
  }
}

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
