// Memory that runs out at every allocation of the library, one after the other: for that one alone, or for as
// long as the operation is tried. This is a program of its own, since it replaces operator new.

#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

#include "engine/counted_memory.h"
#include "support/written_movie.h"

kt::test::CountedMemory kt::test::memory;
using kt::test::kEndless;
using kt::test::memory;

void* operator new(std::size_t size) {
  if (memory.inLibrary && memory.left-- == 0) {
    memory.left = memory.lasting ? 0 : kEndless;
    memory.hasFailed = true;
    throw std::bad_alloc();
  }
  void* const block = std::malloc(size == 0 ? 1 : size);
  if (block == nullptr) throw std::bad_alloc();
  ++memory.blocks;
  memory.bytes += malloc_usable_size(block);
  memory.peak = std::max(memory.peak, memory.bytes);
  return std::memset(block, memory.fill, size);
}

// The other forms too: where a sanitizer brings its own they do not go by the one above.
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  try {
    return operator new(size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

void* operator new[](std::size_t size) {
  return operator new(size);
}

void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept {
  return operator new(size, tag);
}

void operator delete(void* block) noexcept {
  if (block == nullptr) return;
  --memory.blocks;
  memory.bytes -= malloc_usable_size(block);
  std::memset(block, 0xDD, malloc_usable_size(block));
  std::free(block);
}

void operator delete(void* block, std::size_t /*size*/) noexcept {
  operator delete(block);
}

void operator delete[](void* block) noexcept {
  operator delete(block);
}

void operator delete[](void* block, std::size_t /*size*/) noexcept {
  operator delete(block);
}

// The counts of arrays are overwritten, too, when they are freed.
extern "C" const char* __asan_default_options() {
  return "poison_array_cookie=0";
}

namespace kt::test {
namespace {

// A run of operations, of which one runs out of memory. It is tried again then, and the run goes on, unless
// the operation cannot be repeated.
class Attempt {
 public:
  Attempt(std::size_t room, bool lasting) {
    memory.left = room;
    memory.lasting = lasting;
    memory.hasFailed = false;
    memory.fill = memory.fill % 200 + 1;
  }

  bool DoOnce(const char* name, auto&& operation) { return Do(name, operation, false); }
  bool Do(const char* name, auto&& operation, bool repeats = true) {
    const auto call = [&] {
      memory.inLibrary = true;
      const Mp4Result result = operation();
      memory.inLibrary = false;
      return result;
    };
    const Mp4Result result = call();
    if (result == MP4_OK) return true;
    EXPECT_TRUE(*failed == 0 && memory.hasFailed) << name << " " << result;
    EXPECT_TRUE(result == MP4_NO_MEMORY || std::string(name) == "Open") << name << " " << result;
    failed = name;
    EXPECT_TRUE(!repeats || memory.left != 0 || call() != MP4_OK) << name << " without memory";
    memory.left = kEndless;
    EXPECT_TRUE(!repeats || call() == MP4_OK) << name << " with memory again";
    return repeats;
  }

  const char* failed = "";  // the operation that ran out of memory
};

bool WriteTrack(Attempt& attempt, CMp4File& file, u32 kind, u32 samples) {
  CMp4Track* track = nullptr;
  if (!attempt.DoOnce("AddTrack", [&] { return file.AddTrack(&track); })) return false;
  attempt.Do("SetTrackType", [&] { return track->SetTrackType(kind); });
  EXPECT_EQ(track->SetTimeScale(1000), MP4_OK);
  attempt.Do("Set...Format", [&] {
    if (kind == MP4_KIND_TEXT) return track->SetLine21Format(0, 0, 0);
    return kind == MP4_KIND_VIDEO ? track->SetVideoFormat(32, 16, "video", 5, MP4_FORMAT_MP4V)
                                  : track->SetAudioFormat(0x100, 0, nullptr, 2, MP4_FORMAT_MP4A);
  });
  const Bytes bytes(1500, static_cast<u8>(kind));
  bool whole = true;
  for (u32 i = 0; whole && i < samples; ++i) {
    const u32 size = kind == MP4_KIND_VIDEO && i % 7 == 0 ? 1500 : 1 + i % 3;
    const u64 time = 100 * i, shown = kind == MP4_KIND_VIDEO ? time + 200 + 100 * (i % 2) : time;
    const auto write = [&] { return track->WriteSample(bytes.data(), size, time, shown, i % 2 == 0); };
    whole = attempt.DoOnce("WriteSample", write);
  }
  if (whole) return attempt.Do("CloseTrack", [&] { return file.CloseTrack(track); });
  if (file.CloseTrack(track) != MP4_OK) delete track;
  return false;
}

bool HintTrack(Attempt& attempt, CMp4File& file, u32 type, u32 media) {
  CMp4HintTrack* hint = nullptr;
  if (!attempt.DoOnce("AddHintTrack", [&] { return file.AddHintTrack(&hint, type); })) return false;
  attempt.Do("AddReferencedTrack", [&] { return hint->AddReferencedTrack(media); });
  if (attempt.DoOnce("CloseHintTrack", [&] { return file.CloseHintTrack(hint); })) return true;
  delete hint;
  return false;
}

std::unique_ptr<CMp4File> OpenFile(Attempt& attempt, const TempFile& temp, u32 mode) {
  const std::string name = temp.Name();
  CMp4File* file = nullptr;
  attempt.Do("CreateMp4File", [&] { return CreateMp4File(&file); });
  attempt.Do("Open", [&] { return file->Open(name.c_str(), mode, MP4_TYPE_MP4); });
  return std::unique_ptr<CMp4File>(file);
}

// A movie with hints of every kind; false when it could not be completed.
bool WriteMovie(Attempt& attempt, const TempFile& temp) {
  const auto file = OpenFile(attempt, temp, MP4_MODE_WRITE);
  const bool whole =
      WriteTrack(attempt, *file, MP4_KIND_VIDEO, 230) && WriteTrack(attempt, *file, MP4_KIND_VIDEO, 9) &&
      WriteTrack(attempt, *file, MP4_KIND_AUDIO, 9) && WriteTrack(attempt, *file, MP4_KIND_TEXT, 9) &&
      HintTrack(attempt, *file, MP4_HINT_VIDEO, 2) && HintTrack(attempt, *file, MP4_HINT_AAC, 3) &&
      HintTrack(attempt, *file, MP4_HINT_LATM, 3) && HintTrack(attempt, *file, MP4_HINT_CAPTION, 4) &&
      attempt.DoOnce("AddSceneTracks", [&] { return file->AddSceneTracks(2, 3, 0); });
  if (whole) attempt.Do("SetCopyright", [&] { return file->SetCopyright("deu", "niemand", 1); });
  if (whole) return attempt.Do("Close", [&] { return file->Close(); });
  static_cast<void>(file->Close());  // it does, or it does not
  return false;
}

// What reading it tells.
std::string ReadMovie(Attempt& attempt, const TempFile& temp) {
  testing::internal::CaptureStdout();
  const auto file = OpenFile(attempt, temp, MP4_MODE_READ);
  u32 sync = 0;
  for (u32 index = 1; index <= Got(*file, &CMp4File::GetTrackCount); ++index) {
    CMp4Track* track = nullptr;
    attempt.Do("OpenTrack", [&] { return file->OpenTrack(index, &track); });
    if (index == 1) attempt.Do("FindSyncSample", [&] { return track->FindSyncSample(22'000, &sync); });
    EXPECT_EQ(file->CloseTrack(track), MP4_OK);
  }
  for (u32 index = 5; index <= 8; ++index) {
    CMp4HintTrack* hint = nullptr;
    attempt.Do("OpenHintTrack", [&] { return file->OpenHintTrack(index, &hint); });
    attempt.Do("DumpHintSample", [&] { return hint->DumpHintSample(1); });
    delete hint;
  }
  EXPECT_EQ(file->Dump(), MP4_OK);
  return std::to_string(sync) + testing::internal::GetCapturedStdout();
}

class FailingAllocations : public testing::TestWithParam<bool> {};

// No block is left behind, and a run that could be completed ends as one that nothing disturbs.
TEST_P(FailingAllocations, LeaveNothingBehindAndCanBeRepeated) {
  const TempFile whole, file;
  Attempt undisturbed(kEndless, false);
  ASSERT_TRUE(WriteMovie(undisturbed, whole));
  const auto written = ReadFile(whole.Path());
  const std::string read = ReadMovie(undisturbed, whole);
  const auto write = [&](Attempt& a) { return !WriteMovie(a, file) || ReadFile(file.Path()) == written; };
  const auto readAgain = [&](Attempt& a) { return ReadMovie(a, whole) == read; };
  for (const bool writing : {true, false}) {
    std::size_t room = 0;
    do {
      const std::size_t blocks = memory.blocks;
      Attempt attempt(room, GetParam());
      const bool same = writing ? write(attempt) : readAgain(attempt);
      ASSERT_TRUE(same && memory.blocks == blocks) << room << " " << attempt.failed;
    } while (++room, memory.hasFailed);
    EXPECT_GT(room, 500u);
    memory.left = kEndless;
  }
}

INSTANTIATE_TEST_SUITE_P(OnceOrLasting, FailingAllocations, testing::Bool());

// A sample far above the limit of a chunk goes to the file at once, and its memory with it.
TEST(ChunkMemory, OfALargeSampleIsGivenBack) {
  WrittenMovie movie;
  CMp4Track* track = movie.AddTextTrack();
  const std::size_t before = memory.bytes;
  WriteSamples(track, 5'000'000, {0, 1});
  EXPECT_LT(memory.bytes, before + 1'000'000);
  movie.Finish({track});
}

}  // namespace
}  // namespace kt::test
