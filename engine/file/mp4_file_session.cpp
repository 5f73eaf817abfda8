// The session description of the movie: one block of text that stands for the whole file, beside the blocks
// of the hint tracks. ISO/IEC 14496-12, 9.1.4.1.

#include <cstring>

#include "boxes/containers/movie_box.h"
#include "boxes/containers/user_data_box.h"
#include "boxes/hint/hint_information_box.h"
#include "boxes/object_descriptor_box.h"
#include "engine/box/child_boxes.h"
#include "engine/file/mp4_file_impl.h"
#include "engine/file/session_iod.h"
#include "hint/base64.h"
#include "hint/session_text.h"

namespace kt {

Mp4Result CMp4FileImpl::SetMovieSdp(const char* text) {
  CMovieBox* movie = nullptr;
  CUserDataBox* userData = nullptr;
  CMovieHintInformationBox* information = nullptr;
  KT_TRY(FindMovie(&movie));
  KT_TRY(EnsureChild(movie, &userData));
  KT_TRY(EnsureChild(userData, &information));
  return information->AppendSdp(text);
}

Mp4Result CMp4FileImpl::GetMovieSdp(char* buffer, u32 bufferSize) {
  CMovieBox* movie = nullptr;
  CUserDataBox* userData = nullptr;
  CMovieHintInformationBox* information = nullptr;
  const char* text = nullptr;
  KT_TRY(FindMovie(&movie));
  KT_TRY(RequireChild(movie, &userData));
  KT_TRY(RequireChild(userData, &information));
  KT_TRY(information->GetSdp(&text));
  const std::size_t size = std::strlen(text) + 1;
  if (size > bufferSize) return MP4_BUFFER_TOO_SMALL;
  std::memcpy(buffer, text, size);
  return MP4_OK;
}

// A closed hint track of an MPEG-4 file needs the initial object descriptor; the other types of file do
// without.
Mp4Result CMp4FileImpl::ComposeMovieSdp() {
  if (m_hintTrackClosed == 0 || m_fileType != MP4_TYPE_MP4 || m_movieSdpComposed) return MP4_OK;
  CMovieBox* movie = nullptr;
  CObjectDescriptorBox* box = nullptr;
  CInitialObjectDescriptor* ofFile = nullptr;
  KT_TRY(FindMovie(&movie));
  KT_TRY(RequireChild(movie, &box));
  KT_TRY(box->GetInitialDescriptor(&ofFile));
  if (ofFile == nullptr) return MP4_NOT_READY;
  ByteBlock descriptor;
  SessionText base64;
  SessionText text;
  u32 length = 0;
  KT_TRY(BuildSessionIod(this, *ofFile, &descriptor));
  KT_TRY(Base64Encode(descriptor.bytes.get(), descriptor.size, &base64, &length));
  KT_TRY(FormatMovieBlock(base64.get(), &text));
  KT_TRY(SetMovieSdp(text.get()));
  m_movieSdpComposed = true;
  return MP4_OK;
}

}  // namespace kt
