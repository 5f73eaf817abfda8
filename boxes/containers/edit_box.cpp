#include "boxes/containers/edit_box.h"

#include "boxes/tables/edit_list_box.h"

namespace kt {

Mp4Result CEditBox::GetStartDelay(u64* delay) {
  *delay = 0;
  if (!m_hasList) return MP4_OK;
  CBox* box = nullptr;
  KT_TRY(FindChild(FourCc("elst"), &box, 1));
  u64 start = 0;
  u64 duration = 0;
  u64 mediaTime = 0;
  u32 rate = 0;
  const Mp4Result result = static_cast<CEditListBox*>(box)->FindEdit(0, &start, &duration, &mediaTime, &rate);
  // The last edit of the list: an empty edit with nothing behind it delays nothing, and readers rely on it.
  if (result == MP4_NOT_FOUND) return MP4_OK;
  KT_TRY(result);
  constexpr u64 kEmptyEdit = ~u64{0};
  if (mediaTime == kEmptyEdit) *delay = duration;
  return MP4_OK;
}

Mp4Result CEditBox::AddStartDelay(u64 delay, u64 duration) {
  CBox* box = nullptr;
  const Mp4Result result = GetChild(FourCc("elst"), &box);
  if (result == MP4_NOT_FOUND) {
    std::unique_ptr<CBox> added(new (std::nothrow) CEditListBox);
    if (!added) return MP4_NO_MEMORY;
    box = added.get();
    KT_TRY(AddChild(std::move(added)));
  } else {
    KT_TRY(result);
  }
  auto* list = static_cast<CEditListBox*>(box);
  KT_TRY(list->AddEdit(delay, ~u64{0}, 1));
  return list->AddEdit(duration, 0, 1);
}

}  // namespace kt
