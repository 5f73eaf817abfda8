#pragma once

#include "boxes/containers/user_data_box.h"
#include "boxes/copyright_box.h"
#include "engine/box/child_boxes.h"

namespace kt {

/// The `index`-th copyright notice below the "udta" of a movie or a track; `CMp4File::GetCopyright` tells the
/// contract.
template <class Container>
Mp4Result GetCopyrightBelow(Container* container, char language[3], char* notice, u32* noticeSize,
                            u32 index) {
  CUserDataBox* userData = nullptr;
  CCopyrightBox* copyright = nullptr;
  KT_TRY(RequireChild(container, &userData));
  KT_TRY(RequireChild(userData, &copyright, index));
  KT_TRY(copyright->GetNoticeSize(noticeSize));
  return notice == nullptr ? MP4_OK : copyright->GetNotice(language, notice);
}

/// Makes the boxes that are not there yet and then sets the notice, so that a refused language leaves an
/// empty notice behind. A new notice becomes the last one, whatever `index` says.
template <class Container>
Mp4Result SetCopyrightBelow(Container* container, const char* language, const char* notice, u32 index) {
  CUserDataBox* userData = nullptr;
  CCopyrightBox* copyright = nullptr;
  KT_TRY(EnsureChild(container, &userData));
  KT_TRY(EnsureChild(userData, &copyright, index));
  return copyright->SetNotice(language, notice);
}

}  // namespace kt
