#pragma once

#include <ostream>
#include <vector>

#include "support/box_probe.h"

namespace kt::test {

/// A table box: its count and its records, given as one row of fields each.
inline Bytes Table(std::string_view code, const std::vector<std::vector<u32>>& records) {
  Bytes payload;
  payload.U32(records.size());
  for (const std::vector<u32>& record : records) {
    for (const u32 field : record) payload.U32(field);
  }
  return FullBox(code, 0, 0, payload);
}

/// An "stsz" with a table of sizes.
inline Bytes SizeTable(const std::vector<u32>& sizes) {
  Bytes payload;
  payload.U32(0).U32(sizes.size());
  for (const u32 size : sizes) payload.U32(size);
  return FullBox("stsz", 0, 0, payload);
}

/// What a look-up answered and stored.
template <class Value>
struct Answer {
  Mp4Result result = MP4_OK;
  Value value = 0;
  bool operator==(const Answer&) const = default;
  friend std::ostream& operator<<(std::ostream& stream, const Answer& answer) {
    return stream << Mp4ResultName(answer.result) << " " << answer.value;
  }
};

/// A look-up whose output held 777 before.
template <class Value, class Lookup>
Answer<Value> Ask(Lookup lookup) {
  Answer<Value> answer{MP4_OK, 777};
  answer.result = lookup(&answer.value);
  return answer;
}

}  // namespace kt::test
