#include "boxes/container_box.h"

#include <gtest/gtest.h>

#include "boxes/data_information_box.h"
#include "boxes/data_reference_box.h"
#include "boxes/edit_box.h"
#include "boxes/media_box.h"
#include "boxes/media_information_box.h"
#include "boxes/movie_box.h"
#include "boxes/sample_description_box.h"
#include "boxes/sample_table_box.h"
#include "boxes/track_box.h"
#include "boxes/track_reference_box.h"
#include "boxes/user_data_box.h"
#include "support/box_probe.h"

namespace kt::test {
namespace {

constexpr u64 kNoChildSize = 100;

/// What a container class makes of a list of children that does not exist, and of a second read.
struct Tolerances {
  const char* code;
  Mp4Result secondRead, serialize, dump;
  const char* dumpTail;
  Mp4Result calculateSize, getChild = MP4_OK;
  u64 sizeAfterChild = kNoChildSize;  // of a new box that got a child of 8 bytes
};

constexpr Mp4Result kReady = MP4_OK, kMissed = MP4_NOT_READY, kNone = MP4_NOT_FOUND;

// Calls `check` with a new box of each container class and what is expected of it.
template <class Check>
void ForEachContainer(Check check) {
  check(CUserDataBox(), Tolerances{"udta", kMissed, kReady, kReady, "{}\n", kMissed, kNone, 8});
  check(CMovieBox(), Tolerances{"moov", kMissed, kMissed, kMissed, "{", kMissed, kMissed, 8});
  check(CEditBox(), Tolerances{"edts", kMissed, kMissed, kMissed, "{", kMissed, kNone, 16});
  check(CTrackBox(), Tolerances{"trak", kMissed, kMissed, kMissed, "{", kMissed, kMissed, 8});
  check(CMediaInformationBox(), Tolerances{"minf", kMissed, kMissed, kMissed, "{", kMissed, kMissed, 8});
  check(CMediaBox(), Tolerances{"mdia", kMissed, kMissed, kMissed, "{", kMissed, kMissed, 16});
  check(CDataInformationBox(), Tolerances{"dinf", kMissed, kMissed, kMissed, "{", kMissed, kMissed, 16});
  check(CSampleTableBox(), Tolerances{"stbl", kReady, kMissed, kMissed, "{", kMissed, kMissed, 8});
  check(CTrackReferenceBox(), Tolerances{"tref", kReady, kReady, kReady, "", kReady});
  check(CDataReferenceBox(), Tolerances{"dref", kMissed, kReady, kReady, "{}\n", kReady});
  check(CSampleDescriptionBox(), Tolerances{"stsd", kMissed, kMissed, kMissed, "{", kMissed});
}

TEST(Container, ToleratesAMissingListAndASecondReadAsItsClassDoes) {
  ForEachContainer([](auto&& box, const Tolerances& expected) {
    SCOPED_TRACE(expected.code);
    const std::string dump = DumpText(&box, 0, expected.dump);
    EXPECT_TRUE(dump.ends_with("\n" + std::string(expected.dumpTail))) << dump;
    EXPECT_EQ(expected.calculateSize, box.CalculateSize());
    MemoryBlock storage(64);
    EXPECT_EQ(expected.serialize, box.Serialize(storage));
    EXPECT_LE(8u, storage.Position()) << "the header is written before the list is missed";

    // A second read. "dref" and "stsd" have version, flags and a count; in the others these are a box up to
    // the end of the file.
    const ReadBoxResult read = ReadBox(Box(expected.code, Bytes().Zeros(8)));
    ASSERT_EQ(MP4_OK, read.result);
    MemoryBlock again(Bytes().Zeros(8));
    EXPECT_EQ(expected.secondRead, read.box->Deserialize(again));
  });
}

template <class Container>
Mp4Result Find(Container& container, CBox** box) {
  if constexpr (requires { container.GetChild(0, box, 1); }) {
    return container.GetChild(FourCc("free"), box, 1);
  } else {
    return container.GetChild(FourCc("free"), box);
  }
}

TEST(Container, FindsAndAddsChildrenAsItsClassDoes) {
  ForEachContainer([](auto&& container, const Tolerances& expected) {
    if constexpr (requires { container.AddChild(nullptr); }) {
      SCOPED_TRACE(expected.code);
      CBox other(0);
      CBox* found = &other;
      EXPECT_EQ(expected.getChild, Find(container, &found));
      EXPECT_EQ(nullptr, found);
      EXPECT_EQ(MP4_BAD_ARGUMENT, container.AddChild(nullptr));
      EXPECT_EQ(MP4_NOT_FOUND, Find(container, &found));

      auto child = std::make_unique<CBox>(FourCc("free"));
      CBox* added = child.get();
      EXPECT_EQ(MP4_OK, container.AddChild(std::move(child)));
      EXPECT_EQ(expected.sizeAfterChild, Got(container, &CBox::GetSize));
      EXPECT_EQ(MP4_OK, Find(container, &found));
      EXPECT_EQ(added, found);
      EXPECT_EQ(MP4_OK, container.CalculateSize());
      EXPECT_EQ(16u, Got(container, &CBox::GetSize));
    } else {
      EXPECT_EQ(kNoChildSize, expected.sizeAfterChild) << expected.code << " offers no AddChild";
    }
  });
}

TEST(Container, CountsOccurrencesFromOneAndTakesZeroForOne) {
  const auto movie = ReadBoxAs<CMovieBox>(Box("moov", {Box("trak"), Box("free"), Box("trak"), Box("udta")}));
  const auto track = [&](u32 occurrence) {
    CBox* found = movie.get();
    EXPECT_EQ(occurrence < 3 ? MP4_OK : MP4_NOT_FOUND, movie->GetChild(FourCc("trak"), &found, occurrence));
    return found;
  };
  EXPECT_EQ(track(0), track(1));
  EXPECT_NE(track(1), track(2));
  EXPECT_EQ(nullptr, track(3));
}

}  // namespace
}  // namespace kt::test
