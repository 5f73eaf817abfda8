#include "filter/platform/graph_assembly.h"

#include <d3d9.h>
#include <objbase.h>
#include <uuids.h>
#include <vmr9.h>

#include <vector>

#include <ktmp4/ktmp4source.h>
#include "module/com/com_edge.h"

namespace kt {

namespace {

using Filter = ComPointer<IBaseFilter>;
using Pin = ComPointer<IPin>;

HRESULT CreateFilter(REFCLSID clsid, Filter* filter) {
  ComPointer<IUnknown> object;
  HRESULT result = CoCreateInstance(clsid, nullptr, CLSCTX_ALL, IID_IUnknown, object.PutVoid());
  if (SUCCEEDED(result)) result = OleRun(object.Get());
  return SUCCEEDED(result) ? object.Query(filter) : result;
}

HRESULT CreateAndAdd(REFCLSID clsid, const wchar_t* name, IGraphBuilder* graph, Filter* filter) {
  const HRESULT result = CreateFilter(clsid, filter);
  return SUCCEEDED(result) ? graph->AddFilter(filter->Get(), name) : result;
}

/// An interface that need not be there; null without it. Throws when the object fails at the question.
template <class Interface>
ComPointer<Interface> Optional(IBaseFilter* filter, REFIID iid) {
  ComPointer<Interface> face;
  const HRESULT result = filter->QueryInterface(iid, face.PutVoid());
  if (result != E_NOINTERFACE) ThrowIfFailed(result);
  return face;
}

/// Puts a mixing renderer into the mode in which it mixes, with two inputs. False for one that is not usable.
template <class Config>
bool PrepareMixer(const Filter& mixer, REFIID deinterlaceControl, REFIID filterConfig) {
  if (!mixer || !Optional<IUnknown>(mixer.Get(), deinterlaceControl)) return false;
  const ComPointer<Config> config = Optional<Config>(mixer.Get(), filterConfig);
  if (!config) return false;
  // A renderer that is connected already refuses, and stays as it is.
  config->SetNumberOfStreams(2);
  return true;
}

bool PrepareMixer9(const Filter& vmr9) {
  return PrepareMixer<IVMRFilterConfig9>(vmr9, __uuidof(IVMRDeinterlaceControl9),
                                         __uuidof(IVMRFilterConfig9));
}

bool PrepareMixer7(const Filter& vmr7) {
  return PrepareMixer<IVMRFilterConfig>(vmr7, IID_IVMRDeinterlaceControl, IID_IVMRFilterConfig);
}

/// The first filter of the graph that `matches`; null when none does.
template <class Matches>
Filter FindFilter(IGraphBuilder* graph, Matches matches) {
  ComPointer<IEnumFilters> filters;
  if (FAILED(graph->EnumFilters(filters.Put()))) return {};
  Filter filter;
  ULONG fetched = 0;
  while (filters->Next(1, filter.Put(), &fetched) == S_OK) {
    if (matches(filter.Get())) return filter;
  }
  return {};
}

std::vector<Pin> PinsOf(IBaseFilter* filter) {
  std::vector<Pin> pins;
  ComPointer<IEnumPins> enumerator;
  if (FAILED(filter->EnumPins(enumerator.Put()))) return pins;
  Pin pin;
  ULONG fetched = 0;
  while (enumerator->Next(1, pin.Put(), &fetched) == S_OK) pins.push_back(pin);
  return pins;
}

bool HasDirection(IPin* pin, PIN_DIRECTION wanted) {
  PIN_DIRECTION direction = PINDIR_INPUT;
  return SUCCEEDED(pin->QueryDirection(&direction)) && direction == wanted;
}

/// The pin at the other end; null without a connection.
Pin PeerOf(IPin* pin) {
  Pin peer;
  pin->ConnectedTo(peer.Put());
  return peer;
}

HRESULT GetUnconnectedPin(IBaseFilter* filter, PIN_DIRECTION direction, Pin* unconnected) {
  for (const Pin& pin : PinsOf(filter)) {
    if (PeerOf(pin.Get()) || !HasDirection(pin.Get(), direction)) continue;
    *unconnected = pin;
    return S_OK;
  }
  return E_FAIL;
}

/// What the first connected pin of the filter is connected with; null when none is.
Pin GetConnectedPeer(IBaseFilter* filter) {
  for (const Pin& pin : PinsOf(filter)) {
    if (Pin peer = PeerOf(pin.Get())) return peer;
  }
  return {};
}

bool HasConnectedInput(IBaseFilter* filter) {
  for (const Pin& pin : PinsOf(filter)) {
    if (HasDirection(pin.Get(), PINDIR_INPUT) && PeerOf(pin.Get())) return true;
  }
  return false;
}

Filter FilterOf(IPin* pin) {
  PIN_INFO info = {};
  if (FAILED(pin->QueryPinInfo(&info))) return {};
  Filter filter(info.pFilter);
  if (info.pFilter != nullptr) info.pFilter->Release();
  return filter;
}

/// Takes away what hangs on an output pin. A filter that something else still feeds stays.
void TearDownFrom(IGraphBuilder* graph, IPin* output) {
  const Pin peer = PeerOf(output);
  if (!peer) return;
  output->Disconnect();
  peer->Disconnect();
  const Filter filter = FilterOf(peer.Get());
  if (!filter || HasConnectedInput(filter.Get())) return;
  for (const Pin& pin : PinsOf(filter.Get())) {
    if (HasDirection(pin.Get(), PINDIR_OUTPUT)) TearDownFrom(graph, pin.Get());
  }
  graph->RemoveFilter(filter.Get());
}

/// Connects with what the graph finds in between.
HRESULT ConnectToFilter(IGraphBuilder* graph, IPin* output, IBaseFilter* filter) {
  Pin input;
  const HRESULT result = GetUnconnectedPin(filter, PINDIR_INPUT, &input);
  return SUCCEEDED(result) ? graph->Connect(output, input.Get()) : result;
}

HRESULT ConnectDirectToFilter(IGraphBuilder* graph, IPin* output, IBaseFilter* filter) {
  Pin input;
  const HRESULT result = GetUnconnectedPin(filter, PINDIR_INPUT, &input);
  return SUCCEEDED(result) ? graph->ConnectDirect(output, input.Get(), nullptr) : result;
}

HRESULT RenderOutputOf(IGraphBuilder* graph, IBaseFilter* filter) {
  Pin output;
  const HRESULT result = GetUnconnectedPin(filter, PINDIR_OUTPUT, &output);
  return SUCCEEDED(result) ? graph->Render(output.Get()) : result;
}

/// Adds a renderer and connects it; one that can not be connected is taken out again.
HRESULT TryRenderer(IGraphBuilder* graph, IBaseFilter* renderer, const wchar_t* name, IPin* output) {
  HRESULT result = graph->AddFilter(renderer, name);
  if (FAILED(result)) return result;
  result = ConnectToFilter(graph, output, renderer);
  if (FAILED(result)) graph->RemoveFilter(renderer);
  return result;
}

HRESULT TryOverlayMixer(IGraphBuilder* graph, IPin* output) {
  Filter mixer;
  HRESULT result = CreateFilter(CLSID_OverlayMixer, &mixer);
  if (SUCCEEDED(result)) result = TryRenderer(graph, mixer.Get(), L"Overlay mixer", output);
  if (FAILED(result)) return result;
  result = RenderOutputOf(graph, mixer.Get());
  if (FAILED(result)) {
    graph->RemoveFilter(mixer.Get());
    // What the graph has found in between holds the output still.
    TearDownFrom(graph, output);
  }
  return result;
}

/// Shows captions that have no video to be mixed with.
HRESULT RenderLine21Alone(IPin* pin, IGraphBuilder* graph) {
  Filter decoder;
  HRESULT result = CreateAndAdd(CLSID_Line21Decoder, L"Line21 Decoder", graph, &decoder);
  if (SUCCEEDED(result)) result = ConnectDirectToFilter(graph, pin, decoder.Get());
  if (FAILED(result)) return result;
  Filter renderer;
  result = CreateAndAdd(CLSID_VideoRenderer, L"Default Video Renderer", graph, &renderer);
  if (FAILED(result)) return result;
  Pin picture;
  result = GetUnconnectedPin(decoder.Get(), PINDIR_OUTPUT, &picture);
  return SUCCEEDED(result) ? ConnectDirectToFilter(graph, picture.Get(), renderer.Get()) : result;
}

/// Mixes captions into the picture of a VMR-9. `decoder` is the caption decoder, should it be made.
HRESULT RenderLine21OnVmr9(IPin* pin, IBaseFilter* vmr9, IGraphBuilder* graph, Filter* decoder) {
  HRESULT result = CreateAndAdd(CLSID_Line21Decoder2, L"Line21 Decoder 2", graph, decoder);
  if (SUCCEEDED(result)) result = ConnectDirectToFilter(graph, pin, decoder->Get());
  if (FAILED(result)) return result;
  Pin picture;
  result = GetUnconnectedPin(decoder->Get(), PINDIR_OUTPUT, &picture);
  return SUCCEEDED(result) ? ConnectToFilter(graph, picture.Get(), vmr9) : result;
}

/// Mixes captions into the picture of an Overlay Mixer, which takes over the video from `videoOutput`, if
/// there is one.
HRESULT MoveToOverlayMixer(IPin* pin, IPin* videoOutput, IGraphBuilder* graph) {
  Filter mixer;
  HRESULT result = CreateAndAdd(CLSID_OverlayMixer, L"Overlay mixer", graph, &mixer);
  if (SUCCEEDED(result) && videoOutput != nullptr) {
    result = ConnectToFilter(graph, videoOutput, mixer.Get());
    if (SUCCEEDED(result)) result = RenderOutputOf(graph, mixer.Get());
  }
  if (FAILED(result)) return result;
  // The captions find their decoder and the mixer by themselves, if it has room for them.
  Pin input;
  result = GetUnconnectedPin(mixer.Get(), PINDIR_INPUT, &input);
  return SUCCEEDED(result) ? graph->Render(pin) : result;
}

/// Sets a flag until the end of the block.
class CMark {
 public:
  explicit CMark(bool& flag) : m_flag(flag) { m_flag = true; }
  CMark(const CMark&) = delete;
  CMark& operator=(const CMark&) = delete;
  ~CMark() { m_flag = false; }

 private:
  bool& m_flag;
};

}  // namespace

CGraphAssembly::CGraphAssembly() {
  CreateFilter(CLSID_VideoMixingRenderer, &m_vmr7);
  CreateFilter(CLSID_VideoMixingRenderer9, &m_vmr9);
}

HRESULT CGraphAssembly::Render(IPin* pin, const CReaderPin& logic, bool hasVideo, bool hasLine21,
                               IGraphBuilder* graph) noexcept {
  if (pin == nullptr || graph == nullptr) return E_POINTER;
  if (m_rendering) return E_NOTIMPL;
  const CMark mark(m_rendering);
  return AtEdge([&] {
    const PinKind kind = logic.Kind();
    const HRESULT result = AddRenderers(kind, hasVideo && hasLine21, graph);
    if (result != S_OK) return result;
    if (kind == PIN_VIDEO && !logic.IsForOtherDecoders()) return RenderVideo(pin, hasLine21, graph);
    if (kind == PIN_LINE21 && !hasVideo) return RenderLine21Alone(pin, graph);
    if (kind == PIN_LINE21 && m_sharedRenderer) return RenderMixedLine21(pin, graph);
    return graph->Render(pin);
  });
}

// What can not be added for the pictures does not keep the sound from being added: its result is the one that
// counts.
HRESULT CGraphAssembly::AddRenderers(PinKind kind, bool mixed, IGraphBuilder* graph) {
  HRESULT result = S_OK;
  if (mixed && !m_sharedRenderer) result = AddSharedRenderer(graph);
  if (kind == PIN_AUDIO && !m_audioRendererAdded) result = AddAudioRenderer(graph);
  return result;
}

HRESULT CGraphAssembly::AddSharedRenderer(IGraphBuilder* graph) {
  HRESULT result = E_FAIL;
  if (PrepareMixer9(m_vmr9)) result = AddShared(m_vmr9, L"Video Renderer-9", graph);
  if (FAILED(result) && PrepareMixer7(m_vmr7)) result = AddShared(m_vmr7, L"Video Renderer-7", graph);
  if (SUCCEEDED(result)) return result;
  Filter mixer;
  result = CreateFilter(CLSID_OverlayMixer, &mixer);
  return SUCCEEDED(result) ? AddShared(mixer, L"Overlay Mixer", graph) : result;
}

HRESULT CGraphAssembly::AddShared(const Filter& renderer, const wchar_t* name, IGraphBuilder* graph) {
  const HRESULT result = graph->AddFilter(renderer.Get(), name);
  if (FAILED(result)) return result;
  m_sharedRenderer = renderer;
  return result;
}

HRESULT CGraphAssembly::AddAudioRenderer(IGraphBuilder* graph) {
  Filter renderer;
  const HRESULT result = CreateAndAdd(CLSID_DSoundRender, L"Default DirectSound Device", graph, &renderer);
  if (SUCCEEDED(result)) m_audioRendererAdded = true;
  return result;
}

HRESULT CGraphAssembly::RenderVideo(IPin* pin, bool hasLine21, IGraphBuilder* graph) {
  Filter decoder;
  CreateAndAdd(::CLSID_KtMp4Decoder, L"Mpeg-4 Decoder", graph, &decoder);
  if (!decoder) ThrowIfFailed(E_POINTER);
  ComPointer<IEnumPins> pins;
  HRESULT result = decoder->EnumPins(pins.Put());
  if (FAILED(result)) return result;
  // By their order, whatever direction they tell.
  Pin input;
  Pin output;
  ULONG fetched = 0;
  if (pins->Next(1, input.Put(), &fetched) != S_OK || pins->Next(1, output.Put(), &fetched) != S_OK) {
    return E_UNEXPECTED;
  }
  result = graph->ConnectDirect(pin, input.Get(), nullptr);
  if (FAILED(result)) return result;
  // Gone from the graph, or never in this one: the captions may have moved on to another renderer.
  const bool shared = hasLine21 && m_sharedRenderer && FindFilter(graph, [&](IBaseFilter* filter) {
                        return IsSameObject(filter, m_sharedRenderer.Get());
                      });
  return shared ? ConnectToFilter(graph, output.Get(), m_sharedRenderer.Get())
                : RenderVideoOutput(output.Get(), graph);
}

HRESULT CGraphAssembly::RenderVideoOutput(IPin* output, IGraphBuilder* graph) {
  HRESULT result = E_FAIL;
  if (PrepareMixer9(m_vmr9)) result = TryRenderer(graph, m_vmr9.Get(), L"Video Renderer-9", output);
  if (FAILED(result) && PrepareMixer7(m_vmr7)) {
    result = TryRenderer(graph, m_vmr7.Get(), L"Video Renderer", output);
  }
  if (FAILED(result)) result = TryOverlayMixer(graph, output);
  return FAILED(result) ? graph->Render(output) : result;
}

HRESULT CGraphAssembly::RenderMixedLine21(IPin* pin, IGraphBuilder* graph) {
  const Filter vmr9 = FindFilter(graph, [](IBaseFilter* filter) {
    return bool(Optional<IUnknown>(filter, __uuidof(IVMRFilterConfig9)));
  });
  if (!vmr9) return graph->Render(pin);
  Filter decoder;
  HRESULT result = RenderLine21OnVmr9(pin, vmr9.Get(), graph, &decoder);
  if (SUCCEEDED(result)) return result;

  const Pin videoOutput = GetConnectedPeer(vmr9.Get());
  graph->RemoveFilter(vmr9.Get());
  if (decoder) graph->RemoveFilter(decoder.Get());
  result = MoveToVmr7(pin, videoOutput.Get(), graph);
  if (FAILED(result)) result = MoveToOverlayMixer(pin, videoOutput.Get(), graph);
  if (SUCCEEDED(result)) return result;
  TearDownFrom(graph, pin);
  if (!videoOutput) return result;
  TearDownFrom(graph, videoOutput.Get());
  // The video at least, without captions.
  return graph->Render(videoOutput.Get());
}

HRESULT CGraphAssembly::MoveToVmr7(IPin* pin, IPin* videoOutput, IGraphBuilder* graph) {
  HRESULT result = E_FAIL;
  if (PrepareMixer7(m_vmr7)) result = graph->AddFilter(m_vmr7.Get(), L"Video Renderer");
  if (SUCCEEDED(result) && videoOutput != nullptr) result = ConnectToFilter(graph, videoOutput, m_vmr7.Get());
  if (SUCCEEDED(result)) result = ConnectToFilter(graph, pin, m_vmr7.Get());
  if (SUCCEEDED(result)) return result;
  TearDownFrom(graph, pin);
  if (videoOutput != nullptr) TearDownFrom(graph, videoOutput);
  return result;
}

}  // namespace kt
