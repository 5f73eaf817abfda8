#include "module/graph/source_stream.h"

#include <evcode.h>
#include <vfwmsgs.h>

#include "module/com/com_edge.h"

namespace kt {
namespace {

// How long a worker that gets no buffer waits for a request before it tries again.
constexpr DWORD kRetryMilliseconds = 10;
// After so many tries, some five seconds, it gives up. A stop of the whole graph may take that long.
constexpr int kMostRetries = 500;

}  // namespace

CSourceStream::CSourceStream(CPinHost& host, std::wstring name)
    : CBaseOutputPin(host, PINDIR_OUTPUT, std::move(name), std::to_wstring(host.GetPinCount() + 1)) {}

CSourceStream::~CSourceStream() {
  EndWorker();
}

HRESULT CSourceStream::Active() {
  HRESULT result = CBaseOutputPin::Active();
  if (FAILED(result)) return result;
  result = StartWorker();
  if (FAILED(result)) Inactive();
  return result;
}

HRESULT CSourceStream::StartWorker() {
  if (!Create()) return E_FAIL;
  const HRESULT result = CallWorker(CMD_INIT);
  return FAILED(result) ? result : CallWorker(CMD_PAUSE);
}

HRESULT CSourceStream::Inactive() {
  // First of all: the worker may be waiting for a buffer.
  const HRESULT result = CBaseOutputPin::Inactive();
  EndWorker();
  return result;
}

// A worker that has returned by itself does not answer, but has to be closed all the same.
void CSourceStream::EndWorker() {
  if (!ThreadExists()) return;
  CallWorker(CMD_STOP);
  CallWorker(CMD_EXIT);
  Close();
}

HRESULT CSourceStream::ThreadProc() {
  while (GetRequest() != CMD_INIT) Reply(E_UNEXPECTED);
  const HRESULT created = AtEdge([&] { return OnThreadCreate(); });
  if (SUCCEEDED(created)) {
    Reply(S_OK);
    ServeRequests();
  }
  AtEdge([&] { return OnThreadDestroy(); });
  if (FAILED(created)) Reply(created);
  return created;
}

void CSourceStream::ServeRequests() {
  for (;;) {
    switch (GetRequest()) {
      case CMD_EXIT:
        Reply(S_OK);
        return;
      case CMD_STOP:
        Reply(S_OK);
        break;
      case CMD_RUN:
      case CMD_PAUSE:
        Reply(S_OK);
        DeliverUntilStopped();
        break;
      default:
        Reply(E_NOTIMPL);
        break;
    }
  }
}

// Ends with CMD_STOP or CMD_EXIT, left for the caller to answer, or with the stream.
void CSourceStream::DeliverUntilStopped() {
  m_missedBuffers = 0;
  AtEdge([&] { return OnThreadStartPlay(); });
  for (;;) {
    DWORD request = 0;
    if (!CheckRequest(&request)) {
      if (DeliverOne() == Step::Ended) return;
    } else if (request == CMD_RUN || request == CMD_PAUSE) {
      Reply(S_OK);
    } else if (request == CMD_STOP || request == CMD_EXIT) {
      return;
    } else {
      Reply(E_UNEXPECTED);
    }
  }
}

CSourceStream::Step CSourceStream::DeliverOne() {
  ComPointer<IMediaSample> sample;
  const HRESULT got = GetDeliveryBuffer(sample.Put());
  if (FAILED(got) || !sample) return WaitForBuffers(FAILED(got) ? got : E_UNEXPECTED);
  m_missedBuffers = 0;
  const HRESULT filled = AtEdge([&] { return FillBuffer(sample.Get()); });
  if (filled == S_OK) return Deliver(sample.Get()) == S_OK ? Step::Continue : Step::Ended;
  sample.Reset();
  return EndStream(filled);
}

// Usually the stop or the flush is under way that has taken the buffers back.
CSourceStream::Step CSourceStream::WaitForBuffers(HRESULT failure) {
  if (++m_missedBuffers > kMostRetries) return EndStream(failure);
  WaitForRequest(kRetryMilliseconds);
  return Step::Continue;
}

CSourceStream::Step CSourceStream::EndStream(HRESULT failure) {
  DeliverEndOfStream();
  if (FAILED(failure)) Host().NotifyEvent(EC_ERRORABORT, failure, 0);
  return Step::Ended;
}

}  // namespace kt
