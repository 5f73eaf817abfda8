#include <gtest/gtest.h>

#include "boxes/copyright_box.h"
#include "boxes/data_reference_box.h"
#include "boxes/headers/track_header_box.h"
#include "support/box_probe.h"

namespace kt::test {
namespace {

// The upper half is a signed number: from 32768 pixels on the answer is negative.
TEST(TrackHeader, DimensionsAreWholeSignedPixels) {
  CTrackHeaderBox tkhd;
  u32 width = 0;
  EXPECT_EQ(MP4_OK, tkhd.SetDimensions(0x8000, 0x7FFF));
  EXPECT_EQ(0x7FFFu, Got(tkhd, &CTrackHeaderBox::GetDimensions, &width));
  EXPECT_EQ(0xFFFF8000, width);
}

// A location leaves flag 1, which says that there is none: a reader of the box will not read it.
TEST(DataReference, LocationKeepsTheFlagOfANewBox) {
  CDataEntryURLBox url;
  EXPECT_EQ(MP4_OK, url.SetLocation("a"));
  EXPECT_EQ(WithDeclaredSize(FullBox("url ", 0, 1, Bytes().Text("a").U8(0)), 13), WrittenBytes(&url));
}

TEST(Copyright, LettersBelowLowerCaseAreRefused) {
  CCopyrightBox cprt;
  EXPECT_EQ(MP4_BAD_ARGUMENT, cprt.GetNoticeSize(nullptr));
  EXPECT_EQ(1u, Got(cprt, &CCopyrightBox::GetNoticeSize));
  EXPECT_EQ(MP4_OK, cprt.SetNotice("und", "old"));
  EXPECT_EQ(MP4_BAD_ARGUMENT, cprt.SetNotice("de\xE4", "new")) << "characters are compared as signed";
  char language[3] = {};
  char notice[8] = {};
  EXPECT_EQ(MP4_OK, cprt.GetNotice(language, notice));
  EXPECT_EQ("ded", std::string(language, 3)) << "letters before the refused one are stored";
  EXPECT_STREQ("old", notice);
  EXPECT_EQ(MP4_BAD_ARGUMENT, cprt.GetNotice(nullptr, notice));
  ExpectEach(MP4_OK, {cprt.SetNotice("und", nullptr), cprt.GetNotice(language, notice)});
  EXPECT_STREQ("", notice);
}

}  // namespace
}  // namespace kt::test
