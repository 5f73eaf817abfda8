#include "adapt/descriptors.h"

#include <algorithm>

namespace kt::adapt {
namespace {

enum Tag : u32 {
  kEs = 3,
  kDecoderConfig = 4,
  kDecoderInfo = 5,
  kSlConfig = 6,
  kEsIdInc = 14,
  kEsIdRef = 15,
  kFileInitial = 16,
  kFileObject = 17,
};

constexpr u64 kFullBoxHeader = 4;

struct Descriptor {
  u32 tag = 0;
  CBytes body;
};

/// Goes through descriptors that lie one behind the other; one that is longer than the bytes is cut.
class CDescriptorWalk {
 public:
  explicit CDescriptorWalk(CBytes bytes) : m_rest(bytes) {}

  bool Next(Descriptor* descriptor) {
    constexpr u64 kLongestHeader = 5;
    if (!m_rest.Has(0, 2)) return false;
    descriptor->tag = m_rest.U8(0);
    u64 header = 1;
    u32 size = 0;
    bool more = true;
    for (; more && header < kLongestHeader; ++header) {
      const u8 digit = m_rest.U8(header);
      size = size << 7 | (digit & 0x7Fu);
      more = (digit & 0x80) != 0;
    }
    descriptor->body = m_rest.Part(header, size);
    m_rest = m_rest.From(header + size);
    return true;
  }

 private:
  CBytes m_rest;
};

bool FindDescriptor(CBytes within, u32 tag, CBytes* body) {
  *body = {};
  CDescriptorWalk walk(within);
  for (Descriptor descriptor; walk.Next(&descriptor);) {
    if (descriptor.tag != tag) continue;
    *body = descriptor.body;
    return true;
  }
  return false;
}

void WriteHeader(u32 tag, u32 bodySize, CImageWriter* writer) {
  writer->U8(tag);
  // Always with four digits, so that a header is as long as it was measured.
  for (const u32 shift : {21u, 14u, 7u}) writer->U8(0x80 | (bodySize >> shift & 0x7F));
  writer->U8(bodySize & 0x7F);
}

constexpr u32 kHeaderSize = 5;

// What stands ahead of the descriptors inside of an ES descriptor.
u64 EsFieldsSize(CBytes body) {
  const u8 flags = body.U8(2);
  u64 size = 3;
  if ((flags & 0x80) != 0) size += 2;
  if ((flags & 0x40) != 0) size += 1 + u64{body.U8(size)};
  if ((flags & 0x20) != 0) size += 2;
  return size;
}

}  // namespace

bool WriteEsDescriptor(CBytes esds, u8 objectType, u8 streamType, CImageWriter* writer) {
  constexpr u32 kMostInfo = 1 << 20;
  constexpr u32 kConfigFields = 13;
  constexpr u8 kSlOfFiles = 2;
  CBytes es, config, info;
  const bool isKnown = FindDescriptor(esds.From(kFullBoxHeader), kEs, &es) &&
                       FindDescriptor(es.From(EsFieldsSize(es)), kDecoderConfig, &config) &&
                       config.Size() >= kConfigFields;
  const bool hasInfo = isKnown && FindDescriptor(config.From(kConfigFields), kDecoderInfo, &info);
  info = info.Part(0, kMostInfo);
  const u32 infoSize = static_cast<u32>(info.Size());
  const u32 configSize = kConfigFields + (hasInfo ? kHeaderSize + infoSize : 0);
  const bool depends = (es.U8(2) & 0x80) != 0;
  const u32 esFields = depends ? 5 : 3;

  writer->U32(0);
  WriteHeader(kEs, esFields + kHeaderSize + configSize + kHeaderSize + 1, writer);
  writer->U16(es.U16(0)).U8(es.U8(2) & 0x9F);
  if (depends) writer->U16(es.U16(3));
  WriteHeader(kDecoderConfig, configSize, writer);
  if (isKnown) {
    writer->CopyExactly(config, kConfigFields);
  } else {
    writer->U8(objectType).U8(u32{streamType} << 2 | 1).Zeros(kConfigFields - 2);
  }
  if (hasInfo) {
    WriteHeader(kDecoderInfo, infoSize, writer);
    writer->Copy(info);
  }
  WriteHeader(kSlConfig, 1, writer);
  writer->U8(kSlOfFiles);
  return isKnown;
}

bool WriteObjectDescriptor(CBytes iods, CImageWriter* writer) {
  constexpr u32 kUrlFlag = 0x20;
  constexpr u32 kMostChildren = 1 << 24;
  CBytes body;
  const bool isInitial = FindDescriptor(iods.From(kFullBoxHeader), kFileInitial, &body);
  if (!isInitial && !FindDescriptor(iods.From(kFullBoxHeader), kFileObject, &body)) return false;
  const u32 fields = isInitial ? 7 : 2;
  if ((body.U8(1) & kUrlFlag) != 0 || body.Size() < fields) return false;
  const u32 tag = isInitial ? kEsIdInc : kEsIdRef;
  const u32 width = isInitial ? 4 : 2;
  const auto forEachChild = [&](auto visit) {
    CDescriptorWalk walk(body.From(fields));
    for (Descriptor child; walk.Next(&child);) {
      if (child.tag == tag && child.body.Size() >= width) visit(child.body);
    }
  };
  u32 children = 0;
  forEachChild([&](CBytes) { children += kHeaderSize + width; });
  if (children > kMostChildren) return false;
  writer->U32(0);
  WriteHeader(isInitial ? kFileInitial : kFileObject, fields + children, writer);
  writer->CopyExactly(body, fields);
  forEachChild([&](CBytes child) {
    WriteHeader(tag, width, writer);
    writer->CopyExactly(child, width);
  });
  return true;
}

}  // namespace kt::adapt
