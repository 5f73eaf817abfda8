#pragma once

#include <fstream>
#include <string>
#include <vector>

#include "tools/bytes/byte_span.h"

namespace kt {

/// The bytes of a file by their positions, read a piece at a time.
class FileBytes {
 public:
  /// Throws a `Failure` where the system has no memory or no handles left.
  explicit FileBytes(const std::string& name);

  /// 0 for a file that cannot be read.
  u64 Size() const { return m_size; }
  /// The bytes from a position on: as many as wanted, up to 64 KiB, or fewer where the file ends. Good until
  /// the next call.
  ByteSpan At(u64 position, u64 wanted);
  u64 NumberAt(u64 position, u32 width) { return Number(At(position, width), 0, width); }

 private:
  std::ifstream m_stream;
  u64 m_size = 0;
  u64 m_begin = 0;  // where the piece at hand stands
  std::vector<u8> m_piece;
};

}  // namespace kt
