#pragma once

#include <span>

#include <ktmp4/types.h>

namespace kt {

/// Reads numbers bit by bit, the highest bit of a byte first. What is asked beyond the end is 0, and the
/// reader remembers that it was asked: a whole header is read first and `IsWhole` asked behind it.
class BitReader {
 public:
  explicit BitReader(std::span<const u8> bytes) : m_bytes(bytes) {}

  /// The next `count` bits, at most 32.
  u32 Read(u32 count) {
    if (!Pass(count)) return 0;
    u32 value = 0;
    for (u64 at = m_position - count; at < m_position; ++at) {
      const u32 byte = m_bytes[static_cast<std::size_t>(at / 8)];
      value = value << 1 | (byte >> (7 - at % 8) & 1);
    }
    return value;
  }
  bool ReadFlag() { return Read(1) != 0; }
  /// The next bytes, where it stands on a whole one: all of them or none.
  std::span<const u8> Take(std::size_t count) {
    const std::size_t at = static_cast<std::size_t>(m_position / 8);
    return Pass(u64{count} * 8) ? m_bytes.subspan(at, count) : std::span<const u8>();
  }
  void Skip(u64 count) { static_cast<void>(Pass(count)); }
  /// On to the first bit of the next byte, unless it stands on one.
  void Align() { Skip((8 - m_position % 8) % 8); }

  u64 BitsLeft() const { return u64{m_bytes.size()} * 8 - m_position; }
  /// False once more was asked than there was.
  bool IsWhole() const { return m_isWhole; }

 private:
  bool Pass(u64 count) {
    m_isWhole = m_isWhole && count <= BitsLeft();
    if (m_isWhole) m_position += count;
    return m_isWhole;
  }

  std::span<const u8> m_bytes;
  u64 m_position = 0;
  bool m_isWhole = true;
};

}  // namespace kt
