#include "boxes/containers/track_reference_box.h"

#include "boxes/tables/track_reference_type_box.h"

namespace kt {
namespace {

// 0 for a number that is no kind.
u32 CodeOf(u32 kind) {
  switch (kind) {
    case MP4_REFERENCE_HINT:
      return CTrackReferenceTypeBox::kHintType;
    case MP4_REFERENCE_OD:
      return CTrackReferenceTypeBox::kOdType;
    default:
      return 0;
  }
}

}  // namespace

Mp4Result CTrackReferenceBox::FindReferenceType(u32 kind, CTrackReferenceTypeBox** box) {
  // All children with such a code are of one class: this box alone makes them, and the factory.
  CBox* found = nullptr;
  KT_TRY(FindChild(CodeOf(kind), &found, 1));
  *box = static_cast<CTrackReferenceTypeBox*>(found);
  return MP4_OK;
}

Mp4Result CTrackReferenceBox::AddReferenceType(u32 kind) {
  m_hasList = true;
  const u32 code = CodeOf(kind);
  if (code == 0) return MP4_BAD_ARGUMENT;
  std::unique_ptr<CBox> box(new (std::nothrow) CTrackReferenceTypeBox(code));
  if (!box) return MP4_NO_MEMORY;
  return Append(std::move(box));
}

Mp4Result CTrackReferenceBox::AddTrackReference(u32 kind, u32 trackId, u32* index) {
  if (CodeOf(kind) == 0) return MP4_BAD_ARGUMENT;
  if (!m_hasList) KT_TRY(AddReferenceType(kind));
  CTrackReferenceTypeBox* box = nullptr;
  Mp4Result result = FindReferenceType(kind, &box);
  if (result == MP4_NOT_FOUND) {
    KT_TRY(AddReferenceType(kind));
    // The new child is looked for as "hint" whatever its kind: readers rely on where the id goes.
    result = FindReferenceType(MP4_REFERENCE_HINT, &box);
  }
  KT_TRY(result);
  return box->AddTrackId(trackId, index);
}

Mp4Result CTrackReferenceBox::GetReferenceCount(u32 kind, u32* count) {
  if (CodeOf(kind) == 0) return MP4_BAD_ARGUMENT;
  *count = 0;
  if (!m_children) return MP4_OK;
  CTrackReferenceTypeBox* box = nullptr;
  const Mp4Result result = FindReferenceType(kind, &box);
  if (result == MP4_NOT_FOUND) return MP4_OK;
  KT_TRY(result);
  return box->GetEntryCount(count);
}

Mp4Result CTrackReferenceBox::GetReference(u32 kind, u32 index, u32* trackId) {
  if (CodeOf(kind) == 0) return MP4_BAD_ARGUMENT;
  if (!m_children) return MP4_NOT_FOUND;
  CTrackReferenceTypeBox* box = nullptr;
  KT_TRY(FindReferenceType(kind, &box));
  return box->GetTrackId(index, trackId);
}

}  // namespace kt
