#pragma once

#include <memory>
#include <span>

#include <ktmp4/types.h>

namespace kt {

/// A buffered stream of bytes on one regular file, or on bytes in memory as on a file of them, with 64-bit
/// positions.
///
/// It behaves like a C stream: a read that runs into the end of the file sets the end-of-file indicator,
/// which stops further reads until a seek clears it. Reads and writes of a few bytes are served from a buffer
/// inline; large blocks go to the file in one call. A stream is opened either to read or to write.
///
/// How much a read fetches beyond what was asked for goes by how it was come to. Behind a jump far away it is
/// nothing, since the next read may be far from there again. Behind a jump ahead it is what the reader tells
/// that it will want; only who reads on behind that, or goes back a little, gets whole buffers.
class CFileStream {
 public:
  CFileStream() = default;
  CFileStream(const CFileStream&) = delete;
  CFileStream& operator=(const CFileStream&) = delete;
  /// Gives the handle back to the system; buffered bytes that were not flushed are dropped.
  ~CFileStream();

  /// Opens an existing file to read, or creates or truncates one to write. Anything but a regular file is
  /// refused, without waiting on it. `path` is in the system's 8-bit encoding.
  bool Open(const char* path, bool toWrite);
  /// Opens bytes in memory to read; they are borrowed until the stream is closed.
  bool OpenOver(std::span<const u8> bytes);
  bool IsOpen() const { return m_handle != kNoHandle; }
  bool IsEof() const { return m_eof; }

  /// Writes what is buffered. Bytes that the system did not take stay buffered for another try.
  bool Flush();
  /// Gives the handle back, whatever the system answers; the buffer has to be flushed before.
  bool Close();

  /// Reads up to `count` bytes and answers how many arrived. `ahead` of them will be wanted from here on.
  std::size_t Read(void* buffer, std::size_t count, u64 ahead = kBufferSize);
  /// True when all `count` bytes were taken, otherwise some of them may have been: `ResumeAt` gives them up.
  bool Write(const void* buffer, std::size_t count);

  /// Moves to an absolute position, also one beyond the end of the file.
  bool Seek(u64 position);
  /// Moves without a write: bytes that wait to be written are dropped from `position` on, and all of them
  /// when it lies elsewhere.
  bool ResumeAt(u64 position);
  u64 Tell() const { return m_bufferStart + m_cursor; }
  /// Moves as `Seek` and `Read` would and answers the bytes, good until the next call, when all of them are
  /// buffered; null when they are not, with nothing done.
  const u8* TakeBuffered(u64 position, u32 count) {
    const u64 start = position - m_bufferStart;  // far too large for a position ahead of the buffer
    if (m_filled == 0 || start > m_filled || count > m_filled - start) return nullptr;
    m_cursor = static_cast<u32>(start) + count;
    m_eof = false;
    return m_buffer.get() + start;
  }
  /// The file's length as the system knows it now; bytes not yet flushed are not counted.
  bool Length(u64* length) const;

  /// One byte, or false at the end of the file.
  bool ReadByte(u8* value) {
    if (m_cursor < m_filled) {
      *value = m_buffer[m_cursor++];
      return true;
    }
    return Read(value, 1) == 1;
  }
  bool WriteByte(u8 value) {
    if (m_cursor < m_room) {
      m_buffer[m_cursor++] = value;
      return true;
    }
    return Write(&value, 1);
  }
  /// Where the next `count` bytes are to be put, when the buffer has room for all of them, otherwise null;
  /// moves behind them.
  u8* PutBuffered(u32 count) {
    if (m_cursor + count > m_room) return nullptr;
    u8* const bytes = m_buffer.get() + m_cursor;
    m_cursor += count;
    return bytes;
  }
  /// The next `count` bytes when all of them are buffered, otherwise null; moves behind them.
  const u8* TakeBuffered(u32 count) {
    if (m_cursor + count > m_filled) return nullptr;
    const u8* bytes = m_buffer.get() + m_cursor;
    m_cursor += count;
    return bytes;
  }

 private:
  static constexpr int kNoHandle = -1;
  static constexpr int kMemory = -2;
  static constexpr u32 kBufferSize = 64 * 1024;

  // How the stream has come to where the next read of the file begins.
  enum class CMove : u8 { kOn, kAhead, kBack, kFar };

  bool TakeBuffer();
  void Begin(int handle, bool toWrite);
  void GatherFrom(u64 position);
  CMove MoveTo(u64 position) const;
  bool FillBuffer(u64 ahead);
  std::size_t ReadFully(u8* buffer, std::size_t count, u64 position);
  std::size_t CopyFromMemory(u8* buffer, std::size_t count, u64 position);

  int m_handle = kNoHandle;
  std::span<const u8> m_memory;  // what stands in for the file
  bool m_writing = false;
  bool m_eof = false;
  bool m_atEnd = false;    // the last transfer from the file met its end and no failure
  bool m_limited = false;  // the buffer was filled as far as the reader told
  CMove m_move = CMove::kOn;
  // The buffer mirrors the file from m_bufferStart on. Reading: m_filled bytes of it are valid and m_cursor
  // is the next one. Writing: the first m_cursor bytes wait to be written, m_room of them at most, and
  // m_filled stays 0.
  std::unique_ptr<u8[]> m_buffer;
  u64 m_bufferStart = 0;
  u32 m_filled = 0;
  u32 m_cursor = 0;
  u32 m_room = 0;  // 0 unless writing
};

}  // namespace kt
