#pragma once

#include "engine/box/box_text.h"
#include "engine/box/fields_box.h"

namespace kt {

/// "hdlr": what kind of media a track has, and a name for people. ISO/IEC 14496-12, 8.4.3.
class CHandlerReferenceBox final : public CFieldsBox<CHandlerReferenceBox, CFullBox> {
 public:
  static constexpr u32 kType = FourCc("hdlr");
  CHandlerReferenceBox() : CFieldsBox(kType, u8{0}, 0U) {}
  explicit CHandlerReferenceBox(CBox&& header) : CFieldsBox(std::move(header)) {}

  /// A box that ends before the name has an empty one, and grows by its terminator when it is written.
  Mp4Result Deserialize(CStorage* storage) override;
  Mp4Result Serialize(CStorage* storage) override;
  Mp4Result Dump(int indent) override;
  Mp4Result CalculateSize() override;

  /// A four-character code. MP4_NOT_FOUND while it is 0.
  Mp4Result GetHandlerType(u32* handlerType) const;
  Mp4Result SetHandlerType(u32 handlerType);

  template <class Fields>
  Mp4Result VisitFields(Fields& fields) {
    return fields(m_ui32PreDefined, m_ui32HandlerType, m_ui32Reserved);
  }

 private:
  u32 m_ui32PreDefined = 0;
  u32 m_ui32HandlerType = 0;
  u32 m_ui32Reserved[3] = {};
  CBoxText m_pName;
};

}  // namespace kt
