#include "boxes/box_factory.h"

#include <algorithm>
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

namespace kt {
namespace {

template <class BoxClass>
std::unique_ptr<CBox> Make(CBox&& header) {
  return std::unique_ptr<CBox>(new (std::nothrow) BoxClass(std::move(header)));
}

// "nmhd", "ln21" and "uuid" are left out: read back they are unknown boxes, and callers rely on it. "hnti" is
// that of the movie in tracks as well.
// clang-format off: a row for each code.
constexpr BoxRow kBoxRows[] = {
    {FourCc("co64"), Make<CChunkLargeOffsetBox>},  {FourCc("cprt"), Make<CCopyrightBox>},
    {FourCc("ctts"), Make<CCompositionOffsetBox>}, {FourCc("d263"), Make<CH263SpecificBox>},
    {FourCc("damr"), Make<CAMRSpecificBox>},       {FourCc("dinf"), Make<CDataInformationBox>},
    {FourCc("dref"), Make<CDataReferenceBox>},     {FourCc("edts"), Make<CEditBox>},
    {FourCc("elst"), Make<CEditListBox>},          {FourCc("ftyp"), Make<CFileTypeBox>},
    {FourCc("hdlr"), Make<CHandlerReferenceBox>},  {FourCc("hint"), Make<CTrackReferenceTypeBox>},
    {FourCc("hmhd"), Make<CHintMediaHeaderBox>},   {FourCc("hnti"), Make<CMovieHintInformationBox>},
    {FourCc("iods"), Make<CObjectDescriptorBox>},  {FourCc("mdat"), Make<CMediaDataBox>},
    {FourCc("mdhd"), Make<CMediaHeaderBox>},       {FourCc("mdia"), Make<CMediaBox>},
    {FourCc("minf"), Make<CMediaInformationBox>},  {FourCc("moov"), Make<CMovieBox>},
    {FourCc("mp4a"), Make<CMP4AudioSampleEntry>},  {FourCc("mp4s"), Make<CMP4MpegSampleEntry>},
    {FourCc("mp4v"), Make<CMP4VisualSampleEntry>}, {FourCc("mpod"), Make<CTrackReferenceTypeBox>},
    {FourCc("mvhd"), Make<CMovieHeaderBox>},       {FourCc("rtp "), Make<CRtpMovieHintInformationBox>},
    {FourCc("s263"), Make<CH263SampleEntry>},      {FourCc("samr"), Make<CAMRNBSampleEntry>},
    {FourCc("sawb"), Make<CAMRWBSampleEntry>},     {FourCc("sdp "), Make<CRtpTrackSdpHintInformationBox>},
    {FourCc("smhd"), Make<CSoundMediaHeaderBox>},  {FourCc("snro"), Make<CSequenceOffsetBox>},
    {FourCc("stbl"), Make<CSampleTableBox>},       {FourCc("stco"), Make<CChunkOffsetBox>},
    {FourCc("stsc"), Make<CSampleToChunkBox>},     {FourCc("stsd"), Make<CSampleDescriptionBox>},
    {FourCc("stss"), Make<CSyncSampleBox>},        {FourCc("stsz"), Make<CSampleSizeBox>},
    {FourCc("stts"), Make<CTimeToSampleBox>},      {FourCc("tims"), Make<CTimeScaleEntryBox>},
    {FourCc("tkhd"), Make<CTrackHeaderBox>},       {FourCc("trak"), Make<CTrackBox>},
    {FourCc("tref"), Make<CTrackReferenceBox>},    {FourCc("tsro"), Make<CTimeOffsetBox>},
    {FourCc("udta"), Make<CUserDataBox>},          {FourCc("url "), Make<CDataEntryURLBox>},
    {FourCc("urn "), Make<CDataEntryURNBox>},      {FourCc("vmhd"), Make<CVideoMediaHeaderBox>},
};
// clang-format on
static_assert(std::size(kBoxRows) == 48);
// Rising without a repetition, for the binary search.
static_assert(std::ranges::adjacent_find(kBoxRows, std::ranges::greater_equal{}, &BoxRow::code) ==
              std::end(kBoxRows));

BoxMaker FindMaker(u32 code, u32 parentType) {
  // "rtp " is two classes, told apart by what stands around it.
  if (code == FourCc("rtp ") && parentType == FourCc("stsd")) return Make<CRtpHintSampleEntry>;
  const BoxRow* row = std::ranges::lower_bound(kBoxRows, code, {}, &BoxRow::code);
  return row != std::end(kBoxRows) && row->code == code ? row->make : nullptr;
}

bool MayHoldRtp(u32 parentType) {
  return parentType == FourCc("hnti") || parentType == FourCc("stsd");
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
  if (*type == FourCc("rtp ") && !MayHoldRtp(parentType)) return MP4_BAD_BOX;

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
