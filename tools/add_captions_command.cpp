#include <algorithm>
#include <cstdio>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tools/arguments.h"
#include "tools/captions/pop_on.h"
#include "tools/captions/srt_file.h"
#include "tools/commands.h"
#include "tools/copy/caption_track.h"
#include "tools/copy/movie_copy.h"
#include "tools/terminal/failure.h"

namespace kt {
namespace {

struct AddCaptionsArguments {
  InputChoice input;
  std::string captions;
  CopyTarget target;
  std::optional<FrameRate> rate;
  /// The time code at which the film begins.
  std::string offset = "00:00:00:00";
};

std::string ReadText(const std::string& name) {
  constexpr std::size_t kMostBytes = std::size_t{64} << 20;  // hundreds of hours of captions
  const std::string operation = "cannot read " + Quoted(name);
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> stream(std::fopen(name.c_str(), "rb"), std::fclose);
  if (stream == nullptr) throw SystemFailure(operation);
  std::string text;
  char block[1 << 14];
  while (const std::size_t size = std::fread(block, 1, sizeof block, stream.get())) {
    text.append(block, size);
    if (text.size() > kMostBytes) throw Failure(operation + ": it is too large for a caption file");
  }
  if (std::ferror(stream.get()) != 0) throw SystemFailure(operation);
  return text;
}

// Lets the film begin at that time code.
void TakeOffset(const std::string& offset, SccFile* captions) {
  const u64 begin = FrameOfCode(offset, captions->count).value_or(0);
  for (SccCue& cue : captions->cues) {
    if (cue.frame < begin) {
      throw Failure("line " + std::to_string(cue.line) + ": its time code lies before --offset " + offset);
    }
    cue.frame -= begin;
  }
}

// Films often begin with the code 01:00:00:00, and not where the pictures do.
void NoteLateCaptions(const MovieCopy& copy, const std::string& name, double begin, const Notes& notes) {
  double end = 0;
  for (const auto& track : copy.Copies()) end = std::max(end, track->Length());
  if (begin <= end) return;
  char times[100];
  std::snprintf(times, sizeof times, "%.3f s, and the film ends at %.3f s", begin, end);
  notes("the first caption of " + Quoted(name) + " comes at " + times +
        "; --offset takes the time code at which the film begins");
}

// A Scenarist caption file, or subtitles that become captions. These count in drop frame, which keeps pace
// with their clock, unless somebody wants 30 frames a second.
SccFile ReadFile(const std::string& text, std::optional<FrameRate> rate, const Notes& note) {
  if (!LooksLikeSrt(text)) return ReadScc(text, rate);
  const FrameCount count = rate == FrameRate::kThirty ? FrameCount::kThirty : FrameCount::kDrop;
  return PopOnCaptions(ReadSrt(text), count, note);
}

std::unique_ptr<CaptionTrack> ReadCaptions(const AddCaptionsArguments& arguments, const Notes& notes) {
  constexpr u64 kStepLimit = u64{1} << 31;  // the writer counts such a step as one backwards
  const std::string name = Quoted(arguments.captions);
  const std::string text = ReadText(arguments.captions);
  SccFile captions;
  std::vector<CaptionSample> samples;
  try {
    const Notes note = [&](const std::string& what) { notes(name + ": " + what); };
    captions = ReadFile(text, arguments.rate, note);
    if (!captions.cues.empty()) {
      TakeOffset(arguments.offset, &captions);
      samples = LayOut(captions, (kStepLimit - 1) / ClockOf(captions.count).ticksPerFrame, note);
    }
  } catch (const Failure& failure) {
    throw Failure("cannot read " + name + ": " + failure.what());
  }
  if (samples.empty()) throw Failure("there are no captions in " + name);
  return std::make_unique<CaptionTrack>(std::move(samples), ClockOf(captions.count));
}

void AddCaptions(const AddCaptionsArguments& arguments) {
  const Notes notes = NotesOf("add-captions");
  MovieCopy copy(arguments.input, arguments.target, notes);
  auto captions = ReadCaptions(arguments, notes);
  copy.Choose({});
  copy.Examine();
  NoteLateCaptions(copy, arguments.captions, captions->FirstCaption(), notes);
  copy.Add(std::move(captions), arguments.captions);
  copy.Write();
}

std::string RefuseNoTimeCode(const std::string& text) {
  return FrameOfCode(text, FrameCount::kNonDrop) ? "" : Quoted(text) + " is no time code hh:mm:ss:ff";
}

}  // namespace

void AddAddCaptionsCommand(CLI::App& program) {
  Command command(program, "add-captions", "Copy a file and add a Line 21 track from a caption file");
  const auto arguments = std::make_shared<AddCaptionsArguments>();
  const std::map<std::string, FrameRate> rates = {{"29.97", FrameRate::kNtsc}, {"30", FrameRate::kThirty}};
  command.AddChoice("--rate", "RATE", "Frames a second that the time codes count: 29.97 or 30", rates,
                    &arguments->rate);
  command.AddText(
      "--offset", "HH:MM:SS:FF", "The time code at which IN begins, often 01:00:00:00",
      [arguments](const std::string& code) { arguments->offset = code; }, RefuseNoTimeCode);
  AddInputArgument(command, &arguments->input, "IN");
  command.AddPlace("CAPTIONS", &arguments->captions,
                   "The Scenarist caption file (.scc), or SubRip subtitles (.srt)");
  AddOutputArguments(command, &arguments->target.name, &arguments->target.force);
  command.Finish(
      "IN is copied as \"ktmp4 remux\" does it, and the captions become the last track. The time code\n"
      "00:00:00:00, or that of --offset, stands for its first picture; a note says when the first caption\n"
      "comes behind the end. Time codes with a semicolon before the frames are drop frame, at 29.97 frames\n"
      "a second; others count each frame, at 29.97 a second unless --rate says 30. The pairs of a line go\n"
      "out one to a frame, as they are, parity and all. A line whose time comes while the one before still\n"
      "goes out follows behind that one, with a note. Pairs without data stand at the begin of the track,\n"
      "unless a caption does, and at its end.\n"
      "Subtitles become pop-on captions: at the bottom, in up to four rows of 32 characters, broken between\n"
      "words, sent ahead of their times and shown at these. Styles are left out; a note tells of what does\n"
      "not fit, comes late, or has characters that captions do not have.",
      [arguments] { AddCaptions(*arguments); });
}

}  // namespace kt
