#pragma once

#include <memory>

#include <ktmp4/result.h>

namespace kt {

/// The samples of the chunk that a track gathers, one behind the other, until the chunk goes to the file.
///
/// A chunk is full with the sample that reaches one of two limits, so it can exceed the limit of bytes by up
/// to that sample.
class CChunkBuffer {
 public:
  /// Copies a sample to the end. MP4_NO_MEMORY, with the chunk as it was.
  Mp4Result Append(const void* data, u32 size);
  bool IsFull() const { return m_size >= kByteLimit || m_count >= kSampleLimit; }
  /// Number of samples.
  u32 GetCount() const { return m_count; }
  /// All bytes together, and where they lie until the next `Append`.
  u64 GetSize() const { return m_size; }
  const u8* GetBytes() const { return m_bytes.get(); }
  /// Empties the chunk. Its memory stays for the next one, unless a sample far above the limit has made it
  /// larger than chunks are.
  void Clear();

 private:
  static constexpr u64 kByteLimit = 1'000'000;
  static constexpr u32 kSampleLimit = 100;

  Mp4Result Reserve(u64 size);

  std::unique_ptr<u8[]> m_bytes;
  u64 m_capacity = 0;
  u64 m_size = 0;
  u32 m_count = 0;
};

}  // namespace kt
