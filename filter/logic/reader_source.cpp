#include "filter/logic/reader_source.h"

#include <algorithm>
#include <new>
#include <utility>

namespace kt {

namespace {

/// What becomes of a track of each kind; the two lists do not run in the same order. A kind without a name
/// for its pin gets none.
struct TrackSort {
  u32 kind;
  ReaderTrackType type;
  const char* pinName;
};

constexpr TrackSort kTrackSorts[] = {
    {MP4_KIND_VIDEO, READER_TRACK_VIDEO, "MPEG-4 Track Video"},
    {MP4_KIND_AUDIO, READER_TRACK_AUDIO, "MPEG-4 Track Audio"},
    {MP4_KIND_HINT, READER_TRACK_HINT, nullptr},
    {MP4_KIND_OBJECT_DESCRIPTOR, READER_TRACK_OBJECT_DESCRIPTOR, nullptr},
    {MP4_KIND_SCENE_DESCRIPTION, READER_TRACK_SCENE_DESCRIPTION, nullptr},
    {MP4_KIND_TEXT, READER_TRACK_LINE21, "MPEG-4 Track Line21"},
};

TrackSort SortOf(u32 kind) {
  const auto* const row = std::ranges::find(kTrackSorts, kind, &TrackSort::kind);
  return row == std::end(kTrackSorts) ? TrackSort{kind, READER_TRACK_UNKNOWN, nullptr} : *row;
}

}  // namespace

CReaderSource::CReaderSource(ReaderHost& host, FileFactory createFile)
    : m_host(host), m_createFile(std::move(createFile)) {}

CReaderSource::~CReaderSource() {
  CloseFile();
}

FilterResult CReaderSource::Load(const char* name, std::wstring givenName) {
  if (m_secondInstance) return FilterResult::WrongState;
  SourceName source;
  if (IsFailure(ParseSourceName(name, &source))) return FilterResult::Fail;
  UrlParameterStore parameters;
  const bool hasParameters = source.isUrl && parameters.Parse(name) == 0;
  m_settings.With([&](Settings& settings) {
    settings.callbackName = source.callbackName;
    settings.givenName = std::move(givenName);
    if (hasParameters) ApplyUrlParameters(parameters, &settings.switches);
  });

  CloseFile();
  if (const FilterResult result = OpenFile(source.path); IsFailure(result)) return result;
  for (u32 trackNumber = 1; trackNumber <= m_tables.m_trackCount; ++trackNumber) {
    if (const FilterResult result = LoadTrack(trackNumber); IsFailure(result)) return result;
  }
  return FilterResult::Ok;
}

Mp4Result CReaderSource::CreateFile(CMp4File** file) const {
  if (m_createFile) return m_createFile(file);
  return Switches().m_adapt ? CreateAdaptingMp4File(file) : CreateMp4File(file);
}

FilterResult CReaderSource::OpenFile(const std::string& path) {
  CMp4File* created = nullptr;
  if (CreateFile(&created)) return FilterResult::Fail;
  m_file.reset(created);
  if (m_file->Open(path.c_str(), MP4_MODE_READ, MP4_TYPE_MP4)) {
    m_file.reset();
    return FilterResult::Fail;
  }
  u32 trackCount = 0;
  if (m_file->GetTrackCount(&trackCount)) {
    CloseFile();
    return FilterResult::Fail;
  }
  m_tables.m_trackCount = std::min(trackCount, kMaxTracks);
  u32 timeScale = 0;
  m_tables.m_movieTimeScale = m_file->GetMovieTimeScale(&timeScale) ? 1000 : timeScale;
  return FilterResult::Ok;
}

void CReaderSource::CloseFile() {
  if (!m_file) return;
  for (const auto& pin : m_pins) {
    if (CMp4Track* const track = pin->LoseTrack()) GiveBack(track);
  }
  static_cast<void>(Locked([&] { return m_file->Close(); }));
  m_file.reset();
}

FilterResult CReaderSource::LoadTrack(u32 trackNumber) {
  CMp4Track* track = nullptr;
  const Mp4Result opened = Locked([&] { return m_file->OpenTrack(trackNumber, &track); });
  if (opened) {
    m_host.ShowError("Cannot get track");
    return FilterResult::Ok;
  }
  const u32 index = trackNumber - 1;
  const std::optional<u32> kind = ReadFacts(track, index);
  // A caption track that is not wanted leaves its entry alone, too.
  const SourceSwitches switches = Switches();
  const bool wanted = kind && (*kind != MP4_KIND_TEXT || switches.m_captionOverlay || switches.m_captionText);
  const TrackSort sort = SortOf(kind.value_or(MP4_KIND_UNKNOWN));
  if (wanted) m_tables.m_trackType[index] = sort.type;
  if (wanted && sort.pinName) return MakePin(track, trackNumber, sort.type, sort.pinName);
  GiveBack(track);
  return FilterResult::Ok;
}

std::optional<u32> CReaderSource::ReadFacts(CMp4Track* track, u32 index) {
  // Returns what `get` stores, and leaves `*entry` alone when it fails.
  const auto read = [&]<class T>(Mp4Result (CMp4Track::*get)(T*), T* entry, const char* complaint) {
    T value = 0;
    const Mp4Result result = Locked([&] { return (track->*get)(&value); });
    if (result) {
      m_host.ShowError(complaint);
      return false;
    }
    *entry = value;
    return true;
  };
  read(&CMp4Track::GetTrackId, &m_tables.m_trackId[index], "Cannot get track id");
  read(&CMp4Track::GetSampleCount, &m_tables.m_sampleCount[index], "Cannot get track sample count");
  read(&CMp4Track::GetTimeScale, &m_tables.m_timeScale[index], "Cannot get track time scale");
  // A missing duration is told in the words of the time scale; it has always been.
  read(&CMp4Track::GetDuration, &m_tables.m_duration[index], "Cannot get track time scale");
  u32 kind = MP4_KIND_UNKNOWN;
  if (!read(&CMp4Track::GetTrackType, &kind, "Cannot get track type")) return std::nullopt;
  return kind;
}

FilterResult CReaderSource::MakePin(CMp4Track* track, u32 trackNumber, ReaderTrackType type,
                                    const char* name) {
  m_hasVideo |= type == READER_TRACK_VIDEO;
  m_hasAudio |= type == READER_TRACK_AUDIO;
  m_hasLine21 |= type == READER_TRACK_LINE21;
  if (!OfferPin(name)) {
    GiveBack(track);
    return FilterResult::OutOfMemory;
  }
  CReaderPin& pin = *m_pins.back();
  // A pin whose track tells too little stays, and readers rely on it; it then delivers nothing.
  static_cast<void>(pin.SetTrack(track));
  AdaptedEntry entry;
  if (Locked([&] { return GetAdaptedEntry(m_file.get(), trackNumber, 1, &entry); }) == MP4_OK) {
    pin.Adapt(entry);
  }
  if (m_pins.size() == 1) {
    pin.SetSeekMaster(true);
    m_settings.With([&](Settings& settings) { settings.seekPin = &pin; });
  }
  return FilterResult::Ok;
}

bool CReaderSource::OfferPin(const char* name) {
  try {
    m_pins.push_back(std::make_unique<CReaderPin>(m_trackLock, name));
  } catch (const std::bad_alloc&) {
    return false;
  }
  if (m_host.AddPin(*m_pins.back())) return true;
  m_pins.pop_back();
  return false;
}

void CReaderSource::GiveBack(CMp4Track* track) {
  static_cast<void>(Locked([&] { return m_file->CloseTrack(track); }));
}

FilterResult CReaderSource::GetDuration(i64* duration) const {
  *duration = 0;
  const CReaderPin* const pin = SeekPin();
  return pin ? pin->GetDuration(duration) : FilterResult::False;
}

}  // namespace kt
