#include "boxes/hint/rtp_hint_sample_entry.h"

#include <cstdio>
#include <new>

#include "engine/box/child_boxes.h"
#include "engine/storage/printing.h"

namespace kt {
namespace {

template <class Child>
Mp4Result Require(std::unique_ptr<Child>* child) {
  if (!*child) child->reset(new (std::nothrow) Child);
  return *child ? MP4_OK : MP4_NO_MEMORY;
}

// Moves a child of the class of that place there. MP4_BAD_BOX for a second one.
template <class Child>
Mp4Result KeepIn(std::unique_ptr<Child>* place, std::unique_ptr<CBox>* child) {
  Child* const kept = *child ? BoxAs<Child>(child->get()) : nullptr;
  if (kept == nullptr) return MP4_OK;
  if (*place) return MP4_BAD_BOX;
  static_cast<void>(child->release());
  place->reset(kept);
  return MP4_OK;
}

}  // namespace

Mp4Result CTimeScaleEntryBox::Dump(int indent) {
  KT_TRY(CBox::Dump(indent));
  PrintIndent(indent);
  std::printf("Time scale = %d\n", static_cast<int>(m_timeScale));
  return MP4_OK;
}

Mp4Result CRtpOffsetBox::Dump(int indent) {
  KT_TRY(CBox::Dump(indent));
  PrintIndent(indent);
  std::printf("Time offset = %d\n", m_offset);
  return MP4_OK;
}

template <class Visit>
Mp4Result CRtpHintSampleEntry::VisitChildren(Visit visit) {
  for (CBox* child : {static_cast<CBox*>(m_timeScaleBox.get()), static_cast<CBox*>(m_timeOffsetBox.get()),
                      static_cast<CBox*>(m_sequenceOffsetBox.get())}) {
    if (child != nullptr) KT_TRY(visit(child));
  }
  return MP4_OK;
}

Mp4Result CRtpHintSampleEntry::Deserialize(CStorage* storage) {
  KT_TRY(CFieldsBox::Deserialize(storage));
  while (m_remaining > 0) KT_TRY(ReadChild(storage));
  return m_timeScaleBox ? MP4_OK : MP4_BAD_BOX;
}

Mp4Result CRtpHintSampleEntry::ReadChild(CStorage* storage) {
  std::unique_ptr<CBox> child;
  u32 type = 0;
  KT_TRY(CreateBox(storage, m_type, &child, &type));
  // Ahead of keeping it, which may drop it; a child that cannot be kept is refused for that first.
  const Mp4Result fits = child->TakeSizeOff(&m_remaining);
  KT_TRY(Keep(std::move(child)));
  return fits;
}

Mp4Result CRtpHintSampleEntry::Keep(std::unique_ptr<CBox> child) {
  KT_TRY(KeepIn(&m_timeScaleBox, &child));
  KT_TRY(KeepIn(&m_timeOffsetBox, &child));
  // A child of any other class is read, and not kept: callers rely on its being accepted.
  return KeepIn(&m_sequenceOffsetBox, &child);
}

Mp4Result CRtpHintSampleEntry::Serialize(CStorage* storage) {
  KT_TRY(CFieldsBox::Serialize(storage));
  if (!m_timeScaleBox) return MP4_BAD_BOX;
  return VisitChildren([&](CBox* child) { return child->Serialize(storage); });
}

Mp4Result CRtpHintSampleEntry::Dump(int indent) {
  KT_TRY(CFieldsBox::Dump(indent));
  PrintIndent(indent);
  std::printf("Hint track version = %d, Highest compatible version = %d Max packet size = %d\n",
              m_hintTrackVersion, m_highestCompatibleVersion, static_cast<int>(m_maxPacketSize));
  return VisitChildren([&](CBox* child) { return child->Dump(indent + 1); });
}

Mp4Result CRtpHintSampleEntry::CalculateSize() {
  KT_TRY(CFieldsBox::CalculateSize());
  return VisitChildren([&](CBox* child) -> Mp4Result {
    KT_TRY(child->CalculateSize());
    u64 childSize = 0;
    KT_TRY(child->GetSize(&childSize));
    m_size += childSize;
    return MP4_OK;
  });
}

Mp4Result CRtpHintSampleEntry::SetMaxPacketSize(u32 size) {
  m_maxPacketSize = size;
  return MP4_OK;
}

Mp4Result CRtpHintSampleEntry::GetMaxPacketSize(u32* size) {
  *size = m_maxPacketSize;
  return MP4_OK;
}

Mp4Result CRtpHintSampleEntry::SetTimeScale(u32 scale) {
  KT_TRY(Require(&m_timeScaleBox));
  m_timeScaleBox->SetTimeScale(scale);
  return MP4_OK;
}

Mp4Result CRtpHintSampleEntry::GetTimeScale(u32* scale) {
  if (!m_timeScaleBox) return MP4_NOT_FOUND;
  *scale = m_timeScaleBox->GetTimeScale();
  return MP4_OK;
}

Mp4Result CRtpHintSampleEntry::SetTimeOffset(i32 offset) {
  KT_TRY(Require(&m_timeOffsetBox));
  m_timeOffsetBox->SetOffset(offset);
  return MP4_OK;
}

Mp4Result CRtpHintSampleEntry::GetTimeOffset(i32* offset) {
  if (!m_timeOffsetBox) return MP4_NOT_FOUND;
  *offset = m_timeOffsetBox->GetOffset();
  return MP4_OK;
}

Mp4Result CRtpHintSampleEntry::SetSequenceOffset(i32 offset) {
  KT_TRY(Require(&m_sequenceOffsetBox));
  m_sequenceOffsetBox->SetOffset(offset);
  return MP4_OK;
}

Mp4Result CRtpHintSampleEntry::GetSequenceOffset(i32* offset) {
  if (!m_sequenceOffsetBox) return MP4_NOT_FOUND;
  *offset = m_sequenceOffsetBox->GetOffset();
  return MP4_OK;
}

}  // namespace kt
