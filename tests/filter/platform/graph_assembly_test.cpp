// What the pins of a loaded file build downstream of them, in the platform's own graph manager. The filters
// that a file needs are stand-ins, each of which can be missing or fail in a way of its own. In the decoder's
// place stands one, too, or the real one, behind which the graph finds somebody who decodes.

#include <d3d9.h>
#include <objbase.h>
#include <strmif.h>
#include <uuids.h>
#include <vfwmsgs.h>
#include <vmr9.h>

#include <list>
#include <map>
#include <set>

#include "filter/formats/identifiers.h"
#include "filter/platform/platform_guid.h"
#include "filter/platform/source_host.h"
#include "filter/platform/stand_in.h"
#include "support/movie_builder.h"

namespace kt::test {
namespace {

/// What the stand-ins hand to each other: nothing of the platform's takes it.
constexpr GUID kPicture = {0x6f1c7d50, 0x3f0b, 0x4b0e, {0x9d, 0x11, 0x52, 0x0c, 0x77, 0x1e, 0x61, 0x01}};
constexpr GUID kConverted = {0x6f1c7d50, 0x3f0b, 0x4b0e, {0x9d, 0x11, 0x52, 0x0c, 0x77, 0x1e, 0x61, 0x02}};

enum class Part { Vmr9, Vmr7, Overlay, Decoder, Line21, Line21Two, Video, Sound };

enum class Fault {
  Missing,        ///< can not be made
  NoDeinterlace,  ///< lacks an interface that a mixing renderer has to have
  NoConfig,
  BrokenQuery,     ///< fails when it is asked for such an interface
  Refuses,         ///< takes no connection
  OneInput,        ///< has room for one stream, whatever it is configured for
  NeedsConverter,  ///< takes pictures by way of a converter, which stands in the graph, only
  NoOutput,
};

/// The class and the pins of each part; `interfaces` are the two of a mixing renderer.
struct PartRow {
  Part part;
  GUID clsid;
  std::vector<GUID> takes;
  bool hasOutput;
  std::vector<GUID> interfaces;
};

const GUID kCaptions = ::MEDIATYPE_AUXLine21Data;
const std::vector<GUID> kMixer9 = {__uuidof(IVMRDeinterlaceControl9), __uuidof(IVMRFilterConfig9)};
const std::vector<GUID> kMixer7 = {IID_IVMRDeinterlaceControl, IID_IVMRFilterConfig};
const PartRow kParts[] = {
    {Part::Vmr9, CLSID_VideoMixingRenderer9, {kPicture}, false, kMixer9},
    {Part::Vmr7, CLSID_VideoMixingRenderer, {kPicture, kCaptions}, false, kMixer7},
    {Part::Overlay, CLSID_OverlayMixer, {kPicture, kCaptions}, true, {}},
    {Part::Decoder, ::CLSID_KtMp4Decoder, {::MEDIATYPE_Video}, true, {}},
    {Part::Line21, CLSID_Line21Decoder, {kCaptions}, true, {}},
    {Part::Line21Two, CLSID_Line21Decoder2, {kCaptions}, true, {}},
    {Part::Video, CLSID_VideoRenderer, {kPicture}, false, {}},
    {Part::Sound, CLSID_DSoundRender, {::MEDIATYPE_Audio}, false, {}},
};

using Faults = std::multimap<Part, Fault>;

StandInPin PinTaking(PIN_DIRECTION direction, const std::vector<GUID>& majorTypes) {
  StandInPin pin{direction, {}};
  for (const GUID& type : majorTypes) pin.types.push_back(PlainType(type, ::GUID_NULL));
  return pin;
}

using OnConnect = std::function<void(IPin* peer)>;

std::optional<StandInScript> ScriptOf(const PartRow& row, const Faults& faults, const OnConnect& onConnect) {
  std::set<Fault> mine;
  for (auto [at, end] = faults.equal_range(row.part); at != end; ++at) mine.insert(at->second);
  if (mine.contains(Fault::Missing)) return std::nullopt;
  StandInScript script;
  script.onConnect = onConnect;
  std::vector<GUID> takes = row.takes;
  if (mine.contains(Fault::Refuses)) takes.assign(1, IID_IUnknown);
  if (mine.contains(Fault::NeedsConverter)) takes[0] = kConverted;
  const StandInPin input = PinTaking(PINDIR_INPUT, takes);
  const StandInPin output = PinTaking(PINDIR_OUTPUT, {kPicture});
  script.pins = {input};
  script.mostInputs = mine.contains(Fault::OneInput) ? 1 : 2;
  // The Overlay Mixer has its two inputs from the beginning.
  if (row.part == Part::Overlay && script.mostInputs == 2) script.pins.push_back(input);
  if (row.hasOutput && !mine.contains(Fault::NoOutput)) script.pins.push_back(output);
  script.interfaces = row.interfaces;
  if (mine.contains(Fault::NoDeinterlace)) script.interfaces.erase(script.interfaces.begin());
  if (mine.contains(Fault::NoConfig)) script.interfaces.pop_back();
  if (mine.contains(Fault::BrokenQuery)) script.interfaceResult = E_UNEXPECTED;
  return script;
}

/// A file with a track for each letter: v video, h video of another coding, a audio, l captions.
Movie MovieWith(std::string_view tracks) {
  const Bytes setUp = Box("avcC", {1, 0x64, 0, 0x1F, 0xFF, 0xE1, 0, 1, 0x67, 0});
  const Track other = Track().With(&Track::stsd, Stsd({VisualEntry("avc1", 320, 240, setUp)}));
  const std::map<char, Track> kinds = {
      {'v', Track()}, {'h', other}, {'a', SoundTrack()}, {'l', CaptionedTrack()}};
  Movie movie;
  movie.tracks.clear();
  for (const char kind : tracks) movie.tracks.push_back(kinds.at(kind));
  return movie;
}

enum class Companion { StandIn, Real };

/// Decodes what the real companion hands on.
StandInScript CodecScript() {
  StandInScript script;
  script.pins = {{PINDIR_INPUT, {PlainType(::MEDIATYPE_Video, ToPlatform(FourCcGuid("MP4V")))}},
                 PinTaking(PINDIR_OUTPUT, {kPicture})};
  return script;
}

/// A graph with the source of a file, among stand-ins.
class Assembly {
 public:
  explicit Assembly(std::string_view tracks, const Faults& faults = {}, const std::wstring& url = L"",
                    const OnConnect& onConnect = nullptr, Companion companion = Companion::StandIn)
      : m_file(L"film.mp4", MovieWith(tracks).Build()) {
    for (const PartRow& row : kParts) {
      if (row.part == Part::Decoder && companion == Companion::Real) {
        m_classes.emplace_back(row.clsid, m_companion.Factory(row.clsid).Get());
        m_codec.emplace(L"Mpeg-4 Decoder-Codec", CodecScript());
      } else {
        m_classes.emplace_back(row.clsid, ScriptOf(row, faults, onConnect));
      }
    }
    EXPECT_EQ(m_source.emplace().Load(url.empty() ? m_file.Name() : UrlOf(m_file.Name(), url)), S_OK);
  }

  /// Puts a filter into the graph that is none of the parts.
  void Add(const wchar_t* name, const std::vector<StandInPin>& pins) {
    StandInScript script;
    script.pins = pins;
    ASSERT_EQ(Graph()->AddFilter(MakeStandIn(script).Get(), name), S_OK);
  }
  void AddConverter() {
    Add(L"Converter", {PinTaking(PINDIR_INPUT, {kPicture}), PinTaking(PINDIR_OUTPUT, {kConverted})});
  }
  /// A renderer that the graph finds by itself.
  void AddSpare(const wchar_t* name) { Add(name, {PinTaking(PINDIR_INPUT, {kPicture})}); }

  HRESULT Render(std::size_t pin) { return m_source->Render(pin, Graph()); }
  /// What became of each pin: "ok", or the result.
  std::string RenderAll() {
    std::string results;
    for (std::size_t i = 0; i < m_source->Pins().size(); ++i) {
      const HRESULT result = Render(i);
      char text[16];
      std::snprintf(text, sizeof text, "%08lX", static_cast<unsigned long>(result));
      results += (i == 0 ? "" : " ") + std::string(result == S_OK ? "ok" : text);
    }
    return results;
  }
  PlayedSource& Source() { return *m_source; }
  IGraphBuilder* Graph() { return m_source->Graph().m_builder.Get(); }
  /// With companion and codec as one.
  std::string Text() {
    std::string text = DescribeGraph(Graph());
    const auto replace = [&](std::string_view old, std::string_view by) {
      for (std::size_t at = 0; (at = text.find(old)) != text.npos;) text.replace(at, old.size(), by);
    };
    replace("Mpeg-4 Decoder>Mpeg-4 Decoder-Codec, ", "");
    replace("Mpeg-4 Decoder-Codec>", "Mpeg-4 Decoder>");
    return text;
  }

 private:
  const ServerModule m_companion{DecoderPath()};
  const NamedFile m_file;
  std::optional<MappedStandIn> m_codec;
  std::list<StandInClass> m_classes;
  std::optional<PlayedSource> m_source;
};

using GraphAssemblyTest = SourceTest;

struct AssemblyRow {
  const char* what;
  std::string_view tracks;
  Faults faults;
  const char* results;
  const char* graph;
  const wchar_t* url = L"";
};

using enum Part;
using enum Fault;

// The parts of a name that a graph shows differ by the stage: "Video Renderer-7" is the shared renderer,
// "Video Renderer" what takes its place.
constexpr const char* kOnVmr9 = "Mpeg-4 Decoder>Video Renderer-9, Source>Mpeg-4 Decoder, Spare";
constexpr const char* kOnVmr7 = "Mpeg-4 Decoder>Video Renderer, Source>Mpeg-4 Decoder, Spare";
constexpr const char* kOnOverlay = "Mpeg-4 Decoder>Overlay mixer, Overlay mixer>Spare, Source>Mpeg-4 Decoder";
constexpr const char* kOnSpare = "Mpeg-4 Decoder>Spare, Source>Mpeg-4 Decoder";
constexpr const char* kBothOnVmr9 =
    "Line21 Decoder 2>Video Renderer-9, Mpeg-4 Decoder>Video Renderer-9, Source>Line21 Decoder 2, "
    "Source>Mpeg-4 Decoder, Spare";
constexpr const char* kBothOnShared7 =
    "Mpeg-4 Decoder>Video Renderer-7, Source>Mpeg-4 Decoder, Source>Video Renderer-7, Spare";
constexpr const char* kBothOnSharedOverlay =
    "Mpeg-4 Decoder>Overlay Mixer, Overlay Mixer>Spare, Source>Mpeg-4 Decoder, Source>Overlay Mixer";
constexpr const char* kMovedToVmr7 =
    "Mpeg-4 Decoder>Video Renderer, Source>Mpeg-4 Decoder, Source>Video Renderer, Spare";
constexpr const char* kMovedToOverlay =
    "Mpeg-4 Decoder>Overlay mixer, Overlay mixer>Spare, Source>Mpeg-4 Decoder, Source>Overlay mixer";
constexpr const char* kApart =
    "Mpeg-4 Decoder>Video Renderer-9, Source>Mpeg-4 Decoder, Source>Video Renderer, Spare";
constexpr const char* kNoDecoding = "Mpeg-4 Decoder, Source, Spare";
constexpr const char* kOneSound = "Source>Default DirectSound Device";
constexpr const char* kSoundAlone = "Source>Default DirectSound Device, Spare";
constexpr const char* kNoPicture = "Default Video Renderer, Source>Line21 Decoder";

const Faults kNoMixers = {{Vmr9, Missing}, {Vmr7, Missing}, {Overlay, Missing}};
const Faults kRoomForOne = {{Vmr9, OneInput}, {Vmr7, OneInput}};
const Faults kByConverter = {{Vmr9, OneInput}, {Vmr7, OneInput}, {Vmr7, NeedsConverter}};
const Faults kNoRoom = {{Vmr9, OneInput}, {Vmr7, OneInput}, {Overlay, OneInput}};
const Faults kNothingForCaptions = {{Line21Two, Missing}, {Vmr7, Missing}, {Overlay, Missing}};
const Faults kDeadEnd = {{Vmr9, Missing}, {Vmr7, Missing}, {Overlay, NoOutput}};

const AssemblyRow kRows[] = {
    {"sound", "a", {}, "ok", kOneSound},
    {"sound, no device", "a", {{Sound, Missing}}, "80040111", "Source"},
    {"two sounds: one device", "aa", {}, "ok 80040218", kOneSound},

    {"video", "v", {}, "ok", kOnVmr9},
    {"video without the VMR-9", "v", {}, "ok", kOnVmr7, L"&vmr9=0"},
    {"VMR-9 without deinterlacing", "v", {{Vmr9, NoDeinterlace}}, "ok", kOnVmr7},
    {"VMR-9 refuses", "v", {{Vmr9, Refuses}}, "ok", kOnVmr7},
    {"no VMR", "v", {{Vmr9, Missing}, {Vmr7, NoDeinterlace}}, "ok", kOnOverlay},
    {"both refuse", "v", {{Vmr9, Refuses}, {Vmr7, Refuses}}, "ok", kOnOverlay},
    {"Overlay Mixer without an output", "v", kDeadEnd, "ok", kOnSpare},
    {"the graph's own choice", "v", kNoMixers, "ok", kOnSpare},
    {"no decoder", "v", {{Decoder, Missing}}, "80004003", "Source, Spare"},
    {"decoder without an output", "v", {{Decoder, NoOutput}}, "8000FFFF", kNoDecoding},
    {"decoder refuses", "v", {{Decoder, Refuses}}, "80040207", kNoDecoding},
    {"failing interface", "v", {{Vmr9, BrokenQuery}}, "8000FFFF", "Source>Mpeg-4 Decoder, Spare"},

    {"captions", "l", {}, "ok", "Line21 Decoder>Default Video Renderer, Source>Line21 Decoder"},
    {"captions, no decoder", "l", {{Line21, Missing}}, "80040111", "Source"},
    {"captions, decoder refuses", "l", {{Line21, Refuses}}, "80040207", "Line21 Decoder, Source"},
    {"captions, no renderer", "l", {{Video, Missing}}, "80040111", "Source>Line21 Decoder"},
    {"captions, no picture", "l", {{Line21, NoOutput}}, "80004005", kNoPicture},

    {"video and captions", "vl", {}, "ok ok", kBothOnVmr9},
    {"captions and video", "lv", {}, "ok ok", kBothOnVmr9},
    {"captions switched off", "vl", {}, "ok", kOnVmr7, L"&cc=off&vmr9=0"},
    {"captions as texts", "vl", {}, "ok ok", kBothOnVmr9, L"&cc=on"},
    {"both without the VMR-9", "vl", {}, "ok ok", kBothOnShared7, L"&vmr9=0"},
    {"both on the Overlay Mixer", "vl", {{Vmr9, NoConfig}, {Vmr7, NoConfig}}, "ok ok", kBothOnSharedOverlay},
    {"nothing to share, and the sound goes on", "val", kNoMixers, "80040111 ok 80040111", kSoundAlone},

    {"no Line 21 decoder: to the VMR-7", "vl", {{Line21Two, Missing}}, "ok ok", kMovedToVmr7},
    {"no room on the VMR-9: to the VMR-7", "vl", {{Vmr9, OneInput}}, "ok ok", kMovedToVmr7},
    {"captions first, moved before there is video", "lv", {{Line21Two, Refuses}}, "ok ok", kApart},
    {"no room on the VMR-7: to the Overlay Mixer", "vl", kRoomForOne, "ok ok", kMovedToOverlay},
    {"VMR-7 by a converter, torn down to the last", "vl", kByConverter, "ok ok", kMovedToOverlay},
    {"no room at all: the video alone", "vl", kNoRoom, "ok ok", kOnSpare},
    {"captions alone find nothing", "lv", kNothingForCaptions, "80040111 ok", kOnVmr9},
};

class GraphShapesTest : public SourceTest, public testing::WithParamInterface<Companion> {};
INSTANTIATE_TEST_SUITE_P(Companions, GraphShapesTest, testing::Values(Companion::StandIn, Companion::Real));

TEST_P(GraphShapesTest, TakesTheNextBestAtEachStage) {
  for (const AssemblyRow& row : kRows) {
    // The real one has no faults.
    if (GetParam() == Companion::Real && row.faults.contains(Part::Decoder)) continue;
    SCOPED_TRACE(row.what);
    Assembly assembly(row.tracks, row.faults, row.url, nullptr, GetParam());
    if (row.tracks.find('v') != std::string_view::npos) assembly.AddSpare(L"Spare");
    for (const auto& [part, fault] : row.faults) {
      if (fault == NeedsConverter) assembly.AddConverter();
      // The spare renderer goes with what was built on top of it.
      if (part == Overlay && fault == OneInput) assembly.AddSpare(L"Other");
    }
    EXPECT_EQ(assembly.RenderAll(), row.results);
    EXPECT_EQ(assembly.Text(), row.graph);
  }
}

// The system's own decoder would take what the pin offers first for what it is not, and the pin refuses it.
TEST_F(GraphAssemblyTest, PicturesOfAnotherCodingGoByTheGraph) {
  Assembly assembly("h", {}, L"&adapt=on");
  for (const auto& [name, subtype] :
       {std::pair{L"Own", ::MEDIASUBTYPE_KtMp4Video}, {L"Other", ToPlatform(FourCcGuid("AVC1"))}}) {
    assembly.Add(name, {{PINDIR_INPUT, {PlainType(::MEDIATYPE_Video, subtype)}},
                        PinTaking(PINDIR_OUTPUT, {kPicture})});
  }
  assembly.AddSpare(L"Spare");
  EXPECT_EQ(assembly.RenderAll(), "ok");
  EXPECT_EQ(assembly.Text(), "Other>Spare, Own, Source>Other");
}

// A success that is not S_OK ends the call as well. What was added is not added again.
TEST_F(GraphAssemblyTest, ANameThatIsTakenEndsTheCall) {
  Assembly assembly("val");
  assembly.Add(L"Video Renderer-9", {});
  assembly.Add(L"Default DirectSound Device", {});
  EXPECT_EQ(assembly.Render(0), VFW_S_DUPLICATE_NAME);
  EXPECT_EQ(assembly.Render(1), VFW_S_DUPLICATE_NAME);
  EXPECT_EQ(assembly.RenderAll(), "ok ok ok");
}

// Graph managers that know of pins that render themselves ask the pin that they were asked to render. That
// must not go round and round.
TEST_F(GraphAssemblyTest, ThePinThatIsBeingRenderedDeclines) {
  Assembly* graph = nullptr;
  std::vector<HRESULT> answers;
  Assembly assembly("a", {}, L"", [&](IPin* peer) {
    const ComPointer<IPin> pin(peer);
    ComPointer<IStreamBuilder> builder;
    if (SUCCEEDED(pin.Query(&builder))) answers.push_back(builder->Render(peer, graph->Graph()));
  });
  graph = &assembly;
  EXPECT_EQ(assembly.Render(0), S_OK);
  EXPECT_EQ(answers, std::vector<HRESULT>({E_NOTIMPL}));
  EXPECT_NE(assembly.Render(0), E_NOTIMPL) << "the next call is answered again";
}

// What has been added once is not added again, not to another graph either.
TEST_F(GraphAssemblyTest, AnotherGraphGetsNoSharedRenderer) {
  Assembly assembly("vl");
  EXPECT_EQ(assembly.RenderAll(), "ok ok");
  HostGraph other;
  ASSERT_EQ(other.Create(), S_OK);
  ComPointer<IBaseFilter> renderer;
  ASSERT_EQ(assembly.Graph()->FindFilterByName(L"Video Renderer-9", renderer.Put()), S_OK);
  for (IBaseFilter* const filter : {renderer.Get(), assembly.Source().Filter()}) {
    ASSERT_EQ(assembly.Graph()->RemoveFilter(filter), S_OK);
  }
  ASSERT_EQ(other.m_builder->AddFilter(assembly.Source().Filter(), L"Source"), S_OK);
  EXPECT_EQ(assembly.Source().Render(0, other.m_builder.Get()), S_OK);
  EXPECT_EQ(DescribeGraph(other.m_builder.Get()), "Mpeg-4 Decoder>Video Renderer-9, Source>Mpeg-4 Decoder");
}

}  // namespace
}  // namespace kt::test
