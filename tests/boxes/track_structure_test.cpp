#include <gtest/gtest.h>

#include <tuple>

#include "boxes/copyright_box.h"
#include "boxes/data_reference_box.h"
#include "boxes/file_type_box.h"
#include "boxes/handler_reference_box.h"
#include "boxes/media_header_box.h"
#include "boxes/movie_header_box.h"
#include "boxes/mpeg4_media_header_box.h"
#include "boxes/sound_media_header_box.h"
#include "boxes/track_header_box.h"
#include "boxes/video_media_header_box.h"
#include "support/box_probe.h"

namespace kt::test {
namespace {

const Bytes kUnity = Bytes().U32s({0x10000, 0, 0, 0, 0x10000, 0, 0, 0, 0x40000000});

// What a new box holds before anyone sets a field.
TEST(TrackStructure, NewBoxesHaveTheirDefaults) {
  CMovieHeaderBox mvhd;
  CTrackHeaderBox tkhd;
  CMediaHeaderBox mdhd;
  CHandlerReferenceBox hdlr;
  CVideoMediaHeaderBox vmhd;
  CSoundMediaHeaderBox smhd;
  CMpeg4MediaHeaderBox nmhd;
  CDataEntryURLBox url;
  const std::tuple<CBox*, Bytes> cases[] = {
      {&mvhd, FullBox("mvhd", 0, 0,
                      Bytes().U32s({0, 0, 1000, 0, 0x10000, 0x01000000, 0, 0}).Add(kUnity).Zeros(24).U32(1))},
      {&tkhd, FullBox("tkhd", 0, 0, Bytes().Zeros(36).Add(kUnity).Zeros(8))},
      {&mdhd, FullBox("mdhd", 0, 0, Bytes().Zeros(20))},
      {&hdlr, FullBox("hdlr", 0, 0, Bytes().Zeros(21))},
      {&vmhd, FullBox("vmhd", 0, 1, Bytes().Zeros(8))},
      {&smhd, FullBox("smhd", 0, 0, Bytes().Zeros(4))},
      {&nmhd, FullBox("nmhd", 0, 0)},
      {&url, FullBox("url ", 0, 1)},
  };
  for (const auto& [box, written] : cases) EXPECT_EQ(written, WrittenBytes(box));
}

// A new box has version 0 and nothing makes it version 1, so wide values are cut when written.
TEST(TrackStructure, NewHeadersCutWideDurations) {
  CMediaHeaderBox mdhd;
  EXPECT_EQ(MP4_OK, mdhd.SetDuration(0x100000005));
  const auto back = ReadBoxAs<CMediaHeaderBox>(WrittenBytes(&mdhd));
  u64 duration = 0;
  EXPECT_EQ(MP4_OK, back->GetDuration(&duration));
  EXPECT_EQ(5u, duration);
}

TEST(TrackStructure, NextTrackIdLeavesOutTheReservedOnes) {
  CMovieHeaderBox mvhd;
  for (const u32 id : {0u, 0xFFFFFFFFu}) EXPECT_EQ(MP4_BAD_ARGUMENT, mvhd.SetNextTrackId(id));
  EXPECT_EQ(MP4_OK, mvhd.SetNextTrackId(0xFFFFFFFE));
  const Bytes written = WrittenBytes(&mvhd);
  EXPECT_EQ(Bytes().U32(0xFFFFFFFE), Bytes(written.end() - 4, written.end()));
}

TEST(TrackHeader, IdSetsTheFlagsAndIsNeverZero) {
  CTrackHeaderBox tkhd;
  u32 id = 0;
  EXPECT_EQ(MP4_BAD_VALUE, tkhd.GetTrackId(&id));
  EXPECT_EQ(MP4_BAD_ARGUMENT, tkhd.SetTrackId(0));
  EXPECT_EQ(0u, WrittenBytes(&tkhd)[11]);
  EXPECT_EQ(MP4_OK, tkhd.SetTrackId(3));
  EXPECT_EQ(1u, WrittenBytes(&tkhd)[11]);
}

// The upper half is a signed number: from 32768 pixels on the answer is negative.
TEST(TrackHeader, DimensionsAreWholeSignedPixels) {
  CTrackHeaderBox tkhd;
  u32 width = 0, height = 0;
  EXPECT_EQ(MP4_OK, tkhd.SetDimensions(0x8000, 0x7FFF));
  EXPECT_EQ(MP4_BAD_ARGUMENT, tkhd.SetDimensions(1, 0x80000000));
  EXPECT_EQ(MP4_OK, tkhd.GetDimensions(&width, &height));
  EXPECT_EQ(0xFFFF8000, width);
  EXPECT_EQ(0x7FFFu, height);
  EXPECT_EQ(MP4_BAD_ARGUMENT, tkhd.SetVolume(-1));
}

TEST(FileType, BrandsGrowInOrder) {
  CFileTypeBox ftyp;
  EXPECT_EQ(MP4_OK, ftyp.SetBrand(FourCc("mp42"), 1));
  for (const u32 brand : {FourCc("mp42"), FourCc("isom"), FourCc("avc1")}) {
    EXPECT_EQ(MP4_OK, ftyp.AddCompatibleBrand(brand));
  }
  EXPECT_EQ(Box("ftyp", Bytes().Text("mp42").U32(1).Text("mp42isomavc1")), WrittenBytes(&ftyp));
}

TEST(DataReference, EntriesAreCountedAndSelfContained) {
  CDataReferenceBox dref;
  EXPECT_EQ(MP4_OK, dref.AddUrlEntry(nullptr));
  EXPECT_EQ(FullBox("dref", 0, 0, Bytes().U32(1).Add(FullBox("url ", 0, 1))), WrittenBytes(&dref));
}

// A location leaves flag 1, which says that there is none: a reader of the box will not read it.
TEST(DataReference, LocationKeepsTheFlagOfANewBox) {
  CDataEntryURLBox url;
  EXPECT_EQ(MP4_OK, url.SetLocation("a"));
  EXPECT_EQ(WithDeclaredSize(FullBox("url ", 0, 1, Bytes().Text("a").U8(0)), 13), WrittenBytes(&url));
}

TEST(Copyright, LettersBelowLowerCaseAreRefused) {
  CCopyrightBox cprt;
  EXPECT_EQ(MP4_OK, cprt.SetNotice("und", "old"));
  EXPECT_EQ(MP4_BAD_ARGUMENT, cprt.SetNotice(nullptr, "new"));
  EXPECT_EQ(MP4_BAD_ARGUMENT, cprt.SetNotice("Eng", "new"));
  EXPECT_EQ(MP4_BAD_ARGUMENT, cprt.SetNotice("de\xE4", "new")) << "characters are compared as signed";
  char language[3] = {};
  char notice[8] = {};
  EXPECT_EQ(MP4_OK, cprt.GetNotice(language, notice));
  EXPECT_EQ("ded", std::string(language, 3)) << "letters before the refused one are stored";
  EXPECT_STREQ("old", notice);
  EXPECT_EQ(MP4_BAD_ARGUMENT, cprt.GetNotice(nullptr, notice));
  EXPECT_EQ(MP4_OK, cprt.GetNotice(language, nullptr));
}

TEST(Copyright, NoticeIsOptional) {
  CCopyrightBox cprt;
  u32 size = 0;
  EXPECT_EQ(MP4_BAD_ARGUMENT, cprt.GetNoticeSize(nullptr));
  EXPECT_EQ(MP4_OK, cprt.GetNoticeSize(&size));
  EXPECT_EQ(1u, size);
  for (const char* text : {"text", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(MP4_OK, cprt.SetNotice("und", text));
    const Bytes written = Bytes().U16(0x55C4).Text(text ? "text" : "").Zeros(text ? 1 : 0);
    EXPECT_EQ(FullBox("cprt", 0, 0, written), WrittenBytes(&cprt));
  }
  char language[3] = {}, notice[2] = {1, 1};
  EXPECT_EQ(MP4_OK, cprt.GetNotice(language, notice));
  EXPECT_EQ(0, notice[0]);
}

}  // namespace
}  // namespace kt::test
