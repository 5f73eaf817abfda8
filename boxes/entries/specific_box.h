#pragma once

#include "engine/box/box.h"
#include "engine/storage/data_block.h"

namespace kt {

/// "d263" and "damr": the set-up data of a decoder, a block of bytes that the library neither parses nor
/// builds. 3GPP TS 26.244, 6.7 and 6.8.
class CSpecificBox : public CBox {
 public:
  Mp4Result Deserialize(CStorage* storage) override;
  Mp4Result Serialize(CStorage* storage) override;
  Mp4Result Dump(int indent) override;
  Mp4Result CalculateSize() override;

  /// Keeps a copy of `size` bytes in place of the earlier ones. Null `data` keeps the size alone, which the
  /// getters answer and which counts no bytes in the file. MP4_NO_MEMORY.
  Mp4Result SetData(const void* data, u32 size) { return m_data.Set(data, size); }
  /// `*size` takes the number of bytes in any case. MP4_BUFFER_TOO_SMALL when it exceeds `capacity`.
  Mp4Result GetData(u32 capacity, u32* size, void* buffer) const {
    return m_data.Copy(capacity, size, buffer);
  }
  Mp4Result GetDataSize(u32* size) const {
    *size = m_data.Size();
    return MP4_OK;
  }

 protected:
  using CBox::CBox;
  explicit CSpecificBox(CBox&& header) : CBox(std::move(header)) {}

 private:
  CDataBlock m_data;
};

}  // namespace kt
