#include "boxes/media_data_box.h"

#include <gtest/gtest.h>

#include <tuple>

#include "support/box_writer.h"
#include "support/temp_file.h"

namespace kt::test {
namespace {

TEST(MediaData, ReservesALongHeaderAndPatchesAShortOne) {
  const TempFile file;
  CStorage storage;
  ASSERT_EQ(MP4_OK, storage.Open(file.Name().c_str(), MP4_MODE_WRITE));
  EXPECT_EQ(MP4_OK, storage.WriteUInt32(0xAAAAAAAA));
  CMediaDataBox mdat;
  u64 position = 0;
  EXPECT_EQ(MP4_NOT_READY, mdat.AppendData(nullptr, 0, &position));
  EXPECT_EQ(MP4_NOT_READY, mdat.FinishWriting());
  EXPECT_EQ(MP4_OK, mdat.StartWriting(&storage));
  const Bytes data = Bytes().Text("samples");
  EXPECT_EQ(MP4_OK, mdat.AppendData(data.data(), 4, &position));
  EXPECT_EQ(20u, position);
  EXPECT_EQ(MP4_FILE_IO, mdat.AppendData(data.data(), 0, &position));
  EXPECT_EQ(MP4_OK, mdat.AppendData(data.data() + 4, 3, &position));
  EXPECT_EQ(24u, position);
  EXPECT_EQ(MP4_OK, mdat.FinishWriting());
  EXPECT_EQ(MP4_OK, storage.WriteUInt32(0xBBBBBBBB));
  EXPECT_EQ(MP4_OK, storage.Close());
  // The placeholder of the long size stays, as payload in front of the samples.
  EXPECT_EQ(Bytes().U32(0xAAAAAAAA).U32(23).Text("mdat").U64(0x100000008).Text("samples").U32(0xBBBBBBBB),
            ReadFile(file.Path()));
}

/// Takes blocks of any size without keeping them.
class CCountingStorage : public CStorage {
 public:
  Mp4Result GetPosition(u64* position) override {
    *position = 0;
    return MP4_OK;
  }
  Mp4Result SetPosition(u64 /*position*/) override { return MP4_OK; }
  Mp4Result WriteBlock(const void* /*buffer*/, u32 /*size*/) override { return MP4_OK; }
  Mp4Result WriteUInt32(u32 value) override { return Note(value, 4); }
  Mp4Result WriteUInt64(u64 value) override { return Note(value, 8); }

  Bytes written;

 private:
  Mp4Result Note(u64 value, unsigned width) {
    width == 8 ? written.U64(value) : written.U32(value);
    return MP4_OK;
  }
};

TEST(MediaData, TakesTheLongFormNear4GiB) {
  const auto shortHeader = [](u64 size) { return Bytes().U32(size).Text("mdat"); };
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
    CCountingStorage storage;
    CMediaDataBox mdat;
    ASSERT_EQ(MP4_OK, mdat.StartWriting(&storage));
    EXPECT_EQ(longHeader(0x100000008), storage.written);
    storage.written.clear();
    u64 position = 0;
    const u8 byte = 0;
    for (u64 left = length; left > 0;) {
      const u32 size = static_cast<u32>(std::min<u64>(left, 0xFFFFFFFF));
      ASSERT_EQ(MP4_OK, mdat.AppendData(&byte, size, &position));
      left -= size;
    }
    ASSERT_EQ(MP4_OK, mdat.FinishWriting());
    EXPECT_EQ(header, storage.written) << std::hex << length;
  }
}

}  // namespace
}  // namespace kt::test
