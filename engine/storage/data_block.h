#pragma once

#include <memory>

#include "engine/storage/storage.h"

namespace kt {

/// A block of bytes that is kept as it is: the set-up data of a decoder. A size can be kept without data; it
/// is told, its bytes are zeros, and it takes none in a file.
class CDataBlock {
 public:
  /// Makes room for `size` bytes, which the storage has to hold from here on, in place of the earlier ones.
  /// What the storage answers when it does not; MP4_NO_MEMORY. The block is empty then.
  Mp4Result Reserve(CStorage* storage, u32 size);
  /// Keeps a copy of `size` bytes in place of the earlier ones, or the size alone for null `data`.
  /// MP4_NO_MEMORY, with the block empty.
  Mp4Result Set(const void* data, u32 size);
  /// `*size` takes the number of bytes in any case. MP4_BUFFER_TOO_SMALL when it exceeds `capacity`.
  Mp4Result Copy(u32 capacity, u32* size, void* buffer) const;
  /// Prints the bytes in braces, sixteen to a line.
  void Dump(int indent) const;

  u8* Data() const { return m_data.get(); }
  u32 Size() const { return m_size; }
  /// The bytes that there are, 0 for a size without data.
  u32 StoredSize() const { return m_data ? m_size : 0; }

 private:
  void Clear();
  Mp4Result Allocate(u32 size);

  std::unique_ptr<u8[]> m_data;  // null when empty
  u32 m_size = 0;
};

}  // namespace kt
