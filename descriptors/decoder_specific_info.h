#pragma once

#include <memory>

#include "descriptors/descriptor.h"

namespace kt {

/// The set-up data of a decoder as raw bytes. ISO/IEC 14496-1, 8.3.6.
class CDecoderSpecificInfo : public CBaseDescriptor {
 public:
  CDecoderSpecificInfo() : CBaseDescriptor(kDecoderSpecificInfoTag) {}
  explicit CDecoderSpecificInfo(const CBaseDescriptor& header) : CBaseDescriptor(header) {}

  Mp4Result Deserialize(CStorage* storage) override;
  Mp4Result Serialize(CStorage* storage) override;
  Mp4Result SerializeToBuffer(u8** cursor, u32* room) override;
  Mp4Result Dump(int indent) override;
  /// Without data no bytes are counted, whatever size was given.
  Mp4Result CalculateSize() override;

  /// Replaces the data by a copy. The size is kept also where `data` is null. MP4_NO_MEMORY.
  Mp4Result SetData(const void* data, u32 size);
  /// `*size` takes the size in any case. MP4_BUFFER_TOO_SMALL when it exceeds `capacity`.
  Mp4Result GetData(u32 capacity, u32* size, void* buffer) const;
  Mp4Result GetDataSize(u32* size) const;

 private:
  u32 StoredSize() const { return m_data ? m_dataSize : 0; }

  std::unique_ptr<u8[]> m_data;  // null when empty
  u32 m_dataSize = 0;
};

}  // namespace kt
