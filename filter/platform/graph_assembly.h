#pragma once

#include <strmif.h>

#include "filter/logic/reader_pin.h"
#include "module/com/com_pointer.h"

namespace kt {

/// Builds what stands downstream of the pins of one filter, which owns it: a named decoder for video, one
/// mixing renderer that video and captions share, a DirectSound renderer, and the platform's Line 21
/// decoders. Where something is missing the next best is taken, and the graph's own `Render` at the end.
///
/// The mixing renderers, and what has been added of them, last as long as the filter: a graph that is built
/// anew with the same filter is not given them again. For the thread that builds the graph.
class CGraphAssembly {
 public:
  /// Makes the two mixing renderers. One that can not be made is done without.
  CGraphAssembly();
  CGraphAssembly(const CGraphAssembly&) = delete;
  CGraphAssembly& operator=(const CGraphAssembly&) = delete;

  /// Does without the VMR-9 from now on.
  void DropVmr9() { m_vmr9.Reset(); }

  /// Renders `pin`, an unconnected output of the filter in `graph`, which `logic` tells of. `hasVideo` and
  /// `hasLine21` tell what pins the filter has. Video that is none for the named decoder is left to the
  /// graph.
  ///
  /// The result is that of the last step. A renderer that could only be added under another name ends the
  /// call with VFW_S_DUPLICATE_NAME, and nothing is connected. E_POINTER without the decoder for video, or
  /// for a null argument; E_UNEXPECTED when the decoder lacks a pin. E_NOTIMPL inside of another `Render`,
  /// where the graph manager comes back to a pin that it was asked to render: it then connects the pin by
  /// itself.
  HRESULT Render(IPin* pin, const CReaderPin& logic, bool hasVideo, bool hasLine21,
                 IGraphBuilder* graph) noexcept;

 private:
  HRESULT AddRenderers(PinKind kind, bool mixed, IGraphBuilder* graph);
  HRESULT AddSharedRenderer(IGraphBuilder* graph);
  HRESULT AddShared(const ComPointer<IBaseFilter>& renderer, const wchar_t* name, IGraphBuilder* graph);
  HRESULT AddAudioRenderer(IGraphBuilder* graph);

  HRESULT RenderVideo(IPin* pin, bool hasLine21, IGraphBuilder* graph);
  HRESULT RenderVideoOutput(IPin* output, IGraphBuilder* graph);

  HRESULT RenderMixedLine21(IPin* pin, IGraphBuilder* graph);
  HRESULT MoveToVmr7(IPin* pin, IPin* videoOutput, IGraphBuilder* graph);

  ComPointer<IBaseFilter> m_vmr9;
  ComPointer<IBaseFilter> m_vmr7;
  bool m_audioRendererAdded = false;
  /// The renderer that video and captions share, once it has been added to a graph. Captions may come first.
  ComPointer<IBaseFilter> m_sharedRenderer;
  bool m_rendering = false;
};

}  // namespace kt
