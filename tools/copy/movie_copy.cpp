#include "tools/copy/movie_copy.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <filesystem>
#include <system_error>

#include "tools/copy/copyright_copy.h"
#include "tools/files/output_place.h"
#include "tools/terminal/failure.h"
#include "tools/terminal/progress_line.h"

namespace kt {
namespace {

namespace fs = std::filesystem;

u32 TypeByName(const std::string& name) {
  std::string extension = fs::path(name).extension().string();
  std::ranges::transform(extension, extension.begin(),
                         [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
  if (extension == ".3gp" || extension == ".3g2") return MP4_TYPE_3GP;
  return extension == ".m4a" ? MP4_TYPE_M4A : MP4_TYPE_MP4;
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

void RequireFree(const CopyTarget& target) {
  std::error_code error;
  if (!target.force && fs::is_regular_file(target.name, error)) {
    throw Failure("cannot write " + Quoted(target.name) +
                  ": there is such a file already (--force replaces it)");
  }
}

}  // namespace

MovieCopy::MovieCopy(const InputChoice& input, CopyTarget target, Notes notes)
    : m_target(std::move(target)), m_notes(std::move(notes)), m_input(input), m_inputNames({input.name}) {
  m_input.RequireOpen();
  m_input.TellAdapting(m_notes);
  RequireFree(m_target);
}

// A track that can be written; otherwise null with a note, or a failure when somebody has asked for it.
std::unique_ptr<TrackCopy> MovieCopy::TakeTrack(u32 index, const MovieDetails& details, bool wanted) {
  std::string obstacle;
  try {
    auto track = std::make_unique<TrackCopy>(m_input, index, details.Track(index), wanted, m_notes);
    obstacle = track->Obstacle();
    if (obstacle.empty()) return track;
  } catch (const Failure& failure) {
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
  return m_target.type.value_or(TypeByName(m_target.name));
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
  OutputPlace place(m_target.name, m_inputNames);
  WriteTo(place, interrupts, finish);
  RequireFree(m_target);  // what has come meanwhile is not replaced either
  place.Commit();
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
