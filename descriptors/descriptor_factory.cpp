#include "descriptors/descriptor_list.h"
#include "descriptors/es_descriptor.h"
#include "descriptors/es_id_descriptors.h"
#include "descriptors/initial_object_descriptor.h"
#include "descriptors/object_descriptor.h"

namespace kt {
namespace {

template <class Descriptor>
CBaseDescriptor* Make(const CBaseDescriptor* header) {
  return new (std::nothrow) Descriptor(header);
}

struct MakerRow {
  u32 tag;
  CBaseDescriptor* (*make)(const CBaseDescriptor* header);
};

constexpr MakerRow kMakers[] = {
    {kObjectDescriptorTag, Make<CObjectDescriptor>},
    {kInitialObjectDescriptorTag, Make<CInitialObjectDescriptor>},
    {kEsDescriptorTag, Make<CESDescriptor>},
    {kDecoderConfigDescriptorTag, Make<CDecoderConfigDescriptor>},
    {kDecoderSpecificInfoTag, Make<CDecoderSpecificInfo>},
    {kSlConfigDescriptorTag, Make<CSLConfigDescriptor>},
    {kEsIdIncTag, Make<CESIDInc>},
    {kEsIdRefTag, Make<CESIDRef>},
    {kMp4InitialObjectDescriptorTag, Make<CInitialObjectDescriptor>},
    {kMp4ObjectDescriptorTag, Make<CObjectDescriptor>},
};

}  // namespace

Mp4Result CreateDescriptor(CStorage* storage, u32 /*parentTag*/, std::unique_ptr<CBaseDescriptor>* descriptor,
                           u32* tag) {
  descriptor->reset();
  const CNesting nesting(storage);
  if (nesting.TooDeep()) return MP4_BAD_DESCRIPTOR;
  std::unique_ptr<CBaseDescriptor> header(new (std::nothrow) CBaseDescriptor);
  if (!header) return MP4_NO_MEMORY;
  KT_TRY(header->Deserialize(storage));
  u32 headerTag = 0;
  KT_TRY(header->GetTag(&headerTag));
  for (const MakerRow& row : kMakers) {
    if (row.tag != headerTag) continue;
    std::unique_ptr<CBaseDescriptor> made(row.make(header.get()));
    if (!made) return MP4_NO_MEMORY;
    KT_TRY(made->Deserialize(storage));
    *descriptor = std::move(made);
    *tag = headerTag;
    return MP4_OK;
  }
  u32 body = 0;
  KT_TRY(header->GetRemaining(&body));
  KT_TRY(storage->Skip(body));
  *descriptor = std::move(header);
  *tag = 0;
  return MP4_OK;
}

}  // namespace kt
