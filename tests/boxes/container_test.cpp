#include "boxes/container_box.h"

#include <gtest/gtest.h>

#include <set>

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
  Mp4Result secondRead;
  Mp4Result serialize;
  Mp4Result dump;
  const char* dumpTail;
  Mp4Result calculateSize;
  Mp4Result getChild = MP4_OK;
  u64 sizeAfterChild = kNoChildSize;  // of a new box that got a child of 8 bytes
};

const Tolerances kTolerances[] = {
    {"udta", MP4_NOT_READY, MP4_OK, MP4_OK, "{}\n", MP4_NOT_READY, MP4_NOT_FOUND, 8},
    {"moov", MP4_NOT_READY, MP4_NOT_READY, MP4_NOT_READY, "{", MP4_NOT_READY, MP4_NOT_READY, 8},
    {"edts", MP4_NOT_READY, MP4_NOT_READY, MP4_NOT_READY, "{", MP4_NOT_READY, MP4_NOT_FOUND, 16},
    {"trak", MP4_NOT_READY, MP4_NOT_READY, MP4_NOT_READY, "{", MP4_NOT_READY, MP4_NOT_READY, 8},
    {"minf", MP4_NOT_READY, MP4_NOT_READY, MP4_NOT_READY, "{", MP4_NOT_READY, MP4_NOT_READY, 8},
    {"mdia", MP4_NOT_READY, MP4_NOT_READY, MP4_NOT_READY, "{", MP4_NOT_READY, MP4_NOT_READY, 16},
    {"dinf", MP4_NOT_READY, MP4_NOT_READY, MP4_NOT_READY, "{", MP4_NOT_READY, MP4_NOT_READY, 16},
    {"stbl", MP4_OK, MP4_NOT_READY, MP4_NOT_READY, "{", MP4_NOT_READY, MP4_NOT_READY, 8},
    {"tref", MP4_OK, MP4_OK, MP4_OK, "", MP4_OK},
    {"dref", MP4_NOT_READY, MP4_OK, MP4_OK, "{}\n", MP4_OK},
    {"stsd", MP4_NOT_READY, MP4_NOT_READY, MP4_NOT_READY, "{", MP4_NOT_READY},
};

const Tolerances& Expected(const std::string& code) {
  for (const Tolerances& row : kTolerances) {
    if (row.code == code) return row;
  }
  ADD_FAILURE() << "no row for " << code;
  return kTolerances[0];
}

// Calls `check` with a new box of each container class and its row.
template <class Check>
void ForEachContainer(Check check) {
  check(CUserDataBox(), Expected("udta"));
  check(CMovieBox(), Expected("moov"));
  check(CEditBox(), Expected("edts"));
  check(CTrackBox(), Expected("trak"));
  check(CMediaInformationBox(), Expected("minf"));
  check(CMediaBox(), Expected("mdia"));
  check(CDataInformationBox(), Expected("dinf"));
  check(CSampleTableBox(), Expected("stbl"));
  check(CTrackReferenceBox(), Expected("tref"));
  check(CDataReferenceBox(), Expected("dref"));
  check(CSampleDescriptionBox(), Expected("stsd"));
}

TEST(Container, ToleratesAMissingListAsItsClassDoes) {
  ForEachContainer([](auto&& box, const Tolerances& expected) {
    SCOPED_TRACE(expected.code);
    const std::string dump = DumpText(&box, 0, expected.dump);
    EXPECT_TRUE(dump.ends_with("\n" + std::string(expected.dumpTail))) << dump;
    EXPECT_EQ(expected.calculateSize, box.CalculateSize());
    Bytes block(64);
    CMemoryStorage storage;
    ASSERT_EQ(MP4_OK, storage.Open(block.data(), 64, MP4_MODE_WRITE));
    EXPECT_EQ(expected.serialize, box.Serialize(&storage));
    u64 written = 0;
    EXPECT_EQ(MP4_OK, storage.GetPosition(&written));
    EXPECT_LE(8u, written) << "the header is written before the list is missed";
  });
}

TEST(Container, RefusesASecondReadAsItsClassDoes) {
  for (const Tolerances& expected : kTolerances) {
    SCOPED_TRACE(expected.code);
    const ReadBoxResult read = ReadBox(Box(expected.code, Bytes().Zeros(8)));
    // "dref" and "stsd" have version, flags and a count; in the others these are a box up to the end of file.
    ASSERT_EQ(MP4_OK, read.result);
    Bytes fields = Bytes().Zeros(8);
    CMemoryStorage storage;
    ASSERT_EQ(MP4_OK, storage.Open(fields.data(), 8, MP4_MODE_READ));
    EXPECT_EQ(expected.secondRead, read.box->Deserialize(&storage));
  }
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
      u64 size = 0;
      EXPECT_EQ(MP4_OK, container.GetSize(&size));
      EXPECT_EQ(expected.sizeAfterChild, size);
      EXPECT_EQ(MP4_OK, Find(container, &found));
      EXPECT_EQ(added, found);
      EXPECT_EQ(MP4_OK, container.CalculateSize());
      EXPECT_EQ(MP4_OK, container.GetSize(&size));
      EXPECT_EQ(16u, size);
    } else {
      EXPECT_EQ(kNoChildSize, expected.sizeAfterChild) << expected.code << " offers no AddChild";
    }
  });
}

TEST(Container, CountsOccurrencesFromOneAndTakesZeroForOne) {
  const auto movie = ReadBoxAs<CMovieBox>(Box("moov", {Box("trak"), Box("free"), Box("trak"), Box("trak")}));
  std::vector<CBox*> tracks;
  for (const u32 occurrence : {0u, 1u, 2u, 3u, 1u, 2u}) {
    CBox* track = nullptr;
    EXPECT_EQ(MP4_OK, movie->GetChild(FourCc("trak"), &track, occurrence));
    tracks.push_back(track);
  }
  EXPECT_EQ(tracks[0], tracks[1]);
  EXPECT_EQ(3u, std::set<CBox*>(tracks.begin() + 1, tracks.begin() + 4).size());
  EXPECT_EQ(tracks[1], tracks[4]) << "a search backwards starts over";
  EXPECT_EQ(tracks[2], tracks[5]);
  CBox* none = movie.get();
  EXPECT_EQ(MP4_NOT_FOUND, movie->GetChild(FourCc("trak"), &none, 4));
  EXPECT_EQ(nullptr, none);
  EXPECT_EQ(MP4_NOT_FOUND, movie->GetChild(FourCc("udta"), &none, 1));
}

}  // namespace
}  // namespace kt::test
