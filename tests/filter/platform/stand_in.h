#pragma once

#include <strmif.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "module/graph/base_output_pin.h"
#include "module/graph/media_type.h"

namespace kt::test {

/// What a stand-in does with what it is sent; all but `OutputType` on the streaming thread.
class StandInWork {
 public:
  virtual ~StandInWork() = default;
  /// The input is connected with this type: what the output offers. No type refuses the connection.
  virtual std::optional<CMediaType> OutputType(const AM_MEDIA_TYPE& input) = 0;
  virtual HRESULT Receive(IMediaSample* sample, CBaseOutputPin& output) = 0;
  /// The last word before the end is handed on.
  virtual void EndOfStream(CBaseOutputPin&) {}
  virtual void Flush() {}
};

struct StandInPin {
  PIN_DIRECTION direction;
  /// Accepted by an input, offered by an output; GUID_NULL in one stands for anything.
  std::vector<CMediaType> types;
};

/// A filter in the place of one that the platform does not have. Its first pin is an input.
struct StandInScript {
  std::vector<StandInPin> pins;
  /// Interfaces that it has besides, as far as it goes without calling them; and those of a mixing renderer.
  std::vector<GUID> interfaces;
  /// What it answers when it is asked for one of these.
  HRESULT interfaceResult = S_OK;
  /// Takes another input for each further stream that it is configured for, up to this many.
  ULONG mostInputs = 1;
  /// Called when an input is about to be connected.
  std::function<void(IPin* peer)> onConnect;
  std::function<std::unique_ptr<StandInWork>()> work;
};

ComPointer<IBaseFilter> MakeStandIn(const StandInScript& script);

/// Has COM make stand-ins under their class for as long as this lives. No script: the class is known and can
/// not be made, whatever the platform has under it.
class StandInClass {
 public:
  StandInClass(REFCLSID clsid, std::optional<StandInScript> script);
  /// The same for what a module makes.
  StandInClass(REFCLSID clsid, IClassFactory* factory);
  StandInClass(const StandInClass&) = delete;
  StandInClass& operator=(const StandInClass&) = delete;
  ~StandInClass() { CoRevokeClassObject(m_cookie); }

 private:
  DWORD m_cookie = 0;
};

/// A stand-in that graphs find by themselves, as long as this lives: the filter mapper knows it under `name`,
/// at normal merit, for the types of its first pin.
class MappedStandIn {
 public:
  MappedStandIn(const wchar_t* name, const StandInScript& script);
  MappedStandIn(const MappedStandIn&) = delete;
  MappedStandIn& operator=(const MappedStandIn&) = delete;
  ~MappedStandIn();

 private:
  const GUID m_clsid;
  const StandInClass m_class;
};

/// The filters of a graph and how they hang together, in the order of their names: "A>B" for a connection,
/// "A" for a filter that has none.
std::string DescribeGraph(IGraphBuilder* graph);

/// A type without a format.
CMediaType PlainType(const GUID& major, const GUID& subtype);

}  // namespace kt::test
