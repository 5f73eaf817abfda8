#pragma once

#include "module/graph/base_output_pin.h"
#include "module/graph/worker_thread.h"

namespace kt {

/// A source's pin: its worker fills samples and delivers them, from the moment the filter leaves the stopped
/// state until it returns there.
///
/// The worker never needs the filter's state lock, because whoever holds that may be waiting for the worker.
class CSourceStream : public CBaseOutputPin, public CAMThread {
 public:
  enum Command : DWORD { CMD_INIT, CMD_PAUSE, CMD_RUN, CMD_STOP, CMD_EXIT };

  /// The pin that comes next in its host, whose identifier is its number from 1 on.
  CSourceStream(CPinHost& host, std::wstring name);
  ~CSourceStream() override;

  HRESULT Active() override;
  HRESULT Inactive() override;

 protected:
  /// Fills a sample, on the worker: S_OK to have it delivered; S_FALSE for the end of the stream; a failure
  /// ends the stream and aborts the graph's play. May throw, which is a failure.
  virtual HRESULT FillBuffer(IMediaSample* sample) = 0;
  /// On the worker, when it starts and ends, and each time that it begins to deliver. A worker whose
  /// `OnThreadCreate` fails does not start.
  virtual HRESULT OnThreadCreate() { return S_OK; }
  virtual HRESULT OnThreadDestroy() { return S_OK; }
  virtual HRESULT OnThreadStartPlay() { return S_OK; }

  HRESULT ThreadProc() override;

 private:
  enum class Step { Continue, Ended };

  HRESULT StartWorker();
  void EndWorker();
  void ServeRequests();
  void DeliverUntilStopped();
  Step DeliverOne();
  Step WaitForBuffers(HRESULT failure);
  Step EndStream(HRESULT failure);

  /// How often in a row the worker has got no buffer.
  int m_missedBuffers = 0;
};

}  // namespace kt
