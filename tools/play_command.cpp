#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "filter/logic/seeking.h"
#include "tools/arguments.h"
#include "tools/commands.h"
#include "tools/files/input_file.h"
#include "tools/files/sample_claims.h"
#include "tools/playing/headless_pin.h"
#include "tools/playing/media_type_text.h"
#include "tools/playing/printed_texts.h"
#include "tools/terminal/failure.h"
#include "tools/terminal/progress_line.h"
#include "tools/terminal/standard_streams.h"

namespace kt {
namespace {

struct PlayArguments {
  std::string name;
  std::string captions = "on";
  double from = 0;
  bool adapt = false;
  bool realtime = false;
  bool extract = false;
  bool quiet = false;
};

// More does not fit into a position.
constexpr double kMostSeconds = 9e11;

using HnsDuration = std::chrono::duration<i64, std::ratio<1, 10'000'000>>;

// A time, or a dash where there is none.
std::string StampText(const std::optional<i64>& hns) {
  return hns ? HnsText(*hns) : "-";
}

// Collects what the source has to tell while it loads.
class LoadHost final : public ReaderHost {
 public:
  void ShowError(const char* text) override { m_messages.emplace_back(text); }
  bool AddPin(CReaderPin& /*pin*/) override { return true; }
  const std::vector<std::string>& Messages() const { return m_messages; }

 private:
  std::vector<std::string> m_messages;
};

// The time of the run, which begins at a position of the file: the wall's, or that of the sample at hand.
class HostClock final : public StreamClock {
 public:
  HostClock(bool realtime, i64 from) : m_realtime(realtime), m_begin(Wall::now()), m_from(from) {}
  // Comes back when the file is at `position`.
  void GoTo(i64 position) {
    const i64 time = std::max<i64>(position - m_from, 0);
    constexpr i64 kYears = 1'000'000'000'000'000;  // nobody waits so long, and sums with it stay in range
    if (m_realtime) std::this_thread::sleep_until(m_begin + HnsDuration(std::min(time, kYears)));
    m_streamTime = std::max(m_streamTime, time);
  }
  i64 Position() { return m_from + GetStreamTime(); }
  i64 GetStreamTime() override {
    return m_realtime ? std::chrono::duration_cast<HnsDuration>(Wall::now() - m_begin).count() : m_streamTime;
  }

 private:
  using Wall = std::chrono::steady_clock;
  const bool m_realtime;
  const Wall::time_point m_begin;
  const i64 m_from;
  i64 m_streamTime = 0;
};

// Nobody asks the pins for anything else while they play.
class HostWait final : public RequestWait {
 public:
  bool WaitForRequest(u32 milliseconds) override {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
    return false;
  }
};

// Texts and samples as they come, each in a line.
class PlayOutput {
 public:
  /// `atOnce` lets each line be seen when it is written, wherever the output goes.
  PlayOutput(bool quiet, bool atOnce) : m_quiet(quiet), m_atOnce(atOnce) {}
  void Head() { Line("\npin   sample            start             stop      size  sync\n"); }
  void Sample(const HeadlessPin& pin, const DeliveredSample& sample) {
    if (m_quiet) return;
    // Ahead of the position that was sought the private types tell a stop that means nothing.
    const bool hasStop = pin.Pin().HasPlatformType() || sample.start.value_or(-1) >= 0;
    char text[160];
    std::snprintf(text, sizeof text, "%3u %8u %16s %16s %9u %5d\n", pin.Number(), sample.number,
                  StampText(sample.start).c_str(), hasStop ? StampText(sample.stop).c_str() : "-",
                  sample.size, sample.isSyncPoint);
    Line(text);
  }
  void End(u32 pin) { Line("pin " + std::to_string(pin) + ": end of stream\n"); }
  ProgressLine& Progress() { return m_progress; }
  void Line(const std::string& text) {
    if (m_quiet) return;
    m_progress.Clear();
    Print(text);
    if (m_atOnce) FlushOutput();
  }

 private:
  const bool m_quiet;
  const bool m_atOnce;
  ProgressLine m_progress;
};

std::string Counted(u64 count, const char* one, const char* many) {
  return std::to_string(count) + " " + (count == 1 ? one : many);
}

// Where there are no drives, "ktmp4file:///folder/film.mp4&cc=on" names a file by its whole path. The source
// would take the first letter for a drive, so that such a URL is taken apart here: its parameters go to the
// source, and the path is what it loads. Any other name is loaded as it stands.
std::string LoadedName(const std::string& name, [[maybe_unused]] CReaderSource& source) {
#ifndef _WIN32
  constexpr std::string_view kScheme = "ktmp4file://";
  if (name.starts_with(std::string(kScheme) + "/")) {
    UrlParameterStore parameters;
    SourceSwitches switches = source.Switches();
    static_cast<void>(parameters.Parse(name.c_str()));  // no null
    ApplyUrlParameters(parameters, &switches);
    source.SetCaptionMode(parameters.GetString("cc"));
    source.SetAdapt(switches.m_adapt);
    source.SetForExtractor(switches.m_forExtractor);
    return name.substr(kScheme.size(), name.find('&') - kScheme.size());
  }
#endif
  return name;
}

// Loads a file and gives its size in bytes.
u64 Load(CReaderSource& source, const std::string& name) {
  const FilterResult result = source.Load(name.c_str());
  SourceName parsed;
  const std::string operation = "cannot load " + Quoted(name) + ": " + FilterResultName(result);
  if (IsFailure(ParseSourceName(name.c_str(), &parsed))) {
    throw Failure(operation + ": the name is empty or has more than " + std::to_string(kSourceNameRoom - 1) +
                  " bytes");
  }
  if (!IsFailure(result)) return FileSize(parsed.path);
  // The source keeps the result of the library to itself.
  InputFile({parsed.path, source.Switches().m_adapt}).RequireOpen();
  throw Failure(operation);
}

// What reading loses, which the source keeps to itself as well.
void TellReading(const std::string& name, bool adapt) {
  SourceName parsed;
  if (IsFailure(ParseSourceName(name.c_str(), &parsed))) return;
  InputFile({parsed.path, adapt}).TellReading(NotesOf("play"));
}

// Pins deliver what their tracks claim, so the claims are held against the file first.
void RequireClaims(const CReaderSource& source, u64 fileSize, const std::string& name) {
  u32 number = 0;
  for (const auto& pin : source.Pins()) {
    ++number;
    if (pin->IsAdapted()) continue;  // held against the file sample by sample
    const std::string what = "pin " + std::to_string(number) + " of " + Quoted(name);
    pin->WithPosition([&](CMp4Track* track, const PinPosition&) {
      if (track != nullptr) RequireSamplesFit(*track, fileSize, what);
    });
  }
}

void PrintTracks(const CReaderSource& source, const std::string& name) {
  static constexpr const char* kTypes[] = {
      "unknown", "video", "audio", "Line 21 captions", "scene description", "object descriptors", "hint"};
  const TrackTables& tables = source.Tables();
  Print("Loaded " + Quoted(name) + ": " + Counted(tables.m_trackCount, "track", "tracks") + ", " +
        Counted(source.Pins().size(), "pin", "pins") + "\n");
  for (u32 i = 0; i < tables.m_trackCount; ++i) {
    const double seconds = tables.m_movieTimeScale == 0
                               ? 0
                               : static_cast<double>(tables.m_duration[i]) / tables.m_movieTimeScale;
    char text[160];
    std::snprintf(text, sizeof text, "  track %u: id %u, %s, %s, %u ticks per second, %.3f s\n", i + 1,
                  tables.m_trackId[i], kTypes[std::min<u32>(tables.m_trackType[i], READER_TRACK_HINT)],
                  Counted(tables.m_sampleCount[i], "sample", "samples").c_str(), tables.m_timeScale[i],
                  seconds);
    Print(text);
  }
}

void PrintPin(const HeadlessPin& pin) {
  const CReaderPin& facts = pin.Pin();
  Print("\nPin " + std::to_string(pin.Number()) + ": " + Quoted(facts.Name()));
  if (facts.Kind() == PIN_VIDEO)
    Print(", " + std::to_string(facts.Width()) + " x " + std::to_string(facts.Height()));
  if (facts.Kind() == PIN_AUDIO) {
    Print(", " + std::to_string(facts.SampleRate()) + " Hz, " +
          Counted(facts.Channels(), "channel", "channels"));
  }
  Print("\n");
  MediaType type;
  for (i32 position = 0; facts.GetMediaType(position, &type) == FilterResult::Ok; ++position) {
    Print("  type " + std::to_string(position) + ": " + MediaTypeText(type) + "\n");
  }
  if (IsFailure(pin.Connection())) {
    return Print(std::string("  not connected: ") + FilterResultName(pin.Connection()) + "\n");
  }
  const std::optional<i32> position = pin.TypePosition();
  Print((position ? "  connected with type " + std::to_string(*position) + ", "
                  : "  connected, though no type is its own, ") +
        Counted(pin.Buffers().count, "buffer", "buffers") + " of " + std::to_string(pin.Buffers().size) +
        " bytes; start and stop are times of " + (facts.HasPlatformType() ? "display" : "decoding") + "\n");
}

// Takes the samples of all pins in the order of their start times.
class Player {
 public:
  Player(const CReaderSource& source, HostClock& clock, PlayOutput& output, PrintedTexts& texts,
         std::vector<HeadlessPin*> pins)
      : m_clock(clock), m_output(output), m_texts(texts), m_playing(std::move(pins)) {
    if (source.GetDuration(&m_duration) != FilterResult::Ok) m_duration = 0;
  }

  void Play() {
    while (!m_playing.empty()) Step();
    m_output.Progress().Clear();
  }
  u64 Samples() const { return m_samples; }

 private:
  void Step() {
    const auto next = std::ranges::min_element(m_playing, {}, &HeadlessPin::NextStart);
    HeadlessPin& pin = **next;
    m_clock.GoTo(pin.NextStart());
    m_texts.SetPosition(pin.NextStart());
    if (const auto sample = pin.Deliver()) {
      ++m_samples;
      m_output.Sample(pin, *sample);
      m_output.Progress().Update(m_clock.Position(), m_duration, m_samples);
    } else {
      m_output.End(pin.Number());
      m_playing.erase(next);
    }
  }

  HostClock& m_clock;
  PlayOutput& m_output;
  PrintedTexts& m_texts;
  std::vector<HeadlessPin*> m_playing;
  i64 m_duration = 0;
  u64 m_samples = 0;
};

// One line per pin; true when none of the streams was cut short.
bool PrintSummary(const std::vector<std::unique_ptr<HeadlessPin>>& pins) {
  bool whole = true;
  Print("\n");
  for (const auto& pin : pins) {
    std::string line = "pin " + std::to_string(pin->Number()) + ": " + std::to_string(pin->DeliveredCount()) +
                       " of " + Counted(pin->Pin().SampleCount(), "sample", "samples") + " delivered, " +
                       Counted(pin->DeliveredBytes(), "byte", "bytes");
    if (IsFailure(pin->Connection())) {
      line += ", not connected";
    } else if (const std::string reason = pin->EarlyEnd(); !reason.empty()) {
      line += ", ended early: " + reason;
      whole = false;
    }
    Print(line + "\n");
  }
  return whole;
}

// Seeks as a graph does, but that no worker runs yet.
void Seek(const CReaderSource& source, i64 position, const std::string& name) {
  const FilterSeeking seeking(source);
  const FilterResult result = seeking.SetPositions({&position, kAbsolutePositioning, nullptr, 0},
                                                   [](CReaderPin&) { return nullptr; });
  if (result == FilterResult::Ok) return;
  i64 length = 0;
  static_cast<void>(seeking.GetDuration(&length));
  throw Failure("cannot seek to " + HnsText(position) + " s: " + Quoted(name) + " ends at " +
                HnsText(length) + " s");
}

void Play(const PlayArguments& arguments) {
  const i64 from = std::llround(arguments.from * 1e7);
  LoadHost host;
  CReaderSource source(host);
  source.SetCaptionMode(arguments.captions);
  source.SetAdapt(arguments.adapt);
  const std::string name = LoadedName(arguments.name, source);
  const u64 fileSize = Load(source, name);
  TellReading(name, source.Switches().m_adapt);
  RequireClaims(source, fileSize, arguments.name);
  if (arguments.extract) source.SetForExtractor(true);
  PlayOutput output(arguments.quiet, arguments.realtime);
  HostClock clock(arguments.realtime, from);
  HostWait wait;
  TextStorage storage;
  PrintedTexts texts(storage, [&](const std::string& line) { output.Line(line); });
  TextDelivery delivery(source, storage, texts);
  Line21TextDecoder captions(delivery);
  std::vector<std::unique_ptr<HeadlessPin>> pins;
  std::vector<HeadlessPin*> connected;
  for (const auto& pin : source.Pins()) {
    pins.push_back(std::make_unique<HeadlessPin>(static_cast<u32>(pins.size()) + 1, source, *pin,
                                                 DeliverySurroundings{clock, wait, delivery, captions},
                                                 fileSize));
    if (!IsFailure(pins.back()->Connection())) connected.push_back(pins.back().get());
  }
  PrintTracks(source, arguments.name);
  for (const std::string& message : host.Messages()) Print("  message: " + message + "\n");
  for (const auto& pin : pins) PrintPin(*pin);
  if (pins.empty()) return;
  if (from > 0) Seek(source, from, arguments.name);
  output.Head();
  Player(source, clock, output, texts, connected).Play();
  if (!PrintSummary(pins)) throw Failure("a stream of " + Quoted(arguments.name) + " ended early");
}

// What is wrong with a text that should be a time, if anything.
std::string RefuseNoSeconds(const std::string& text) {
  char* end = nullptr;
  const double seconds = std::strtod(text.c_str(), &end);
  const bool isNumber = end != text.c_str() && *end == 0;
  return isNumber && seconds >= 0 && seconds <= kMostSeconds
             ? ""
             : Quoted(text) + " is no time in seconds from 0 up";
}

}  // namespace

void AddPlayCommand(CLI::App& program) {
  Command command(program, "play", "Run a file through the source filter's logic and list what is delivered");
  const auto arguments = std::make_shared<PlayArguments>();
  command.AddText(
      "--from", "SECONDS", "Begin at the sync samples before this time; stamps count from it",
      [arguments](const std::string& seconds) { arguments->from = std::strtod(seconds.c_str(), nullptr); },
      RefuseNoSeconds);
  command.AddShownWord("--cc", "MODE",
                       "Captions of a plain name: on (decode to text), off, text (deliver the bytes)",
                       {"on", "off", "text", "on_ovl"}, &arguments->captions);
  AddAdaptOption(command, &arguments->adapt);
  command.AddFlag("--realtime", &arguments->realtime, "Deliver each sample when its time has come");
  command.AddFlag("--extract", &arguments->extract, "Extractor use: samples are delivered empty");
  command.AddFlag("--quiet", &arguments->quiet, "Print what was loaded and the summary, no samples");
  command.AddPlace("FILE|URL", &arguments->name, "The file to play, or a ktmp4file:// URL");
  command.Finish(
      "Each video, audio and Line 21 track gets a pin. All pins are played together in the order of the\n"
      "start times. The last sample of a track is not delivered. When a stream ends early because a sample\n"
      "cannot be had, the exit code is 1.\n"
      "A pin is connected with the first of its types that it takes. Under one of its own, start and stop\n"
      "are decoding times, those of the sample and of the one behind it, in seconds; behind --from a sample\n"
      "ahead of that position has no stop, \"-\". Under one of the platform's, which adapted files alone\n"
      "have, they are times of display, and the last sample is delivered, too.\n"
      "Captions decoded to text give a line for each change of the screen and for each row that is\n"
      "complete, at its time in the file; their samples are empty and have no stamps. Texts that ride in\n"
      "video samples have a line each, at their sample's start.\n"
      "In a URL a drive letter and a path stand behind the scheme, then parameters behind \"&\",\n"
      "where cc takes the place of --cc, and adapt of --adapt:\n"
      "  ktmp4file://c:/media/clip.mp4&cc=off&adapt=on&forextractoruse=1\n"
      "names the file c:/media/clip.mp4, which is of use on Windows. Elsewhere a whole path stands behind\n"
      "the scheme, as in ktmp4file:///media/clip.mp4&cc=on, which the filter itself would not find.",
      [arguments] { Play(*arguments); });
}

}  // namespace kt
