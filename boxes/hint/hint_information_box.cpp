#include "boxes/hint/hint_information_box.h"

#include <new>

namespace kt {

template <class TextBox>
Mp4Result CHintInformationBox::FindText(TextBox** box) {
  if (!m_children) return MP4_NOT_FOUND;
  CBox* found = nullptr;
  KT_TRY(FindChild(TextBox::kType, &found, 0));
  *box = dynamic_cast<TextBox*>(found);
  return *box != nullptr ? MP4_OK : MP4_BAD_BOX;
}

template <class TextBox>
Mp4Result CHintInformationBox::AppendToText(const char* text) {
  TextBox* box = nullptr;
  const Mp4Result result = FindText(&box);
  if (result == MP4_NOT_FOUND) {
    std::unique_ptr<TextBox> made(new (std::nothrow) TextBox);
    if (!made) return MP4_NO_MEMORY;
    box = made.get();
    KT_TRY(Append(std::move(made)));
  } else {
    KT_TRY(result);
  }
  return box->AppendSdp(text);
}

Mp4Result CHintInformationBox::BorrowTrackSdp(const char** text) {
  CRtpTrackSdpHintInformationBox* box = nullptr;
  KT_TRY(FindText(&box));
  return box->BorrowSdp(text);
}

Mp4Result CMovieHintInformationBox::AppendSdp(const char* text) {
  return AppendToText<CRtpMovieHintInformationBox>(text);
}

Mp4Result CMovieHintInformationBox::GetSdp(const char** text) {
  CRtpMovieHintInformationBox* box = nullptr;
  KT_TRY(FindText(&box));
  return box->GetSdp(text);
}

Mp4Result CTrackHintInformationBox::AppendSdp(const char* text) {
  return AppendToText<CRtpTrackSdpHintInformationBox>(text);
}

Mp4Result CTrackHintInformationBox::GetSdp(std::unique_ptr<char[]>* text) {
  CRtpTrackSdpHintInformationBox* box = nullptr;
  KT_TRY(FindText(&box));
  return box->GetSdp(text);
}

}  // namespace kt
