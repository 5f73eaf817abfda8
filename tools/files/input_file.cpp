#include "tools/files/input_file.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <utility>

#include "tools/terminal/failure.h"

namespace kt {
namespace {

namespace fs = std::filesystem;

// What the system has to say about a file that could not be read; empty when it finds nothing wrong with it.
std::string SystemReason(const std::string& name) {
  struct TypeRow {
    fs::file_type type;
    const char* text;
  };
  static constexpr TypeRow kNoFiles[] = {
      {fs::file_type::not_found, "there is no such file"},
      {fs::file_type::directory, "it is a directory"},
      {fs::file_type::fifo, "it is a FIFO and no regular file"},
      {fs::file_type::socket, "it is a socket and no regular file"},
      {fs::file_type::block, "it is a device and no regular file"},
      {fs::file_type::character, "it is a device and no regular file"},
      {fs::file_type::unknown, "it is no regular file"},
  };
  std::error_code error;
  const fs::file_type type = fs::status(name, error).type();
  for (const TypeRow& row : kNoFiles) {
    if (row.type == type) return row.text;
  }
  if (error) return error.message();
  if (fs::file_size(name, error) == 0) return "the file is empty";
  std::FILE* stream = std::fopen(name.c_str(), "rb");
  if (stream == nullptr) {
    const int reason = errno;
    RequireOpenFailedByFile("cannot read " + Quoted(name));
    return std::generic_category().message(reason);
  }
  std::fclose(stream);
  return {};
}

}  // namespace

u64 FileSize(const std::string& name) {
  std::error_code error;
  const std::uintmax_t size = fs::file_size(name, error);
  return error ? 0 : size;
}

void TrackCloser::operator()(CMp4Track* track) const {
  // A track that is read is given back without a failure.
  static_cast<void>(file->CloseTrack(track));
}

InputFile::InputFile(InputChoice choice) : m_choice(std::move(choice)) {
  CMp4File* file = nullptr;
  m_result = m_choice.adapt ? CreateAdaptingMp4File(&file) : CreateMp4File(&file);
  m_file.reset(file);
  if (m_file == nullptr) throw ResultFailure("cannot open " + Quoted(Name()), m_result);
  m_result = m_file->Open(Name().c_str(), MP4_MODE_READ, MP4_TYPE_MP4);
}

bool InputFile::IsAdapted() const {
  u32 count = 0;
  return GetAdaptedTrackCount(m_file.get(), &count) == MP4_OK;
}

std::string InputFile::Reason() const {
  LookWhatIsWrong();
  return m_reason;
}

const std::optional<Diagnosis>& InputFile::BrokenBox() const {
  LookWhatIsWrong();
  return m_brokenBox;
}

void InputFile::LookWhatIsWrong() const {
  if (m_isDiagnosed) return;
  m_isDiagnosed = true;
  const std::string ofSystem = SystemReason(Name());
  const bool hasMemory = m_result != MP4_NO_MEMORY;
  if (hasMemory && ofSystem.empty()) m_brokenBox = Diagnose(Name());
  // The general sentence, where there is no more to say.
  m_reason = m_brokenBox ? m_brokenBox->Text() : Mp4ResultText(m_result);
  if (hasMemory && !ofSystem.empty()) m_reason = ofSystem;
  // Told only when a look shows that it is so.
  if (ofSystem.empty() && !m_choice.adapt && InputFile({Name(), true}).Result() == MP4_OK) {
    m_reason += "; --adapt may read it";
  }
}

const FileBoxes& InputFile::Boxes() const {
  if (!m_boxes) m_boxes = ReadFileBoxes(Name());
  return *m_boxes;
}

std::vector<ByteSpan> InputFile::TrackBoxes() {
  std::vector<ByteSpan> tracks;
  if (const auto& movie = Boxes().movie) {
    ForEachBox(*movie, "trak", [&](ByteSpan track) { tracks.push_back(track); });
  }
  if (!IsAdapted()) return tracks;
  // By the index of the library, which does not count those that are left out.
  std::vector<ByteSpan> present;
  for (const AdaptedTrack& track : AdaptedTracks(*m_file)) {
    if (track.position == 0) continue;
    const bool isFound = track.positionInFile <= tracks.size();
    present.push_back(isFound ? tracks[track.positionInFile - 1] : ByteSpan());
  }
  return present;
}

std::string InputFile::Fragments() const {
  const FileBoxes& boxes = Boxes();
  if (boxes.hasFragments) return "moof";
  return boxes.movie && BoxAt(*boxes.movie, {"mvex"}) ? "mvex" : "";
}

void InputFile::RequireNoFragments(const std::string& what) const {
  const std::string box = PassedFragments();
  if (box.empty()) return;
  throw Failure("cannot " + what + " " + Quoted(Name()) + ": it is fragmented (\"" + box +
                "\"), and what is in the fragments would be lost" +
                (m_choice.adapt ? "" : "; --adapt reads them"));
}

void InputFile::TellFragments(const Notes& notes) const {
  const std::string box = PassedFragments();
  if (box.empty()) return;
  notes(Quoted(Name()) + " is fragmented (\"" + box + "\"), and what is in the fragments is not read" +
        (m_choice.adapt ? "" : "; --adapt reads it"));
}

void InputFile::TellReading(const Notes& notes) {
  TellFragments(notes);
  for (const AdaptedTrack& track : AdaptedTracks(*m_file)) Tell(notes, track, ~u32{0});
}

void InputFile::TellReading(const Notes& notes, u32 index) {
  TellFragments(notes);
  for (const AdaptedTrack& track : AdaptedTracks(*m_file)) {
    if (track.position == index) Tell(notes, track, ~kNotesOfEntries);
  }
}

void InputFile::Tell(const Notes& notes, const AdaptedTrack& track, u32 wanted) const {
  const std::string name = track.position != 0
                               ? "track " + std::to_string(track.position) + " of " + Quoted(Name()) + ": "
                               : "the track in place " + std::to_string(track.positionInFile) + " of " +
                                     Quoted(Name()) + " is left out: ";
  for (const std::string& text : NoteTexts(track, wanted)) notes(name + text);
}

void InputFile::RequireOpen() const {
  if (m_result) throw ResultFailure("cannot open " + Quoted(Name()), m_result, Reason());
}

u32 InputFile::ChosenTrack(const std::optional<u32>& choice) {
  u32 count = 0;
  if (choice || (m_file->GetTrackCount(&count) == MP4_OK && count == 1)) return choice.value_or(1);
  if (count == 0) throw Failure("there is no track in " + Quoted(Name()));
  throw Failure(Quoted(Name()) + " has " + std::to_string(count) + " tracks; --track says which is meant");
}

TrackHandle InputFile::OpenTrack(u32 index) {
  CMp4Track* track = nullptr;
  if (const Mp4Result result = m_file->OpenTrack(index, &track)) {
    u32 count = 0;
    std::string reason;
    if (m_file->GetTrackCount(&count) == MP4_OK && index > count) {
      reason = "the file has " + std::to_string(count) + (count == 1 ? " track" : " tracks");
    }
    throw ResultFailure("cannot open track " + std::to_string(index) + " of " + Quoted(Name()), result,
                        reason);
  }
  return TrackHandle(track, TrackCloser{m_file.get()});
}

std::unique_ptr<CMp4HintTrack> InputFile::OpenHintTrack(u32 index) {
  CMp4HintTrack* track = nullptr;
  if (const Mp4Result result = m_file->OpenHintTrack(index, &track)) {
    const std::string operation = "cannot open hint track " + std::to_string(index) + " of " + Quoted(Name());
    u32 kind = MP4_KIND_UNKNOWN;
    const bool isOther = OpenTrack(index)->GetTrackType(&kind) == MP4_OK && kind != MP4_KIND_HINT;
    throw ResultFailure(operation, result, isOther ? "it is no hint track" : "");
  }
  return std::unique_ptr<CMp4HintTrack>(track);
}

std::vector<u32> InputFile::HintTracks(const Notes& notes) {
  u32 count = 0;
  if (const Mp4Result result = m_file->GetTrackCount(&count)) {
    throw ResultFailure("cannot count the tracks of " + Quoted(Name()), result);
  }
  std::vector<u32> found;
  for (u32 index = 1; index <= count; ++index) {
    try {
      u32 kind = MP4_KIND_UNKNOWN;
      if (OpenTrack(index)->GetTrackType(&kind) == MP4_OK && kind == MP4_KIND_HINT) found.push_back(index);
    } catch (const Failure& failure) {
      notes(failure.what());
    }
  }
  return found;
}

}  // namespace kt
