#include "boxes/media_data_box.h"

#include <limits>

namespace kt {

Mp4Result CMediaDataBox::Deserialize(CStorage* storage) {
  KT_TRY(storage->Skip(m_remaining));
  m_dataLength = m_remaining;
  m_remaining = 0;
  return MP4_OK;
}

Mp4Result CMediaDataBox::Serialize(CStorage* /*storage*/) {
  return MP4_OK;
}

Mp4Result CMediaDataBox::CalculateSize() {
  KT_TRY(CBox::CalculateSize());
  m_size += m_dataLength;
  // The reserved 8 bytes are payload behind a short header. From 0xFFFFFFF0 bytes of data on the sum leaves
  // 32 bits behind this test, and the long header comes out 8 too large: readers rely on both rules.
  if (m_size <= std::numeric_limits<u32>::max()) m_size += 8;
  return MP4_OK;
}

Mp4Result CMediaDataBox::StartWriting(CStorage* storage) {
  KT_TRY(storage->GetPosition(&m_headerPosition));
  m_size = u64{1} << 32;  // makes the header take its long form
  KT_TRY(CBox::Serialize(storage));
  m_storage = storage;
  m_dataLength = 0;
  return MP4_OK;
}

Mp4Result CMediaDataBox::AppendData(const u8* data, u32 size, u64* position) {
  if (m_storage == nullptr) return MP4_NOT_READY;
  KT_TRY(m_storage->GetPosition(position));
  if (const Mp4Result result = m_storage->WriteBlock(data, size); result != MP4_OK) {
    // What has arrived of the block is not counted, so nothing may follow it.
    static_cast<void>(m_storage->ResumeAt(*position));
    return result;
  }
  m_dataLength += size;
  return MP4_OK;
}

Mp4Result CMediaDataBox::FinishWriting() {
  if (m_storage == nullptr) return MP4_NOT_READY;
  u64 end = 0;
  KT_TRY(m_storage->GetPosition(&end));
  const Mp4Result result = PatchHeader(end);
  if (result != MP4_OK) static_cast<void>(m_storage->ResumeAt(end));
  return result;
}

Mp4Result CMediaDataBox::PatchHeader(u64 end) {
  KT_TRY(m_storage->SetPosition(m_headerPosition));
  KT_TRY(CalculateSize());
  KT_TRY(CBox::Serialize(m_storage));
  return m_storage->SetPosition(end);
}

}  // namespace kt
