#include "module/graph/worker_thread.h"

#include <gtest/gtest.h>

#include "module/deadline.h"

namespace kt::test {
namespace {

constexpr DWORD kEcho = 1, kVanish = 2, kThrow = 3;

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
      Reply(static_cast<HRESULT>(request));
    }
  }
};

// A worker that goes without a reply must not leave its caller waiting, and has to be closed before the next.
TEST(WorkerThread, TheCallerNoticesThatTheThreadHasEnded) {
  const Deadline deadline("a vanished worker");
  Worker worker;
  for (const DWORD request : {kVanish, kThrow, kVanish}) {
    EXPECT_EQ(worker.CallWorker(kEcho), E_FAIL);
    ASSERT_TRUE(worker.Create());
    EXPECT_EQ(worker.CallWorker(kEcho), static_cast<HRESULT>(kEcho));
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
