#include "hint/packet_constructor.h"
#include "engine/storage/printing.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <new>

namespace kt {
namespace {

constexpr const char* kNames[] = {"NoOp", "Immediate", "Sample", "SampleDescription"};

std::unique_ptr<CRTPBaseConstructor> MakeConstructor(u8 type) {
  CRTPBaseConstructor* made = nullptr;
  switch (type) {
    case RTP_CONSTRUCTOR_NO_OP:
      made = new (std::nothrow) CRTPNoOpConstructor;
      break;
    case RTP_CONSTRUCTOR_IMMEDIATE:
      made = new (std::nothrow) CRTPImmediateConstructor;
      break;
    case RTP_CONSTRUCTOR_SAMPLE:
      made = new (std::nothrow) CRTPSampleConstructor;
      break;
    default:
      made = new (std::nothrow) CRTPSampleDescriptionConstructor;
      break;
  }
  return std::unique_ptr<CRTPBaseConstructor>(made);
}

}  // namespace

Mp4Result CRTPBaseConstructor::Serialize(CStorage* storage) {
  return storage->WriteUInt8(m_constructorType);
}

Mp4Result CRTPBaseConstructor::Dump(int indent) {
  PrintIndent(indent);
  std::printf("Constructor type = %s (%d)\n",
              m_constructorType < std::size(kNames) ? kNames[m_constructorType] : "Unknown",
              m_constructorType);
  return MP4_OK;
}

Mp4Result CRTPBaseConstructor::GetConstructorType(u8* type) {
  *type = m_constructorType;
  return MP4_OK;
}

Mp4Result CRTPImmediateConstructor::Dump(int indent) {
  KT_TRY(CRTPBaseConstructor::Dump(indent));
  PrintIndent(indent);
  std::printf("Data count = %d Data:", m_dataCount);
  for (u32 i = 0; i < std::min<u32>(m_dataCount, kMostBytes); ++i) std::printf(" %02x", m_data[i]);
  std::printf("\n");
  return MP4_OK;
}

Mp4Result CRTPImmediateConstructor::SetData(const u8* data, u32 size) {
  if (data == nullptr || size == 0 || size > kMostBytes) return MP4_BAD_ARGUMENT;
  std::copy_n(data, size, m_data);
  m_dataCount = static_cast<u8>(size);
  return MP4_OK;
}

Mp4Result CRTPSampleConstructor::Dump(int indent) {
  KT_TRY(CRTPBaseConstructor::Dump(indent));
  PrintIndent(indent);
  std::printf("Track ref index = %d Length = %d Sample number %d\n", m_trackRefIndex, m_length,
              static_cast<int>(m_sampleNumber));
  PrintIndent(indent);
  std::printf("Sample offset = %d Bytes per block = %d Sample per block %d\n",
              static_cast<int>(m_sampleOffset), m_bytesPerBlock, m_samplesPerBlock);
  return MP4_OK;
}

Mp4Result CRTPSampleConstructor::SetValues(u8 trackRefIndex, u16 length, u32 sampleNumber, u32 sampleOffset) {
  m_trackRefIndex = trackRefIndex;
  m_length = length;
  m_sampleNumber = sampleNumber;
  m_sampleOffset = sampleOffset;
  return MP4_OK;
}

// "decription" is how the word stands in dumps that are read.
Mp4Result CRTPSampleDescriptionConstructor::Dump(int indent) {
  KT_TRY(CRTPBaseConstructor::Dump(indent));
  PrintIndent(indent);
  std::printf("Track ref index = %d Length = %d\n", m_trackRefIndex, m_length);
  PrintIndent(indent);
  std::printf("Sample description index %d Sample decription offset = %d\n",
              static_cast<int>(m_sampleDescriptionIndex), static_cast<int>(m_sampleDescriptionOffset));
  return MP4_OK;
}

Mp4Result CreateConstructor(CStorage* storage, std::unique_ptr<CRTPBaseConstructor>* constructor, u8* type) {
  constructor->reset();
  KT_TRY(storage->ReadUInt8(type));
  if (*type > RTP_CONSTRUCTOR_SAMPLE_DESCRIPTION) {
    KT_TRY(storage->Skip(CRTPBaseConstructor::kSize - 1));
    return MP4_BAD_VALUE;
  }
  std::unique_ptr<CRTPBaseConstructor> made = MakeConstructor(*type);
  if (!made) return MP4_NO_MEMORY;
  KT_TRY(made->Deserialize(storage));
  *constructor = std::move(made);
  return MP4_OK;
}

}  // namespace kt
