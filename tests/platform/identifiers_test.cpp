// The identifiers of the logic are written as numbers; here the platform's headers are at hand.

#include "filter/logic/identifiers.h"

#include <gtest/gtest.h>
#include <strmif.h>
#include <uuids.h>

#include "filter/platform/ktmp4source.h"
#include "filter/platform/platform_guid.h"

namespace kt::test {
namespace {

// One that applications read in the public header and one that the filter uses must not drift apart: those
// that no play of the tests meets on both sides.
TEST(IdentifiersTest, TheLogicNamesWhatThePlatformAndThePublicHeaderName) {
  const struct {
    const char* name;
    bool same;
  } kRows[] = {
#define ROW(name) {#name, ToPlatform(kt::name) == ::name}
      ROW(MEDIASUBTYPE_KtH263Stamped),
      ROW(MEDIASUBTYPE_KtAmr),
      ROW(MEDIASUBTYPE_KtAmrStamped),
      ROW(IID_IMP4FileReader),
      ROW(IID_IMetadataStorage),
      ROW(IID_ICaptionCallback),
#undef ROW
      {"uuid of IMP4FileReader", __uuidof(::IMP4FileReader) == ::IID_IMP4FileReader},
      {"uuid of IMetadataStorage", __uuidof(::IMetadataStorage) == ::IID_IMetadataStorage},
      {"uuid of ICaptionCallback", __uuidof(::ICaptionCallback) == ::IID_ICaptionCallback},
  };
  for (const auto& row : kRows) EXPECT_TRUE(row.same) << row.name;
}

}  // namespace
}  // namespace kt::test
