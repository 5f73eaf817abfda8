#include <algorithm>
#include <charconv>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/arguments.h"
#include "tools/commands.h"
#include "tools/facts/sample_places.h"
#include "tools/facts/track_questions.h"
#include "tools/files/input_file.h"
#include "tools/files/sample_claims.h"
#include "tools/terminal/failure.h"
#include "tools/terminal/json_text.h"
#include "tools/terminal/standard_streams.h"

namespace kt {
namespace {

enum Column : u32 { kSample, kSize, kDts, kCts, kSync, kSeconds, kDuration, kOffset, kColumns };
constexpr const char* kColumnNames[kColumns] = {"sample", "size",    "dts",      "cts",
                                                "sync",   "seconds", "duration", "offset"};
constexpr const char* kPlainColumns = "sample,size,dts,cts,sync";

struct SamplesArguments {
  InputChoice input;
  std::optional<u32> track;
  std::string columns;
  bool json = false;
};

struct SampleLine {
  u32 sample = 0;
  u32 size = 0;
  u64 decodingTime = 0;
  u64 compositionTime = 0;
  bool isSync = false;
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
  static constexpr std::size_t kPlainCount = 5;
  static constexpr std::size_t kLongestNumber = 20;
  char m_text[kPlainCount * (kLongestNumber + 1)];
  char* m_end = m_text;
};

SampleLine Look(CMp4Track& track, u32 sample, const std::string& file) {
  const auto require = [&](const char* what, Mp4Result result) {
    if (!result) return;
    throw ResultFailure(std::string("cannot find the ") + what + " of sample " + std::to_string(sample) +
                            " in " + Quoted(file),
                        result);
  };
  SampleLine line;
  line.sample = sample;
  require("size", track.GetSampleSize(sample, &line.size));
  require("decoding time", track.GetSampleDecodingTime(sample, &line.decodingTime));
  require("composition time", track.GetSampleCompositionTime(sample, &line.compositionTime));
  line.isSync = IsSyncSample(track, sample, line.compositionTime);
  return line;
}

std::vector<Column> ReadColumns(const std::string& text) {
  std::vector<Column> columns;
  std::string_view rest = text;
  while (!rest.empty()) {
    const std::size_t end = std::min(rest.find(','), rest.size());
    const auto* const name = std::ranges::find(kColumnNames, rest.substr(0, end));
    if (name == std::end(kColumnNames)) return {};
    columns.push_back(static_cast<Column>(name - kColumnNames));
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return columns;
}

/// What the library is asked for each sample, with what stands in the boxes of the track.
class ChosenColumns {
 public:
  ChosenColumns(InputFile& input, CMp4Track& track, u32 index, const SamplesArguments& arguments)
      : m_track(track), m_name(Quoted(input.Name())), m_isJson(arguments.json) {
    const std::string all =
        kPlainColumns + std::string(",seconds,duration") + (input.IsAdapted() ? "" : ",offset");
    m_columns = ReadColumns(!arguments.columns.empty() ? arguments.columns : m_isJson ? all : kPlainColumns);
    const std::vector<ByteSpan> boxes = input.TrackBoxes();
    if (index <= boxes.size() && !input.IsAdapted()) m_boxes = boxes[index - 1];
    m_places = SamplePlaces(m_boxes);
    if (std::ranges::count(m_columns, kOffset) != 0 && input.IsAdapted()) {
      throw Failure("cannot tell offsets in " + m_name + ": it is read adapted");
    }
    if (track.GetTimeScale(&m_timeScale) != MP4_OK) m_timeScale = 0;
  }

  void PrintHead(u32 index) {
    if (m_isJson) {
      return Print("{\"track\":" + std::to_string(index) + ",\"timeScale\":" + std::to_string(m_timeScale) +
                   ",\"samples\":[\n");
    }
    for (const Column column : m_columns)
      m_line += (m_line.empty() ? "" : ",") + std::string(kColumnNames[column]);
    Print(m_line + "\n");
  }
  void PrintSample(const SampleLine& line, u32 count) {
    const std::optional<u64> offset = m_places.Next(line.size);
    JsonObject json;
    m_line.clear();
    for (const Column column : m_columns) {
      const std::string value = ValueOf(column, line, count, offset);
      if (m_isJson) {
        json.Add(kColumnNames[column], value.empty() ? "null" : value);
      } else {
        m_line += value + ",";
      }
    }
    if (!m_isJson) m_line.back() = '\n';
    Print(m_isJson ? json.Finish() + (line.sample < count ? ",\n" : "\n") : m_line);
  }
  void PrintEnd() {
    if (m_isJson) Print("]}\n");
  }

 private:
  // Empty for what is not known.
  std::string ValueOf(Column column, const SampleLine& line, u32 count, std::optional<u64> offset) {
    switch (column) {
      case kSample:
        return std::to_string(line.sample);
      case kSize:
        return std::to_string(line.size);
      case kDts:
        return std::to_string(line.decodingTime);
      case kCts:
        return std::to_string(line.compositionTime);
      case kSync:
        return line.isSync ? "1" : "0";
      case kSeconds:
        return m_timeScale == 0 ? "" : JsonNumber(static_cast<double>(line.compositionTime) / m_timeScale);
      case kDuration:
        return DurationOf(line, count);
      default:
        return offset ? std::to_string(*offset) : "";
    }
  }
  // That of the last sample is in the boxes alone.
  std::string DurationOf(const SampleLine& line, u32 count) {
    u64 next = 0;
    if (line.sample < count && m_track.GetSampleDecodingTime(line.sample + 1, &next) == MP4_OK) {
      return std::to_string(next - line.decodingTime);
    }
    const std::optional<u32> last = LastDuration(m_boxes);
    return last ? std::to_string(*last) : "";
  }

  CMp4Track& m_track;
  std::string m_name;
  bool m_isJson;
  std::vector<Column> m_columns;
  ByteSpan m_boxes;
  SamplePlaces m_places;
  u32 m_timeScale = 0;
  std::string m_line;
};

void Samples(const SamplesArguments& arguments) {
  InputFile input(arguments.input);
  input.RequireOpen();
  const u32 index = input.ChosenTrack(arguments.track);
  const TrackHandle track = input.OpenTrack(index);
  u32 count = 0;
  if (const Mp4Result result = track->GetSampleCount(&count)) {
    throw ResultFailure("cannot count the samples of " + Quoted(arguments.input.name), result);
  }
  // Of an adapted file the count is in proportion to the file, and its end may be missing.
  if (!input.IsAdapted()) {
    RequireSamplesFit(*track, input.Size(),
                      "track " + std::to_string(index) + " of " + Quoted(arguments.input.name));
  }
  input.TellReading(NotesOf("samples"), index);
  if (!arguments.json && arguments.columns.empty()) {
    Print(kPlainColumns + std::string("\n"));
    for (u32 sample = 1; sample <= count && sample != 0; ++sample) {
      const SampleLine line = Look(*track, sample, arguments.input.name);
      CsvLine csv;
      csv.Add(line.sample).Add(line.size).Add(line.decodingTime).Add(line.compositionTime).Add(line.isSync);
      Print(csv.Finish());
    }
    return;
  }
  ChosenColumns columns(input, *track, index, arguments);
  columns.PrintHead(index);
  for (u32 sample = 1; sample <= count && sample != 0; ++sample) {
    columns.PrintSample(Look(*track, sample, arguments.input.name), count);
  }
  columns.PrintEnd();
}

std::string RefuseNoColumns(const std::string& text) {
  return ReadColumns(text).empty() ? Quoted(text) + " names a column that there is not" : "";
}

}  // namespace

void AddSamplesCommand(CLI::App& program) {
  Command command(program, "samples", "List the samples of a track as CSV or JSON");
  const auto arguments = std::make_shared<SamplesArguments>();
  AddTrackOption(command, &arguments->track);
  command.AddText(
      "--columns", "NAMES", "Which columns, with commas between them",
      [arguments](const std::string& names) { arguments->columns = names; }, RefuseNoColumns);
  command.AddFlag("--json", &arguments->json, "Print JSON with all columns, or with those of --columns");
  AddInputArgument(command, &arguments->input);
  command.Finish(
      "--track is needed where there are several. Columns:\n"
      "  sample    counted from 1\n"
      "  size      bytes\n"
      "  dts       decoding time in ticks of the track's time scale, a start delay included\n"
      "  cts       composition time in the same\n"
      "  sync      1 when the search for a sync sample at the sample's own composition time finds it\n"
      "and, with --columns or --json alone:\n"
      "  seconds   composition time in seconds\n"
      "  duration  ticks up to the decoding time of the next sample; of the last as the file tells\n"
      "  offset    where it begins in the file; not with --adapt\n"
      "What is not known is empty, and null in JSON.",
      [arguments] { Samples(*arguments); });
}

}  // namespace kt
