// Reads that fail, come short, or meet the end of a file that was cut or the bytes of another one, at every
// read in turn: for that one alone or from there on. This is a program of its own, since it replaces pread.

#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <map>

#include "support/movie_builder.h"

namespace {

enum class Fault { None, FailsOnce, FailsFromHereOn, IsCutFromHereOn, IsOtherFromHereOn, ComesByteByByte };

struct {
  Fault fault = Fault::None;
  std::size_t left = 0;  // reads until it comes
  bool hasCome = false;
} reads;

}  // namespace

extern "C" ssize_t pread64(int handle, void* buffer, std::size_t count, off64_t position) {
  if (reads.fault != Fault::None && (reads.left == 0 || --reads.left == 0)) {
    reads.hasCome = true;
    const Fault fault = reads.fault;
    if (fault == Fault::FailsOnce) reads.fault = Fault::None;
    if (fault == Fault::IsCutFromHereOn) return 0;
    if (fault == Fault::IsOtherFromHereOn)
      return std::memset(buffer, 0xA5, count), static_cast<ssize_t>(count);
    if (fault != Fault::ComesByteByByte) return errno = EIO, -1;
    count = count == 0 ? 0 : 1;
  }
  return syscall(SYS_pread64, handle, buffer, count, position);
}

namespace kt::test {
namespace {

// What every question about the file answers, under a name for each; a failed one answers its result.
using Answers = std::map<std::string, std::string>;

// A sample that cannot be read is asked for once more, with whatever reads there are then.
std::string TextOfSample(CMp4Track& track, u32 sample) {
  u32 size = 0;
  u64 shown = 0;
  EXPECT_EQ(track.GetSampleSize(sample, &size), MP4_OK);
  EXPECT_EQ(track.GetSampleCompositionTime(sample, &shown), MP4_OK);
  std::string bytes(size, '\0');
  const auto read = [&] {
    return track.ReadSample(sample, size, &size, reinterpret_cast<u8*>(bytes.data()));
  };
  Mp4Result result = read();
  if (result != MP4_OK) result = read();
  return result == MP4_OK ? bytes + std::to_string(shown) : Mp4ResultName(result);
}

Answers AskFile(const std::string& name, bool adapting) {
  const auto file = NewFile(adapting);
  Answers answers;
  answers["open"] = Mp4ResultName(file->Open(name.c_str(), MP4_MODE_READ, MP4_TYPE_MP4));
  if (answers["open"] != "MP4_OK") return answers;
  for (u32 index = 1; index <= 2; ++index) {
    CMp4Track* opened = nullptr;
    EXPECT_EQ(file->OpenTrack(index, &opened), MP4_OK);
    const std::unique_ptr<CMp4Track> track(opened);
    u32 count = 0;
    EXPECT_EQ(track->GetSampleCount(&count), MP4_OK);
    for (u32 sample = 1; sample <= count; ++sample) {
      answers[std::to_string(index) + "/" + std::to_string(sample)] = TextOfSample(*track, sample);
    }
  }
  return answers;
}

class FailingReads : public testing::TestWithParam<std::tuple<bool, Fault>> {};

// Whatever is answered is the truth or a failure, and what failed once is there when it is asked again.
TEST_P(FailingReads, AnswerTheTruthOrAFailure) {
  const auto& [adapting, fault] = GetParam();
  const std::string name = KTMP4_MEDIA "/bframes-aac.mp4";
  reads.fault = Fault::None;
  const Answers truth = AskFile(name, adapting);
  ASSERT_GT(truth.size(), 200u);
  std::size_t failed = 0;
  const std::size_t last = fault == Fault::ComesByteByByte ? 1 : ~std::size_t{0};
  for (std::size_t at = 1; at <= last; ++at) {
    reads = {fault, at, false};
    const Answers answers = AskFile(name, adapting);
    reads.fault = Fault::None;
    if (!reads.hasCome) break;
    for (const auto& [question, answer] : answers) {
      if (answer == truth.at(question)) continue;
      // Of the sizes and times that were read before.
      const bool isOther = fault == Fault::IsOtherFromHereOn && question != "open";
      if (isOther && answer.size() == truth.at(question).size()) continue;
      ++failed;
      EXPECT_TRUE(answer == "MP4_FILE_IO" || answer == "MP4_CORRUPT") << question;
      EXPECT_TRUE(question == "open" || fault != Fault::FailsOnce) << question << " at read " << at;
    }
  }
  EXPECT_EQ(failed > 0, fault != Fault::ComesByteByByte);
}

INSTANTIATE_TEST_SUITE_P(EachFault, FailingReads,
                         testing::Combine(testing::Bool(),
                                          testing::Values(Fault::FailsOnce, Fault::FailsFromHereOn,
                                                          Fault::IsCutFromHereOn, Fault::IsOtherFromHereOn,
                                                          Fault::ComesByteByByte)));

}  // namespace
}  // namespace kt::test
