#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "filter/formats/audio_config.h"
#include "tools/arguments.h"
#include "tools/commands.h"
#include "tools/files/adapted_facts.h"
#include "tools/files/file_boxes.h"
#include "tools/files/input_file.h"
#include "tools/terminal/failure.h"
#include "tools/terminal/standard_streams.h"

namespace kt {
namespace {

using Json = nlohmann::json;
using Date = std::array<u32, 6>;

constexpr const char* kFileTypes[] = {"MP4", "3GP", "M4A"};
constexpr const char* kKinds[] = {"unknown",           "video", "audio", "hint", "object descriptors",
                                  "scene description", "text"};
constexpr const char* kFormats[] = {"unknown", "mp4v", "mp4a", "mp4s", "s263", "sawb", "samr"};

struct TrackFacts {
  u32 index = 0;
  Mp4Result result = MP4_OK;
  std::optional<u32> id, kind, samples, timeScale, rate;
  std::optional<u64> duration;
  std::optional<u16> channels;
  u32 format = MP4_FORMAT_UNKNOWN;
  std::string code;  // of the first sample entry
  std::optional<std::pair<u32, u32>> picture;
  std::vector<u8> decoderInfo;
  // Of an adapted file.
  std::vector<AdaptedEntry> entries;
  std::optional<AdaptedTrack> adapted;
};

struct FileFacts {
  u32 fileType = 0;
  std::optional<u32> timeScale;
  std::optional<Date> created;
  std::vector<TrackFacts> tracks;
  std::string fragments;  // the box that tells of them
  bool isAdapted = false;
  std::vector<AdaptedTrack> leftOut;
};

// What a getter stores, or nothing when it fails.
template <class Object, class Value>
std::optional<Value> Ask(Object& object, Mp4Result (Object::*getter)(Value*)) {
  Value value{};
  if ((object.*getter)(&value)) return std::nullopt;
  return value;
}

std::optional<std::pair<u32, u32>> PictureSize(CMp4Track& track, std::optional<u32> kind) {
  u16 width = 0, height = 0;
  if (track.GetVideoSize(&width, &height) == MP4_OK) return std::pair<u32, u32>(width, height);
  // Of a coding that the library does not know the track header still tells the size of presentation.
  std::pair<u32, u32> shown;
  if (kind != MP4_KIND_VIDEO || track.GetDimensions(&shown.first, &shown.second)) return std::nullopt;
  return shown;
}

std::vector<u8> DecoderInfo(CMp4Track& track) {
  u32 size = 0;
  if (track.GetDecoderSpecificInfoSize(1, &size)) return {};
  std::vector<u8> info(size);
  if (track.GetDecoderSpecificInfo(1, size, &size, info.data()) || size != info.size()) return {};
  return info;
}

// What comes out of the decoder. Sample entries tell 2 channels and 16 bits of a rate whatever is in the
// stream, and those of AMR how many frames a sample has.
void TakeSoundFacts(TrackFacts* facts) {
  constexpr u32 kNarrowBand = 8000, kWideBand = 16000;
  if (facts->format == MP4_FORMAT_SAMR || facts->format == MP4_FORMAT_SAWB) {
    facts->rate = facts->format == MP4_FORMAT_SAMR ? kNarrowBand : kWideBand;
    facts->channels = u16{1};
  }
  if (facts->format != MP4_FORMAT_MP4A) return;
  if (const auto config = ReadAudioConfig(facts->decoderInfo)) {
    facts->rate = config->outputRate;
    facts->channels = static_cast<u16>(config->outputChannels);
  }
}

// The code of the first sample entry as the boxes have it.
std::string EntryCode(ByteSpan track) {
  const auto table = BoxAt(track, {"mdia", "minf", "stbl", "stsd"});
  const u32 code = table ? static_cast<u32>(Number(*table, 12, 4)) : 0;
  return code != 0 ? CodeText(code) : "";
}

TrackFacts GatherTrack(CMp4File& file, u32 index) {
  TrackFacts facts;
  facts.index = index;
  CMp4Track* opened = nullptr;
  facts.result = file.OpenTrack(index, &opened);
  if (facts.result) return facts;
  const TrackHandle track(opened, TrackCloser{&file});
  facts.id = Ask(*track, &CMp4Track::GetTrackId);
  facts.kind = Ask(*track, &CMp4Track::GetTrackType);
  facts.format = Ask(*track, &CMp4Track::GetSampleFormat).value_or(MP4_FORMAT_UNKNOWN);
  facts.samples = Ask(*track, &CMp4Track::GetSampleCount);
  facts.timeScale = Ask(*track, &CMp4Track::GetTimeScale);
  facts.duration = Ask(*track, &CMp4Track::GetDuration);
  facts.picture = PictureSize(*track, facts.kind);
  facts.rate = Ask(*track, &CMp4Track::GetSampleRate);
  facts.channels = Ask(*track, &CMp4Track::GetChannelCount);
  facts.decoderInfo = DecoderInfo(*track);
  TakeSoundFacts(&facts);
  // What the library does not know, the entries themselves tell.
  facts.entries = AdaptedEntries(file, index);
  if (!facts.entries.empty()) facts.code = CodeText(facts.entries[0].code);
  if (facts.entries.empty() || facts.format != MP4_FORMAT_UNKNOWN) return facts;
  const AdaptedEntry& entry = facts.entries[0];
  if (entry.width != 0 || entry.height != 0) facts.picture = {entry.width, entry.height};
  if (entry.channels != 0) facts.channels = static_cast<u16>(std::min(entry.channels, 0xFFFFU));
  if (entry.sampleRate != 0) facts.rate = entry.sampleRate;
  return facts;
}

void TakeCodes(const FileBoxes& boxes, FileFacts* facts) {
  std::size_t track = 0;
  if (!boxes.movie) return;
  ForEachBox(*boxes.movie, "trak", [&](ByteSpan box) {
    if (track < facts->tracks.size()) facts->tracks[track].code = EntryCode(box);
    ++track;
  });
}

FileFacts Gather(InputFile& input) {
  CMp4File& file = input.File();
  FileFacts facts;
  facts.fileType = Ask(file, &CMp4File::GetFileType).value_or(MP4_TYPE_MP4);
  facts.timeScale = Ask(file, &CMp4File::GetMovieTimeScale);
  Date date{};
  if (file.GetCreationDate(&date[0], &date[1], &date[2], &date[3], &date[4], &date[5]) == MP4_OK) {
    if (date != Date{1904, 1, 1, 0, 0, 0}) facts.created = date;  // which stands for none
  }
  const u32 count = Ask(file, &CMp4File::GetTrackCount).value_or(0);
  for (u32 index = 1; index <= count; ++index) facts.tracks.push_back(GatherTrack(file, index));
  facts.fragments = input.Fragments();
  facts.isAdapted = input.IsAdapted();
  if (!facts.isAdapted) TakeCodes(input.Boxes(), &facts);
  for (const AdaptedTrack& track : AdaptedTracks(file)) {
    if (track.position == 0 || track.position > count) {
      facts.leftOut.push_back(track);
    } else {
      facts.tracks[track.position - 1].adapted = track;
    }
  }
  return facts;
}

std::string DateText(const Date& date, char between) {
  char text[80];
  std::snprintf(text, sizeof text, "%04u-%02u-%02u%c%02u:%02u:%02u", date[0], date[1], date[2], between,
                date[3], date[4], date[5]);
  return text;
}

std::string Hex(const std::vector<u8>& bytes) {
  std::string text;
  for (const u8 byte : bytes) {
    text += "0123456789abcdef"[byte >> 4];
    text += "0123456789abcdef"[byte & 15];
  }
  return text;
}

std::string JsonText(const std::string& text) {
  // A name need not be UTF-8, JSON has to be.
  return Json(text).dump(-1, ' ', false, Json::error_handler_t::replace);
}

// An object on one line. The text is made at once: a tree of JSON values cannot be given back without
// memory.
class JsonObject {
 public:
  JsonObject& Add(const char* name, const std::string& json) {
    m_text += std::string(m_text.empty() ? "{" : ",") + "\"" + name + "\":" + json;
    return *this;
  }
  JsonObject& Add(const char* name, u32 number) { return Add(name, std::to_string(number)); }
  template <class Value>
  JsonObject& Add(const char* name, const std::optional<Value>& number) {
    return Add(name, number ? std::to_string(*number) : "null");
  }
  std::string Finish() const { return m_text + "}"; }

 private:
  std::string m_text;
};

template <class Values, class Text>
std::string JsonArray(const Values& values, Text&& text) {
  std::string array;
  for (const auto& value : values) array += (array.empty() ? "" : ",") + text(value);
  return "[" + array + "]";
}

std::string EntryJson(const AdaptedEntry& entry) {
  JsonObject json;
  json.Add("code", JsonText(CodeText(entry.code))).Add("name", JsonText(CodingName(CodeText(entry.code))));
  if (entry.width != 0 || entry.height != 0) json.Add("width", entry.width).Add("height", entry.height);
  if (entry.channels != 0) json.Add("channels", entry.channels);
  if (entry.sampleRate != 0) json.Add("sampleRate", entry.sampleRate);
  return json.Finish();
}

// What adapting did to a track, the reason first where it was left out.
std::string AdaptedJson(const AdaptedTrack& track) {
  JsonObject json;
  json.Add("positionInFile", track.positionInFile).Add("id", track.trackId);
  json.Add("furtherEdits", track.furtherEdits);
  return json.Add("notes", JsonArray(NoteTexts(track), JsonText)).Finish();
}

std::string TrackJson(const TrackFacts& facts) {
  JsonObject json;
  json.Add("index", facts.index).Add("result", facts.result);
  if (facts.result) {
    json.Add("resultName", JsonText(Mp4ResultName(facts.result)));
    return json.Add("resultText", JsonText(Mp4ResultText(facts.result))).Finish();
  }
  json.Add("id", facts.id).Add("kind", facts.kind).Add("format", facts.format).Add("samples", facts.samples);
  json.Add("timeScale", facts.timeScale).Add("duration", facts.duration);
  json.Add("code", facts.code.empty() ? "null" : JsonText(facts.code));
  if (facts.kind == MP4_KIND_VIDEO) {
    json.Add("width", facts.picture ? std::optional(facts.picture->first) : std::nullopt);
    json.Add("height", facts.picture ? std::optional(facts.picture->second) : std::nullopt);
  }
  if (facts.kind == MP4_KIND_AUDIO) json.Add("sampleRate", facts.rate).Add("channels", facts.channels);
  json.Add("decoderInfo", facts.decoderInfo.empty() ? "null" : JsonText(Hex(facts.decoderInfo)));
  if (facts.adapted) {
    json.Add("entries", JsonArray(facts.entries, EntryJson)).Add("adapted", AdaptedJson(*facts.adapted));
  }
  return json.Finish();
}

std::string FileJson(const InputFile& input, const FileFacts& facts) {
  JsonObject json;
  json.Add("file", JsonText(input.Name())).Add("result", input.Result());
  if (input.Result()) {
    json.Add("resultName", JsonText(Mp4ResultName(input.Result())));
    return json.Add("resultText", JsonText(input.Reason())).Finish();
  }
  json.Add("fileType", facts.fileType);
  json.Add("created", facts.created ? JsonText(DateText(*facts.created, 'T')) : "null");
  json.Add("fragmented", facts.fragments.empty() ? "false" : "true");
  json.Add("movieTimeScale", facts.timeScale);
  json.Add("tracks", JsonArray(facts.tracks, TrackJson));
  if (facts.isAdapted) json.Add("leftOut", JsonArray(facts.leftOut, AdaptedJson));
  return json.Finish();
}

// "1 video"; a number beyond the table stands alone.
template <std::size_t Count>
std::string Named(u32 number, const char* const (&names)[Count]) {
  std::string text = std::to_string(number);
  if (number < Count) text.append(" ").append(names[number]);
  return text;
}

void PrintRow(std::string_view label, const std::string& value) {
  constexpr std::size_t kLabelWidth = 18;
  std::string row(label);
  row.resize(kLabelWidth, ' ');
  Print(row + value + "\n");
}

template <class Value>
void PrintNumber(std::string_view label, const std::optional<Value>& value, const std::string& unit = {}) {
  PrintRow(label, value ? std::to_string(*value) + unit : "?");
}

// "avc1 (H.264), 640 x 360 pixels"
std::string EntryText(const AdaptedEntry& entry) {
  std::string text = CodeText(entry.code);
  if (const std::string name = CodingName(CodeText(entry.code)); !name.empty()) text += " (" + name + ")";
  if (entry.width != 0 || entry.height != 0) {
    text += ", " + std::to_string(entry.width) + " x " + std::to_string(entry.height) + " pixels";
  }
  if (entry.channels != 0) {
    text += ", " + std::to_string(entry.channels) + (entry.channels == 1 ? " channel" : " channels");
  }
  if (entry.sampleRate != 0) text += ", " + std::to_string(entry.sampleRate) + " Hz";
  return text;
}

void PrintAdapting(const TrackFacts& facts) {
  constexpr std::size_t kMostRows = 10;
  for (std::size_t i = 0; i < std::min(facts.entries.size(), kMostRows); ++i) {
    PrintRow("  coded as", EntryText(facts.entries[i]));
  }
  if (facts.entries.size() > kMostRows) {
    PrintRow("  coded as", std::to_string(facts.entries.size() - kMostRows) + " further sample entries");
  }
  if (!facts.adapted) return;
  for (const std::string& text : NoteTexts(*facts.adapted)) PrintRow("  adapted", text);
}

// "1 mp4v"; of a format that the library has no number for, what the file calls it.
std::string FormatText(const TrackFacts& facts) {
  std::string text = Named(facts.format, kFormats);
  if (facts.format != MP4_FORMAT_UNKNOWN || facts.code.empty()) return text;
  text = "0 " + facts.code;
  const std::string name = CodingName(facts.code);
  return name.empty() ? text : text + " (" + name + ")";
}

void PrintTrack(const TrackFacts& facts, std::optional<u32> movieTimeScale) {
  Print("\nTrack " + std::to_string(facts.index) + "\n");
  if (facts.result) {
    return PrintRow("  not readable", std::string(Mp4ResultName(facts.result)) + " (" +
                                          std::to_string(facts.result) + "): " + Mp4ResultText(facts.result));
  }
  PrintNumber("  id", facts.id);
  PrintRow("  kind", Named(facts.kind.value_or(MP4_KIND_UNKNOWN), kKinds));
  PrintRow("  format", FormatText(facts));
  PrintNumber("  samples", facts.samples);
  PrintNumber("  time scale", facts.timeScale, " ticks per second");
  std::string seconds = " movie ticks";
  if (facts.duration && movieTimeScale.value_or(0) != 0) {
    char text[64];
    std::snprintf(text, sizeof text, " movie ticks = %.3f s",
                  static_cast<double>(*facts.duration) / *movieTimeScale);
    seconds = text;
  }
  PrintNumber("  duration", facts.duration, seconds);
  if (facts.picture) {
    PrintRow("  picture", std::to_string(facts.picture->first) + " x " +
                              std::to_string(facts.picture->second) + " pixels");
  }
  if (facts.rate) PrintNumber("  sample rate", facts.rate, " Hz");
  if (facts.channels) PrintNumber("  channels", facts.channels);
  if (!facts.decoderInfo.empty()) PrintRow("  decoder info", Hex(facts.decoderInfo));
  PrintAdapting(facts);
}

void PrintText(const InputFile& input, const FileFacts& facts) {
  PrintRow("File", OneLine(input.Name()));
  PrintRow("Type", Named(facts.fileType, kFileTypes));
  PrintRow("Created", facts.created ? DateText(*facts.created, ' ') : "not set");
  PrintNumber("Movie time scale", facts.timeScale, " ticks per second");
  if (!facts.fragments.empty()) {
    PrintRow("Fragmented",
             "\"" + facts.fragments + "\"" +
                 (facts.isAdapted ? "" : ", and what is in the fragments is not read; --adapt reads it"));
  }
  PrintRow("Tracks", std::to_string(facts.tracks.size()));
  for (const TrackFacts& track : facts.tracks) PrintTrack(track, facts.timeScale);
  for (const AdaptedTrack& track : facts.leftOut) {
    Print("\nTrack in place " + std::to_string(track.positionInFile) + " of the file\n");
    PrintNumber("  id", std::optional(track.trackId));
    for (const std::string& text : NoteTexts(track)) PrintRow("  left out", text);
  }
}

struct InfoArguments {
  InputChoice input;
  bool json = false;
};

void Info(const InfoArguments& arguments) {
  InputFile input(arguments.input);
  FileFacts facts;
  if (!input.Result()) facts = Gather(input);
  if (arguments.json) {
    Print(FileJson(input, facts) + "\n");
  } else if (!input.Result()) {
    PrintText(input, facts);
  }
  input.RequireOpen();
}

}  // namespace

void AddInfoCommand(CLI::App& program) {
  CLI::App* command = program.add_subcommand("info", "Tell what a file and its tracks are");
  const auto arguments = std::make_shared<InfoArguments>();
  command->add_flag("--json", arguments->json, "Print one line of JSON instead of text");
  AddInputArgument(*command, &arguments->input);
  command->footer(
      "A track that cannot be opened is listed with its result. Durations are in movie ticks.\n"
      "kind:   1 video, 2 audio, 3 hint, 4 object descriptors, 5 scene description, 6 text, 0 unknown\n"
      "format: 1 mp4v, 2 mp4a, 3 mp4s, 4 s263, 5 sawb, 6 samr, 0 any other, with its code\n"
      "Rate and channels of sound are those that come out of its decoder, where its set-up tells.\n"
      "With --adapt each sample entry is named as it stands in the file, and what adapting did to a track "
      "is\n"
      "told, also of tracks that were left out.\n"
      "With --json a refused file gives {\"file\":...,\"result\":6,...} on standard output, besides the\n"
      "message and exit code 1; what a file does not tell is null.");
  command->callback([arguments] { Info(*arguments); });
}

}  // namespace kt
