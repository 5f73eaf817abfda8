#include "platform/source_host.h"

#include <vfwmsgs.h>

#include <cstring>
#include <fstream>

#include "support/movie_builder.h"

namespace kt::test {
namespace {

TakenSample Look(IMediaSample* sample) {
  TakenSample taken;
  BYTE* bytes = nullptr;
  sample->GetPointer(&bytes);
  taken.bytes.assign(bytes, bytes + sample->GetActualDataLength());
  taken.hasTime = sample->GetTime(&taken.start, &taken.stop) == S_OK;
  sample->GetMediaTime(&taken.mediaStart, &taken.mediaStop);
  taken.isSyncPoint = sample->IsSyncPoint() == S_OK;
  return taken;
}

}  // namespace

HRESULT ServerModule::Call(const char* name) const {
  const auto function =
      reinterpret_cast<HRESULT(WINAPI*)()>(reinterpret_cast<void*>(GetProcAddress(m_module, name)));
  return function != nullptr ? function() : E_NOINTERFACE;
}

std::wstring SourcePath() {
  return std::filesystem::path(KTMP4_MODULE).wstring();
}

std::wstring MediaFile(const std::wstring& name) {
  return std::filesystem::path(KTMP4_MEDIA "/").wstring() + name;
}

std::wstring UrlOf(const std::wstring& file, const std::wstring& parameters) {
  return L"ktmp4file://" + file + parameters;
}

NamedFile::NamedFile(const std::wstring& name, const std::vector<u8>& content) {
  std::filesystem::create_directory(m_folder.Path());
  m_path = m_folder.Path() / name;
  std::ofstream stream(m_path, std::ios::binary);
  stream.write(reinterpret_cast<const char*>(content.data()), static_cast<std::streamsize>(content.size()));
}

SampleWish SeekedTo(const std::wstring& file, u32 track, i64 position) {
  OpenedMovie movie(ReadFile(file));
  const std::unique_ptr<CMp4Track> opened = movie.OpenTrack(track);
  const u64 ticks = static_cast<u64>(position) * Got(*opened, &CMp4Track::GetTimeScale) / 10'000'000;
  // Inside of the last sample the search fails, with that sample stored.
  const u32 zero = Ask(*opened, &CMp4Track::FindSampleByDecodingTime, ticks).value;
  const u64 composition = Got(*opened, &CMp4Track::GetSampleCompositionTime, zero);
  return {.track = track, .first = Got(*opened, &CMp4Track::FindSyncSample, composition), .zero = zero};
}

std::vector<TakenSample> SamplesOf(const std::wstring& file, const SampleWish& wish) {
  OpenedMovie movie(ReadFile(file));
  const std::unique_ptr<CMp4Track> track = movie.OpenTrack(wish.track);
  const u32 timeScale = Got(*track, &CMp4Track::GetTimeScale);
  const auto decodingTime = [&](u32 sample) {
    return static_cast<i64>(Got(*track, &CMp4Track::GetSampleDecodingTime, sample));
  };
  const i64 zero = wish.zero != 0 ? decodingTime(wish.zero) : 0;
  const bool isAac = Got(*track, &CMp4Track::GetTrackType) == MP4_KIND_AUDIO;

  std::vector<TakenSample> samples;
  for (u32 number = wish.first; number < Got(*track, &CMp4Track::GetSampleCount); ++number) {
    const i64 decoding = decodingTime(number);
    const u64 composition = Got(*track, &CMp4Track::GetSampleCompositionTime, number);
    u32 size = Got(*track, &CMp4Track::GetSampleSize, number);
    TakenSample& sample = samples.emplace_back();
    const std::size_t header = wish.isStamped ? 16 : 0;
    sample.bytes.resize(header + size);
    if (wish.isStamped) {
      std::memcpy(sample.bytes.data(), &composition, 8);
      std::memcpy(sample.bytes.data() + 8, &decoding, 8);
    }
    EXPECT_EQ(track->ReadSample(number, size, &size, sample.bytes.data() + header), MP4_OK);
    sample.start = (decoding - zero) * 10'000'000 / timeScale;
    // Divided unsigned, also ahead of the position that was sought: readers rely on it.
    sample.stop =
        static_cast<i64>(static_cast<u64>(decodingTime(number + 1) - zero) * 10'000'000 / timeScale);
    sample.mediaStart = number;
    sample.mediaStop = number + (isAac ? 1024 : 1);
    sample.isSyncPoint = Got(*track, &CMp4Track::FindSyncSample, composition) == number;
  }
  return samples;
}

PlayedSource::PlayedSource() {
  EXPECT_EQ(m_graph.Create(), S_OK);
  EXPECT_EQ(CoCreateInstance(::CLSID_KtMp4FileReader, nullptr, CLSCTX_INPROC_SERVER, IID_IBaseFilter,
                             m_filter.PutVoid()),
            S_OK);
  EXPECT_EQ(m_graph.m_builder->AddFilter(m_filter.Get(), L"Source"), S_OK);
}

PlayedSource::PlayedSource(const std::wstring& name, PlayScript script) : PlayedSource() {
  EXPECT_EQ(Load(name), S_OK);
  Connect(std::move(script));
}

PlayedSource::~PlayedSource() {
  Stop();
}

void PlayedSource::Connect(PlayScript script) {
  for (const ComPointer<IPin>& pin : Pins()) {
    ComPointer<IPin> peer;
    if (pin->ConnectedTo(peer.Put()) == S_OK) continue;
    End& end = m_sinks.emplace_back();
    SinkScript sink = script.sink;
    sink.m_look = [recorded = end.recorded](IMediaSample* sample) {
      const std::lock_guard lock(recorded->lock);
      recorded->samples.push_back(Look(sample));
    };
    end.sink = std::make_unique<Held<CRecordingSink>>(sink);
    EXPECT_EQ(m_graph.m_builder->AddFilter(&**end.sink, nullptr), S_OK);
    ComPointer<IEnumMediaTypes> types;
    AM_MEDIA_TYPE* type = nullptr;
    EXPECT_EQ(pin->EnumMediaTypes(types.Put()), S_OK);
    EXPECT_EQ(types->Skip(script.typePosition), S_OK);
    EXPECT_EQ(types->Next(1, &type, nullptr), S_OK);
    EXPECT_EQ(m_graph.m_builder->ConnectDirect(pin.Get(), &(*end.sink)->Pin(), type), S_OK);
    DeleteMediaType(type);
  }
}

void PlayedSource::PlayToEnd() {
  Run();
  EXPECT_TRUE(m_graph.Comes(EC_COMPLETE));
  Stop();
}

HRESULT PlayedSource::Seek(i64 position, std::size_t pin) {
  ComPointer<IMediaSeeking> seeking;
  const HRESULT result = Pins().at(pin).Query(&seeking);
  if (FAILED(result)) return result;
  return seeking->SetPositions(&position, AM_SEEKING_AbsolutePositioning, nullptr, 0);
}

HRESULT PlayedSource::Render(std::size_t pin, IGraphBuilder* graph) {
  const ComPointer<IPin> rendered = Pins().at(pin);
  ComPointer<IStreamBuilder> builder;
  EXPECT_EQ(rendered.Query(&builder), S_OK);
  return builder->Render(rendered.Get(), graph);
}

std::vector<ComPointer<IPin>> PlayedSource::Pins() {
  std::vector<ComPointer<IPin>> pins;
  ComPointer<IEnumPins> all;
  EXPECT_EQ(m_filter->EnumPins(all.Put()), S_OK);
  ComPointer<IPin> pin;
  while (all->Next(1, pin.Put(), nullptr) == S_OK) pins.push_back(pin);
  return pins;
}

std::vector<TakenSample> PlayedSource::Taken(std::size_t pin) {
  const std::lock_guard lock(m_sinks[pin].recorded->lock);
  return m_sinks[pin].recorded->samples;
}

std::vector<TakenSample> PlayedSource::TakenOfLastSegment(std::size_t pin) {
  EXPECT_TRUE(Eventually([&] { return Sink(pin).Events().back().kind == SinkEvent::EndOfStream; }));
  const std::vector<SinkEvent> events = Sink(pin).Events();
  std::size_t count = 0;
  for (const SinkEvent& event : events) {
    if (event.kind == SinkEvent::NewSegment) count = 0;
    if (event.kind == SinkEvent::Sample) ++count;
  }
  std::vector<TakenSample> samples = Taken(pin);
  samples.erase(samples.begin(), samples.end() - static_cast<std::ptrdiff_t>(count));
  return samples;
}

}  // namespace kt::test
