#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <ktmp4/hint_packets.h>
#include "tools/arguments.h"
#include "tools/commands.h"
#include "tools/facts/file_facts.h"
#include "tools/files/input_file.h"
#include "tools/files/sample_claims.h"
#include "tools/terminal/failure.h"
#include "tools/terminal/json_text.h"
#include "tools/terminal/standard_streams.h"

namespace kt {
namespace {

struct HintsArguments {
  InputChoice input;
  std::optional<u32> track;
  bool json = false;
};

std::string PieceJson(const RtpPiece& piece) {
  static constexpr const char* kTypes[] = {"none", "immediate", "sample", "sampleDescription"};
  JsonObject json;
  json.AddText("type", kTypes[piece.type]);
  if (piece.type == RTP_CONSTRUCTOR_IMMEDIATE) {
    return json.AddText("bytes", HexText({piece.bytes, piece.bytes + piece.length})).Finish();
  }
  if (piece.type == RTP_CONSTRUCTOR_NO_OP) return json.Finish();
  // Among the references of the hint track, from 0; its own samples have none.
  const bool isOwn = piece.trackReference == RtpPiece::kHintTrack;
  json.Add("reference", isOwn ? "null" : std::to_string(piece.trackReference));
  return json.Add("number", piece.number).Add("offset", piece.offset).Add("length", piece.length).Finish();
}

// The packets of a hint sample; throws a `Failure` for one that cannot be read.
std::string PacketsJson(const std::vector<u8>& sample, const std::string& what) {
  CHintPackets packets(sample.data(), static_cast<u32>(sample.size()));
  std::string text;
  RtpHeader header;
  Mp4Result result = MP4_OK;
  while (!(result = packets.NextPacket(&header))) {
    std::vector<std::string> pieces;
    RtpPiece piece;
    while (!(result = packets.NextPiece(&piece))) pieces.push_back(PieceJson(piece));
    if (result != MP4_NOT_FOUND) break;
    JsonObject json;
    json.Add("sequenceNumber", header.sequenceNumber).Add("payloadType", header.payloadType);
    json.AddFlag("marker", header.marker != 0).Add("relativeTime", std::to_string(header.relativeTime));
    json.Add("pieces", JsonArray(pieces, [](const std::string& made) { return made; }));
    text += (text.empty() ? "" : ",") + json.Finish();
  }
  if (result != MP4_NOT_FOUND) throw ResultFailure("cannot read " + what, result);
  return "[" + text + "]";
}

// The sample is printed as a line of its own.
void PrintHintJson(CMp4Track& track, u32 sample, u64 time, const std::string& where) {
  const std::string what = "sample " + std::to_string(sample) + where;
  u32 size = 0;
  if (const Mp4Result result = track.GetSampleSize(sample, &size)) {
    throw ResultFailure("cannot read " + what, result);
  }
  std::vector<u8> bytes(std::max<u32>(size, 1));
  if (const Mp4Result result = track.ReadSample(sample, size, &size, bytes.data())) {
    throw ResultFailure("cannot read " + what, result);
  }
  bytes.resize(size);
  Print(
      (sample == 1 ? "\n" : ",\n") +
      JsonObject().Add("sample", sample).Add("time", time).Add("packets", PacketsJson(bytes, what)).Finish());
}

void DumpHints(InputFile& input, u32 index, bool json) {
  const std::string where = " of hint track " + std::to_string(index) + " of " + Quoted(input.Name());
  const std::unique_ptr<CMp4HintTrack> hints = input.OpenHintTrack(index);
  const TrackHandle track = input.OpenTrack(index);
  RequireSamplesFit(*track, input.Size(), where.substr(4));
  u32 count = 0, media = 0, clock = 0;
  if (const Mp4Result result = track->GetSampleCount(&count)) {
    throw ResultFailure("cannot count the samples" + where, result);
  }
  // Without a reference the samples can be shown all the same.
  if (GetReferencedTrack(hints.get(), 1, &media) != MP4_OK) media = 0;
  if (json) {
    const bool hasClock = track->GetTimeScale(&clock) == MP4_OK;
    Print("{\"track\":" + std::to_string(index) +
          ",\"timeScale\":" + (hasClock ? std::to_string(clock) : "null") +
          ",\"mediaTrack\":" + (media != 0 ? std::to_string(media) : "null") + ",\"samples\":[");
  }
  for (u32 sample = 1; sample <= count && sample != 0; ++sample) {
    u64 time = 0;
    if (const Mp4Result result = hints->GetPacketTime(sample, &time)) {
      throw ResultFailure("cannot find the time of sample " + std::to_string(sample) + where, result);
    }
    if (json) {
      PrintHintJson(*track, sample, time, where);
      continue;
    }
    std::printf("track %u, sample %u: time %" PRIu64 ", from track %u\n", index, sample, time, media);
    if (const Mp4Result result = hints->DumpHintSample(sample)) {
      throw ResultFailure("cannot read sample " + std::to_string(sample) + where, result);
    }
  }
  if (json) Print("]}");
}

void Hints(const HintsArguments& arguments) {
  InputFile input(arguments.input);
  input.RequireOpen();
  input.TellReading(NotesOf("hints"));
  std::vector<u32> tracks;
  if (arguments.track) {
    tracks.push_back(*arguments.track);
  } else {
    tracks = input.HintTracks(NotesOf("hints"));
    if (tracks.empty()) throw Failure("there is no hint track in " + Quoted(input.Name()));
  }
  if (arguments.json) {
    for (const u32 track : tracks) {
      Print(track == tracks.front() ? "[" : ",\n");
      DumpHints(input, track, true);
    }
    return Print("]\n");
  }
  const ShownLibraryOutput shown;
  for (const u32 track : tracks) DumpHints(input, track, false);
}

}  // namespace

void AddHintsCommand(CLI::App& program) {
  Command command(program, "hints", "Print the packets that hint tracks describe");
  const auto arguments = std::make_shared<HintsArguments>();
  AddTrackOption(command, &arguments->track);
  command.AddFlag("--json", &arguments->json, "Print JSON: an array with an object for each hint track");
  AddInputArgument(command, &arguments->input);
  command.Finish(
      "Without --track all hint tracks are printed. Times are in ticks of the hint track's time scale, "
      "which\n"
      "is the RTP clock.",
      [arguments] { Hints(*arguments); });
}

}  // namespace kt
