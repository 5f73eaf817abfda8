#pragma once

#include <gtest/gtest.h>

#include "module/com/com_pointer.h"
#include "module/com/module_state.h"
#include "module/deadline.h"
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

/// A test that comes to an end and leaves nothing behind: every object that it made is gone then.
class FrameTest : public testing::Test {
 protected:
  void TearDown() override { EXPECT_FALSE(IsModuleHeld()) << "an object has outlived its test"; }

 private:
  const Deadline m_deadline{testing::UnitTest::GetInstance()->current_test_info()->name(),
                            std::chrono::seconds(240)};
};

}  // namespace kt::test
