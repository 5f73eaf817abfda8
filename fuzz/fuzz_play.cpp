// Plays the input as a file through the filter's logic: load, the media types and buffers of each pin,
// delivery with captions, seeks. The low byte of a leading "ftyp" box's minor version chooses the media type
// and the switches, and the last bytes are a script of seeks, clocks and requests, so that every file is a
// seed.

#include <fcntl.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "filter/logic/line21_text_decoder.h"
#include "filter/logic/seeking.h"
#include "filter/logic/text_delivery.h"
#include "filter/logic/time_conversion.h"
#include "fuzz/memory_file.h"
#include "support/fake_media_sample.h"

namespace {

using namespace kt;
using kt::fuzz::Ignore;
using kt::fuzz::Require;

constexpr u32 kSamplesPerRun = 60;
constexpr std::size_t kChoice = 15;
constexpr std::size_t kScriptSize = 64;
constexpr u32 kLargestBuffer = 1 << 20;

class Host final : public ReaderHost {
 public:
  void ShowError(const char* text) override { Require(text != nullptr, "a message has a text"); }
  bool AddPin(CReaderPin& /*pin*/) override { return true; }
};

// A clock that stands, by default so that every caption waits; the wait itself is over at once.
class Clock final : public StreamClock, public RequestWait {
 public:
  // What it tells from now on, and after how many waits a request comes.
  void Set(i64 time, u32 waitsToRequest) {
    m_time = time;
    m_waitsToRequest = waitsToRequest;
  }
  i64 GetStreamTime() override { return m_time; }
  bool WaitForRequest(u32 /*milliseconds*/) override {
    Require(++m_waits <= 20 * 64 * 2000, "waits end");
    return m_waitsToRequest > 0 && --m_waitsToRequest == 0;
  }

 private:
  i64 m_time = 0;
  u32 m_waitsToRequest = 0;
  u32 m_waits = 0;
};

class Roads final : public TextRoads {
 public:
  bool FindCallback(const std::string& /*mappingName*/) override { return true; }
  void CallBack(TextKind /*kind*/, const std::string& /*time*/, const std::string& text) override {
    Require(text.size() <= 4 * 1024 + 16, "texts have a length");
  }
  void NotifyEvent(i32 /*code*/) override {}
  void NotifyTextEvent(i32 /*code*/, const char* /*word*/, const char* /*text*/) override {}
};

// A buffer of exactly the room that the pin asked for.
class Sample final : public test::FakeMediaSample {
 public:
  explicit Sample(u32 room) : FakeMediaSample(std::min(room, kLargestBuffer)) {}
  void SetActualDataLength(u32 length) override {
    Require(length <= GetSize(), "a sample fits into its buffer");
  }
};

int OpenFolder(const char* path) {
  const int folder = open(path, O_RDONLY | O_DIRECTORY);
  Require(folder >= 0, "folder");
  return folder;
}

int StartFolder() {
  static const int folder = OpenFolder(".");
  return folder;
}

// A URL names its file behind a drive letter: a folder in which "c:" is all that there is. It is left for the
// next run.
int FolderWithDrive() {
  static const int folder = [] {
    const std::filesystem::path path = std::filesystem::temp_directory_path() / "ktmp4-fuzz-drive";
    std::filesystem::create_directory(path);
    std::error_code exists;
    std::filesystem::create_directory_symlink("/", path / "c:", exists);
    return OpenFolder(path.c_str());
  }();
  return folder;
}

void GoTo(int folder) {
  Require(fchdir(folder) == 0, "change of folder");
}

// Connects the pin; false when it cannot be.
bool Connect(CReaderPin& pin, i32 wanted, BufferRequest* buffers) {
  MediaType type;
  for (i32 position = 0; position < 6; ++position) Ignore(pin.GetMediaType(position, &type));
  if (IsFailure(pin.GetMediaType(wanted, &type)) || IsFailure(pin.CheckMediaType(type))) return false;
  return !IsFailure(pin.SetMediaType(type)) && !IsFailure(pin.DecideBufferSize(buffers));
}

void Run(const CReaderSource& source, CReaderPin& pin, const BufferRequest& buffers,
         const DeliverySurroundings& surroundings) {
  CSampleDelivery delivery(source, pin, surroundings);
  Sample sample(buffers.size);
  for (u32 i = 0; i < kSamplesPerRun && delivery.FillBuffer(sample) == FilterResult::Ok; ++i) continue;
  i64 time = 0;
  Ignore(pin.GetCurrentPosition(&time));
  Ignore(pin.GetDuration(&time));
}

std::vector<i64> PositionsOfInterest(const FilterSeeking& seeking) {
  i64 length = 0;
  Ignore(seeking.GetDuration(&length));
  return {0, length / 2, length, length - 1, 1, -1, SaturatingAdd(length, 1)};
}

void Seek(const FilterSeeking& seeking, i64 current, i64 stop) {
  const PositionChange change{&current, kAbsolutePositioning, &stop, kAbsolutePositioning};
  Ignore(seeking.SetPositions(change, [](CReaderPin&) -> PinWorker* { return nullptr; }));
  Ignore(seeking.GetPositions(&current, &stop));
}

// What delivers one pin's samples for as long as the script goes.
struct Stream {
  Stream(const CReaderSource& source, CReaderPin& from, u32 room, const DeliverySurroundings& surroundings)
      : delivery(source, from, surroundings), sample(room) {}
  CSampleDelivery delivery;
  Sample sample;
};

// Each four bytes are a step: what, of which pin, how far.
void RunScript(std::span<const u8> script, const FilterSeeking& seeking, const std::vector<i64>& positions,
               std::vector<std::unique_ptr<Stream>>& streams, Clock& clock) {
  for (; script.size() >= 4 && !streams.empty(); script = script.subspan(4)) {
    Stream& stream = *streams[script[1] % streams.size()];
    const i64 position = SaturatingAdd(positions[script[2] % positions.size()], script[3] * i64{10'000});
    switch (script[0] % 4) {
      case 0:
        Seek(seeking, position, script[0] & 4 ? SaturatingAdd(position, script[1]) : 0);
        break;
      case 1:
        clock.Set(position, script[0] / 4);
        break;
      default:
        for (u32 i = 0; i < script[3] % kSamplesPerRun; ++i)
          Ignore(stream.delivery.FillBuffer(stream.sample));
        break;
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const u8* data, std::size_t size) {
  if (size <= kChoice) return 0;
  StartFolder();
  const u8 choice = data[kChoice];
  const std::string file = kt::fuzz::NameOfFileWith(data, size);
  Host host;
  Clock clock;
  Roads roads;
  TextStorage storage;
  CReaderSource source(host);
  // In a URL, captions become texts; by a plain name they are delivered and wait.
  const bool asUrl = (choice & 2) != 0;
  source.SetAdapt((choice & 16) != 0);
  const std::string name = asUrl ? "ktmp4file://c:" + file + "&cc=on&mdccid=name" : file;
  if (asUrl) GoTo(FolderWithDrive());
  const FilterResult loaded = source.Load(name.c_str());
  if (asUrl) GoTo(StartFolder());
  if (IsFailure(loaded)) return 0;
  if (choice & 4) source.SetForExtractor(true);
  TextDelivery texts(source, storage, roads);
  Line21TextDecoder captions(texts);
  FilterSeeking seeking(source);
  const std::vector<i64> positions = PositionsOfInterest(seeking);
  const DeliverySurroundings surroundings{clock, clock, texts, captions};
  std::vector<std::unique_ptr<Stream>> streams;
  for (const auto& pin : source.Pins()) {
    BufferRequest buffers;
    if (!Connect(*pin, (choice & 1) + (choice & 32 ? 2 : 0), &buffers)) continue;
    streams.push_back(std::make_unique<Stream>(source, *pin, buffers.size, surroundings));
    Run(source, *pin, buffers, surroundings);
    for (const i64 position : positions) {
      Seek(seeking, position, choice & 8 ? SaturatingAdd(position, 1000) : 0);
      Run(source, *pin, buffers, surroundings);
    }
  }
  const std::span<const u8> input(data, size);
  RunScript(input.last(std::min(size, kScriptSize)), seeking, positions, streams, clock);
  return 0;
}
