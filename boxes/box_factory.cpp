#include "boxes/box_factory.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <new>

#include "boxes/containers/data_information_box.h"
#include "boxes/containers/edit_box.h"
#include "boxes/containers/media_box.h"
#include "boxes/containers/media_information_box.h"
#include "boxes/containers/movie_box.h"
#include "boxes/containers/sample_table_box.h"
#include "boxes/containers/track_box.h"
#include "boxes/containers/track_reference_box.h"
#include "boxes/containers/user_data_box.h"
#include "boxes/copyright_box.h"
#include "boxes/data_reference_box.h"
#include "boxes/entries/amr_sample_entry.h"
#include "boxes/entries/h263_sample_entry.h"
#include "boxes/entries/mp4_sample_entry.h"
#include "boxes/entries/sample_description_box.h"
#include "boxes/file_type_box.h"
#include "boxes/headers/handler_reference_box.h"
#include "boxes/headers/media_header_box.h"
#include "boxes/headers/movie_header_box.h"
#include "boxes/headers/sound_media_header_box.h"
#include "boxes/headers/track_header_box.h"
#include "boxes/headers/video_media_header_box.h"
#include "boxes/hint/hint_information_box.h"
#include "boxes/hint/hint_media_header_box.h"
#include "boxes/hint/rtp_entry_boxes.h"
#include "boxes/hint/rtp_hint_sample_entry.h"
#include "boxes/hint/session_text_box.h"
#include "boxes/media_data_box.h"
#include "boxes/object_descriptor_box.h"
#include "boxes/tables/chunk_large_offset_box.h"
#include "boxes/tables/chunk_offset_box.h"
#include "boxes/tables/composition_offset_box.h"
#include "boxes/tables/edit_list_box.h"
#include "boxes/tables/sample_size_box.h"
#include "boxes/tables/sample_to_chunk_box.h"
#include "boxes/tables/sync_sample_box.h"
#include "boxes/tables/time_to_sample_box.h"
#include "boxes/tables/track_reference_type_box.h"
#include "engine/box/child_boxes.h"

namespace kt {
namespace {

template <class BoxClass>
std::unique_ptr<CBox> Make(CBox&& header) {
  return std::unique_ptr<CBox>(new (std::nothrow) BoxClass(std::move(header)));
}

template <ToldByType BoxClass>
constexpr BoxRow RowOf() {
  return {BoxClass::kType, Make<BoxClass>};
}

// "nmhd", "ln21" and "uuid" are left out: read back they are unknown boxes, and callers rely on it. "hnti" is
// that of the movie in tracks as well.
constexpr auto kBoxRows = [] {
  auto rows = std::to_array<BoxRow>({
      // containers
      RowOf<CDataInformationBox>(),
      RowOf<CEditBox>(),
      RowOf<CMediaBox>(),
      RowOf<CMediaInformationBox>(),
      RowOf<CMovieBox>(),
      RowOf<CSampleTableBox>(),
      RowOf<CTrackBox>(),
      RowOf<CTrackReferenceBox>(),
      RowOf<CUserDataBox>(),
      // entries
      RowOf<CAMRNBSampleEntry>(),
      RowOf<CAMRSpecificBox>(),
      RowOf<CAMRWBSampleEntry>(),
      RowOf<CH263SampleEntry>(),
      RowOf<CH263SpecificBox>(),
      RowOf<CMP4AudioSampleEntry>(),
      RowOf<CMP4MpegSampleEntry>(),
      RowOf<CMP4VisualSampleEntry>(),
      RowOf<CSampleDescriptionBox>(),
      // headers
      RowOf<CHandlerReferenceBox>(),
      RowOf<CMediaHeaderBox>(),
      RowOf<CMovieHeaderBox>(),
      RowOf<CSoundMediaHeaderBox>(),
      RowOf<CTrackHeaderBox>(),
      RowOf<CVideoMediaHeaderBox>(),
      // hint
      RowOf<CHintMediaHeaderBox>(),
      RowOf<CMovieHintInformationBox>(),
      RowOf<CRtpTrackSdpHintInformationBox>(),
      RowOf<CSequenceOffsetBox>(),
      RowOf<CTimeOffsetBox>(),
      RowOf<CTimeScaleEntryBox>(),
      {CRtpMovieHintInformationBox::kType, Make<CRtpMovieHintInformationBox>},
      // tables
      RowOf<CChunkLargeOffsetBox>(),
      RowOf<CChunkOffsetBox>(),
      RowOf<CCompositionOffsetBox>(),
      RowOf<CEditListBox>(),
      RowOf<CSampleSizeBox>(),
      RowOf<CSampleToChunkBox>(),
      RowOf<CSyncSampleBox>(),
      RowOf<CTimeToSampleBox>(),
      {CTrackReferenceTypeBox::kHintType, Make<CTrackReferenceTypeBox>},
      {CTrackReferenceTypeBox::kOdType, Make<CTrackReferenceTypeBox>},
      // the others
      RowOf<CCopyrightBox>(),
      RowOf<CDataEntryURLBox>(),
      RowOf<CDataEntryURNBox>(),
      RowOf<CDataReferenceBox>(),
      RowOf<CFileTypeBox>(),
      RowOf<CMediaDataBox>(),
      RowOf<CObjectDescriptorBox>(),
  });
  std::ranges::sort(rows, {}, &BoxRow::code);
  return rows;
}();
static_assert(std::size(kBoxRows) == 48);
// No code twice: a code of two classes would vouch for neither.
static_assert(std::ranges::adjacent_find(kBoxRows, std::ranges::greater_equal{}, &BoxRow::code) ==
              std::end(kBoxRows));

BoxMaker FindMaker(u32 code, u32 parentType) {
  // "rtp " is two classes, told apart by what stands around it.
  const bool inSampleDescription = parentType == CSampleDescriptionBox::kType;
  if (code == CRtpHintSampleEntry::kType && inSampleDescription) return Make<CRtpHintSampleEntry>;
  const auto row = std::ranges::lower_bound(kBoxRows, code, {}, &BoxRow::code);
  return row != std::end(kBoxRows) && row->code == code ? row->make : nullptr;
}

bool MayHoldRtp(u32 parentType) {
  return parentType == CMovieHintInformationBox::kType || parentType == CSampleDescriptionBox::kType;
}

}  // namespace

std::span<const BoxRow> BoxRows() {
  return kBoxRows;
}

Mp4Result CreateBox(CStorage* storage, u32 parentType, std::unique_ptr<CBox>* box, u32* type) {
  box->reset();
  const CNesting nesting(storage);
  if (nesting.TooDeep()) return MP4_CORRUPT;
  std::unique_ptr<CBox> header(new (std::nothrow) CBox);
  if (!header) return MP4_NO_MEMORY;
  KT_TRY(header->Deserialize(storage));
  KT_TRY(header->GetType(type));
  if (*type == CRtpHintSampleEntry::kType && !MayHoldRtp(parentType)) return MP4_BAD_BOX;

  const BoxMaker make = FindMaker(*type, parentType);
  if (make == nullptr) {
    *type = 0;
    u64 payload = 0;
    KT_TRY(header->GetRemaining(&payload));
    KT_TRY(storage->Skip(payload));
    *box = std::move(header);
    return MP4_OK;
  }
  std::unique_ptr<CBox> made = make(std::move(*header));
  if (!made) return MP4_NO_MEMORY;
  KT_TRY(made->Deserialize(storage));
  *box = std::move(made);
  return MP4_OK;
}

}  // namespace kt
