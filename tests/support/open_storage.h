#pragma once

#include "engine/storage/memory_storage.h"
#include "support/answer.h"
#include "support/box_writer.h"
#include "support/temp_file.h"

namespace kt::test {

/// A memory storage over a block of its own: these bytes to read, or so much room to write.
class MemoryBlock {
 public:
  explicit MemoryBlock(Bytes toRead) : MemoryBlock(std::move(toRead), MP4_MODE_READ) {}
  explicit MemoryBlock(std::size_t room) : MemoryBlock(Bytes(room), MP4_MODE_WRITE) {}
  MemoryBlock(const MemoryBlock&) = delete;
  MemoryBlock& operator=(const MemoryBlock&) = delete;

  operator CStorage*() { return &m_storage; }
  CMemoryStorage* operator->() { return &m_storage; }
  u64 Position() { return Got(m_storage, &CStorage::GetPosition); }
  /// The bytes up to the position.
  Bytes Written() {
    return Bytes(m_bytes.begin(), m_bytes.begin() + static_cast<std::ptrdiff_t>(Position()));
  }

 private:
  MemoryBlock(Bytes bytes, u32 mode) : m_bytes(std::move(bytes)) {
    EXPECT_EQ(m_storage.Open(m_bytes.data(), static_cast<u32>(m_bytes.size()), mode), MP4_OK);
  }

  Bytes m_bytes;
  CMemoryStorage m_storage;
};

/// A storage over a file of these bytes, open to read.
template <class Storage = CStorage>
class FileOf {
 public:
  explicit FileOf(const std::vector<u8>& content) : m_file(content) {
    EXPECT_EQ(m_storage.Open(m_file.Name().c_str(), MP4_MODE_READ), MP4_OK);
  }

  operator CStorage*() { return &m_storage; }
  Storage& operator*() { return m_storage; }
  Storage* operator->() { return &m_storage; }

 private:
  TempFile m_file;
  Storage m_storage;
};

}  // namespace kt::test
