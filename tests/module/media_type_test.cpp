#include "module/media_type.h"

#include <gtest/gtest.h>
#include <uuids.h>

#include <tuple>

#include "module/counting_source.h"

namespace kt::test {
namespace {

CMediaType WithFormat(BYTE byte) {
  CMediaType type;
  type.majortype = MEDIATYPE_Stream;
  type.subtype = kFirstSubtype;
  type.formattype = FORMAT_None;
  EXPECT_EQ(type.SetFormat(&byte, 1), S_OK);
  return type;
}

TEST(MediaType, CopiesAreDeepAndOntoItselfHarmless) {
  CMediaType type = WithFormat(7);
  const CMediaType copy = type;
  EXPECT_NE(copy.pbFormat, type.pbFormat);
  const CMediaType& alias = type;
  type = alias;
  EXPECT_TRUE(type == copy);
  type.pbFormat[0] = 8;
  EXPECT_EQ(copy.pbFormat[0], 7);
  EXPECT_FALSE(type == copy);

  AM_MEDIA_TYPE* made = CreateMediaType(copy);
  ASSERT_NE(made, nullptr);
  EXPECT_TRUE(copy == *made);
  DeleteMediaType(made);
  DeleteMediaType(nullptr);
}

TEST(MediaType, HoldsTheObjectThatComesAlong) {
  CCountingSource* source = new CCountingSource(nullptr);
  source->AddRef();
  {
    CMediaType type;
    type.pUnk = static_cast<IBaseFilter*>(source);
    source->AddRef();
    CMediaType copy(type);
    copy = WithFormat(1);
    copy = type;
  }
  EXPECT_EQ(source->Release(), 0u);
}

TEST(MediaType, GuidNullInAPartialTypeStandsForAnything) {
  const CMediaType full = WithFormat(7);
  EXPECT_FALSE(full.IsPartiallySpecified());
  const std::tuple<const char*, GUID, GUID, GUID, BYTE, bool> cases[] = {
      {"nothing named", GUID_NULL, GUID_NULL, GUID_NULL, 0, true},
      {"the major type", MEDIATYPE_Stream, GUID_NULL, GUID_NULL, 0, true},
      {"another major type", MEDIATYPE_Video, GUID_NULL, GUID_NULL, 0, false},
      {"another subtype", MEDIATYPE_Stream, kSecondSubtype, GUID_NULL, 0, false},
      {"the format", GUID_NULL, GUID_NULL, FORMAT_None, 7, true},
      {"another format block", GUID_NULL, GUID_NULL, FORMAT_None, 8, false},
      {"another format type", GUID_NULL, GUID_NULL, FORMAT_VideoInfo, 7, false},
  };
  for (const auto& [what, major, sub, format, byte, matches] : cases) {
    CMediaType partial;
    partial.majortype = major;
    partial.subtype = sub;
    partial.formattype = format;
    ASSERT_EQ(partial.SetFormat(&byte, 1), S_OK);
    EXPECT_EQ(full.MatchesPartial(partial), matches) << what;
  }
  CMediaType open = full;
  open.formattype = GUID_NULL;
  EXPECT_TRUE(open.IsPartiallySpecified());
}

}  // namespace
}  // namespace kt::test
