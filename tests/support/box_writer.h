#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <ktmp4/types.h>

namespace kt::test {

/// A run of bytes under construction, integers big-endian: `Bytes().U32(1).Text("abc")`.
class Bytes : public std::vector<u8> {
 public:
  using std::vector<u8>::vector;

  Bytes& U8(u64 value) { return Integer(value, 1); }
  Bytes& U16(u64 value) { return Integer(value, 2); }
  Bytes& U24(u64 value) { return Integer(value, 3); }
  Bytes& U32(u64 value) { return Integer(value, 4); }
  Bytes& U64(u64 value) { return Integer(value, 8); }
  Bytes& Zeros(std::size_t count) {
    resize(size() + count);
    return *this;
  }
  /// The characters without a terminator.
  Bytes& Text(std::string_view text) {
    // One by one: GCC 12 for 32 bits warns of an overflow where a range is inserted.
    for (const char character : text) U8(static_cast<u8>(character));
    return *this;
  }
  Bytes& Add(const std::vector<u8>& more) {
    insert(end(), more.begin(), more.end());
    return *this;
  }
  /// Several values of the same width, for the records of tables.
  Bytes& U32s(std::initializer_list<u64> values) {
    for (const u64 value : values) U32(value);
    return *this;
  }

 private:
  Bytes& Integer(u64 value, unsigned width) {
    for (unsigned shift = width * 8; shift > 0; shift -= 8) push_back(static_cast<u8>(value >> (shift - 8)));
    return *this;
  }
};

/// A box around its payload, with the right size.
inline Bytes Box(std::string_view code, const std::vector<u8>& payload = {}) {
  return Bytes().U32(8 + payload.size()).Text(code).Add(payload);
}

/// A box around its children, with the right size.
inline Bytes Box(std::string_view code, std::initializer_list<Bytes> children) {
  Bytes payload;
  for (const Bytes& child : children) payload.Add(child);
  return Box(code, payload);
}

/// A box with version and flags.
inline Bytes FullBox(std::string_view code, u8 version, u32 flags, const std::vector<u8>& payload = {}) {
  return Box(code, Bytes().U8(version).U24(flags).Add(payload));
}

/// The same box with another size in its header: too small, too large, 0 or 1.
inline Bytes WithDeclaredSize(Bytes box, u32 declared) {
  for (unsigned i = 0; i < 4; ++i) box[i] = static_cast<u8>(declared >> (24 - 8 * i));
  return box;
}

}  // namespace kt::test
