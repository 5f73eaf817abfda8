#include "tools/copy/movie_copy.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <string_view>
#include <system_error>

#include "tools/copy/copyright_copy.h"
#include "tools/files/output_place.h"
#include "tools/terminal/failure.h"
#include "tools/terminal/progress_line.h"

namespace kt {
namespace {

namespace fs = std::filesystem;

// The type that the ending of a name stands for; nothing for one that is none of this format's.
std::optional<u32> TypeByName(const std::string& name) {
  struct EndingRow {
    std::string_view ending;
    u32 type;
  };
  static constexpr EndingRow kEndings[] = {
      {".mp4", MP4_TYPE_MP4}, {".m4v", MP4_TYPE_MP4}, {".m4a", MP4_TYPE_M4A}, {".m4b", MP4_TYPE_M4A},
      {".3gp", MP4_TYPE_3GP}, {".3g2", MP4_TYPE_3GP}, {".3gpp", MP4_TYPE_3GP}};
  std::string ending = fs::path(name).extension().string();
  std::ranges::transform(ending, ending.begin(),
                         [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
  const auto* const row = std::ranges::find(kEndings, std::string_view(ending), &EndingRow::ending);
  return row == std::end(kEndings) ? std::nullopt : std::optional(row->type);
}

// Has the library write. When the system does not take the bytes (a full disk) that is a matter of the whole
// file; of anything else `part` tells what was at work.
template <class Part, class Operation>
void RequireWritten(const OutputPlace& place, Part&& part, Operation&& operation) {
  errno = 0;
  const Mp4Result result = operation();
  if (!result) return;
  const int systemReason = errno;
  if (result == MP4_FILE_IO && systemReason != 0) {
    throw ResultFailure(place.Operation(), result, std::generic_category().message(systemReason));
  }
  throw ResultFailure(place.Operation() + ", " + part(), result);
}

std::string Headers() {
  return "its headers";
}

void CopyDate(CMp4File& from, CMp4File& to) {
  u32 year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
  if (from.GetCreationDate(&year, &month, &day, &hour, &minute, &second) != MP4_OK) return;
  // What can be read can be set.
  static_cast<void>(to.SetCreationDate(year, month, day, hour, minute, second));
}

}  // namespace

MovieCopy::MovieCopy(const InputChoice& input, CopyTarget target, Notes notes)
    : m_target(std::move(target)), m_notes(std::move(notes)), m_input(input), m_inputNames({input.name}) {
  m_input.RequireOpen();
  m_input.RequireNoFragments("copy");
  m_input.TellReading(m_notes);
  RequireFree(m_target.name, m_target.force);
}

// A track that can be written; otherwise null with a note, or a failure when somebody has asked for it.
std::unique_ptr<TrackCopy> MovieCopy::TakeTrack(u32 index, const MovieDetails& details, bool wanted) {
  std::string obstacle;
  try {
    auto track = std::make_unique<TrackCopy>(m_input, index, details.Track(index), wanted, m_notes);
    obstacle = track->Obstacle();
    if (obstacle.empty()) return track;
  } catch (const Failure& failure) {
    if (wanted) throw;
    obstacle = failure.what();
  }
  const std::string name = "track " + std::to_string(index) + " of " + Quoted(m_input.Name());
  if (wanted) throw Failure("cannot copy " + name + ": " + obstacle);
  m_notes(name + " is left out: " + obstacle);
  return nullptr;
}

void MovieCopy::Choose(std::vector<u32> indices) {
  const bool wanted = !indices.empty();
  if (!wanted) {
    u32 count = 0;
    if (const Mp4Result result = m_input.File().GetTrackCount(&count)) {
      throw ResultFailure("cannot count the tracks of " + Quoted(m_input.Name()), result);
    }
    for (u32 index = 1; index <= count; ++index) indices.push_back(index);
  }
  const MovieDetails details(m_input);
  for (const std::string& loss : details.Losses()) m_notes("the copy loses " + loss);
  for (const u32 index : indices) {
    auto track = TakeTrack(index, details, wanted);
    if (track == nullptr) continue;
    m_sources.push_back(track.get());
    m_copies.push_back(std::move(track));
  }
  if (m_copies.empty()) {
    throw Failure("there is no track in " + Quoted(m_input.Name()) + " that can be copied");
  }
}

void MovieCopy::Add(std::unique_ptr<TrackSource> source, const std::string& origin) {
  m_inputNames.push_back(origin);
  m_sources.push_back(source.get());
  m_added.push_back(std::move(source));
}

u32 MovieCopy::Type() const {
  return m_target.type.value_or(TypeByName(m_target.name).value_or(MP4_TYPE_MP4));
}

// Whoever names a file expects what its name says.
void MovieCopy::NoteType() const {
  const std::string name = Quoted(m_target.name);
  const fs::path ending = fs::path(m_target.name).extension();
  if (!m_target.type && !ending.empty() && !TypeByName(m_target.name)) {
    m_notes(name + " becomes a file of type mp4, since " + Quoted(ending.string()) +
            " stands for no type that can be written; --type takes one by its name");
  }
  if (Type() != MP4_TYPE_M4A) return;
  for (const auto& copy : m_copies) {
    if (copy->Kind() != MP4_KIND_VIDEO) continue;
    m_notes(name + " is of type m4a, which is for sound alone, and takes " + copy->Name() +
            ", which is video, all the same; --type mp4 is for both");
  }
}

void MovieCopy::Examine() {
  const Interrupts interrupts;
  for (const auto& track : m_copies) track->Examine(interrupts);
  m_isExamined = true;
}

void MovieCopy::Write(const Finish& finish) {
  constexpr u64 kLargestReadable = 0xFFFF0000;  // with room for the headers
  if (!m_isExamined) Examine();
  const Interrupts interrupts;
  u64 bytes = 0;
  for (const TrackSource* source : m_sources) bytes += source->ByteCount();
  if (bytes > kLargestReadable) {
    m_notes(Quoted(m_target.name) + " takes more than 4 GiB, and this program cannot read it back");
  }
  NoteType();
  NoteLength();
  OutputPlace place(m_target.name, m_inputNames, m_target.force);
  WriteTo(place, interrupts, finish);
  place.Commit();
}

// The movie lasts as its first track, and players may stop there. Captions have no say: behind the end of the
// film there is nothing to see.
void MovieCopy::NoteLength() const {
  constexpr double kNoticeable = 0.1;  // tracks of one recording end about together
  const auto length = [](const auto& copy) { return copy->Kind() == MP4_KIND_TEXT ? 0 : copy->Length(); };
  const TrackCopy& longest = **std::ranges::max_element(m_copies, {}, length);
  const double first = m_copies.front()->Length();
  if (length(&longest) < first + kNoticeable) return;
  char text[120];
  std::snprintf(text, sizeof text, " lasts %.3f s, as its first track does, and not the %.3f s of ", first,
                longest.Length());
  std::string order = "--track " + std::to_string(longest.Index());
  for (const auto& copy : m_copies) {
    if (copy.get() != &longest) order += " --track " + std::to_string(copy->Index());
  }
  m_notes(Quoted(m_target.name) + text + longest.Name() + "; \"ktmp4 remux " + order +
          "\" puts that one first");
}

void MovieCopy::WriteTo(const OutputPlace& place, const Interrupts& interrupts, const Finish& finish) {
  CMp4File* made = nullptr;
  if (const Mp4Result result = CreateMp4File(&made)) throw ResultFailure(place.Operation(), result);
  const std::unique_ptr<CMp4File> output(made);
  RequireWritten(place, Headers,
                 [&] { return output->Open(place.PartialName().c_str(), MP4_MODE_WRITE, Type()); });
  CopyDate(m_input.File(), *output);
  RequireWritten(place, Headers,
                 [&] { return CopyNotices(m_input.File(), *output, m_notes, m_input.Name()); });
  const auto require = [&](TrackSource* source, Mp4Result (TrackSource::*operation)(CMp4File&)) {
    const auto name = [&] { return source->Name(); };
    RequireWritten(place, name, [&] { return (source->*operation)(*output); });
  };
  for (TrackSource* source : m_sources) require(source, &TrackSource::Begin);
  WriteSamples(place, interrupts);
  for (TrackSource* source : m_sources) require(source, &TrackSource::End);
  std::string part;
  if (finish) {
    const auto finished = [&] { return part; };
    RequireWritten(place, finished, [&] { return finish(*output, &part); });
  }
  interrupts.Check();
  RequireWritten(place, Headers, [&] { return output->Close(); });
}

// All samples of all tracks, in the order in which they are decoded.
void MovieCopy::WriteSamples(const OutputPlace& place, const Interrupts& interrupts) {
  u64 allSamples = 0;
  for (const TrackSource* source : m_sources) allSamples += source->SampleCount();
  ProgressLine progress;
  for (u64 sample = 1; sample <= allSamples; ++sample) {
    interrupts.Check();
    TrackSource* next = nullptr;
    for (TrackSource* source : m_sources) {
      if (source->IsComplete()) continue;
      if (next == nullptr || source->NextTime() < next->NextTime()) next = source;
    }
    const auto name = [&] { return next->Name(); };
    RequireWritten(place, name, [&] { return next->WriteNext(); });
    u64 bytes = 0;
    for (const TrackSource* source : m_sources) bytes += source->WrittenBytes();
    progress.UpdateCopy(sample, allSamples, bytes);
  }
}

}  // namespace kt
