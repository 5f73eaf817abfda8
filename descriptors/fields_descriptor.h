#pragma once

#include <memory>
#include <new>
#include <utility>

#include "descriptors/descriptor.h"
#include "descriptors/size_code.h"
#include "engine/storage/field_io.h"

namespace kt {

// A descriptor that begins with a run of fields names them once, as boxes do, and is read, written and sized
// by these three. Beside the operations of all visitors they have `fields.Text(length, text)`: a text behind
// its length in one byte, as descriptors hold URLs.

/// Reads. Each call answers MP4_DESCRIPTOR_OVERRUN, with nothing read, when its fields exceed what remains.
class CDescriptorReader {
 public:
  CDescriptorReader(CStorage* storage, u32* remaining) : m_storage(storage), m_remaining(remaining) {}

  template <class... Fields>
  Mp4Result operator()(Fields&... fields) {
    if (*m_remaining < (sizeof(Fields) + ...)) return MP4_DESCRIPTOR_OVERRUN;
    return CFieldReader<u32>(m_storage, m_remaining)(fields...);
  }
  Mp4Result UInt24(u32& field) {
    if (*m_remaining < 3) return MP4_DESCRIPTOR_OVERRUN;
    return CFieldReader<u32>(m_storage, m_remaining).UInt24(field);
  }
  /// With one zero byte more in memory. MP4_NO_MEMORY.
  Mp4Result Text(u8& length, std::unique_ptr<u8[]>& text) {
    u8 count = 0;
    KT_TRY((*this)(count));
    if (*m_remaining < count) return MP4_DESCRIPTOR_OVERRUN;
    std::unique_ptr<u8[]> read(new (std::nothrow) u8[count + std::size_t{1}]());
    if (!read) return MP4_NO_MEMORY;
    KT_TRY(m_storage->ReadBlock(read.get(), count));
    *m_remaining -= count;
    length = count;
    text = std::move(read);
    return MP4_OK;
  }

 private:
  CStorage* m_storage;
  u32* m_remaining;
};

/// Writes.
class CDescriptorWriter : public CFieldWriter {
 public:
  using CFieldWriter::CFieldWriter;

  Mp4Result Text(u8 length, const std::unique_ptr<u8[]>& text) {
    KT_TRY((*this)(length));
    return Bytes(text.get(), length);
  }
};

/// Adds up sizes.
class CDescriptorSizer : public CFieldSizer<u32> {
 public:
  using CFieldSizer::CFieldSizer;

  Mp4Result Text(u8 length, const std::unique_ptr<u8[]>& /*text*/) { return Reserved(1u + length); }
};

/// A descriptor whose body begins with the fields that `Derived::VisitFields` names. What stands behind them
/// is for the derived class to add, and so is the reading, which is odd in most.
template <class Derived>
class CFieldsDescriptor : public CBaseDescriptor {
 public:
  Mp4Result Serialize(CStorage* storage) override {
    KT_TRY(CBaseDescriptor::Serialize(storage));
    return WriteFields(storage);
  }
  Mp4Result SerializeToBuffer(u8** cursor, u32* room) override {
    KT_TRY(CBaseDescriptor::SerializeToBuffer(cursor, room));
    return WriteToBuffer(cursor, room, FieldsSize(), [&](CStorage* block) { return WriteFields(block); });
  }
  Mp4Result CalculateSize() override {
    KT_TRY(CBaseDescriptor::CalculateSize());
    m_size = FieldsSize();
    return MP4_OK;
  }

 protected:
  using CBaseDescriptor::CBaseDescriptor;
  explicit CFieldsDescriptor(const CBaseDescriptor* header) : CBaseDescriptor(header) {}

  /// MP4_DESCRIPTOR_OVERRUN for a body that is shorter than its fields.
  Mp4Result ReadFields(CStorage* storage) {
    CDescriptorReader reader(storage, &m_remaining);
    return Self().VisitFields(reader);
  }
  /// Bytes of the fields as they stand.
  u32 FieldsSize() {
    u32 size = 0;
    CDescriptorSizer sizer(&size);
    static_cast<void>(Self().VisitFields(sizer));  // adding up does not fail
    return size;
  }

 private:
  Mp4Result WriteFields(CStorage* storage) {
    CDescriptorWriter writer(storage);
    return Self().VisitFields(writer);
  }
  Derived& Self() { return static_cast<Derived&>(*this); }
};

}  // namespace kt
