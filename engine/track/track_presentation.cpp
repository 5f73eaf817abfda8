#include <ktmp4/track_presentation.h>

#include <algorithm>

#include "boxes/containers/media_box.h"
#include "boxes/containers/track_box.h"
#include "boxes/entries/sample_description_box.h"
#include "boxes/headers/media_header_box.h"
#include "boxes/headers/track_header_box.h"
#include "engine/box/child_boxes.h"
#include "engine/track/track_impl.h"

namespace kt {
namespace {

constexpr u32 kLetterBits = 5;
constexpr u32 kLetterMask = 0x1F;
constexpr u32 kLetterBase = 0x60;  // 1 stands for "a"

// The tracks of a file are all of this class.
CTrackImpl* Implementation(CMp4Track* track) {
  return static_cast<CTrackImpl*>(track);
}

Mp4Result FindMediaHeader(CMp4Track* track, CMediaHeaderBox** header) {
  if (track == nullptr) return MP4_BAD_ARGUMENT;
  CMediaBox* media = Implementation(track)->GetMediaBox();
  return media == nullptr ? MP4_NOT_READY : RequireChild(media, header);
}

Mp4Result FindTrackHeader(CMp4Track* track, CTrackHeaderBox** header) {
  if (track == nullptr) return MP4_BAD_ARGUMENT;
  CTrackBox* box = Implementation(track)->GetTrackBox();
  return box == nullptr ? MP4_NOT_READY : RequireChild(box, header);
}

}  // namespace

Mp4Result GetTrackCoding(CMp4Track* track, u32 entryIndex, u32* code) {
  if (track == nullptr || code == nullptr) return MP4_BAD_ARGUMENT;
  *code = 0;
  CSampleDescriptionBox* const description = Implementation(track)->GetSampleDescriptionBox();
  if (description == nullptr) return MP4_NOT_READY;
  CBox* entry = nullptr;
  KT_TRY(description->GetSampleEntry(entryIndex, &entry));
  return entry->GetType(code);
}

Mp4Result GetTrackLanguage(CMp4Track* track, char language[4]) {
  CMediaHeaderBox* header = nullptr;
  if (language == nullptr) return MP4_BAD_ARGUMENT;
  KT_TRY(FindMediaHeader(track, &header));
  const u32 packed = header->GetLanguage();
  char letters[4] = {};
  for (u32 i = 0; i < 3; ++i) {
    const u32 letter = (packed >> kLetterBits * (2 - i) & kLetterMask) + kLetterBase;
    if (letter < 'a' || letter > 'z') return MP4_NOT_FOUND;
    letters[i] = static_cast<char>(letter);
  }
  std::ranges::copy(letters, language);
  return MP4_OK;
}

Mp4Result SetTrackLanguage(CMp4Track* track, const char* language) {
  if (language == nullptr) return MP4_BAD_ARGUMENT;
  u32 packed = 0;
  for (u32 i = 0; i < 3; ++i) {
    if (language[i] < 'a' || language[i] > 'z') return MP4_BAD_ARGUMENT;
    packed = packed << kLetterBits | (static_cast<u32>(language[i]) - kLetterBase);
  }
  CMediaHeaderBox* header = nullptr;
  KT_TRY(FindMediaHeader(track, &header));
  if (!Implementation(track)->IsWriting()) return MP4_NOT_READY;
  header->SetLanguage(static_cast<u16>(packed));
  return MP4_OK;
}

Mp4Result GetTrackMatrix(CMp4Track* track, i32 matrix[9]) {
  CTrackHeaderBox* header = nullptr;
  if (matrix == nullptr) return MP4_BAD_ARGUMENT;
  KT_TRY(FindTrackHeader(track, &header));
  std::ranges::copy(header->GetMatrix().values, matrix);
  return MP4_OK;
}

Mp4Result SetTrackMatrix(CMp4Track* track, const i32 matrix[9]) {
  CTrackHeaderBox* header = nullptr;
  if (matrix == nullptr) return MP4_BAD_ARGUMENT;
  KT_TRY(FindTrackHeader(track, &header));
  if (!Implementation(track)->IsWriting()) return MP4_NOT_READY;
  Matrix wanted;
  std::copy_n(matrix, 9, wanted.values);
  header->SetMatrix(wanted);
  return MP4_OK;
}

}  // namespace kt
