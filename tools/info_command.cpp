#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tools/arguments.h"
#include "tools/commands.h"
#include "tools/facts/file_facts.h"
#include "tools/files/adapted_facts.h"
#include "tools/files/input_file.h"
#include "tools/terminal/failure.h"
#include "tools/terminal/json_text.h"
#include "tools/terminal/standard_streams.h"

namespace kt {
namespace {

std::string EntryJson(const AdaptedEntry& entry) {
  const std::string code = CodeText(entry.code);
  JsonObject json;
  json.AddText("code", code).AddText("name", CodingName(code)).AddText("coding", CodingText(EntryOf(entry)));
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

std::string EditJson(const Edit& edit) {
  return JsonObject()
      .Add("seconds", JsonNumber(edit.seconds))
      .Add("from", edit.from)
      .Add("rate", JsonNumber(edit.rate))
      .Finish();
}

// Names beside numbers, and what comes of them.
void AddTrackFacts(const TrackFacts& facts, JsonObject* json) {
  json->AddText("kindName", KindName(facts.kind.value_or(MP4_KIND_UNKNOWN)));
  json->AddText("formatName", FormatName(facts.format)).AddTextOrNull("coding", facts.coding);
  json->AddTextOrNull("language", facts.language).AddTextOrNull("handler", facts.handlerName);
  json->Add("seconds", facts.seconds).Add("start", facts.start);
  json->Add("bytes", facts.bytes).Add("bitRate", facts.bitRate);
  json->Add("samplesPerSecond", facts.samplesPerSecond);
  if (facts.kind == MP4_KIND_VIDEO) {
    json->Add("rotation", facts.rotation ? facts.rotation->degrees : 0);
    json->AddFlag("mirrored", facts.rotation && facts.rotation->mirrored);
  }
  json->Add("edits", JsonArray(facts.edits, EditJson));
}

std::string TrackJson(const TrackFacts& facts) {
  JsonObject json;
  json.Add("index", facts.index).Add("result", facts.result);
  if (facts.result) {
    json.AddText("resultName", Mp4ResultName(facts.result));
    return json.AddText("resultText", Mp4ResultText(facts.result)).Finish();
  }
  json.Add("id", facts.id).Add("kind", facts.kind).Add("format", facts.format).Add("samples", facts.samples);
  json.Add("timeScale", facts.timeScale).Add("duration", facts.duration).AddTextOrNull("code", facts.code);
  if (facts.kind == MP4_KIND_VIDEO) {
    json.Add("width", facts.picture ? std::optional(facts.picture->first) : std::nullopt);
    json.Add("height", facts.picture ? std::optional(facts.picture->second) : std::nullopt);
  }
  if (facts.kind == MP4_KIND_AUDIO) json.Add("sampleRate", facts.rate).Add("channels", facts.channels);
  json.AddTextOrNull("decoderInfo", HexText(facts.decoderInfo));
  AddTrackFacts(facts, &json);
  if (facts.adapted) {
    json.Add("entries", JsonArray(facts.entries, EntryJson)).Add("adapted", AdaptedJson(*facts.adapted));
  }
  return json.Finish();
}

std::string FileJson(const InputFile& input, const FileFacts& facts) {
  JsonObject json;
  json.AddText("file", input.Name()).Add("result", input.Result());
  if (input.Result()) {
    json.AddText("resultName", Mp4ResultName(input.Result()));
    return json.AddText("resultText", input.Reason()).Finish();
  }
  json.Add("fileType", facts.fileType).AddText("fileTypeName", FileTypeName(facts.fileType));
  json.Add("size", facts.size).Add("brands", JsonArray(facts.brands, JsonText));
  json.AddTextOrNull("created", facts.created ? DateText(*facts.created, 'T') : "");
  json.AddFlag("fragmented", !facts.fragments.empty());
  json.Add("movieTimeScale", facts.timeScale).Add("seconds", facts.seconds);
  json.Add("tracks", JsonArray(facts.tracks, TrackJson));
  if (facts.isAdapted) json.Add("leftOut", JsonArray(facts.leftOut, AdaptedJson));
  return json.Finish();
}

void PrintRow(std::string_view label, const std::string& value) {
  constexpr std::size_t kLabelWidth = 18;
  std::string row(label);
  row.resize(kLabelWidth, ' ');
  PrintStyled(row, Style::kDim);
  Print(value + "\n");
}

void PrintHeading(const std::string& text) {
  Print("\n");
  PrintStyled(text, Style::kBold);
  Print("\n");
}

template <class Value>
void PrintNumber(std::string_view label, const std::optional<Value>& value, const std::string& unit = {}) {
  PrintRow(label, value ? std::to_string(*value) + unit : "?");
}

std::string Trimmed(std::string text) {
  return text.erase(text.find_last_not_of(' ') + 1);
}

// "avc1 (H.264, High profile, level 3.1)"
std::string CodeAndName(const std::string& code, const std::string& name) {
  return Trimmed(code) + (name.empty() ? "" : " (" + name + ")");
}

std::string EntryText(const AdaptedEntry& entry) {
  std::string text = CodeAndName(CodeText(entry.code), CodingText(EntryOf(entry)));
  if (entry.width != 0 || entry.height != 0) text += ", " + PixelText(entry.width, entry.height);
  if (entry.channels != 0) text += ", " + ChannelText(entry.channels);
  if (entry.sampleRate != 0) text += ", " + std::to_string(entry.sampleRate) + " Hz";
  return text;
}

// What the entries of an adapted file say. That of a track with one says the same as its other rows.
void PrintEntries(const TrackFacts& facts) {
  constexpr std::size_t kMostRows = 10;
  if (facts.entries.size() < 2) {
    return PrintRow("  coded as", facts.code.empty() ? "?" : CodeAndName(facts.code, facts.coding));
  }
  for (std::size_t i = 0; i < std::min(facts.entries.size(), kMostRows); ++i) {
    PrintRow("  coded as", EntryText(facts.entries[i]));
  }
  if (facts.entries.size() > kMostRows) {
    PrintRow("  coded as", std::to_string(facts.entries.size() - kMostRows) + " further sample entries");
  }
}

void PrintPictureAndSound(const TrackFacts& facts) {
  if (facts.picture) PrintRow("  picture", PictureText(facts));
  if (facts.rotation) PrintRow("  shown", RotationText(*facts.rotation));
  if (!facts.rate && !facts.channels) return;
  std::string text = facts.rate ? std::to_string(*facts.rate) + " Hz" : "";
  if (facts.channels) text += (text.empty() ? "" : ", ") + ChannelText(*facts.channels);
  PrintRow("  sound", text);
}

void PrintEdits(const TrackFacts& facts) {
  constexpr std::size_t kMostRows = 5;
  const std::vector<Edit>& edits = facts.edits;
  // One that lets all of the media be shown is no news.
  if (facts.editCount == 1 && edits[0].from == 0 && edits[0].rate == 1) return;
  for (std::size_t i = 0; i < std::min(edits.size(), kMostRows); ++i) {
    PrintRow(i == 0 ? "  edits" : "", EditText(edits[i]));
  }
  if (facts.editCount > kMostRows) PrintRow("", std::to_string(facts.editCount - kMostRows) + " more");
}

void PrintTrack(const TrackFacts& facts) {
  const std::string kind =
      facts.result ? "" : std::string(": ") + KindName(facts.kind.value_or(MP4_KIND_UNKNOWN));
  PrintHeading("Track " + std::to_string(facts.index) + kind);
  if (facts.result) {
    return PrintRow("  not readable", std::string(Mp4ResultName(facts.result)) + " (" +
                                          std::to_string(facts.result) + "): " + Mp4ResultText(facts.result));
  }
  PrintEntries(facts);
  PrintPictureAndSound(facts);
  PrintNumber("  samples", facts.samples, facts.bytes ? ", " + std::to_string(*facts.bytes) + " bytes" : "");
  if (facts.bitRate) PrintRow("  bit rate", BitRateText(*facts.bitRate));
  PrintNumber("  duration", facts.duration,
              " movie ticks" + (facts.seconds ? " = " + SecondsText(*facts.seconds) : ""));
  PrintNumber("  time scale", facts.timeScale, " ticks per second");
  if (facts.start.value_or(0) != 0) PrintRow("  starts at", SecondsText(*facts.start));
  PrintEdits(facts);
  if (!facts.language.empty()) PrintRow("  language", facts.language);
  if (!facts.handlerName.empty()) PrintRow("  name", OneLine(facts.handlerName));
  PrintNumber("  id", facts.id);
  if (!facts.decoderInfo.empty()) PrintRow("  decoder info", HexText(facts.decoderInfo));
  if (!facts.adapted) return;
  for (const std::string& text : NoteTexts(*facts.adapted)) PrintRow("  adapted", text);
}

// "M4A, readable as isom, iso2"
std::string BrandText(const std::vector<std::string>& brands) {
  constexpr std::size_t kMost = 12;
  std::string text;
  for (std::size_t i = 1; i < std::min(brands.size(), kMost); ++i) {
    const bool isNews = brands[i] != brands[0] && brands[i] != "\\x00\\x00\\x00\\x00";
    if (isNews) text += (text.empty() ? "" : ", ") + Trimmed(brands[i]);
  }
  if (brands.size() > kMost) text += " and " + std::to_string(brands.size() - kMost) + " more";
  return Trimmed(brands[0]) + (text.empty() ? "" : ", readable as " + text);
}

void PrintText(const InputFile& input, const FileFacts& facts) {
  PrintRow("File", OneLine(input.Name()));
  PrintRow("Type", FileTypeName(facts.fileType));
  if (!facts.brands.empty()) PrintRow("Brand", BrandText(facts.brands));
  PrintRow("Size", std::to_string(facts.size) + " bytes");
  PrintRow("Created", facts.created ? DateText(*facts.created, ' ') : "not set");
  if (facts.seconds) PrintRow("Duration", SecondsText(*facts.seconds));
  PrintNumber("Movie time scale", facts.timeScale, " ticks per second");
  if (!facts.fragments.empty()) {
    PrintRow("Fragmented",
             "\"" + facts.fragments + "\"" +
                 (facts.isAdapted ? "" : ", and what is in the fragments is not read; --adapt reads it"));
  }
  PrintRow("Tracks", std::to_string(facts.tracks.size()));
  for (const TrackFacts& track : facts.tracks) PrintTrack(track);
  for (const AdaptedTrack& track : facts.leftOut) {
    PrintHeading("Track in place " + std::to_string(track.positionInFile) + " of the file");
    PrintNumber("  id", std::optional(track.trackId));
    for (const std::string& text : NoteTexts(track)) PrintRow("  left out", text);
  }
}

struct InfoArguments {
  std::vector<std::string> names;
  bool adapt = false;
  bool json = false;
};

// One file; throws a `Failure` when it was refused.
void Tell(const InputChoice& choice, bool json) {
  InputFile input(choice);
  FileFacts facts;
  if (!input.Result()) facts = GatherFacts(input);
  if (json) {
    Print(FileJson(input, facts));
  } else if (!input.Result()) {
    PrintText(input, facts);
  }
  input.RequireOpen();
}

void Info(const InfoArguments& arguments) {
  const bool isArray = arguments.json && arguments.names.size() > 1;
  bool hasFailed = false;
  if (isArray) Print("[");
  for (std::size_t i = 0; i < arguments.names.size(); ++i) {
    if (i > 0) Print(isArray ? ",\n" : "\n\n");
    try {
      Tell({arguments.names[i], arguments.adapt}, arguments.json);
    } catch (const Failure& failure) {
      FlushOutput();
      PrintMessage("ktmp4 info", failure.what(), Style::kRed);
      hasFailed = true;
    }
  }
  if (isArray) Print("]");
  if (arguments.json) Print("\n");
  FlushOutput();
  if (hasFailed) throw FailureTold();
}

}  // namespace

void AddInfoCommand(CLI::App& program) {
  Command command(program, "info", "Tell what files and their tracks are");
  const auto arguments = std::make_shared<InfoArguments>();
  command.AddFlag("--json", &arguments->json,
                  "Print JSON instead of text: an object, of several files an array");
  AddAdaptOption(command, &arguments->adapt);
  command.AddPlaces("FILE", &arguments->names, "The files to read");
  command.Finish(
      "A track that cannot be opened is listed with its result. Bit rates and pictures a second are means\n"
      "over all samples. Rate and channels of sound are those that come out of its decoder, where its\n"
      "set-up tells. A track starts when its first sample is shown. Edits are listed as the file has them;\n"
      "without --adapt they hardly act. With --adapt what adapting did to a track is told, also of tracks\n"
      "that were left out.\n"
      "With --json names stand beside numbers:\n"
      "kind:   1 video, 2 audio, 3 hint, 4 object descriptors, 5 scene description, 6 text, 0 unknown\n"
      "format: 1 mp4v, 2 mp4a, 3 mp4s, 4 s263, 5 sawb, 6 samr, 0 any other, with its code\n"
      "\"duration\" is in movie ticks, \"seconds\", \"start\" and the times of edits are in seconds. A "
      "refused\n"
      "file gives {\"file\":...,\"result\":6,...} besides the message and exit code 1. What a file does not\n"
      "tell is null.",
      [arguments] { Info(*arguments); });
}

}  // namespace kt
