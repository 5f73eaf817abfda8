#pragma once

#include <memory>
#include <new>

#include "boxes/containers/required_child.h"

namespace kt {

/// A sample entry of the layer `Base` (visual or audio) with a child of set-up data, a `SpecificBox`.
template <class Base, class SpecificBox>
class CSpecificSampleEntry : public Base {
 public:
  /// MP4_BAD_BOX when the entry has another child, MP4_CORRUPT when the child exceeds the entry.
  Mp4Result Deserialize(CStorage* storage) override {
    KT_TRY(Base::Deserialize(storage));
    return ReadRequiredChild<SpecificBox>(storage, &this->m_remaining, [this](CBox&& header) {
      m_pSpecificBox.reset(new (std::nothrow) SpecificBox(std::move(header)));
      return m_pSpecificBox.get();
    });
  }
  /// MP4_BAD_BOX without set-up data, with the entry's own fields written.
  Mp4Result Serialize(CStorage* storage) override {
    KT_TRY(Base::Serialize(storage));
    return m_pSpecificBox ? m_pSpecificBox->Serialize(storage) : MP4_BAD_BOX;
  }
  Mp4Result Dump(int indent) override {
    KT_TRY(Base::Dump(indent));
    return m_pSpecificBox ? m_pSpecificBox->Dump(indent + 1) : MP4_OK;
  }
  Mp4Result CalculateSize() override {
    KT_TRY(Base::CalculateSize());
    if (!m_pSpecificBox) return MP4_OK;
    u64 childSize = 0;
    KT_TRY(m_pSpecificBox->CalculateSize());
    KT_TRY(m_pSpecificBox->GetSize(&childSize));
    this->m_size += childSize;
    return MP4_OK;
  }

  /// As the operations of `CSpecificBox`; the getters answer MP4_NOT_READY while there is no child.
  virtual Mp4Result SetSpecificData(const void* data, u32 size) {
    if (!m_pSpecificBox) m_pSpecificBox.reset(new (std::nothrow) SpecificBox);
    return m_pSpecificBox ? m_pSpecificBox->SetData(data, size) : MP4_NO_MEMORY;
  }
  virtual Mp4Result GetSpecificData(u32 capacity, u32* size, void* buffer) {
    return m_pSpecificBox ? m_pSpecificBox->GetData(capacity, size, buffer) : MP4_NOT_READY;
  }
  virtual Mp4Result GetSpecificDataSize(u32* size) {
    return m_pSpecificBox ? m_pSpecificBox->GetDataSize(size) : MP4_NOT_READY;
  }

 protected:
  explicit CSpecificSampleEntry(u32 type) : Base(type) {}
  explicit CSpecificSampleEntry(CBox&& header) : Base(std::move(header)) {}

 private:
  std::unique_ptr<SpecificBox> m_pSpecificBox;
};

}  // namespace kt
