#pragma once

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include <ktmp4/result.h>

namespace kt::test {

/// What an operation answered and stored.
template <class Value, class Result = Mp4Result>
struct Answer {
  Result result = {};
  Value value = 0;
  bool operator==(const Answer&) const = default;
  friend std::ostream& operator<<(std::ostream& stream, const Answer& answer) {
    return stream << testing::PrintToString(answer.result) << " " << answer.value;
  }
};

/// The type that an operation stores by way of its last parameter.
template <class... Parameters>
using Output =
    std::remove_pointer_t<std::tuple_element_t<sizeof...(Parameters) - 1, std::tuple<Parameters...>>>;

/// Calls an operation whose last parameter is its output, which held 777 before:
/// `Ask(box, &CSampleSizeBox::GetSampleSize, sample)`.
template <class Object, class Class, class Result, class... Parameters, class... Arguments>
Answer<Output<Parameters...>, Result> Ask(Object&& object, Result (Class::*operation)(Parameters...) const,
                                          Arguments... arguments) {
  Answer<Output<Parameters...>, Result> answer{{}, static_cast<Output<Parameters...>>(777)};
  answer.result = (object.*operation)(arguments..., &answer.value);
  return answer;
}
template <class Object, class Class, class Result, class... Parameters, class... Arguments>
Answer<Output<Parameters...>, Result> Ask(Object&& object, Result (Class::*operation)(Parameters...),
                                          Arguments... arguments) {
  Answer<Output<Parameters...>, Result> answer{{}, static_cast<Output<Parameters...>>(777)};
  answer.result = (object.*operation)(arguments..., &answer.value);
  return answer;
}

/// The same for an operation that has to succeed: what it stored alone.
template <class Object, class Operation, class... Arguments>
auto Got(Object&& object, Operation operation, Arguments... arguments) {
  const auto answer = Ask(object, operation, arguments...);
  EXPECT_EQ(answer.result, decltype(answer.result){}) << "it stored " << answer.value;
  return answer.value;
}

/// Several operations, one after the other, that all have to answer this.
inline void ExpectEach(Mp4Result expected, std::initializer_list<Mp4Result> results) {
  EXPECT_EQ(std::vector<Mp4Result>(results), std::vector<Mp4Result>(results.size(), expected));
}

/// What an operation prints.
template <class Operation>
std::string Printed(Operation&& operation, Mp4Result expected = MP4_OK) {
  testing::internal::CaptureStdout();
  EXPECT_EQ(expected, operation());
  return testing::internal::GetCapturedStdout();
}
/// What `Dump` prints.
template <class Item>
std::string Dumped(Item& item, int indent = 0, Mp4Result expected = MP4_OK) {
  return Printed([&] { return item.Dump(indent); }, expected);
}

}  // namespace kt::test
