#pragma once

#include <map>

#include "filter/logic/seeking.h"
#include "support/fake_host.h"

namespace kt::test {

/// A source whose pins have workers, which write down what they are told: "1 run 0 50 at rate 0.000000" for
/// the first pin's that begins with a segment from 0 to 50.
class FakeWorkers : public FakeHost {
 public:
  using FakeHost::FakeHost;
  /// The worker of a pin, none when `running` is false.
  PinWorker* WorkerOf(CReaderPin& pin) {
    if (!running) return nullptr;
    return &m_workers.try_emplace(&pin, *this, pin, m_workers.size() + 1).first->second;
  }
  WorkerFinder Finder() {
    return [this](CReaderPin& pin) { return WorkerOf(pin); };
  }

  bool running = true;
  std::vector<std::string> log;

 private:
  class Worker final : public PinWorker {
   public:
    Worker(FakeWorkers& owner, CReaderPin& pin, std::size_t number)
        : m_owner(owner), m_pin(pin), m_name(std::to_string(number)) {}
    void BeginFlush() override { Log(" begin flush"); }
    void StopWorker() override { Log(" stop behind " + CurrentSample()); }
    void EndFlush() override { Log(" end flush behind " + CurrentSample()); }
    void RunWorker() override {
      const PinSegment segment = m_pin.Segment();
      Log(" run " + std::to_string(segment.start) + " " + std::to_string(segment.stop) + " at rate " +
          std::to_string(segment.rate));
    }

   private:
    std::string CurrentSample() { return std::to_string(m_pin.Position().m_currentSample); }
    void Log(const std::string& what) {
      EXPECT_FALSE(m_owner.Source().TrackLock().IsHeldByCaller()) << what << " under the track lock";
      m_owner.log.push_back(m_name + what);
    }

    FakeWorkers& m_owner;
    CReaderPin& m_pin;
    const std::string m_name;
  };

  std::map<const CReaderPin*, Worker> m_workers;
};

}  // namespace kt::test
