#pragma once

#include <type_traits>
#include <utility>

#include "engine/storage/storage.h"

namespace kt {

/// A box or descriptor that is a plain run of fields names them once, in a member
///
///     template <class Fields> Mp4Result VisitFields(Fields& fields) {
///       KT_TRY(fields(m_i16Balance, m_ui16Reserved));   // in file order, width by type
///       ...
///     }
///
/// and is read, written and sized by the visitors below, which share their operations:
///
/// - `fields(a, b, ...)`: integers of 8, 16, 32 or 64 bits by their type, or arrays of them, in order;
/// - `fields.Sized(x, wide)`: a u64 or i64 that takes 64 bits in the file when `wide`, else 32, widened by
///   its sign;
/// - `fields.UInt24(x)`: the low 24 bits;
/// - `fields.Bytes(p, n)`: a block;
/// - `fields.Reserved(n)`: bytes that are dropped when read and written as zero;
/// - `fields.LastOf(array)`: a run of which only the last element's result counts, which readers rely on.

/// Reads, taking each field's width off the bytes that remain of the box (u64) or descriptor (u32).
template <class Remaining>
class CFieldReader {
 public:
  CFieldReader(CStorage* storage, Remaining* remaining) : m_storage(storage), m_remaining(remaining) {}

  template <class... Fields>
  Mp4Result operator()(Fields&... fields) {
    Mp4Result result = MP4_OK;
    static_cast<void>((((result = Visit(fields)) == MP4_OK) && ...));
    return result;
  }

  Mp4Result Sized(u64& field, bool wide) {
    if (wide) return Visit(field);
    u32 narrow = 0;
    KT_TRY(Visit(narrow));
    field = narrow;
    return MP4_OK;
  }
  Mp4Result Sized(i64& field, bool wide) {
    if (wide) return Visit(field);
    i32 narrow = 0;
    KT_TRY(Visit(narrow));
    field = narrow;
    return MP4_OK;
  }
  Mp4Result UInt24(u32& field) { return Taken(3, m_storage->ReadUInt24(&field)); }
  Mp4Result Bytes(u8* bytes, u32 count) { return Taken(count, m_storage->ReadBytes(bytes, count)); }
  Mp4Result Reserved(u32 count) {
    u8 dropped = 0;
    for (; count > 0; --count) KT_TRY(Visit(dropped));
    return MP4_OK;
  }
  template <class Field, std::size_t Count>
  Mp4Result LastOf(Field (&fields)[Count]) {
    Mp4Result result = MP4_OK;
    for (Field& field : fields) result = Visit(field);
    return result;
  }

 private:
  Mp4Result Taken(u32 width, Mp4Result result) {
    if (result == MP4_OK) *m_remaining -= width;
    return result;
  }
  template <class Field, std::size_t Count>
  Mp4Result Visit(Field (&fields)[Count]) {
    for (Field& field : fields) KT_TRY(Visit(field));
    return MP4_OK;
  }
  Mp4Result Visit(u8& field) { return Taken(1, m_storage->ReadUInt8(&field)); }
  Mp4Result Visit(u16& field) { return Taken(2, m_storage->ReadUInt16(&field)); }
  Mp4Result Visit(u32& field) { return Taken(4, m_storage->ReadUInt32(&field)); }
  Mp4Result Visit(u64& field) { return Taken(8, m_storage->ReadUInt64(&field)); }
  Mp4Result Visit(i8& field) { return Taken(1, m_storage->ReadInt8(&field)); }
  Mp4Result Visit(i16& field) { return Taken(2, m_storage->ReadInt16(&field)); }
  Mp4Result Visit(i32& field) { return Taken(4, m_storage->ReadInt32(&field)); }
  Mp4Result Visit(i64& field) { return Taken(8, m_storage->ReadInt64(&field)); }

  CStorage* m_storage;
  Remaining* m_remaining;
};

/// Takes fields from bytes that have been read already, of which the caller knows that there are enough.
class CFieldDecoder {
 public:
  explicit CFieldDecoder(const u8* bytes) : m_bytes(bytes) {}

  template <class... Fields>
  Mp4Result operator()(Fields&... fields) {
    (Visit(fields), ...);
    return MP4_OK;
  }
  Mp4Result Sized(u64& field, bool wide) {
    field = wide ? Take<u64>() : Take<u32>();
    return MP4_OK;
  }
  Mp4Result Sized(i64& field, bool wide) {
    field = wide ? static_cast<i64>(Take<u64>()) : static_cast<i32>(Take<u32>());
    return MP4_OK;
  }

 private:
  template <class Field>
  void Visit(Field& field) {
    field = static_cast<Field>(Take<std::make_unsigned_t<Field>>());
  }
  template <class Field>
  Field Take() {
    const Field value = Join<Field>(std::make_index_sequence<sizeof(Field)>());
    m_bytes += sizeof(Field);
    return value;
  }
  // Written out byte by byte, which compilers turn into one load; of a loop they do not.
  template <class Field, std::size_t... Index>
  Field Join(std::index_sequence<Index...> /*bytes*/) const {
    return static_cast<Field>(((u64{m_bytes[Index]} << (8 * (sizeof(Field) - 1 - Index))) | ...));
  }

  const u8* m_bytes;
};

/// Puts fields into bytes at hand, of which the caller knows that there are enough.
class CFieldEncoder {
 public:
  explicit CFieldEncoder(u8* bytes) : m_bytes(bytes) {}

  template <class... Fields>
  Mp4Result operator()(const Fields&... fields) {
    (Visit(fields), ...);
    return MP4_OK;
  }
  Mp4Result Reserved(u32 count) {
    for (; count > 0; --count) *m_bytes++ = 0;
    return MP4_OK;
  }

 private:
  template <class Field, std::size_t Count>
  void Visit(const Field (&fields)[Count]) {
    for (const Field& field : fields) Visit(field);
  }
  template <class Field>
  void Visit(const Field& field) {
    Split(static_cast<std::make_unsigned_t<Field>>(field), std::make_index_sequence<sizeof(Field)>());
    m_bytes += sizeof(Field);
  }
  template <class Field, std::size_t... Index>
  void Split(Field value, std::index_sequence<Index...> /*bytes*/) {
    ((m_bytes[Index] = static_cast<u8>(value >> (8 * (sizeof(Field) - 1 - Index)))), ...);
  }

  u8* m_bytes;
};

/// Writes.
class CFieldWriter {
 public:
  explicit CFieldWriter(CStorage* storage) : m_storage(storage) {}

  template <class... Fields>
  Mp4Result operator()(const Fields&... fields) {
    Mp4Result result = MP4_OK;
    static_cast<void>((((result = Visit(fields)) == MP4_OK) && ...));
    return result;
  }

  Mp4Result Sized(u64 field, bool wide) {
    return wide ? m_storage->WriteUInt64(field) : m_storage->WriteUInt32(static_cast<u32>(field));
  }
  Mp4Result Sized(i64 field, bool wide) {
    return wide ? m_storage->WriteInt64(field) : m_storage->WriteInt32(static_cast<i32>(field));
  }
  Mp4Result UInt24(u32 field) { return m_storage->WriteUInt24(field); }
  Mp4Result Bytes(const u8* bytes, u32 count) { return m_storage->WriteBytes(bytes, count); }
  Mp4Result Reserved(u32 count) {
    for (; count > 0; --count) KT_TRY(m_storage->WriteUInt8(0));
    return MP4_OK;
  }
  template <class Field, std::size_t Count>
  Mp4Result LastOf(const Field (&fields)[Count]) {
    Mp4Result result = MP4_OK;
    for (const Field& field : fields) result = Visit(field);
    return result;
  }

 private:
  template <class Field, std::size_t Count>
  Mp4Result Visit(const Field (&fields)[Count]) {
    for (const Field& field : fields) KT_TRY(Visit(field));
    return MP4_OK;
  }
  Mp4Result Visit(u8 field) { return m_storage->WriteUInt8(field); }
  Mp4Result Visit(u16 field) { return m_storage->WriteUInt16(field); }
  Mp4Result Visit(u32 field) { return m_storage->WriteUInt32(field); }
  Mp4Result Visit(u64 field) { return m_storage->WriteUInt64(field); }
  Mp4Result Visit(i8 field) { return m_storage->WriteInt8(field); }
  Mp4Result Visit(i16 field) { return m_storage->WriteInt16(field); }
  Mp4Result Visit(i32 field) { return m_storage->WriteInt32(field); }
  Mp4Result Visit(i64 field) { return m_storage->WriteInt64(field); }

  CStorage* m_storage;
};

/// Adds the fields' widths to the size of a box (u64) or descriptor (u32).
template <class Size>
class CFieldSizer {
 public:
  explicit CFieldSizer(Size* size) : m_size(size) {}

  template <class... Fields>
  Mp4Result operator()(const Fields&... /*fields*/) {
    *m_size += static_cast<Size>((sizeof(Fields) + ...));
    return MP4_OK;
  }
  Mp4Result Sized(u64 /*field*/, bool wide) { return Reserved(wide ? 8 : 4); }
  Mp4Result Sized(i64 /*field*/, bool wide) { return Reserved(wide ? 8 : 4); }
  Mp4Result UInt24(u32 /*field*/) { return Reserved(3); }
  Mp4Result Bytes(const u8* /*bytes*/, u32 count) { return Reserved(count); }
  Mp4Result Reserved(u32 count) {
    *m_size += count;
    return MP4_OK;
  }
  template <class Field, std::size_t Count>
  Mp4Result LastOf(const Field (&)[Count]) {
    return Reserved(sizeof(Field) * Count);
  }

 private:
  Size* m_size;
};

}  // namespace kt
