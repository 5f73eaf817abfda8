#pragma once

#include "descriptors/fields_descriptor.h"

namespace kt {

/// A descriptor whose whole body is one number that points at a track. ISO/IEC 14496-14, 3.1.
template <class Id>
class CTrackPointerDescriptor : public CFieldsDescriptor<CTrackPointerDescriptor<Id>> {
 public:
  /// The number is read also where the body is shorter.
  Mp4Result Deserialize(CStorage* storage) override {
    CFieldReader<u32> reader(storage, &this->m_remaining);
    return VisitFields(reader);
  }

  template <class Fields>
  Mp4Result VisitFields(Fields& fields) {
    return fields(m_id);
  }

 protected:
  using CFieldsDescriptor<CTrackPointerDescriptor>::CFieldsDescriptor;
  explicit CTrackPointerDescriptor(const CBaseDescriptor* header)
      : CFieldsDescriptor<CTrackPointerDescriptor>(header) {}
  Mp4Result DumpId(int indent, const char* name);

  Id m_id = 0;
};

/// Stands for an elementary stream by an index into the "mpod" references of the track that carries it.
class CESIDRef : public CTrackPointerDescriptor<u16> {
 public:
  CESIDRef() : CTrackPointerDescriptor(kEsIdRefTag) {}
  explicit CESIDRef(const CBaseDescriptor* header) : CTrackPointerDescriptor(header) {}

  Mp4Result Dump(int indent) override;
  Mp4Result SetRefIndex(u16 refIndex);
};

/// Stands for an elementary stream by the id of its track.
class CESIDInc : public CTrackPointerDescriptor<u32> {
 public:
  CESIDInc() : CTrackPointerDescriptor(kEsIdIncTag) {}
  explicit CESIDInc(const CBaseDescriptor* header) : CTrackPointerDescriptor(header) {}

  Mp4Result Dump(int indent) override;
  Mp4Result SetTrackId(u32 trackId);
};

}  // namespace kt
