#include <algorithm>
#include <cmath>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "filter/logic/line21_text_decoder.h"
#include "filter/logic/time_conversion.h"
#include "tools/arguments.h"
#include "tools/captions/caption_samples.h"
#include "tools/captions/cues.h"
#include "tools/captions/line21_track.h"
#include "tools/commands.h"
#include "tools/facts/track_questions.h"
#include "tools/files/input_file.h"
#include "tools/files/sample_claims.h"
#include "tools/terminal/failure.h"
#include "tools/terminal/interrupts.h"
#include "tools/terminal/json_text.h"
#include "tools/terminal/standard_streams.h"

namespace kt {
namespace {

enum class CaptionFormat { kText, kSrt, kVtt, kScc };

struct CaptionsArguments {
  InputChoice input;
  CaptionFormat format = CaptionFormat::kText;
  bool json = false;
  std::optional<u32> track;
};

constexpr double kHnsPerSecond = 1e7;

std::string CueJson(const Cue& cue) {
  return JsonObject()
      .Add("begin", JsonNumber(static_cast<double>(cue.begin) / kHnsPerSecond))
      .Add("end", JsonNumber(static_cast<double>(cue.end) / kHnsPerSecond))
      .Add("rows", JsonArray(cue.rows, JsonText))
      .Finish();
}

// The first track that holds captions.
u32 FindCaptions(InputFile& input) {
  u32 count = 0;
  static_cast<void>(input.File().GetTrackCount(&count));  // of an open file
  for (u32 index = 1; index <= count; ++index) {
    try {
      const TrackHandle track = input.OpenTrack(index);
      u32 kind = MP4_KIND_UNKNOWN, samples = 0;
      if (track->GetTrackType(&kind) == MP4_OK && kind == MP4_KIND_TEXT &&
          track->GetSampleCount(&samples) == MP4_OK && samples > 0 && LooksLikeLine21(*track, input.Size())) {
        return index;
      }
    } catch (const Failure&) {
      // A track that does not open is not the one.
    }
  }
  throw Failure("there is no caption track in " + Quoted(input.Name()));
}

// The longest track's duration, in 100 ns units.
i64 DurationOf(InputFile& input) {
  u32 timeScale = 0, count = 0;
  static_cast<void>(input.File().GetMovieTimeScale(&timeScale));
  static_cast<void>(input.File().GetTrackCount(&count));
  u64 longest = 0;
  for (u32 index = 1; index <= count; ++index) {
    try {
      u64 duration = 0;
      if (input.OpenTrack(index)->GetDuration(&duration) == MP4_OK) longest = std::max(longest, duration);
    } catch (const Failure&) {
      // It has no say.
    }
  }
  return TicksToHns(longest, timeScale);
}

/// The samples of a caption track, from the first to the last.
class CaptionReader {
 public:
  CaptionReader(InputFile& input, u32 index)
      : m_track(input.OpenTrack(index)),
        m_name("track " + std::to_string(index) + " of " + Quoted(input.Name())) {
    u32 kind = MP4_KIND_UNKNOWN;
    Require("find the kind of " + m_name, m_track->GetTrackType(&kind));
    if (kind != MP4_KIND_TEXT) throw Failure(m_name + " is no caption track");
    Require("count the samples of " + m_name, m_track->GetSampleCount(&m_sampleCount));
    Require("find the time scale of " + m_name, m_track->GetTimeScale(&m_timeScale));
    RequireSamplesFit(*m_track, input.Size(), m_name);
    if (m_timeScale == 0) throw Failure(m_name + " has no time scale");
  }

  u32 TimeScale() const { return m_timeScale; }

  // Reads the next sample, or answers false behind the last.
  bool Next() {
    m_interrupts.Check();
    if (m_number == m_sampleCount) return false;
    ++m_number;
    const std::string sample = "sample " + std::to_string(m_number) + " of " + m_name;
    u32 size = 0;
    Require("find the size of " + sample, m_track->GetSampleSize(m_number, &size));
    if (size < kShortestLine21Sample || size > kLongestLine21Sample) {
      throw Failure(sample + " has " + std::to_string(size) + " bytes and is no caption");
    }
    Require("read " + sample, m_track->ReadSample(m_number, size, &size, m_bytes));
    Require("find the time of " + sample, m_track->GetSampleDecodingTime(m_number, &m_time));
    return true;
  }

  const u8* Bytes() const { return m_bytes; }
  /// In ticks.
  u64 Time() const { return m_time; }
  // Whether sync samples tell where cues begin. They do not in a track that has nothing else.
  bool MarksCues() {
    bool marks = false;
    for (m_number = 0; m_number < m_sampleCount && !marks;) {
      m_interrupts.Check();
      ++m_number;
      marks = !IsSync();
    }
    m_number = 0;
    return marks;
  }
  bool IsSync() {
    u64 time = 0;
    return m_track->GetSampleCompositionTime(m_number, &time) == MP4_OK &&
           IsSyncSample(*m_track, m_number, time);
  }

 private:
  static void Require(const std::string& what, Mp4Result result) {
    if (result) throw ResultFailure("cannot " + what, result);
  }

  const Interrupts m_interrupts;
  TrackHandle m_track;
  std::string m_name;
  u32 m_sampleCount = 0;
  u32 m_timeScale = 0;
  u32 m_number = 0;
  u64 m_time = 0;
  u8 m_bytes[kLongestLine21Sample] = {};
};

/// Prints the rows as they are completed, or hands the screens on as cues.
class DecodedCaptions final : public CaptionReceiver {
 public:
  /// Without `take` rows are printed.
  explicit DecodedCaptions(std::function<void(const Cue& cue)> take)
      : m_printRows(!take), m_cues(std::move(take)) {}

  /// A screen that is left over stays until `end`.
  void Decode(CaptionReader& reader, i64 end) {
    Line21TextDecoder decoder(*this);
    while (reader.Next()) {
      m_time = TicksToHns(reader.Time(), reader.TimeScale());
      decoder.Decode(reader.Bytes() + 1, 2, m_time);
      m_cues.EndPair();
    }
    if (!m_printRows) m_cues.Finish(std::max(end, m_time));
  }

  void SendScreenText(const char* text) override {
    if (!m_printRows) m_cues.Show(m_time, text);
  }
  void AddCaptionText(i64 time, const char* text) override {
    const std::string row = PrintableRow(text);
    if (m_printRows && !row.empty()) Print(ClockText(time, '.') + "  " + row + "\n");
  }

 private:
  const bool m_printRows;
  i64 m_time = 0;
  ScreenCues m_cues;
};

// The frame at the reader's time; one behind the last for whatever is later.
u64 FrameAt(const CaptionReader& reader, FrameCount count) {
  const FrameClock clock = ClockOf(count);
  const double seconds = static_cast<double>(reader.Time()) / reader.TimeScale();
  const double frame = std::round(seconds * clock.timeScale / clock.ticksPerFrame);
  return static_cast<u64>(std::min(frame, static_cast<double>(LastFrame(count) + 1)));
}

void PrintPairs(CaptionReader& reader) {
  const FrameCount count = FrameCountOf(reader.TimeScale());
  SccWriter writer(count, reader.MarksCues(), Print);
  // Pairs that share a frame follow each other.
  u64 free = 0;
  while (reader.Next()) {
    CaptionSample sample;
    sample.frame = std::max(FrameAt(reader, count), free);
    sample.beginsCue = reader.IsSync();
    SetSampleBytes(reader.Bytes(), &sample);
    writer.Add(sample);
    free = sample.frame + 1;
  }
  writer.Finish();
}

void PrintCues(const CaptionsArguments& arguments, u32 track, CaptionReader& reader, i64 end) {
  if (arguments.json) {
    Print("{\"track\":" + std::to_string(track) + ",\"captions\":[");
    DecodedCaptions([](const Cue& cue) {
      Print((cue.number > 1 ? ",\n" : "\n") + CueJson(cue));
    }).Decode(reader, end);
    return Print("]}\n");
  }
  switch (arguments.format) {
    case CaptionFormat::kSrt:
      return DecodedCaptions([](const Cue& cue) { Print(SrtText(cue)); }).Decode(reader, end);
    case CaptionFormat::kVtt:
      Print(kVttHead);
      return DecodedCaptions([](const Cue& cue) { Print(VttText(cue)); }).Decode(reader, end);
    default:
      return DecodedCaptions({}).Decode(reader, end);
  }
}

void Captions(const CaptionsArguments& arguments) {
  InputFile input(arguments.input);
  input.RequireOpen();
  const i64 end = DurationOf(input);
  const u32 track = arguments.track ? *arguments.track : FindCaptions(input);
  CaptionReader reader(input, track);
  input.TellReading(NotesOf("captions"), track);
  if (arguments.format == CaptionFormat::kScc && !arguments.json) {
    PrintPairs(reader);
    return;
  }
  PrintCues(arguments, track, reader, end);
}

}  // namespace

void AddCaptionsCommand(CLI::App& program) {
  Command command(program, "captions", "Print a caption track as text, subtitles or Scenarist captions");
  const auto arguments = std::make_shared<CaptionsArguments>();
  const std::map<std::string, CaptionFormat> formats = {{"text", CaptionFormat::kText},
                                                        {"srt", CaptionFormat::kSrt},
                                                        {"vtt", CaptionFormat::kVtt},
                                                        {"scc", CaptionFormat::kScc}};
  command.AddChoice("--format", "FORMAT", "What to print: text, srt, vtt or scc; text without it", formats,
                    &arguments->format);
  command.AddFlag("--json", &arguments->json,
                  "Print JSON: what is on screen, with its begin and end in seconds");
  command.Exclude("--json", "--format");
  AddTrackOption(command, &arguments->track);
  AddInputArgument(command, &arguments->input);
  command.Finish(
      "Without --track the first track that looks like Line 21 captions is taken.\n"
      "text  each row that is complete, behind its time\n"
      "srt   what is on screen, from when to when, as SubRip subtitles; a row that is written letter by\n"
      "      letter shows as a whole from the first one on\n"
      "vtt   the same as WebVTT\n"
      "scc   the byte pairs as they are, as a Scenarist caption file; for a track that add-captions has\n"
      "      made, with the time codes that it was made from, less its --offset",
      [arguments] { Captions(*arguments); });
}

}  // namespace kt
