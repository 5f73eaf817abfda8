#pragma once

#include <gtest/gtest.h>

#include "module/com_pointer.h"
#include "module/counting_source.h"
#include "module/deadline.h"
#include "module/module_state.h"
#include "module/recording_sink.h"

namespace kt::test {

/// An object on the heap with the one reference that its test has on it.
template <class Object>
class Held {
 public:
  template <class... Arguments>
  explicit Held(Arguments&&... arguments) : m_object(new Object(std::forward<Arguments>(arguments)...)) {
    m_object->NonDelegatingAddRef();
  }
  Held(const Held&) = delete;
  Held& operator=(const Held&) = delete;
  ~Held() { m_object->NonDelegatingRelease(); }
  Object* operator->() const { return m_object; }
  Object& operator*() const { return *m_object; }

 private:
  Object* const m_object;
};

/// A source connected with a sink, outside of any graph.
struct Connected {
  explicit Connected(CountingScript script = {}, SinkScript sinkScript = {})
      : m_source(nullptr, std::move(script)), m_sink(std::move(sinkScript)) {
    EXPECT_EQ(m_source->Pin().Connect(&m_sink->Pin(), nullptr), S_OK);
  }
  ~Connected() {
    Stop();
    m_source->Pin().Disconnect();
    m_sink->Pin().Disconnect();
  }
  /// As a graph does it: what is downstream first.
  void Run() {
    EXPECT_EQ(m_sink->Run(0), S_OK);
    EXPECT_EQ(m_source->Run(0), S_OK);
  }
  void Stop() {
    EXPECT_EQ(m_sink->Stop(), S_OK);
    EXPECT_EQ(m_source->Stop(), S_OK);
  }
  CRecordingPin& Pin() { return m_sink->Pin(); }

  Held<CCountingSource> m_source;
  Held<CRecordingSink> m_sink;
};

/// A test that leaves nothing behind: every object that it made is gone at its end.
class FrameTest : public testing::Test {
 protected:
  void TearDown() override { EXPECT_FALSE(IsModuleHeld()) << "an object has outlived its test"; }
};

}  // namespace kt::test
