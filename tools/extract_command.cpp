#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/arguments.h"
#include "tools/commands.h"
#include "tools/facts/track_questions.h"
#include "tools/files/input_file.h"
#include "tools/files/output_file.h"
#include "tools/files/sample_claims.h"
#include "tools/streams/stream_format.h"
#include "tools/terminal/failure.h"
#include "tools/terminal/interrupts.h"

namespace kt {
namespace {

struct ExtractArguments {
  InputChoice input;
  std::string output;
  bool force = false;
  std::optional<u32> track;
  StreamFormat format = StreamFormat::kRaw;
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

  CMp4Track& Track() { return *m_track; }
  const std::string& Name() const { return m_name; }
  u32 Count() const { return m_count; }
  std::string SampleName(u32 sample) const { return "sample " + std::to_string(sample) + " of " + m_name; }

  ByteSpan Read(u32 sample) {
    const std::string operation = "read " + SampleName(sample);
    u32 size = 0;
    Require(operation, m_track->GetSampleSize(sample, &size));
    if (size > m_buffer.size()) m_buffer.resize(size);
    Require(operation, m_track->ReadSample(sample, size, &size, m_buffer.data()));
    return ByteSpan(m_buffer).first(size);
  }
  bool IsSync(u32 sample) {
    u64 time = 0;
    return m_track->GetSampleCompositionTime(sample, &time) == MP4_OK && IsSyncSample(*m_track, sample, time);
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

// How the samples of a track are coded, whoever has read the file.
struct Coding {
  SampleEntry entry;
  std::size_t entryCount = 0;
  std::vector<u8> setUp;
};

Coding CodingOf(InputFile& input, u32 index, CMp4Track& track) {
  Coding coding;
  const std::vector<AdaptedEntry> entries = AdaptedEntries(input.File(), index);
  const std::vector<ByteSpan> boxes = input.TrackBoxes();
  const ByteSpan box = index <= boxes.size() ? boxes[index - 1] : ByteSpan();
  const auto list = BoxAt(box, {"mdia", "minf", "stbl", "stsd"});
  coding.entry = FirstEntry(entries, box);
  coding.entryCount = entries.size();
  if (entries.empty()) coding.entryCount = static_cast<std::size_t>(Number(list.value_or(ByteSpan()), 4, 4));
  coding.setUp = DecoderInfo(track);
  return coding;
}

void Extract(const ExtractArguments& arguments) {
  InputFile input(arguments.input);
  input.RequireOpen();
  input.RequireNoFragments("extract samples of");
  const u32 index = input.ChosenTrack(arguments.track);
  SampleReader reader(input, index);
  const bool isRaw = arguments.format == StreamFormat::kRaw;
  const Coding coding = isRaw ? Coding() : CodingOf(input, index, reader.Track());
  if (coding.entryCount > 1)
    throw Failure(reader.Name() + " has several sample entries, and a stream has one");
  const auto framer = MakeFramer(arguments.format, coding.entry, coding.setUp, reader.Name());
  input.TellReading(NotesOf("extract"), index);
  const u32 count = reader.Count();
  const Interrupts interrupts;
  OutputFile output(arguments.output, arguments.input.name, arguments.force);
  const StreamSink sink = [&output](ByteSpan bytes) { output.Write(bytes.data(), bytes.size()); };
  framer->Begin(sink);
  for (u32 sample = 1; sample <= count && sample != 0; ++sample) {
    interrupts.Check();
    const ByteSpan bytes = reader.Read(sample);
    const bool isSync = !isRaw && reader.IsSync(sample);
    framer->Add(bytes, isSync, isRaw ? std::string() : reader.SampleName(sample), sink);
  }
  output.Finish();
}

}  // namespace

void AddExtractCommand(CLI::App& program) {
  Command command(program, "extract", "Write the samples of a track to a file, for players or as they are");
  const auto arguments = std::make_shared<ExtractArguments>();
  const std::map<std::string, StreamFormat> formats = {{"raw", StreamFormat::kRaw},
                                                       {"adts", StreamFormat::kAdts},
                                                       {"annexb", StreamFormat::kAnnexB},
                                                       {"m4v", StreamFormat::kM4v},
                                                       {"amr", StreamFormat::kAmr}};
  command.AddChoice("--format", "FORMAT", "How to write them: raw, adts, annexb, m4v or amr; raw without it",
                    formats, &arguments->format);
  AddTrackOption(command, &arguments->track);
  AddInputArgument(command, &arguments->input);
  AddOutputArguments(command, &arguments->output, &arguments->force);
  command.Finish(
      "--track is needed where there are several.\n"
      "raw     the samples one after the other, as they are, without headers\n"
      "adts    AAC with a header ahead of each frame (.aac)\n"
      "annexb  H.264 and H.265 with start codes, and parameter sets ahead of sync samples (.h264, .h265)\n"
      "m4v     MPEG-4 visual behind the set-up of its decoder (.m4v)\n"
      "amr     AMR behind its magic number (.amr)\n"
      "OUT gets its name only when it is complete; until then a file that has the name already stays as it\n"
      "is. For \"-\" the bytes go to standard output, unless that is a terminal. A fragmented file is "
      "refused,\n"
      "unless --adapt is given.",
      [arguments] { Extract(*arguments); });
}

}  // namespace kt
