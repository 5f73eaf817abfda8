#pragma once

#include <span>

#include <ktmp4/result.h>
#include "engine/storage/file_stream.h"

namespace kt {

/// Byte storage over a file: the one door through which boxes, descriptors, tracks and hint samples touch
/// bytes. Integers are big-endian. Callers hold a `CStorage*` and never ask which storage stands behind it;
/// `CMemoryStorage` is the other one.
///
/// Results, unless an operation says otherwise: MP4_FILE_IO when the stream fails, falls short (the plain end
/// of the file included) or is not open.
class CStorage {
 public:
  CStorage() = default;
  CStorage(const CStorage&) = delete;
  CStorage& operator=(const CStorage&) = delete;
  /// Gives the handle back without flushing; whoever writes has to call `Close` first.
  virtual ~CStorage() = default;

  /// Moves to an absolute position, also beyond the end. MP4_NOT_FOUND when the storage is not open,
  /// MP4_FILE_IO for a position above 2^63-1.
  virtual Mp4Result SetPosition(u64 position);
  /// Stores 1 when a read has run into the end since the last change of position. Always MP4_OK.
  virtual Mp4Result IsEof(u32* eof);
  /// Length in bytes as the system knows it now.
  virtual Mp4Result GetSize(u64* size);
  /// Position of the next access.
  virtual Mp4Result GetPosition(u64* position);

  /// Big-endian reads. The wider ones zero the output first, and a cut read leaves the bytes that arrived in
  /// it; `ReadUInt8` leaves its output alone when it fails.
  virtual Mp4Result ReadUInt64(u64* value);
  virtual Mp4Result ReadUInt32(u32* value);
  virtual Mp4Result ReadUInt24(u32* value);
  virtual Mp4Result ReadUInt16(u16* value);
  virtual Mp4Result ReadUInt8(u8* value);
  /// The same bytes as their unsigned twins; 24 bits are not sign-extended.
  virtual Mp4Result ReadInt64(i64* value);
  virtual Mp4Result ReadInt32(i32* value);
  virtual Mp4Result ReadInt24(i32* value);
  virtual Mp4Result ReadInt16(i16* value);
  virtual Mp4Result ReadInt8(i8* value);
  /// Reads exactly `count` bytes. A count of 0 is MP4_OK without a look at the stream.
  virtual Mp4Result ReadBytes(u8* buffer, u64 count);
  /// Reads exactly `count` bytes, but answers MP4_END_OF_FILE when a read has already run into the end.
  virtual Mp4Result ReadBlock(void* buffer, u32 count);
  /// Reads nothing and answers MP4_OK; texts are read as blocks.
  virtual Mp4Result ReadString(char* text);
  /// Moves forward, also beyond the end. MP4_FILE_IO when the sum wraps or exceeds 2^63-1.
  virtual Mp4Result Skip(u64 count);

  virtual Mp4Result WriteUInt64(u64 value);
  virtual Mp4Result WriteUInt32(u32 value);
  virtual Mp4Result WriteUInt24(u32 value);
  virtual Mp4Result WriteUInt16(u16 value);
  virtual Mp4Result WriteUInt8(u8 value);
  virtual Mp4Result WriteInt64(i64 value);
  virtual Mp4Result WriteInt32(i32 value);
  virtual Mp4Result WriteInt24(i32 value);
  virtual Mp4Result WriteInt16(i16 value);
  virtual Mp4Result WriteInt8(i8 value);
  /// Writes a block. A size of 0 is MP4_FILE_IO here and a success in memory: callers rely on both.
  virtual Mp4Result WriteBytes(const void* buffer, u32 size);
  virtual Mp4Result WriteBlock(const void* buffer, u32 size);
  /// Writes the characters and one zero byte behind them.
  virtual Mp4Result WriteString(const char* text);

  virtual Mp4Result ReservedStorage1(u32 argument);
  virtual Mp4Result ReservedStorage2(u32 argument);
  virtual Mp4Result ReservedStorage3(u32 argument);

  /// What a read of `count` bytes would answer at this position, without reading or moving: MP4_OK, or the
  /// result of the read that falls short. Asked before memory is reserved for a size that a file declares.
  virtual Mp4Result RequireBytes(u64 count);

  /// After a failed write: the next one goes to `position`. What has not reached the file yet is dropped from
  /// there on, and all of it unless `position` lies within or at its end. The file itself is not touched.
  /// MP4_FILE_IO when the storage is not open to write.
  virtual Mp4Result ResumeAt(u64 position);

  /// `SetPosition` and `ReadBlock` in one. `ahead` bytes from there on are likely to be wanted next.
  Mp4Result ReadBlockAt(u64 position, void* buffer, u32 count, u64 ahead);
  /// The same for bytes that are at hand: where they stand until the next call, or null when they are not,
  /// with nothing done.
  const u8* TakeBlockAt(u64 position, u32 count) { return m_stream.TakeBuffered(position, count); }

  /// `mode` 0 opens an existing file to read, 1 creates or truncates one to write. MP4_NOT_FOUND when already
  /// open, MP4_BAD_ARGUMENT for another mode, MP4_FILE_IO when the file is no regular file or does not open.
  Mp4Result Open(const char* path, u32 mode);
  /// Opens bytes in memory to read, with the results of a file of them; borrowed until `Close`.
  Mp4Result OpenOver(std::span<const u8> bytes);
  /// Flushes and closes. MP4_NOT_FOUND when not open. After a failed flush all stays as it was, and `Close`
  /// may be tried again; after a failed close the handle is gone and every call answers MP4_FILE_IO.
  Mp4Result Close();

 private:
  friend class CNesting;

  template <unsigned Width, class Value>
  Mp4Result ReadBigEndian(Value* value);
  template <unsigned Width>
  Mp4Result WriteBigEndian(u64 value);

  CFileStream m_stream;
  u32 m_readOpen = 0;
  u32 m_writeOpen = 0;
  u32 m_nesting = 0;
  u64 m_knownSize = 0;  // of the file when the system was asked last
};

/// Counts one level of nested boxes or descriptors while it lives, so that a hostile file cannot exhaust the
/// stack: reading one level costs as little as eight bytes.
class CNesting {
 public:
  static constexpr u32 kLevels = 64;

  explicit CNesting(CStorage* storage) : m_storage(storage) { ++m_storage->m_nesting; }
  CNesting(const CNesting&) = delete;
  CNesting& operator=(const CNesting&) = delete;
  ~CNesting() { --m_storage->m_nesting; }

  bool TooDeep() const { return m_storage->m_nesting > kLevels; }

 private:
  CStorage* m_storage;
};

}  // namespace kt
