#include "boxes/container_box.h"

#include <gtest/gtest.h>

#include "boxes/data_information_box.h"
#include "boxes/data_reference_box.h"
#include "boxes/edit_box.h"
#include "boxes/media_box.h"
#include "boxes/media_information_box.h"
#include "boxes/movie_box.h"
#include "boxes/mp4_sample_entry.h"
#include "boxes/object_descriptor_box.h"
#include "boxes/sample_description_box.h"
#include "boxes/sample_table_box.h"
#include "boxes/track_box.h"
#include "boxes/track_reference_box.h"
#include "boxes/user_data_box.h"
#include "support/box_probe.h"

namespace kt::test {
namespace {

/// What a class makes of children or a descriptor that it does not have.
struct Tolerances {
  const char* code;
  Mp4Result serialize;  // and `Dump`, which prints the tail all the same
  const char* dumpTail;
  Mp4Result calculateSize;
};

constexpr Mp4Result kReady = MP4_OK, kMissed = MP4_NOT_READY;

TEST(Container, ToleratesMissingChildrenAsItsClassDoes) {
  const auto check = [](auto&& box, const Tolerances& expected) {
    SCOPED_TRACE(expected.code);
    const std::string dump = DumpText(&box, 0, expected.serialize);
    EXPECT_TRUE(dump.ends_with("\n" + std::string(expected.dumpTail))) << dump;
    EXPECT_EQ(expected.calculateSize, box.CalculateSize());
    MemoryBlock storage(64);
    EXPECT_EQ(expected.serialize, box.Serialize(storage));
    EXPECT_LE(8u, storage.Position()) << "the header is written before they are missed";
  };
  check(CUserDataBox(), {"udta", kReady, "{}\n", kMissed});
  check(CMovieBox(), {"moov", kMissed, "{", kMissed});
  check(CEditBox(), {"edts", kMissed, "{", kMissed});
  check(CTrackBox(), {"trak", kMissed, "{", kMissed});
  check(CMediaInformationBox(), {"minf", kMissed, "{", kMissed});
  check(CMediaBox(), {"mdia", kMissed, "{", kMissed});
  check(CDataInformationBox(), {"dinf", kMissed, "{", kMissed});
  check(CSampleTableBox(), {"stbl", kMissed, "{", kMissed});
  check(CTrackReferenceBox(), {"tref", kReady, "", kReady});
  check(CDataReferenceBox(), {"dref", kReady, "{}\n", kReady});
  check(CSampleDescriptionBox(), {"stsd", kMissed, "{", kMissed});
  check(CMP4AudioSampleEntry(), {"mp4a", MP4_BAD_BOX, "  Version=0, Flags=0x000000\n", MP4_BAD_BOX});
  check(CObjectDescriptorBox(), {"iods", MP4_BAD_DESCRIPTOR, "{\n", MP4_BAD_BOX});
}

}  // namespace
}  // namespace kt::test
