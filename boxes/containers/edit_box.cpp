#include "boxes/containers/edit_box.h"

#include "boxes/tables/edit_list_box.h"
#include "engine/box/child_boxes.h"

namespace kt {

Mp4Result CEditBox::GetStartDelay(u64* delay) {
  *delay = 0;
  if (!m_hasList) return MP4_OK;
  CEditListBox* list = nullptr;
  KT_TRY(RequireChild(this, &list));
  u64 start = 0;
  u64 duration = 0;
  u64 mediaTime = 0;
  u32 rate = 0;
  const Mp4Result result = list->FindEdit(0, &start, &duration, &mediaTime, &rate);
  // The last edit of the list: an empty edit with nothing behind it delays nothing, and readers rely on it.
  if (result == MP4_NOT_FOUND) return MP4_OK;
  KT_TRY(result);
  constexpr u64 kEmptyEdit = ~u64{0};
  if (mediaTime == kEmptyEdit) *delay = duration;
  return MP4_OK;
}

Mp4Result CEditBox::AddStartDelay(u64 delay, u64 duration) {
  CEditListBox* list = nullptr;
  KT_TRY(EnsureChild(this, &list));
  KT_TRY(list->AddEdit(delay, ~u64{0}, 1));
  return list->AddEdit(duration, 0, 1);
}

}  // namespace kt
