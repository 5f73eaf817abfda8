#pragma once

#include "descriptors/descriptor.h"
#include "engine/storage/data_block.h"

namespace kt {

/// The set-up data of a decoder as raw bytes. ISO/IEC 14496-1, 7.2.6.7.
class CDecoderSpecificInfo : public CBaseDescriptor {
 public:
  CDecoderSpecificInfo() : CBaseDescriptor(kDecoderSpecificInfoTag) {}
  explicit CDecoderSpecificInfo(const CBaseDescriptor* header) : CBaseDescriptor(header) {}

  Mp4Result Deserialize(CStorage* storage) override;
  Mp4Result Serialize(CStorage* storage) override;
  Mp4Result SerializeToBuffer(u8** cursor, u32* room) override;
  Mp4Result Dump(int indent) override;
  /// Without data no bytes are counted, whatever size was given.
  Mp4Result CalculateSize() override;

  /// Replaces the data by a copy. The size is kept also where `data` is null. MP4_NO_MEMORY.
  Mp4Result SetData(const void* data, u32 size);
  /// `*size` takes the size in any case. MP4_BUFFER_TOO_SMALL when it exceeds `capacity`.
  Mp4Result GetData(u32 capacity, u32* size, void* buffer) const {
    return m_data.Copy(capacity, size, buffer);
  }
  Mp4Result GetDataSize(u32* size) const {
    *size = m_data.Size();
    return MP4_OK;
  }

 private:
  CDataBlock m_data;
};

}  // namespace kt
