// The companion: when it shows what, and that graphs may do with it what they like.

#include <objbase.h>

#include <cstring>

#include "filter/platform/private_types.h"
#include "filter/platform/source_host.h"
#include "module/counting_source.h"

namespace kt::test {
namespace {

class DecoderTest : public SourceTest {
 protected:
  void SetUp() override {
    SourceTest::SetUp();
    ASSERT_EQ(m_decoder.Register(), S_OK);
  }
  void TearDown() override {
    SourceTest::TearDown();
    EXPECT_EQ(m_decoder.CanUnload(), S_OK);
    EXPECT_EQ(m_decoder.Unregister(), S_OK);
  }

  const ServerModule m_decoder{DecoderPath()};
};

/// The companion in a graph, behind a pin, and a sink behind it.
struct Decoded {
  Decoded(HostGraph& hostGraph, IPin* pin, int typePosition) : graph(hostGraph) {
    EXPECT_EQ(graph.m_builder->AddFilter(decoder.Get(), L"Decoder"), S_OK);
    EXPECT_EQ(graph.m_builder->AddFilter(&*sink, L"Sink"), S_OK);
    Connect(pin, typePosition);
    EXPECT_EQ(graph.m_builder->ConnectDirect(Pin(L"Out").Get(), &sink->Pin(), nullptr), S_OK);
  }
  ~Decoded() { graph.m_control->Stop(); }
  void Connect(IPin* from, int typePosition) {
    EXPECT_EQ(ConnectByType(graph, from, Pin(L"In").Get(), static_cast<ULONG>(typePosition)), S_OK);
  }
  ComPointer<IPin> Pin(const wchar_t* id) const {
    ComPointer<IPin> pin;
    EXPECT_EQ(decoder->FindPin(id, pin.Put()), S_OK);
    return pin;
  }
  void PlayToEnd() const {
    EXPECT_TRUE(SUCCEEDED(graph.m_control->Run()));
    EXPECT_TRUE(graph.Comes(EC_COMPLETE));
    EXPECT_EQ(graph.m_control->Stop(), S_OK);
  }

  HostGraph& graph;
  const ComPointer<IBaseFilter> decoder = Made<IBaseFilter>(::CLSID_KtMp4Decoder);
  /// The numbers of the samples, and when each is shown.
  std::vector<std::pair<ULONG, i64>> shown;
  const Held<CRecordingSink> sink{SinkScript{.m_look = [this](IMediaSample* sample) {
    i64 number = 0, next = 0, start = -1, stop = 0;
    sample->GetMediaTime(&number, &next);
    sample->GetTime(&start, &stop);
    EXPECT_TRUE(stop > start && stop <= start + 400'000) << start << " to " << stop;
    shown.emplace_back(number, start);
  }}};
};

/// As the source's pins offer it, with 25 ticks a second.
CMediaType TypeOf(const GUID& subtype, const std::vector<u8>& setup) {
  const bool isSound = subtype == ::MEDIASUBTYPE_KtMp4AudioStamped;
  std::vector<u8> block(isSound ? 18 : 104);
  block[isSound ? 4 : 88] = 25;
  block.insert(block.end(), setup.begin(), setup.end());
  CMediaType type;
  type.majortype = isSound ? ::MEDIATYPE_Audio : ::MEDIATYPE_Video;
  type.subtype = subtype;
  type.formattype = isSound ? ::FORMAT_WaveFormatEx : ::FORMAT_KtMp4Video;
  type.SetFormat(block.data(), static_cast<ULONG>(block.size()));
  return type;
}

/// Fills a sample that is decoded `number` pictures behind the first one. R is a picture that others lean on,
/// B one between two of these, P an R ahead of the position that was sought, U an R without times, N no
/// picture and E nothing at all. A digit is a sample with a stamp, shown so many pictures behind 5 pictures
/// before it is decoded; "<" one with half a stamp.
HRESULT Fill(char kind, ULONG number, IMediaSample* sample) {
  BYTE* bytes = nullptr;
  sample->GetPointer(&bytes);
  std::memset(bytes, 0x55, 64);
  const BYTE picture[] = {0, 0, 1, 0xB6, static_cast<BYTE>(kind == 'B' ? 0x95 : 0x55)};
  const i64 stamp[] = {i64{number} + (kind - '5'), number};
  if (std::strchr("RBPU", kind) != nullptr) std::memcpy(bytes, picture, sizeof picture);
  if (kind >= '0' && kind <= '9') std::memcpy(bytes, stamp, sizeof stamp);
  REFERENCE_TIME start = (i64{number} - (kind == 'P' ? 100 : 0)) * 400'000;
  REFERENCE_TIME stop = kind == 'P' ? i64{1} << 55 : start + 400'000;
  sample->SetTime(kind == 'U' ? nullptr : &start, &stop);
  return sample->SetActualDataLength(kind == 'E' ? 0 : kind == '<' ? 8 : 64);
}

TEST_F(DecoderTest, ShowsPicturesWhenTheyAreDue) {
  // The header of a layer with 25 pictures a second: of the simple type, which has none out of order, of one
  // that does not say it, and of one that says that there are.
  const std::vector<u8> simple = {0, 0, 1, 0x20, 0, 0x84, 0x40, 6, 0x70, 0xC1, 1, 4, 7};
  const std::vector<u8> silent = {0, 0, 1, 0x20, 8, 0x84, 0x40, 6, 0x70, 0xC1, 1, 4, 7};
  const std::vector<u8> reordered = {0, 0, 1, 0x20, 8, 0x86, 0x84, 0, 0x67, 12, 16, 16, 0x40, 0x7F};
  const GUID& plain = ::MEDIASUBTYPE_KtMp4Video;
  const GUID& stamped = ::MEDIASUBTYPE_KtMp4VideoStamped;
  const GUID& sound = ::MEDIASUBTYPE_KtMp4AudioStamped;
  constexpr i64 kNone = -1;
  // When each sample is shown, in pictures, or that it does not say it; and how many are passed over.
  using Times = std::vector<i64>;
  const std::tuple<const char*, CMediaType, std::string_view, Times> rows[] = {
      {"none out of order", TypeOf(plain, simple), "RRBR", {0, 1, 2, 3}},
      {"some out of order", TypeOf(plain, reordered), "RRBBRBBR", {1, 4, 2, 3, 7, 5, 6, 8}},
      {"found out on the way", TypeOf(plain, silent), "RRBBRBBR", {0, 1, 2, 3, 7, 5, 6, 8}},
      {"too many wait", TypeOf(plain, reordered), "RBBBBBBBBBR", {9, 1, 2, 3, 4, 5, 6, 7, 8, 9, 11}},
      {"no picture, no bytes", TypeOf(plain, reordered), "NRNER", {0, 4, 2, 3, 5}},
      {"no times", TypeOf(plain, reordered), "RUBR", {1, kNone, 2, 4}},
      {"ahead of the position", TypeOf(plain, reordered), "PPR", {-99, 2, 3}},
      {"stamped", TypeOf(stamped, reordered), "5935E", {0, 5, 0, 3, 4}},
      {"half a stamp", TypeOf(stamped, reordered), "<", {}},
      {"stamped sound", TypeOf(sound, {0x12, 0x10}), "567", {0, 2, 4}},
  };
  for (const auto& [what, type, kinds, expected] : rows) {
    SCOPED_TRACE(what);
    HostGraph graph;
    ASSERT_EQ(graph.Create(), S_OK);
    const Held<CCountingSource> source;
    source->Pin().m_type = type;
    source->Pin().m_bufferSize = 64;
    source->Pin().m_write = [&](ULONG number, IMediaSample* sample) {
      return number > kinds.size() ? S_FALSE : Fill(kinds[number - 1], number - 1, sample);
    };
    EXPECT_EQ(graph.m_builder->AddFilter(&*source, L"Source"), S_OK);
    const Decoded decoded(graph, &source->Pin(), 0);
    decoded.PlayToEnd();
    std::vector<std::pair<ULONG, i64>> due;
    for (const i64 time : expected) due.emplace_back(due.size() + 1, time == kNone ? kNone : time * 400'000);
    EXPECT_EQ(decoded.shown, due);
  }
}

// With the types of other filters' outputs graphs would try it in vain.
TEST_F(DecoderTest, IsFoundForItsTypesAlone) {
  const auto mapper = Made<IFilterMapper2>(CLSID_FilterMapper2);
  const auto isFound = [&](const GUID& major, const GUID& subtype) {
    ComPointer<IEnumMoniker> found;
    ComPointer<IMoniker> moniker;
    const GUID types[] = {major, subtype};
    mapper->EnumMatchingFilters(found.Put(), 0, TRUE, MERIT_NORMAL, TRUE, 1, types, nullptr, nullptr, FALSE,
                                TRUE, 0, nullptr, nullptr, nullptr);
    bool isOurs = false;
    while (!isOurs && found && found->Next(1, moniker.Put(), nullptr) == S_OK) {
      wchar_t* name = nullptr;
      EXPECT_EQ(moniker->GetDisplayName(nullptr, nullptr, &name), S_OK);
      isOurs = std::wstring(name).find(L"B3B19CE8-8ED8-4E87-9D6C-D4DCD6D97E00") != std::wstring::npos;
      CoTaskMemFree(name);
    }
    return isOurs;
  };
  for (const REGPINTYPES& type : kPrivateTypes) EXPECT_TRUE(isFound(*type.clsMajorType, *type.clsMinorType));
  for (const GUID& subtype : {MEDIASUBTYPE_RGB24, MEDIASUBTYPE_PCM, ::MEDIASUBTYPE_KtAmr}) {
    EXPECT_FALSE(isFound(::MEDIATYPE_Video, subtype));
  }
  // The mapper's own form begins with a version, the merit and the pins.
  DWORD data[200] = {}, size = sizeof data;
  EXPECT_EQ(RegGetValueW(HKEY_CLASSES_ROOT,
                         L"CLSID\\{083863F1-70DE-11D0-BD40-00A0C911CE86}\\Instance\\"
                         L"{B3B19CE8-8ED8-4E87-9D6C-D4DCD6D97E00}",
                         L"FilterData", RRF_RT_REG_BINARY, nullptr, data, &size),
            ERROR_SUCCESS);
  EXPECT_EQ(data[1], DWORD{MERIT_NORMAL});
  EXPECT_EQ(data[2], 2u);
}

}  // namespace
}  // namespace kt::test
