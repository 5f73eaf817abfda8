#include "boxes/entries/mp4_sample_entry.h"

namespace kt {
namespace {

// ISO/IEC 14496-1, 7.3.2.3: the SL settings reserved for MP4 files.
constexpr u8 kSlPredefinedMp4 = 2;

}  // namespace

Mp4Result CMP4SampleEntry::GetDecoderSpecificInfo(u32 capacity, u32* size, void* buffer) {
  CESDescriptor* descriptor = nullptr;
  KT_TRY(GetEsDescriptor(&descriptor));
  return descriptor->GetDecoderSpecificInfo(capacity, size, buffer);
}

Mp4Result CMP4SampleEntry::GetDecoderSpecificInfoSize(u32* size) {
  CESDescriptor* descriptor = nullptr;
  KT_TRY(GetEsDescriptor(&descriptor));
  return descriptor->GetDecoderSpecificInfoSize(size);
}

Mp4Result CMP4SampleEntry::GetEsDescriptor(CESDescriptor** descriptor) {
  *descriptor = m_EsdBox.GetDescriptor();
  return *descriptor != nullptr ? MP4_OK : MP4_NOT_READY;
}

Mp4Result CMP4SampleEntry::SetDecoderConfig(u16 esId, u8 objectType, u8 streamType, const void* info,
                                            u32 infoSize) {
  CESDescriptor* descriptor = nullptr;
  KT_TRY(m_EsdBox.MakeDescriptor(&descriptor));
  KT_TRY(descriptor->SetDecoderType(objectType, streamType, info, infoSize));
  KT_TRY(descriptor->SetSlPredefined(kSlPredefinedMp4));
  return descriptor->SetEsId(esId);
}

Mp4Result CMP4SampleEntry::SetBitrates(u32 max, u32 avg) {
  CESDescriptor* descriptor = nullptr;
  KT_TRY(m_EsdBox.MakeDescriptor(&descriptor));
  return descriptor->SetBitrates(max, avg);
}

}  // namespace kt
