#include <array>
#include <tuple>

#include "boxes/containers/edit_box.h"
#include "boxes/containers/track_reference_box.h"
#include "boxes/tables/edit_list_box.h"
#include "support/box_probe.h"
#include "support/track_boxes.h"

namespace kt::test {
namespace {

// The end of an edit belongs to the next one; the last one is told by its result.
TEST(EditListBox, FindsTheEditThatCoversATime) {
  const auto box = ReadBoxAs<CEditListBox>(
      Table("elst", {{9, 0xFFFFFFFF, 0x10000}, {0, 7, 1}, {5, 3, 0x20003}, {1, 5, 0xFFFF0000}}));
  using Edit = std::array<u64, 4>;  // start, duration, media time and rate
  const Edit edits[] = {{0, 9, ~u64{0}, 0x10000}, {9, 5, 3, 0x20003}, {14, 1, 5, 0xFFFF0000}, {}};
  for (const auto& [time, edit] : {std::pair{8u, 0u}, {9, 1}, {13, 1}, {14, 2}, {15, 3}}) {
    Edit found = {77, 77, 77};
    u32 rate = 77;
    EXPECT_EQ(edit == 2 ? MP4_NOT_FOUND : MP4_OK, box->FindEdit(time, &found[0], &found[1], &found[2], &rate))
        << time;
    found[3] = rate;
    EXPECT_EQ(edits[edit], found) << time;
  }
}

TEST(EditBox, WritesADelayThatItReadsBack) {
  CEditBox box;
  EXPECT_EQ(Got(box, &CEditBox::GetStartDelay), 0u) << "new, it misses no list";
  ASSERT_EQ(box.AddStartDelay(0x100, 900), MP4_OK);
  EXPECT_EQ(Got(box, &CEditBox::GetStartDelay), 0x100u);
  EXPECT_EQ(WrittenBytes(&box), Edts({{0x100, -1}, {900, 0}}));
  ASSERT_EQ(box.AddStartDelay(1, 2), MP4_OK);  // the list is there: two edits more
  EXPECT_EQ(WrittenBytes(&box), Edts({{0x100, -1}, {900, 0}, {1, -1}, {2, 0}}));
}

Answer<u32> AddReference(CTrackReferenceBox& box, u32 kind, u32 trackId) {
  return Ask(box, &CTrackReferenceBox::AddTrackReference, kind, trackId);
}

Answer<u32> CountOf(CTrackReferenceBox& box, u32 kind) {
  return Ask(box, &CTrackReferenceBox::GetReferenceCount, kind);
}

Answer<u32> IdOf(CTrackReferenceBox& box, u32 kind, u32 index) {
  return Ask(box, &CTrackReferenceBox::GetReference, kind, index);
}

TEST(TrackReferenceBox, ReadsReferencesByKind) {
  const auto box = ReadBoxAs<CTrackReferenceBox>(
      Box("tref", {Box("free"), Box("mpod", Bytes().U32(7)), Box("hint", Bytes().U32(8).U32(9))}));
  EXPECT_EQ(CountOf(*box, MP4_REFERENCE_HINT), (Answer<u32>{MP4_OK, 2}));
  EXPECT_EQ(CountOf(*box, MP4_REFERENCE_OD), (Answer<u32>{MP4_OK, 1}));
  EXPECT_EQ(IdOf(*box, MP4_REFERENCE_HINT, 2), (Answer<u32>{MP4_OK, 9}));
  EXPECT_EQ(IdOf(*box, MP4_REFERENCE_HINT, 0).result, MP4_BAD_ARGUMENT);  // not MP4_ZERO_INDEX
  EXPECT_EQ(IdOf(*box, MP4_REFERENCE_HINT, 3).result, MP4_NOT_FOUND);
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
