#include "engine/storage/file_stream.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <new>

#ifdef _WIN32
#include <io.h>
#else
#include <unistd.h>
#endif

namespace kt {
namespace {

// The few calls of the system, alike on both sides: a handle is an int, a position 64 bits wide.
#ifdef _WIN32

using FileStatus = struct _stat64;

int OpenHandle(const char* path, bool toWrite) {
  const int flags = toWrite ? _O_WRONLY | _O_CREAT | _O_TRUNC : _O_RDONLY;
  return _open(path, flags | _O_BINARY | _O_NOINHERIT, _S_IREAD | _S_IWRITE);
}

bool StatusOf(int handle, FileStatus* status) {
  return _fstat64(handle, status) == 0;
}

bool IsRegular(const FileStatus& status) {
  return (status.st_mode & _S_IFMT) == _S_IFREG;
}

int CloseHandle(int handle) {
  return _close(handle);
}

// One call moves at most this much, so that the count fits the system's int.
constexpr std::size_t kLargestTransfer = std::size_t{1} << 30;

i64 ReadAt(int handle, void* buffer, std::size_t count, u64 position) {
  if (_lseeki64(handle, static_cast<i64>(position), SEEK_SET) < 0) return -1;
  return _read(handle, buffer, static_cast<unsigned>(count));
}

i64 WriteAt(int handle, const void* buffer, std::size_t count, u64 position) {
  if (_lseeki64(handle, static_cast<i64>(position), SEEK_SET) < 0) return -1;
  return _write(handle, buffer, static_cast<unsigned>(count));
}

#else

using FileStatus = struct stat;

bool StatusOf(int handle, FileStatus* status) {
  return fstat(handle, status) == 0;
}

bool IsRegular(const FileStatus& status) {
  return S_ISREG(status.st_mode);
}

int OpenHandle(const char* path, bool toWrite) {
  // To open a device or a FIFO can act on it, or on who waits at its other end.
  FileStatus status;
  if (stat(path, &status) == 0 && !IsRegular(status)) return -1;
  // Should one have come there just now, it must not hold up the caller.
  const int flags = toWrite ? O_WRONLY | O_CREAT | O_TRUNC : O_RDONLY;
  const int handle = open(path, flags | O_NONBLOCK | O_CLOEXEC, 0666);
  // Some file systems know how to be late, and reads are to wait for them.
  if (handle >= 0) fcntl(handle, F_SETFL, fcntl(handle, F_GETFL) & ~O_NONBLOCK);
  return handle;
}

int CloseHandle(int handle) {
  return close(handle);
}

constexpr std::size_t kLargestTransfer = std::size_t{1} << 30;

i64 ReadAt(int handle, void* buffer, std::size_t count, u64 position) {
  return pread(handle, buffer, count, static_cast<off_t>(position));
}

i64 WriteAt(int handle, const void* buffer, std::size_t count, u64 position) {
  return pwrite(handle, buffer, count, static_cast<off_t>(position));
}

#endif

constexpr u64 kLastPosition = static_cast<u64>(std::numeric_limits<i64>::max());

std::size_t WriteFullyAt(int handle, const u8* buffer, std::size_t count, u64 position) {
  std::size_t done = 0;
  while (done < count && position + done <= kLastPosition) {
    const i64 put = WriteAt(handle, buffer + done, std::min(count - done, kLargestTransfer), position + done);
    if (put < 0 && errno == EINTR) continue;
    if (put <= 0) break;
    done += static_cast<std::size_t>(put);
  }
  return done;
}

}  // namespace

CFileStream::~CFileStream() {
  if (IsOpen() && m_handle != kMemory) CloseHandle(m_handle);
}

bool CFileStream::Open(const char* path, bool toWrite) {
  if (IsOpen() || path == nullptr || !TakeBuffer()) return false;
  const int handle = OpenHandle(path, toWrite);
  if (handle < 0) return false;
  FileStatus status;
  if (!StatusOf(handle, &status) || !IsRegular(status)) {
    CloseHandle(handle);
    return false;
  }
  Begin(handle, toWrite);
  return true;
}

bool CFileStream::OpenOver(std::span<const u8> bytes) {
  if (IsOpen() || !TakeBuffer()) return false;
  m_memory = bytes;
  Begin(kMemory, false);
  return true;
}

bool CFileStream::TakeBuffer() {
  if (!m_buffer) m_buffer.reset(new (std::nothrow) u8[kBufferSize]);
  return m_buffer != nullptr;
}

void CFileStream::Begin(int handle, bool toWrite) {
  m_handle = handle;
  m_writing = toWrite;
  m_eof = false;
  m_limited = false;
  m_move = CMove::kOn;
  m_bufferStart = 0;
  m_filled = 0;
  m_cursor = 0;
  if (toWrite) GatherFrom(0);
}

// Empties the buffer for bytes that go to a position. It is full at a multiple of its size: the system takes
// whole pages more readily than parts of them.
void CFileStream::GatherFrom(u64 position) {
  m_bufferStart = position;
  m_cursor = 0;
  m_room = kBufferSize - static_cast<u32>(position % kBufferSize);
}

bool CFileStream::Flush() {
  if (!m_writing || m_cursor == 0) return IsOpen();
  const u32 waiting = m_cursor;
  const u32 done = static_cast<u32>(WriteFullyAt(m_handle, m_buffer.get(), waiting, m_bufferStart));
  GatherFrom(m_bufferStart + done);
  if (done == waiting) return true;
  m_cursor = waiting - done;
  if (done > 0) std::memmove(m_buffer.get(), m_buffer.get() + done, m_cursor);
  return false;
}

bool CFileStream::Close() {
  if (!IsOpen()) return false;
  const bool closed = m_handle == kMemory || CloseHandle(m_handle) == 0;
  m_handle = kNoHandle;
  m_writing = false;
  m_eof = false;
  m_bufferStart = 0;
  m_filled = 0;
  m_cursor = 0;
  m_room = 0;
  return closed;
}

// Reads until `count` bytes, the end of the file or a failure; answers the bytes that arrived.
std::size_t CFileStream::ReadFully(u8* buffer, std::size_t count, u64 position) {
  if (m_handle == kMemory) return CopyFromMemory(buffer, count, position);
  std::size_t done = 0;
  while (done < count && position + done <= kLastPosition) {
    const i64 got =
        ReadAt(m_handle, buffer + done, std::min(count - done, kLargestTransfer), position + done);
    if (got < 0 && errno == EINTR) continue;
    m_atEnd = got == 0;
    if (got <= 0) break;
    done += static_cast<std::size_t>(got);
  }
  return done;
}

std::size_t CFileStream::CopyFromMemory(u8* buffer, std::size_t count, u64 position) {
  const std::size_t left =
      position < m_memory.size() ? m_memory.size() - static_cast<std::size_t>(position) : 0;
  const std::size_t taken = std::min(count, left);
  if (taken > 0) std::memcpy(buffer, m_memory.data() + position, taken);
  m_atEnd = taken < count;
  return taken;
}

bool CFileStream::FillBuffer(u64 ahead) {
  // Who reads one part of the file here and one there pays for what lies between with every whole buffer; who
  // has read one part and goes on with the next is not one of these.
  const bool isPart = m_move == CMove::kAhead || (m_move == CMove::kOn && !m_limited);
  m_limited = isPart && ahead < kBufferSize;
  m_move = CMove::kOn;
  m_bufferStart += m_cursor;
  m_cursor = 0;
  const std::size_t wanted = m_limited ? static_cast<std::size_t>(ahead) : kBufferSize;
  m_filled = static_cast<u32>(ReadFully(m_buffer.get(), wanted, m_bufferStart));
  return m_filled > 0;
}

std::size_t CFileStream::Read(void* buffer, std::size_t count, u64 ahead) {
  if (!IsOpen() || m_writing || m_eof) return 0;
  u8* out = static_cast<u8*>(buffer);
  std::size_t done = 0;
  while (done < count) {
    const std::size_t ready = std::min<std::size_t>(count - done, m_filled - m_cursor);
    if (ready > 0) {
      std::memcpy(out + done, m_buffer.get() + m_cursor, ready);
      m_cursor += static_cast<u32>(ready);
      done += ready;
    } else if (count - done >= kBufferSize || m_move == CMove::kFar) {
      // Past the buffer, which is left empty behind it.
      const u64 position = Tell();
      const std::size_t got = ReadFully(out + done, count - done, position);
      m_bufferStart = position + got;
      m_filled = 0;
      m_cursor = 0;
      m_limited = false;
      m_move = CMove::kOn;
      done += got;
      break;
    } else if (!FillBuffer(std::max<u64>(ahead, count) - done)) {
      break;
    }
  }
  if (done < count) m_eof = m_atEnd;
  return done;
}

bool CFileStream::Write(const void* buffer, std::size_t count) {
  if (!IsOpen() || !m_writing) return false;
  const u8* bytes = static_cast<const u8*>(buffer);
  while (count > 0) {
    std::size_t taken = std::min<std::size_t>(count, m_room - m_cursor);
    if (m_cursor == 0 && taken == m_room) {
      // Past the buffer, which stays empty, up to the last place where it would be full.
      taken += (count - taken) / kBufferSize * kBufferSize;
      const std::size_t done = WriteFullyAt(m_handle, bytes, taken, m_bufferStart);
      GatherFrom(m_bufferStart + done);
      if (done < taken) return false;
    } else if (taken > 0) {
      std::memcpy(m_buffer.get() + m_cursor, bytes, taken);
      m_cursor += static_cast<u32>(taken);
    } else if (!Flush()) {
      return false;
    }
    bytes += taken;
    count -= taken;
  }
  return true;
}

bool CFileStream::Seek(u64 position) {
  if (!IsOpen() || position > kLastPosition) return false;
  if (m_writing) {
    if (position == Tell()) return true;
    if (!Flush()) return false;
    GatherFrom(position);
    return true;
  }
  m_eof = false;
  if (position >= m_bufferStart && position - m_bufferStart <= m_filled) {
    m_cursor = static_cast<u32>(position - m_bufferStart);
  } else {
    m_move = MoveTo(position);
    m_bufferStart = position;
    m_filled = 0;
    m_cursor = 0;
  }
  return true;
}

// Of a position outside of the buffer.
CFileStream::CMove CFileStream::MoveTo(u64 position) const {
  const u64 end = m_bufferStart + m_filled;
  if (position > end) return position - end > kBufferSize ? CMove::kFar : CMove::kAhead;
  return m_bufferStart - position > kBufferSize ? CMove::kFar : CMove::kBack;
}

bool CFileStream::ResumeAt(u64 position) {
  if (!IsOpen() || !m_writing || position > kLastPosition) return false;
  if (position >= m_bufferStart && position <= Tell()) {
    m_cursor = static_cast<u32>(position - m_bufferStart);
  } else {
    GatherFrom(position);
  }
  return true;
}

bool CFileStream::Length(u64* length) const {
  if (m_handle == kMemory) {
    *length = m_memory.size();
    return true;
  }
  FileStatus status;
  if (!IsOpen() || !StatusOf(m_handle, &status) || status.st_size < 0) return false;
  *length = static_cast<u64>(status.st_size);
  return true;
}

}  // namespace kt
