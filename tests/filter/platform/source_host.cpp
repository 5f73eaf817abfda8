#include "filter/platform/source_host.h"

#include <vfwmsgs.h>

#include <fstream>
#include <numeric>

#include "support/movie_builder.h"

namespace kt::test {
HRESULT ServerModule::Call(const char* name) const {
  HRESULT(WINAPI* const function)() = Find<HRESULT WINAPI()>(name);
  return function != nullptr ? function() : E_NOINTERFACE;
}

ComPointer<IClassFactory> ServerModule::Factory(REFCLSID clsid) const {
  const auto make = Find<HRESULT WINAPI(REFCLSID, REFIID, void**)>("DllGetClassObject");
  ComPointer<IClassFactory> factory;
  EXPECT_EQ(make != nullptr ? make(clsid, IID_IClassFactory, factory.PutVoid()) : E_NOINTERFACE, S_OK);
  return factory;
}

std::wstring SourcePath() {
  return std::filesystem::path(KTMP4_MODULE).wstring();
}

std::wstring DecoderPath() {
  return std::filesystem::path(KTMP4_DECODER).wstring();
}

HRESULT ConnectByType(HostGraph& graph, IPin* output, IPin* input, ULONG position) {
  ComPointer<IEnumMediaTypes> types;
  AM_MEDIA_TYPE* type = nullptr;
  EXPECT_EQ(output->EnumMediaTypes(types.Put()), S_OK);
  EXPECT_EQ(types->Skip(position), S_OK);
  EXPECT_EQ(types->Next(1, &type, nullptr), S_OK);
  const HRESULT result = graph.m_builder->ConnectDirect(output, input, type);
  DeleteMediaType(type);
  return result;
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

std::vector<ULONG> SamplesFrom(const std::wstring& file, u32 track, i64 position) {
  OpenedMovie movie(ReadFile(file));
  const std::unique_ptr<CMp4Track> opened = movie.OpenTrack(track);
  const u64 ticks = static_cast<u64>(position) * Got(*opened, &CMp4Track::GetTimeScale) / 10'000'000;
  // Inside of the last sample the search fails, with that sample stored.
  const u32 found = Ask(*opened, &CMp4Track::FindSampleByDecodingTime, ticks).value;
  const u64 composition = Got(*opened, &CMp4Track::GetSampleCompositionTime, found);
  const u32 first = Got(*opened, &CMp4Track::FindSyncSample, composition);
  std::vector<ULONG> samples(Got(*opened, &CMp4Track::GetSampleCount) - first);
  std::iota(samples.begin(), samples.end(), ULONG{first});
  return samples;
}

PlayedSource::PlayedSource() {
  EXPECT_EQ(m_graph.Create(), S_OK);
  m_filter = Made<IBaseFilter>(::CLSID_KtMp4FileReader);
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
    CRecordingSink& sink = **m_sinks.emplace_back(std::make_unique<Held<CRecordingSink>>(script.sink));
    EXPECT_EQ(m_graph.m_builder->AddFilter(&sink, nullptr), S_OK);
    EXPECT_EQ(ConnectByType(m_graph, pin.Get(), &sink.Pin(), script.typePosition), S_OK);
  }
}

void PlayedSource::PlayToEnd() {
  Run();
  EXPECT_TRUE(m_graph.Comes(EC_COMPLETE));
  Stop();
}

HRESULT PlayedSource::Seek(i64 position, std::size_t pin) {
  return test::As<IMediaSeeking>(Pins().at(pin))
      ->SetPositions(&position, AM_SEEKING_AbsolutePositioning, nullptr, 0);
}

HRESULT PlayedSource::Render(std::size_t pin, IGraphBuilder* graph) {
  const ComPointer<IPin> rendered = Pins().at(pin);
  return test::As<IStreamBuilder>(rendered)->Render(rendered.Get(), graph);
}

std::vector<ComPointer<IPin>> PlayedSource::Pins() {
  std::vector<ComPointer<IPin>> pins;
  ComPointer<IEnumPins> all;
  EXPECT_EQ(m_filter->EnumPins(all.Put()), S_OK);
  ComPointer<IPin> pin;
  while (all->Next(1, pin.Put(), nullptr) == S_OK) pins.push_back(pin);
  return pins;
}

}  // namespace kt::test
