#pragma once

#include <strmif.h>
#include <vfwmsgs.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "module/base_filter.h"
#include "module/base_output_pin.h"
#include "module/media_type.h"

namespace kt::test {

class CStandInOutput;

/// What a stand-in does with what it is sent; all but `OutputType` on the streaming thread.
class StandInWork {
 public:
  virtual ~StandInWork() = default;
  /// The input is connected with this type: what the output offers. No type refuses the connection.
  virtual std::optional<CMediaType> OutputType(const AM_MEDIA_TYPE& input) = 0;
  virtual HRESULT Receive(IMediaSample* sample, CStandInOutput& output) = 0;
  /// The last word before the end is handed on.
  virtual void EndOfStream(CStandInOutput&) {}
  virtual void Flush() {}
};

struct StandInPin {
  PIN_DIRECTION direction;
  /// Accepted by an input, offered by an output; GUID_NULL in one stands for anything.
  std::vector<CMediaType> types;
};

/// A filter in the place of one that the platform does not have.
struct StandInScript {
  CLSID clsid = {};
  std::vector<StandInPin> pins;
  /// Interfaces that it has besides, as far as it goes without calling them; and those of a mixing renderer.
  std::vector<GUID> interfaces;
  /// What it answers when it is asked for one of these.
  HRESULT interfaceResult = S_OK;
  /// Takes another input for each further stream that it is configured for, up to this many.
  ULONG mostInputs = 1;
  /// The answer of `EnumPins`, should it fail.
  HRESULT pinsResult = S_OK;
  /// Called when an input is about to be connected.
  std::function<void(IPin* peer)> onConnect;
  std::function<std::unique_ptr<StandInWork>()> work;
};

class CStandIn;

class CStandInInput final : public CBasePin, public IMemInputPin {
 public:
  CStandInInput(CStandIn& filter, std::wstring name, std::vector<CMediaType> types);
  DECLARE_IUNKNOWN
  HRESULT NonDelegatingQueryInterface(REFIID iid, void** object) override;
  HRESULT CheckMediaType(const CMediaType& type) override;
  HRESULT GetMediaType(int position, CMediaType* type) override;
  HRESULT Active() override;
  HRESULT Inactive() override;

  HRESULT STDMETHODCALLTYPE ReceiveConnection(IPin* peer, const AM_MEDIA_TYPE* type) override;
  HRESULT STDMETHODCALLTYPE EndOfStream() override;
  HRESULT STDMETHODCALLTYPE BeginFlush() override;
  HRESULT STDMETHODCALLTYPE EndFlush() override;
  HRESULT STDMETHODCALLTYPE NewSegment(REFERENCE_TIME start, REFERENCE_TIME stop, double rate) override;

  HRESULT STDMETHODCALLTYPE GetAllocator(IMemAllocator**) override { return VFW_E_NO_ALLOCATOR; }
  HRESULT STDMETHODCALLTYPE NotifyAllocator(IMemAllocator*, WINBOOL) override { return S_OK; }
  HRESULT STDMETHODCALLTYPE GetAllocatorRequirements(ALLOCATOR_PROPERTIES*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Receive(IMediaSample* sample) override;
  HRESULT STDMETHODCALLTYPE ReceiveMultiple(IMediaSample**, LONG, LONG*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE ReceiveCanBlock() override { return S_OK; }

 private:
  CStandIn& m_standIn;
  const std::vector<CMediaType> m_types;
  std::atomic<bool> m_refusing{true};
  std::mutex m_workLock;
};

class CStandInOutput final : public CBaseOutputPin {
 public:
  CStandInOutput(CStandIn& filter, std::wstring name, std::vector<CMediaType> types);
  /// Positions are those of the input's peer.
  HRESULT NonDelegatingQueryInterface(REFIID iid, void** object) override;
  HRESULT CheckMediaType(const CMediaType& type) override;
  HRESULT GetMediaType(int position, CMediaType* type) override;
  HRESULT DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* properties) override;
  void Offer(const CMediaType& type) { m_types = {type}; }

 private:
  CStandIn& m_standIn;
  std::vector<CMediaType> m_types;
  ComPointer<IUnknown> m_positions;
};

class CStandIn final : public CBaseFilter {
 public:
  explicit CStandIn(StandInScript script);
  HRESULT NonDelegatingQueryInterface(REFIID iid, void** object) override;
  ULONG GetPinCount() override { return static_cast<ULONG>(m_pins.size()); }
  CBasePin* GetPin(ULONG index) override { return index < m_pins.size() ? m_pins[index].get() : nullptr; }
  HRESULT STDMETHODCALLTYPE EnumPins(IEnumPins** enumerator) override;

  const StandInScript& Script() const { return m_script; }
  StandInWork* Work() const { return m_work.get(); }
  /// The first output; null without one.
  CStandInOutput* Output() const { return m_output; }
  void SetStreams(ULONG count);

 private:
  void AddPin(const StandInPin& pin);

  CCritSec m_standInLock;
  const StandInScript m_script;
  const std::unique_ptr<StandInWork> m_work;
  std::vector<std::unique_ptr<CBasePin>> m_pins;
  CStandInOutput* m_output = nullptr;
  std::vector<std::unique_ptr<IUnknown, void (*)(IUnknown*)>> m_configs;
};

/// Has COM make stand-ins under their class for as long as this lives. No script: the class is known and can
/// not be made, whatever the platform has under it.
class StandInClass {
 public:
  StandInClass(REFCLSID clsid, std::optional<StandInScript> script);
  StandInClass(const StandInClass&) = delete;
  StandInClass& operator=(const StandInClass&) = delete;
  ~StandInClass();

 private:
  DWORD m_cookie = 0;
};

/// The filters of a graph and how they hang together, in the order of their names: "A>B" for a connection,
/// "A" for a filter that has none.
std::string DescribeGraph(IGraphBuilder* graph);

/// A type without a format.
CMediaType PlainType(const GUID& major, const GUID& subtype);

}  // namespace kt::test
