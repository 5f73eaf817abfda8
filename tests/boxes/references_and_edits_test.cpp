#include <array>
#include <tuple>

#include "boxes/edit_box.h"
#include "boxes/edit_list_box.h"
#include "boxes/table_support.h"
#include "boxes/track_reference_box.h"
#include "support/temp_file.h"

namespace kt::test {
namespace {

struct Edit {
  u32 duration, mediaTime;
};

Bytes EditList(const std::vector<Edit>& edits) {
  Bytes payload;
  payload.U32(edits.size());
  for (const Edit& edit : edits) payload.U32(edit.duration).U32(edit.mediaTime).U16(1).U16(0);
  return FullBox("elst", 0, 0, payload);
}

constexpr u32 kEmpty = 0xFFFFFFFF;

// A lone empty edit delays nothing and later media times are ignored: readers rely on both.
TEST(EditBox, TakesADelayFromAFirstEmptyEditWithAnotherBehindIt) {
  const struct {
    const char* name;
    std::vector<Edit> edits;
    u64 delay;
  } rows[] = {
      {"an empty edit and the media", {{1000, kEmpty}, {5000, 0}}, 1000},
      {"a lone empty edit", {{1000, kEmpty}}, 0},
      {"an edit of no duration first", {{0, 0}, {1000, kEmpty}, {5000, 0}}, 1000},
      {"a cut at the start", {{1000, 500}, {5000, 0}}, 0},
      {"no edits", {}, 0},
      {"edits of no duration alone", {{0, kEmpty}, {0, 0}}, 0},
      {"media time -2", {{1000, kEmpty - 1}, {5000, 0}}, 0},
  };
  for (const auto& row : rows) {
    const auto box = ReadBoxAs<CEditBox>(Box("edts", EditList(row.edits)));
    EXPECT_EQ(Ask<u64>([&](u64* delay) { return box->GetStartDelay(delay); }),
              (Answer<u64>{MP4_OK, row.delay}))
        << row.name;
  }
}

TEST(EditBox, MissesItsListUnlessItIsEmptyItself) {
  const auto delayOf = [](CEditBox& box) {
    return Ask<u64>([&](u64* delay) { return box.GetStartDelay(delay); });
  };
  EXPECT_EQ(delayOf(*ReadBoxAs<CEditBox>(Box("edts", Box("free")))), (Answer<u64>{MP4_NOT_FOUND, 0}));
  EXPECT_EQ(delayOf(*ReadBoxAs<CEditBox>(Box("edts"))), (Answer<u64>{MP4_NOT_FOUND, 0}));
  CEditBox made;
  EXPECT_EQ(delayOf(made), (Answer<u64>{MP4_OK, 0}));
  CBox* child = nullptr;
  EXPECT_EQ(made.GetChild(FourCc("elst"), &child), MP4_NOT_FOUND);
}

TEST(EditBox, WritesADelayThatItReadsBack) {
  CEditBox box;
  ASSERT_EQ(box.AddStartDelay(0x100, 900), MP4_OK);
  u64 delay = 0;
  EXPECT_EQ(box.GetStartDelay(&delay), MP4_OK);
  EXPECT_EQ(delay, 0x100u);
  EXPECT_EQ(WrittenBytes(&box), Box("edts", EditList({{0x100, kEmpty}, {900, 0}})));
  ASSERT_EQ(box.AddStartDelay(1, 2), MP4_OK);  // the list is there: two edits more
  EXPECT_EQ(WrittenBytes(&box), Box("edts", EditList({{0x100, kEmpty}, {900, 0}, {1, kEmpty}, {2, 0}})));
}

// The last edit comes with MP4_NOT_FOUND and valid values: readers rely on it.
TEST(EditListBox, FindsTheEditThatCoversATime) {
  CEditListBox box;
  ASSERT_EQ(box.AddEdit(100, 7, 1), MP4_OK);
  ASSERT_EQ(box.AddEdit(0, 8, 1), MP4_OK);
  ASSERT_EQ(box.AddEdit(~u64{0} - 200, 9, 0x8001), MP4_OK);
  using Found = std::array<u64, 4>;  // start, duration, media time, rate
  const Found first = {0, 100, 7, 0x10000}, last = {100, ~u64{0} - 200, 9, 0x80010000};
  const std::tuple<u64, Mp4Result, Found> rows[] = {{0, MP4_OK, first},
                                                    {99, MP4_OK, first},
                                                    {100, MP4_NOT_FOUND, last},
                                                    {~u64{0} - 101, MP4_NOT_FOUND, last},
                                                    {~u64{0} - 100, MP4_OK, {}}};
  for (const auto& [time, result, edit] : rows) {
    u64 start = 1, duration = 1, mediaTime = 1;
    u32 rate = 1;
    EXPECT_EQ(box.FindEdit(time, &start, &duration, &mediaTime, &rate), result) << time;
    EXPECT_EQ((Found{start, duration, mediaTime, rate}), edit) << time;
  }
}

// Ids read to the end of a large file, or to the end of what a size claims.
TEST(TrackReferenceTypeBox, RefusesAPayloadThatIsNotIds) {
  for (const Bytes& box : {Box("hint", Bytes().U32(1).U8(2)).Zeros(100), Box("hint", Bytes().U24(1)),
                           WithDeclaredSize(Box("hint", Bytes().U32(1)), 0xFFFFFFF0)}) {
    const TempFile file(box);
    CStorage storage;
    ASSERT_EQ(storage.Open(file.Name().c_str(), MP4_MODE_READ), MP4_OK);
    std::unique_ptr<CBox> read;
    u32 type = 0;
    EXPECT_EQ(CreateBox(&storage, 0, &read, &type), MP4_FILE_IO);
  }
}

Answer<u32> AddReference(CTrackReferenceBox& box, u32 kind, u32 trackId) {
  return Ask<u32>([&](u32* index) { return box.AddTrackReference(kind, trackId, index); });
}

Answer<u32> CountOf(CTrackReferenceBox& box, u32 kind) {
  return Ask<u32>([&](u32* count) { return box.GetReferenceCount(kind, count); });
}

TEST(TrackReferenceBox, ReadsReferencesByKind) {
  const auto box = ReadBoxAs<CTrackReferenceBox>(
      Box("tref", {Box("free"), Box("mpod", Bytes().U32(7)), Box("hint", Bytes().U32(8).U32(9))}));
  EXPECT_EQ(CountOf(*box, MP4_REFERENCE_HINT), (Answer<u32>{MP4_OK, 2}));
  EXPECT_EQ(CountOf(*box, MP4_REFERENCE_OD), (Answer<u32>{MP4_OK, 1}));
  u32 id = 0;
  EXPECT_EQ(box->GetReference(MP4_REFERENCE_HINT, 2, &id), MP4_OK);
  EXPECT_EQ(id, 9u);
  EXPECT_EQ(box->GetReference(MP4_REFERENCE_HINT, 0, &id), MP4_BAD_ARGUMENT);  // not MP4_ZERO_INDEX
  EXPECT_EQ(box->GetReference(MP4_REFERENCE_HINT, 3, &id), MP4_NOT_FOUND);
}

TEST(TrackReferenceBox, IsPatientWhenEmpty) {
  CTrackReferenceBox box;
  u32 id = 0;
  EXPECT_EQ(CountOf(box, MP4_REFERENCE_HINT), (Answer<u32>{MP4_OK, 0}));
  EXPECT_EQ(box.GetReference(MP4_REFERENCE_HINT, 1, &id), MP4_NOT_FOUND);
  EXPECT_EQ(WrittenBytes(&box), Box("tref"));
  EXPECT_EQ(DumpText(&box), "\nBox type = tref  Size = 8\n");
  for (const u32 kind : {1u, 2u, 4u}) {
    EXPECT_EQ(box.AddReferenceType(kind), MP4_BAD_ARGUMENT);
    EXPECT_EQ(AddReference(box, kind, 1).result, MP4_BAD_ARGUMENT);
    EXPECT_EQ(CountOf(box, kind).result, MP4_BAD_ARGUMENT);
    EXPECT_EQ(box.GetReference(kind, 1, &id), MP4_BAD_ARGUMENT);
  }
}

// A kind new to a list that exists is looked for as "hint": required as it stands.
TEST(TrackReferenceBox, GivesTheFirstIdOfANewKindToTheHintChild) {
  CTrackReferenceBox withHint;
  EXPECT_EQ(AddReference(withHint, MP4_REFERENCE_HINT, 1), (Answer<u32>{MP4_OK, 1}));
  EXPECT_EQ(AddReference(withHint, MP4_REFERENCE_OD, 2), (Answer<u32>{MP4_OK, 2}));
  EXPECT_EQ(WrittenBytes(&withHint), Box("tref", {Box("hint", Bytes().U32(1).U32(2)), Box("mpod")}));
  EXPECT_EQ(AddReference(withHint, MP4_REFERENCE_OD, 3), (Answer<u32>{MP4_OK, 1}));

  const auto withoutHint = ReadBoxAs<CTrackReferenceBox>(Box("tref"));
  EXPECT_EQ(AddReference(*withoutHint, MP4_REFERENCE_OD, 2).result, MP4_NOT_FOUND);
  EXPECT_EQ(WrittenBytes(withoutHint.get()), Box("tref", {Box("mpod")}));

  CTrackReferenceBox fresh;  // no list yet: the id arrives
  EXPECT_EQ(AddReference(fresh, MP4_REFERENCE_OD, 2), (Answer<u32>{MP4_OK, 1}));
  EXPECT_EQ(WrittenBytes(&fresh), Box("tref", {Box("mpod", Bytes().U32(2))}));
}

}  // namespace
}  // namespace kt::test
