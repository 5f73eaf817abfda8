#include "module/worker_thread.h"

#include <gtest/gtest.h>
#include <objbase.h>

#include <thread>

#include "module/com_pointer.h"
#include "module/deadline.h"

namespace kt::test {
namespace {

constexpr DWORD kEcho = 1, kVanish = 2, kThrow = 3, kCallSelf = 4, kCallOut = 5, kEnd = 6;

// Answers with the number of the request, or does something else instead.
class Worker final : public CAMThread {
 public:
  ~Worker() override { Close(); }
  IStream* m_marshalled = nullptr;

 protected:
  HRESULT ThreadProc() override {
    for (;;) {
      const DWORD request = GetRequest();
      if (request == kVanish) return S_OK;
      if (request == kThrow) throw 1;
      HRESULT reply = static_cast<HRESULT>(request);
      if (request == kCallSelf) reply = CallWorker(kEcho);
      if (request == kCallOut) reply = CallOut();
      Reply(reply);
      if (request == kEnd) return S_OK;
    }
  }

 private:
  HRESULT CallOut() const {
    ComPointer<IPersist> there;
    HRESULT result = CoGetInterfaceAndReleaseStream(m_marshalled, IID_IPersist, there.PutVoid());
    CLSID answer = {};
    if (SUCCEEDED(result)) result = there->GetClassID(&answer);
    return result;
  }
};

// Requests of several callers do not mix, and none waits for itself.
TEST(WorkerThread, ServesCallersOneAfterTheOther) {
  const Deadline deadline("several callers");
  Worker worker;
  ASSERT_TRUE(worker.Create());
  std::thread callers[4];
  std::atomic<int> wrong{0};
  for (int i = 0; i < 4; ++i) {
    callers[i] = std::thread([&, i] {
      for (int k = 0; k < 300; ++k) wrong += worker.CallWorker(100u + static_cast<DWORD>(i)) != 100 + i;
    });
  }
  for (std::thread& caller : callers) caller.join();
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(worker.CallWorker(kCallSelf), E_UNEXPECTED);
  EXPECT_EQ(worker.CallWorker(kEnd), static_cast<HRESULT>(kEnd));
}

// A worker that goes without a reply must not leave its caller waiting, and has to be closed before the next.
TEST(WorkerThread, TheCallerNoticesThatTheThreadHasEnded) {
  const Deadline deadline("a vanished worker");
  Worker worker;
  for (const DWORD request : {kVanish, kThrow, kVanish}) {
    EXPECT_EQ(worker.CallWorker(kEcho), E_FAIL);
    ASSERT_TRUE(worker.Create());
    EXPECT_EQ(worker.CallWorker(request), E_FAIL);
    EXPECT_EQ(worker.CallWorker(kEcho), E_FAIL);
    EXPECT_TRUE(worker.ThreadExists());
    EXPECT_FALSE(worker.Create());
    worker.Close();
    EXPECT_FALSE(worker.ThreadExists());
  }
}

// Lives in a single-threaded apartment; when the worker calls it, it calls the worker again.
class Apartment final : public IPersist {
 public:
  explicit Apartment(Worker& worker) : m_worker(worker) {}
  virtual ~Apartment() = default;
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
    *object = iid == IID_IUnknown || iid == IID_IPersist ? this : nullptr;
    return *object != nullptr ? S_OK : E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
  ULONG STDMETHODCALLTYPE Release() override { return 1; }
  HRESULT STDMETHODCALLTYPE GetClassID(CLSID* clsid) override {
    *clsid = {};
    m_nested = m_worker.CallWorker(kEcho);
    return S_OK;
  }
  HRESULT m_nested = S_OK;

 private:
  Worker& m_worker;
};

// The worker has a call for the apartment of the very thread that waits for it.
TEST(WorkerThread, AWaitingApartmentServesTheWorkersCall) {
  const Deadline deadline("a call into the waiting apartment");
  std::thread([] {
    ASSERT_TRUE(SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)));
    {
      Worker worker;
      Apartment apartment(worker);
      ASSERT_EQ(CoMarshalInterThreadInterfaceInStream(IID_IPersist, &apartment, &worker.m_marshalled), S_OK);
      ASSERT_TRUE(worker.Create());
      EXPECT_EQ(worker.CallWorker(kCallOut), S_OK);
      EXPECT_EQ(apartment.m_nested, E_UNEXPECTED);
      EXPECT_EQ(worker.CallWorker(kEcho), 1);
      worker.CallWorker(kEnd);
    }
    CoUninitialize();
  }).join();
}

}  // namespace
}  // namespace kt::test
