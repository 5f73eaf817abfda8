#include <memory>
#include <string>
#include <vector>

#include "tools/arguments.h"
#include "tools/commands.h"
#include "tools/files/input_file.h"
#include "tools/files/output_file.h"
#include "tools/files/sample_claims.h"
#include "tools/terminal/failure.h"
#include "tools/terminal/interrupts.h"

namespace kt {
namespace {

struct ExtractArguments {
  InputChoice input;
  std::string output;
  bool force = false;
  u32 track = 0;
};

// The samples of a track, one after the other, in a buffer that grows with the largest.
class SampleReader {
 public:
  SampleReader(InputFile& input, u32 track)
      : m_track(input.OpenTrack(track)),
        m_name("track " + std::to_string(track) + " of " + Quoted(input.Name())) {
    RequireSamplesFit(*m_track, input.Size(), m_name);
    Require("count the samples of " + m_name, m_track->GetSampleCount(&m_count));
  }

  u32 Count() const { return m_count; }

  void CopyTo(OutputFile& output, u32 sample) {
    const std::string operation = "read sample " + std::to_string(sample) + " of " + m_name;
    u32 size = 0;
    Require(operation, m_track->GetSampleSize(sample, &size));
    if (size > m_buffer.size()) m_buffer.resize(size);
    Require(operation, m_track->ReadSample(sample, size, &size, m_buffer.data()));
    output.Write(m_buffer.data(), size);
  }

 private:
  static void Require(const std::string& operation, Mp4Result result) {
    if (result) throw ResultFailure("cannot " + operation, result);
  }

  TrackHandle m_track;
  std::string m_name;
  u32 m_count = 0;
  std::vector<u8> m_buffer = std::vector<u8>(1);
};

void Extract(const ExtractArguments& arguments) {
  InputFile input(arguments.input);
  input.RequireOpen();
  input.RequireNoFragments("extract samples of");
  SampleReader reader(input, arguments.track);
  input.TellReading(NotesOf("extract"), arguments.track);
  const u32 count = reader.Count();
  const Interrupts interrupts;
  OutputFile output(arguments.output, arguments.input.name, arguments.force);
  for (u32 sample = 1; sample <= count && sample != 0; ++sample) {
    interrupts.Check();
    reader.CopyTo(output, sample);
  }
  output.Finish();
}

}  // namespace

void AddExtractCommand(CLI::App& program) {
  CLI::App* command =
      program.add_subcommand("extract", "Write the bytes of all samples of a track to a file");
  const auto arguments = std::make_shared<ExtractArguments>();
  AddTrackOption(*command, &arguments->track);
  AddInputArgument(*command, &arguments->input);
  AddOutputArguments(*command, &arguments->output, &arguments->force);
  command->footer(
      "The samples stand one after the other, as they are, without headers. OUT gets its name only when\n"
      "it is complete; until then a file that has the name already stays as it is. A fragmented file is\n"
      "refused, unless --adapt is given.");
  command->callback([arguments] { Extract(*arguments); });
}

}  // namespace kt
