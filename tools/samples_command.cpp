#include <charconv>
#include <memory>
#include <string>
#include <string_view>

#include "tools/arguments.h"
#include "tools/commands.h"
#include "tools/files/input_file.h"
#include "tools/files/sample_claims.h"
#include "tools/terminal/failure.h"
#include "tools/terminal/standard_streams.h"

namespace kt {
namespace {

struct SamplesArguments {
  InputChoice input;
  u32 track = 0;
};

// One line of numbers with commas between them; a file can have millions of lines.
class CsvLine {
 public:
  CsvLine& Add(u64 number) {
    m_end = std::to_chars(m_end, m_text + sizeof m_text, number).ptr;
    *m_end++ = ',';
    return *this;
  }
  std::string_view Finish() {
    m_end[-1] = '\n';
    return {m_text, static_cast<std::size_t>(m_end - m_text)};
  }

 private:
  static constexpr std::size_t kColumns = 5;
  static constexpr std::size_t kLongestNumber = 20;
  char m_text[kColumns * (kLongestNumber + 1)];
  char* m_end = m_text;
};

void PrintSample(CMp4Track& track, u32 sample, const std::string& file) {
  const auto require = [&](const char* what, Mp4Result result) {
    if (!result) return;
    throw ResultFailure(std::string("cannot find the ") + what + " of sample " + std::to_string(sample) +
                            " in " + Quoted(file),
                        result);
  };
  u32 size = 0;
  u64 decodingTime = 0, compositionTime = 0;
  require("size", track.GetSampleSize(sample, &size));
  require("decoding time", track.GetSampleDecodingTime(sample, &decodingTime));
  require("composition time", track.GetSampleCompositionTime(sample, &compositionTime));
  u32 sync = 0;
  const bool isSync = track.FindSyncSample(compositionTime, &sync) == MP4_OK && sync == sample;
  Print(CsvLine().Add(sample).Add(size).Add(decodingTime).Add(compositionTime).Add(isSync).Finish());
}

void Samples(const SamplesArguments& arguments) {
  InputFile input(arguments.input);
  input.RequireOpen();
  const TrackHandle track = input.OpenTrack(arguments.track);
  u32 count = 0;
  if (const Mp4Result result = track->GetSampleCount(&count)) {
    throw ResultFailure("cannot count the samples of " + Quoted(arguments.input.name), result);
  }
  // Of an adapted file the count is in proportion to the file, and its end may be missing.
  if (!input.IsAdapted()) {
    RequireSamplesFit(*track, input.Size(),
                      "track " + std::to_string(arguments.track) + " of " + Quoted(arguments.input.name));
  }
  input.TellReading(NotesOf("samples"), arguments.track);
  Print("sample,size,dts,cts,sync\n");
  for (u32 sample = 1; sample <= count && sample != 0; ++sample)
    PrintSample(*track, sample, arguments.input.name);
}

}  // namespace

void AddSamplesCommand(CLI::App& program) {
  CLI::App* command = program.add_subcommand("samples", "List the samples of a track as CSV");
  const auto arguments = std::make_shared<SamplesArguments>();
  AddTrackOption(*command, &arguments->track);
  AddInputArgument(*command, &arguments->input);
  command->footer(
      "Columns:\n"
      "  sample  counted from 1\n"
      "  size    bytes\n"
      "  dts     decoding time in ticks of the track's time scale, a start delay included\n"
      "  cts     composition time in the same\n"
      "  sync    1 when the search for a sync sample at the sample's own composition time finds it");
  command->callback([arguments] { Samples(*arguments); });
}

}  // namespace kt
