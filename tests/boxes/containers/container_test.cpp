#include "boxes/containers/container_box.h"

#include <gtest/gtest.h>

#include "boxes/containers/data_information_box.h"
#include "boxes/containers/edit_box.h"
#include "boxes/containers/media_box.h"
#include "boxes/containers/media_information_box.h"
#include "boxes/containers/movie_box.h"
#include "boxes/containers/sample_table_box.h"
#include "boxes/containers/track_box.h"
#include "boxes/containers/track_reference_box.h"
#include "boxes/containers/user_data_box.h"
#include "boxes/data_reference_box.h"
#include "boxes/entries/mp4_sample_entry.h"
#include "boxes/entries/sample_description_box.h"
#include "boxes/hint/hint_information_box.h"
#include "boxes/object_descriptor_box.h"
#include "support/box_probe.h"

namespace kt::test {
namespace {

/// What a class makes of children or a descriptor that it does not have.
struct Tolerances {
  const char* code;
  Mp4Result serialize;  // and `Dump`, which prints the tail all the same
  const char* dumpTail;
  Mp4Result calculateSize;
  Mp4Result getChild = MP4_NOT_READY;
  u64 growth = 0;  // of the size at once when a child of 8 bytes is added
};

constexpr Mp4Result kReady = MP4_OK, kMissed = MP4_NOT_READY;

TEST(Container, ToleratesMissingChildrenAsItsClassDoes) {
  const auto check = [](auto&& box, const Tolerances& expected) {
    SCOPED_TRACE(expected.code);
    const std::string dump = Dumped(box, 0, expected.serialize);
    EXPECT_TRUE(dump.ends_with("\n" + std::string(expected.dumpTail))) << dump;
    EXPECT_EQ(expected.calculateSize, box.CalculateSize());
    MemoryBlock storage(64);
    EXPECT_EQ(expected.serialize, box.Serialize(storage));
    EXPECT_LE(8u, storage.Position()) << "the header is written before they are missed";
    if constexpr (requires { box.AddChild(nullptr); }) {
      CBox* child = &box;
      if constexpr (requires { box.GetChild(0, &child); }) {
        EXPECT_EQ(expected.getChild, box.GetChild(0, &child));
      } else {
        EXPECT_EQ(expected.getChild, box.GetChild(0, &child, 1));
      }
      EXPECT_EQ(nullptr, child);
      EXPECT_EQ(MP4_OK, box.AddChild(std::make_unique<CBox>(FourCc("free"))));
      EXPECT_EQ(8 + expected.growth, Got(box, &CBox::GetSize));
      EXPECT_EQ(Box(expected.code, {Box("free")}), WrittenBytes(&box));
    }
  };
  check(CUserDataBox(), {"udta", kReady, "{}\n", kMissed, MP4_NOT_FOUND});
  check(CMovieBox(), {"moov", kMissed, "{", kMissed});
  check(CEditBox(), {"edts", kMissed, "{", kMissed, MP4_NOT_FOUND, 8});
  check(CTrackBox(), {"trak", kMissed, "{", kMissed});
  check(CMediaInformationBox(), {"minf", kMissed, "{", kMissed});
  check(CMediaBox(), {"mdia", kMissed, "{", kMissed, kMissed, 8});
  check(CDataInformationBox(), {"dinf", kMissed, "{", kMissed, kMissed, 8});
  check(CSampleTableBox(), {"stbl", kMissed, "{", kMissed});
  check(CTrackReferenceBox(), {"tref", kReady, "", kReady});
  check(CMovieHintInformationBox(), {"hnti", kReady, "{}\n", kReady});
  check(CDataReferenceBox(), {"dref", kReady, "{}\n", kReady});
  check(CSampleDescriptionBox(), {"stsd", kMissed, "{", kMissed});
  check(CMP4AudioSampleEntry(), {"mp4a", MP4_BAD_BOX, "  Version=0, Flags=0x000000\n", MP4_BAD_BOX});
  check(CObjectDescriptorBox(), {"iods", MP4_BAD_DESCRIPTOR, "{\n", MP4_BAD_BOX});
}

// Two classes take other children when they are read again; the rest refuse and keep what they have.
TEST(Container, IsReadTwiceAsItsClassAllows) {
  for (const std::string code :
       {"udta", "moov", "edts", "trak", "mdia", "dinf", "minf", "stbl", "tref", "hnti", "dref", "stsd"}) {
    const Bytes payload = Bytes().Zeros(code == "dref" || code == "stsd" ? 8 : 0).Add(Box("free"));
    const bool again = code == "stbl" || code == "tref";
    const auto box = ReadBoxAs(Box(code, payload));
    EXPECT_EQ(again ? MP4_OK : MP4_NOT_READY, box->Deserialize(MemoryBlock(std::size_t{8}))) << code;
    EXPECT_EQ(Box(code, again ? Bytes() : payload), WrittenBytes(box.get()));
  }
}

}  // namespace
}  // namespace kt::test
