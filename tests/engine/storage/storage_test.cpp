#include "engine/storage/storage.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <limits>
#include <random>

#include "support/open_storage.h"

#ifndef _WIN32
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace kt::test {
namespace {

constexpr u64 kLargest = std::numeric_limits<u64>::max();
constexpr u64 kLastPosition = static_cast<u64>(std::numeric_limits<i64>::max());

u32 IsEof(CStorage& storage) {
  return Got(storage, &CStorage::IsEof);
}

u64 PositionOf(CStorage& storage) {
  return Got(storage, &CStorage::GetPosition);
}

TEST(Storage, IsBigEndianAndDoesNotExtendThe24BitSign) {
  const auto write = [](CStorage& storage) {
    ExpectEach(MP4_OK, {storage.WriteInt64(-2), storage.WriteInt32(-3), storage.WriteUInt24(0xAB345678),
                        storage.WriteInt24(-4), storage.WriteInt16(-5), storage.WriteInt8(-6),
                        storage.WriteString("ab"), storage.WriteString(""), storage.WriteBytes("cd", 2)});
  };
  Bytes content = Bytes().U64(~u64{1}).U32(0xFFFFFFFD).U24(0x345678).U24(0xFFFFFC).U16(0xFFFB).U8(0xFA);
  content.Text("ab").Zeros(2).Text("cd");
  const TempFile file;
  CStorage storage;
  ASSERT_EQ(storage.Open(file.Name().c_str(), MP4_MODE_WRITE), MP4_OK);
  write(storage);
  ASSERT_EQ(storage.Close(), MP4_OK);
  EXPECT_EQ(ReadFile(file.Path()), content);
  MemoryBlock memory(content.size());
  write(*memory.operator->());
  EXPECT_EQ(memory.Written(), content);
  FileOf onDisk(content);
  MemoryBlock inMemory(content);
  for (CStorage* const reader : std::initializer_list<CStorage*>{onDisk, inMemory}) {
    EXPECT_EQ(Got(*reader, &CStorage::ReadInt64), -2);
    EXPECT_EQ(Got(*reader, &CStorage::ReadInt32), -3);
    EXPECT_EQ(Got(*reader, &CStorage::ReadUInt24), 0x345678u);
    EXPECT_EQ(Got(*reader, &CStorage::ReadInt24), 0xFFFFFC);
    EXPECT_EQ(Got(*reader, &CStorage::ReadInt16), -5);
    EXPECT_EQ(Got(*reader, &CStorage::ReadInt8), -6);
    EXPECT_EQ(PositionOf(*reader), 21u);
  }
}

// A cut read keeps what arrived, and only a read that ran into the end raises the indicator.
TEST(FileStorage, CutReadKeepsTheBytesThatArrivedAndRaisesEof) {
  FileOf reader({0x11, 0x22, 0xAA, 0xBB});
  ASSERT_EQ(reader->Skip(2), MP4_OK);
  EXPECT_EQ(Ask(*reader, &CStorage::ReadUInt32), (Answer<u32>{MP4_FILE_IO, 0x0000AABB}));
  EXPECT_EQ(IsEof(*reader), 1u);

  // With the indicator set nothing is read, not even a block of 0.
  u8 byte = 0x5A;
  i8 signedByte = 0x5A;
  ExpectEach(MP4_FILE_IO, {reader->ReadUInt8(&byte), reader->ReadInt8(&signedByte)});
  EXPECT_TRUE(byte == 0x5A && signedByte == 0x5A);
  ExpectEach(MP4_END_OF_FILE, {reader->ReadBlock(&byte, 1), reader->ReadBlock(&byte, 0)});
  EXPECT_EQ(reader->ReadBytes(&byte, 1), MP4_FILE_IO);
  EXPECT_EQ(reader->ReadBytes(&byte, 0), MP4_OK);
}

TEST(FileStorage, EofIsClearedByMovingAndByNothingElse) {
  FileOf reader({1, 2, 3});
  u8 block[4];
  ASSERT_EQ(reader->ReadBlock(block, 3), MP4_OK);
  EXPECT_EQ(IsEof(*reader), 0u) << "the last byte itself is no end";
  ExpectEach(MP4_FILE_IO, {reader->ReadBlock(block, 1), reader->SetPosition(kLastPosition + 1)});
  EXPECT_EQ(IsEof(*reader), 1u) << "a failed move clears nothing";
  EXPECT_EQ(reader->Skip(0), MP4_OK);
  EXPECT_EQ(IsEof(*reader), 0u);
  ASSERT_EQ(reader->ReadBlock(block, 1), MP4_FILE_IO);
  ExpectEach(MP4_OK, {reader->SetPosition(2), reader->ReadBlock(block, 1)});
  EXPECT_EQ(block[0], 3);
}

// A 40-byte file whose box sizes wrap the position would otherwise be walked backwards without end.
TEST(FileStorage, SkipNeverWrapsAndRunsBeyondTheEnd) {
  FileOf reader(Bytes().Zeros(40));
  ASSERT_EQ(reader->SetPosition(32), MP4_OK);
  for (const u64 count : {kLargest, kLargest - 31, kLargest - 15, kLastPosition - 31}) {
    EXPECT_EQ(reader->Skip(count), MP4_FILE_IO) << count;
    EXPECT_EQ(PositionOf(*reader), 32u);
  }
  EXPECT_EQ(reader->Skip(kLastPosition - 32), MP4_OK);
  EXPECT_EQ(PositionOf(*reader), kLastPosition);
  ASSERT_EQ(reader->SetPosition(100), MP4_OK);
  EXPECT_EQ(Ask(*reader, &CStorage::ReadUInt32), (Answer<u32>{MP4_FILE_IO, 0}));
}

// What is known of a file's length can be out of date; a cut file is no more than a short one.
TEST(FileStorage, NoticesThatAFileGrowsAndThatItIsCut) {
  const TempFile file(Bytes().Zeros(100));
  CStorage storage;
  u8 block[20];
  ASSERT_EQ(storage.Open(file.Name().c_str(), MP4_MODE_READ), MP4_OK);
  EXPECT_EQ(storage.RequireBytes(101), MP4_FILE_IO);
  std::filesystem::resize_file(file.Path(), 101);
  EXPECT_EQ(storage.RequireBytes(101), MP4_OK);
  std::filesystem::resize_file(file.Path(), 30);
  EXPECT_EQ(storage.ReadBlockAt(20, block, 20, 40), MP4_FILE_IO);
  EXPECT_EQ(storage.ReadBlockAt(10, block, 20, 40), MP4_OK);
}

// The buffer holds 64 KiB: blocks that straddle its edge, and blocks that pass it by.
TEST(FileStorage, ReadsAcrossTheBufferAlike) {
  Bytes content;
  for (u32 i = 0; i < 50'000; ++i) content.U32(i * 0x9E3779B1);
  FileOf reader(content);
  std::mt19937 random(5);
  for (u32 i = 0; i < 400; ++i) {
    // Around the edges of the buffer, the end of the file among them, and anywhere.
    const u64 position = i % 2 == 0 ? 65'536 * (1 + random() % 3) - random() % 9 : random() % 200'000;
    const u32 length = static_cast<u32>(i % 3 == 0 ? random() % 20 : 65'530 + random() % 10);
    const u32 count = static_cast<u32>(std::min<u64>(length, 200'000 - position));
    Bytes block(count);
    ASSERT_EQ(reader->ReadBlockAt(position, block.data(), count, random() % 99'999), MP4_OK)
        << position << "+" << count;
    const auto begin = content.begin() + static_cast<std::ptrdiff_t>(position);
    ASSERT_TRUE(std::equal(block.begin(), block.end(), begin)) << position << "+" << count;
    ASSERT_EQ(PositionOf(*reader), position + count);
  }
}

TEST(FileStorage, OpenStates) {
  const TempFile file(Bytes().Text("x"));
  const std::string name = file.Name();
  CStorage storage;
  ExpectEach(MP4_NOT_FOUND, {storage.Close(), storage.SetPosition(0)});
  EXPECT_EQ(storage.Open(name.c_str(), 2), MP4_BAD_ARGUMENT);
  EXPECT_EQ(storage.Open(name.c_str(), MP4_MODE_READ), MP4_OK);
  EXPECT_EQ(storage.Open(name.c_str(), 2), MP4_NOT_FOUND) << "the state is tested before the mode";
  EXPECT_EQ(storage.WriteUInt8(1), MP4_FILE_IO);
  ExpectEach(MP4_OK, {storage.Close(), storage.Open(name.c_str(), MP4_MODE_WRITE)});
  EXPECT_EQ(Ask(storage, &CStorage::ReadUInt8).result, MP4_FILE_IO);
  EXPECT_EQ(storage.WriteBytes("x", 0), MP4_FILE_IO) << "callers rely on a block of 0 failing";
  EXPECT_EQ(storage.Close(), MP4_OK);
  EXPECT_EQ(ReadFile(file.Path()).size(), 0u) << "writing truncates";
}

TEST(FileStorage, NothingWorksWhileClosed) {
  CStorage storage;
  u64 wide = 0;
  u32 word = 0;
  u16 half = 0;
  u8 byte = 0;
  ExpectEach(MP4_FILE_IO, {storage.GetSize(&wide), storage.GetPosition(&wide), storage.ReadUInt64(&wide),
                           storage.ReadUInt32(&word), storage.ReadUInt24(&word), storage.ReadUInt16(&half),
                           storage.ReadUInt8(&byte), storage.ReadBytes(&byte, 1), storage.ReadBlock(&byte, 0),
                           storage.Skip(0), storage.WriteUInt32(1), storage.WriteUInt8(1),
                           storage.WriteBytes("", 1), storage.WriteString(""), storage.RequireBytes(0)});
  EXPECT_EQ(IsEof(storage), 0u);
}

#ifndef _WIN32

// Without a peer an ordinary open would wait for ever: the test then never ends.
TEST(FileStorage, RefusesWhatIsNoRegularFileWithoutWaiting) {
  const TempFile fifo, folder;
  ASSERT_EQ(mkfifo(fifo.Name().c_str(), 0600), 0);
  std::filesystem::create_directory(folder.Path());
  CStorage storage;
  for (const std::string& name : {fifo.Name(), folder.Name(), std::string("/dev/zero")}) {
    EXPECT_EQ(storage.Open(name.c_str(), MP4_MODE_READ), MP4_FILE_IO) << name;
    EXPECT_EQ(storage.Open(name.c_str(), MP4_MODE_WRITE), MP4_FILE_IO) << name;
  }
  EXPECT_EQ(storage.Close(), MP4_NOT_FOUND);
}

// To open a FIFO lets go of whoever waits for a peer there; and a regular file is not to be read as one.
TEST(FileStorage, OpeningActsOnRegularFilesAlone) {
  const TempFile fifo, file;
  ASSERT_EQ(mkfifo(fifo.Name().c_str(), 0600), 0);
  const int peer = open(fifo.Name().c_str(), O_RDONLY | O_NONBLOCK);
  CStorage storage;
  EXPECT_EQ(storage.Open(fifo.Name().c_str(), MP4_MODE_WRITE), MP4_FILE_IO);
  // Hung up is a FIFO only once somebody has been at its other end.
  pollfd look = {peer, POLLIN, 0};
  EXPECT_EQ(poll(&look, 1, 0), 0);
  close(peer);
  ASSERT_EQ(storage.Open(file.Name().c_str(), MP4_MODE_WRITE), MP4_OK);
  EXPECT_EQ(fcntl(peer, F_GETFL) & O_NONBLOCK, 0) << "it has the lowest number that is free";
}

#endif

// A refused open leaves its size and buffer behind; reading through a stored null must not crash.
TEST(MemoryStorage, ARefusedOpenLeavesItsFields) {
  u8 block[4] = {1, 2, 3, 4};
  CMemoryStorage storage;
  EXPECT_EQ(storage.Open(nullptr, 4, MP4_MODE_READ), MP4_BAD_ARGUMENT);
  EXPECT_EQ(Got(storage, &CStorage::GetSize), 4u);
  EXPECT_EQ(Ask(storage, &CStorage::ReadUInt8), (Answer<u8>{MP4_OUT_OF_RANGE, 0}));
  ExpectEach(MP4_OUT_OF_RANGE, {storage.WriteUInt8(1), storage.ReadBlock(block, 0), storage.Skip(1)});

  EXPECT_EQ(storage.Open(block, 4, 2), MP4_BAD_ARGUMENT);
  EXPECT_EQ(storage.Skip(3), MP4_OK) << "accesses do not look at the open flags";
  EXPECT_EQ(Got(storage, &CStorage::ReadUInt8), 4);
  EXPECT_EQ(storage.Open(block, 2, 2), MP4_BAD_ARGUMENT);
  EXPECT_EQ(storage.ReadBytes(block, 1), MP4_OUT_OF_RANGE) << "the position now lies behind the block";
  EXPECT_EQ(IsEof(storage), 1u);
}

TEST(MemoryStorage, BoundsHoldAndAFailureMovesNothing) {
  std::array<u8, 5> block = {0, 0, 0, 0x5A, 0x5A};  // the storage sees the first three
  CMemoryStorage storage;
  ASSERT_EQ(storage.Open(block.data(), 3, MP4_MODE_WRITE), MP4_OK);
  EXPECT_EQ(Ask(storage, &CStorage::ReadUInt32), (Answer<u32>{MP4_OUT_OF_RANGE, 0})) << "unlike a file";
  EXPECT_EQ(IsEof(storage), 0u);
  EXPECT_EQ(storage.WriteUInt24(0x010203), MP4_OK);
  EXPECT_EQ(storage.WriteUInt8(4), MP4_OUT_OF_RANGE);
  EXPECT_EQ(IsEof(storage), 1u) << "no read is needed first";
  EXPECT_EQ(storage.WriteBytes("", 0), MP4_OK) << "a block of 0 succeeds, unlike a file";

  EXPECT_EQ(storage.SetPosition(3), MP4_OK);
  ExpectEach(MP4_OUT_OF_RANGE, {storage.SetPosition(4), storage.SetPosition(0x1'0000'0001)});
  EXPECT_EQ(storage.SetPosition(2), MP4_OK);
  u8 byte = 0;
  for (const u64 count : {u64{2}, u64{0xFFFF'FFFF}, u64{0x1'0000'0000}, kLargest, kLargest - 1}) {
    EXPECT_EQ(storage.Skip(count), MP4_OUT_OF_RANGE) << count;
    EXPECT_EQ(storage.ReadBytes(&byte, count), MP4_OUT_OF_RANGE) << count;
    EXPECT_EQ(storage.RequireBytes(count), MP4_OUT_OF_RANGE) << count;
  }
  ExpectEach(MP4_OUT_OF_RANGE, {storage.WriteBlock("xx", 2), storage.ReadBlock(&byte, 0xFFFF'FFFF)});
  EXPECT_EQ(PositionOf(storage), 2u);
  EXPECT_EQ(block, (std::array<u8, 5>{1, 2, 3, 0x5A, 0x5A}));
}

}  // namespace
}  // namespace kt::test
