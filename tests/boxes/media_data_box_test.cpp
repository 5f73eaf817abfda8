#include "boxes/media_data_box.h"

#include <gtest/gtest.h>

#include <tuple>

#include "support/answer.h"
#include "support/box_writer.h"
#include "support/temp_file.h"

namespace kt::test {
namespace {

/// Takes blocks of any size without keeping them.
struct CHeaderStorage : CStorage {
  Mp4Result WriteBlock(const void* /*buffer*/, u32 /*size*/) override { return MP4_OK; }
};

TEST(MediaData, TakesTheLongFormNear4GiB) {
  const auto shortHeader = [](u64 size) { return Bytes().U32(size).Text("mdat").U64(0x100000008); };
  const auto longHeader = [](u64 size) { return Bytes().U32(1).Text("mdat").U64(size); };
  const std::tuple<u64, Bytes> cases[] = {
      {0, shortHeader(16)},
      {0xFFFFFFEF, shortHeader(0xFFFFFFFF)},
      // Here the long form comes out 8 bytes too large.
      {0xFFFFFFF0, longHeader(0x100000008)},
      {0xFFFFFFF7, longHeader(0x10000000F)},
      {0xFFFFFFF8, longHeader(0x100000008)},
      {0x200000000, longHeader(0x200000010)},
  };
  for (const auto& [length, header] : cases) {
    CHeaderStorage storage;
    const TempFile file;
    ASSERT_EQ(MP4_OK, storage.Open(file.Name().c_str(), MP4_MODE_WRITE));
    CMediaDataBox mdat;
    ASSERT_EQ(MP4_OK, mdat.StartWriting(&storage));
    u64 position = 0;
    const u8 byte = 0;
    for (u64 left = length; left > 0;) {
      const u32 size = static_cast<u32>(std::min<u64>(left, 0xFFFFFFFF));
      ASSERT_EQ(MP4_OK, mdat.AppendData(&byte, size, &position));
      left -= size;
    }
    ExpectEach(MP4_OK, {mdat.FinishWriting(), storage.Close()});
    EXPECT_EQ(header, ReadFile(file.Path())) << std::hex << length;
  }
}

}  // namespace
}  // namespace kt::test
