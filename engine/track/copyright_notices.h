#pragma once

#include <memory>
#include <new>

#include "boxes/containers/user_data_box.h"
#include "boxes/copyright_box.h"

namespace kt {

/// The first child of a type, whether the container counts occurrences or not.
template <class Container>
Mp4Result GetFirstChild(Container* container, u32 type, CBox** box) {
  if constexpr (requires { container->GetChild(type, box); }) {
    return container->GetChild(type, box);
  } else {
    return container->GetChild(type, box, 0);
  }
}

/// The `index`-th copyright notice below the "udta" of a movie or a track; `CMp4File::GetCopyright` tells the
/// contract.
template <class Container>
Mp4Result GetCopyrightBelow(Container* container, char language[3], char* notice, u32* noticeSize,
                            u32 index) {
  CBox* userData = nullptr;
  KT_TRY(GetFirstChild(container, FourCc("udta"), &userData));
  CBox* box = nullptr;
  KT_TRY(static_cast<CUserDataBox*>(userData)->GetChild(FourCc("cprt"), &box, index));
  const CCopyrightBox* copyright = static_cast<CCopyrightBox*>(box);
  KT_TRY(copyright->GetNoticeSize(noticeSize));
  return notice == nullptr ? MP4_OK : copyright->GetNotice(language, notice);
}

/// Makes the boxes that are not there yet and then sets the notice, so that a refused language leaves an
/// empty notice behind. A new notice becomes the last one, whatever `index` says.
template <class Container>
Mp4Result SetCopyrightBelow(Container* container, const char* language, const char* notice, u32 index) {
  const auto add = []<class Made>(auto* parent, std::unique_ptr<Made> made, CBox** box) {
    if (!made) return MP4_NO_MEMORY;
    *box = made.get();
    return parent->AddChild(std::move(made));
  };
  CBox* userData = nullptr;
  Mp4Result found = GetFirstChild(container, FourCc("udta"), &userData);
  if (found == MP4_NOT_FOUND) {
    found = add(container, std::unique_ptr<CUserDataBox>(new (std::nothrow) CUserDataBox), &userData);
  }
  KT_TRY(found);
  CUserDataBox* const notices = static_cast<CUserDataBox*>(userData);
  CBox* copyright = nullptr;
  found = notices->GetChild(FourCc("cprt"), &copyright, index);
  if (found == MP4_NOT_FOUND) {
    found = add(notices, std::unique_ptr<CCopyrightBox>(new (std::nothrow) CCopyrightBox), &copyright);
  }
  KT_TRY(found);
  return static_cast<CCopyrightBox*>(copyright)->SetNotice(language, notice);
}

}  // namespace kt
