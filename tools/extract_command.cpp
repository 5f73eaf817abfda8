#include <memory>
#include <string>
#include <vector>

#include "tools/arguments.h"
#include "tools/commands.h"
#include "tools/failure.h"
#include "tools/input_file.h"
#include "tools/interrupts.h"
#include "tools/output_file.h"

namespace kt {
namespace {

struct ExtractArguments {
  std::string file;
  std::string output;
  u32 track = 0;
};

// The samples of a track, one after the other, in a buffer that grows with the largest.
class SampleReader {
 public:
  SampleReader(InputFile& input, u32 track)
      : m_fileSize(input.Size()),
        m_track(input.OpenTrack(track)),
        m_where(" of track " + std::to_string(track) + " of " + Quoted(input.Name())) {}

  u32 Count() {
    u32 count = 0;
    if (const Mp4Result result = m_track->GetSampleCount(&count)) {
      throw ResultFailure("cannot count the samples" + m_where, result);
    }
    return count;
  }

  void CopyTo(OutputFile& output, u32 sample) {
    u32 size = 0;
    Mp4Result result = m_track->GetSampleSize(sample, &size);
    if (!result && size > m_fileSize) result = MP4_FILE_IO;  // no memory for what the file cannot hold
    if (!result) {
      if (size > m_buffer.size()) m_buffer.resize(size);
      result = m_track->ReadSample(sample, size, &size, m_buffer.data());
    }
    if (result) throw ResultFailure("cannot read sample " + std::to_string(sample) + m_where, result);
    output.Write(m_buffer.data(), size);
  }

 private:
  u64 m_fileSize;
  TrackHandle m_track;
  std::string m_where;
  std::vector<u8> m_buffer = std::vector<u8>(1);
};

void Extract(const ExtractArguments& arguments) {
  InputFile input(arguments.file);
  input.RequireOpen();
  SampleReader reader(input, arguments.track);
  const u32 count = reader.Count();
  const Interrupts interrupts;
  OutputFile output(arguments.output, arguments.file);
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
  AddFileArgument(*command, &arguments->file);
  command->add_option("OUT", arguments->output, "The file to write")->required()->type_name("");
  command->footer(
      "The samples stand one after the other, as they are, without headers. OUT gets its name only when\n"
      "it is complete; until then a file that has the name already stays as it is.");
  command->callback([arguments] { Extract(*arguments); });
}

}  // namespace kt
