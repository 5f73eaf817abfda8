#include "module/worker_thread.h"

#include <gtest/gtest.h>

#include <thread>

#include "module/deadline.h"

namespace kt::test {
namespace {

constexpr DWORD kEcho = 1, kVanish = 2, kThrow = 3, kCallSelf = 4, kEnd = 5;

// Answers with the number of the request, or does something else instead.
class Worker final : public CAMThread {
 public:
  ~Worker() override { Close(); }

 protected:
  HRESULT ThreadProc() override {
    for (;;) {
      const DWORD request = GetRequest();
      if (request == kVanish) return S_OK;
      if (request == kThrow) throw 1;
      HRESULT reply = static_cast<HRESULT>(request);
      if (request == kCallSelf) reply = CallWorker(kEcho);
      Reply(reply);
      if (request == kEnd) return S_OK;
    }
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

}  // namespace
}  // namespace kt::test
