#pragma once

#include <cstring>
#include <memory>

#include "engine/storage/storage.h"

namespace kt {

/// A text inside a box, from a file or from a caller. Whatever bytes a file gives, one zero byte more stands
/// behind them in memory, so that reading the text ends inside the block.
class CBoxText {
 public:
  /// Keeps a copy; null leaves no text. MP4_NO_MEMORY, with no text left.
  Mp4Result Set(const char* text);
  /// Puts a copy behind the text that stands there. MP4_NO_MEMORY, also when 32 bits cannot count the two
  /// together; the text stays as it was then.
  Mp4Result Append(const char* text);
  /// Takes the next `count` bytes as they stand. When the storage does not hold that many, what a read would
  /// answer, before any memory is taken; MP4_NO_MEMORY; MP4_CORRUPT above 32 bits. No text is left then.
  Mp4Result Read(CStorage* storage, u64 count);

  bool Exists() const { return m_text != nullptr; }
  /// Up to the first zero byte; empty when there is no text.
  const char* Get() const { return m_text ? m_text.get() : ""; }
  u32 Length() const { return static_cast<u32>(std::strlen(Get())); }
  /// Bytes of the text with all that a file gave behind a zero byte.
  u32 Size() const { return m_size; }

 private:
  std::unique_ptr<char[]> m_text;
  u32 m_size = 0;
};

}  // namespace kt
