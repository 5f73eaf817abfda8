#include "engine/storage/field_io.h"

#include <gtest/gtest.h>

#include "boxes/headers/movie_header_box.h"
#include "boxes/headers/track_header_box.h"
#include "support/open_storage.h"

namespace kt::test {
namespace {

/// Answers one access to 32 bits with a failure and does all of them.
class RecoveringStorage : public CStorage {
 public:
  Mp4Result ReadUInt32(u32* value) override { return Judge(CStorage::ReadUInt32(value)); }
  Mp4Result WriteUInt32(u32 value) override { return Judge(CStorage::WriteUInt32(value)); }

  int failing = 0;  // its number, counted from 1

 private:
  Mp4Result Judge(Mp4Result result) { return --failing == 0 ? MP4_FILE_IO : result; }
};

// For each access that fails an "x" when the box fails with it and a dot when nobody notices.
template <class Made>
std::string FailuresOf(bool writing) {
  std::string failures;
  for (int failing = 1;; ++failing) {
    FileOf<RecoveringStorage> input(std::vector<u8>(200));
    const TempFile file;
    RecoveringStorage output;
    EXPECT_EQ(output.Open(file.Name().c_str(), MP4_MODE_WRITE), MP4_OK);
    RecoveringStorage& storage = writing ? output : *input;
    storage.failing = failing;
    Made box;
    const Mp4Result result = writing ? box.Serialize(&storage) : box.Deserialize(&storage);
    if (storage.failing > 0) return failures;
    failures += result == MP4_OK ? '.' : 'x';
  }
}

// In the matrix, and in what is reserved at the end of a movie header, the last number alone decides.
TEST(FieldIo, OfSomeRunsTheLastResultAloneCounts) {
  EXPECT_EQ(FailuresOf<CMovieHeaderBox>(false), "xxxxxxx........x.....xx");
  EXPECT_EQ(FailuresOf<CMovieHeaderBox>(true), "xxxxxxxxx........x.....xx");
  EXPECT_EQ(FailuresOf<CTrackHeaderBox>(false), "xxxxxxx........xxx");
  EXPECT_EQ(FailuresOf<CTrackHeaderBox>(true), "xxxxxxxxx........xxx");
}

// Sizes above 32 bits are printed whole.
TEST(Box, DumpOfAVeryLargeBox) {
  MemoryBlock header(Bytes().U32(1).Text("free").U64(0x100000010));
  CBox box;
  ASSERT_EQ(box.Deserialize(header), MP4_OK);
  EXPECT_EQ(Dumped(box), "\nBox type = free  Size = 4294967312\n");
}

}  // namespace
}  // namespace kt::test
