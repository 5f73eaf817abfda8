// A disk that fills up at every byte that there is, one after the other.

#ifndef _WIN32

#include <gtest/gtest.h>

#include <map>
#include <optional>

#include "support/file_size_limit.h"
#include "support/written_movie.h"

namespace kt::test {
namespace {

u32 SizeOf(u32 sample, u32 largest) {
  return 1 + sample * 37 % largest;
}

// Writes a file of captions step by step and repeats the first step that fails once the disk has room again.
struct Attempt {
  std::string failedStep;  // empty when the file was complete without a failure
  u32 samples = 0;         // those that were written, the one that failed included
  Bytes content;
};

Attempt WriteWithRoomFor(u64 room, u32 largest, u32 samples = 230) {
  Attempt attempt;
  WrittenMovie movie;  // has laid down nothing yet: the header waits in the buffer
  EXPECT_EQ(movie.result, MP4_OK);
  CMp4Track* track = movie.AddTextTrack();
  std::optional<FileSizeLimit> disk(std::in_place, room);
  const auto step = [&](const char* name, auto&& operation) {
    const Mp4Result result = operation();
    if (result == MP4_OK) return true;
    EXPECT_EQ(result, MP4_FILE_IO) << name;
    EXPECT_EQ(attempt.failedStep, "") << "one step fails";
    attempt.failedStep = name;
    EXPECT_EQ(operation(), attempt.failedStep == "WriteSample" ? MP4_BAD_ARGUMENT : MP4_FILE_IO)
        << name << " on the full disk";
    disk.reset();
    EXPECT_EQ(operation(), attempt.failedStep == "WriteSample" ? MP4_BAD_ARGUMENT : MP4_OK)
        << name << " with room again";
    return false;
  };
  for (u32 i = 0; i < samples; ++i) {
    ++attempt.samples;
    if (!step("WriteSample", [&] { return WriteSample(track, SizeOf(i, largest), i); })) break;
  }
  step("CloseTrack", [&] { return movie->CloseTrack(track); });
  step("Close", [&] { return movie->Close(); });
  disk.reset();
  attempt.content = movie.Content();
  return attempt;
}

void ExpectSamples(const Attempt& attempt, u32 largest) {
  OpenedMovie read(attempt.content);
  ASSERT_EQ(read.result, MP4_OK);
  const auto track = read.OpenTrack();
  const u32 count = Got(*track, &CMp4Track::GetSampleCount);
  ASSERT_EQ(count, attempt.samples);
  for (u32 i = 0; i < count; ++i) {
    ASSERT_EQ(SampleOf(*track, i + 1), Bytes(SizeOf(i, largest), static_cast<u8>(i))) << i;
  }
}

// Samples that stay in the stream's buffer, and samples whose chunks go past it.
class FailingWrites : public testing::TestWithParam<u32> {};

TEST_P(FailingWrites, AreReportedAndCanBeRepeated) {
  const u32 largest = GetParam();
  const Attempt whole = WriteWithRoomFor(u64{1} << 40, largest);
  ASSERT_EQ(whole.failedStep, "");
  std::map<std::string, int> failures;
  const u64 size = whole.content.size();
  const u64 stride = largest < 1000 ? 1 : size / 150;
  for (u64 room = 0; room < size; room += stride) {
    SCOPED_TRACE(room);
    const Attempt attempt = WriteWithRoomFor(room, largest);
    ++failures[attempt.failedStep];
    ASSERT_NE(attempt.failedStep, "");
    ExpectSamples(attempt, largest);
    ASSERT_TRUE(attempt.failedStep == "WriteSample" || attempt.content == whole.content)
        << attempt.failedStep;
    if (HasFatalFailure()) return;
  }
  // The steps that could fail all did.
  EXPECT_GT(failures["Close"], 0);
  if (largest > 1000) {
    EXPECT_GT(failures["WriteSample"], 0);
    EXPECT_GT(failures["CloseTrack"], 0);
  }
}

INSTANTIATE_TEST_SUITE_P(SampleSizes, FailingWrites, testing::Values(3, 10'000));

// Tables that go past the stream's buffer fail half-way, and are written again where they began.
TEST(FailingWrite, OfLongTablesIsRepeatedFromTheirBegin) {
  const Attempt whole = WriteWithRoomFor(u64{1} << 40, 3, 20'000);
  const Attempt attempt = WriteWithRoomFor(whole.content.size() - 40'000, 3, 20'000);
  EXPECT_EQ(attempt.failedStep, "Close");
  EXPECT_TRUE(attempt.content == whole.content);
}

}  // namespace
}  // namespace kt::test

#endif
