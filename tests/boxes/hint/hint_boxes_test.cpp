#include <gtest/gtest.h>

#include "boxes/hint/hint_information_box.h"
#include "boxes/hint/hint_media_header_box.h"
#include "boxes/hint/rtp_hint_sample_entry.h"
#include "support/box_probe.h"

namespace kt::test {
namespace {

const Bytes kTims = Box("tims", Bytes().U32(90000));

TEST(RtpHintSampleEntry, NeedsEachOfItsChildrenOnceAndWithinTheEntry) {
  const auto read = [](std::initializer_list<Bytes> children) {
    Bytes payload = Bytes().Zeros(16);
    for (const Bytes& child : children) payload.Add(child);
    return ReadBox(Box("rtp ", payload), FourCc("stsd")).result;
  };
  const Bytes tsro = Box("tsro", Bytes().U32(1));
  const Bytes snro = Box("snro", Bytes().U32(1));
  ExpectEach(MP4_BAD_BOX, {read({}), read({tsro, snro}), read({kTims, kTims}), read({tsro, kTims, tsro}),
                           read({snro, kTims, snro})});
  // A child that is larger than what is left of the entry.
  const Bytes cut = WithDeclaredSize(Box("rtp ", Bytes().Zeros(16).Add(kTims)), 35);
  EXPECT_EQ(ReadBox(cut, FourCc("stsd")).result, MP4_CORRUPT);
  // An "rtp " in the entry has no parent that says what it is.
  EXPECT_EQ(read({kTims, Box("rtp ", Bytes().Zeros(16).Add(kTims))}), MP4_BAD_BOX);
}

// What the entry holds can be had once it has been set.
TEST(RtpHintSampleEntry, MakesItsChildrenWhenTheyAreSet) {
  CRtpHintSampleEntry entry;
  EXPECT_EQ(Ask(entry, &CRtpHintSampleEntry::GetTimeScale).result, MP4_NOT_FOUND);
  EXPECT_EQ(Ask(entry, &CRtpHintSampleEntry::GetTimeOffset).result, MP4_NOT_FOUND);
  EXPECT_EQ(Ask(entry, &CRtpHintSampleEntry::GetSequenceOffset).result, MP4_NOT_FOUND);
  ExpectEach(MP4_OK, {entry.SetTimeOffset(-5), entry.SetMaxPacketSize(500), entry.CalculateSize()});
  EXPECT_EQ(entry.Serialize(MemoryBlock(std::size_t{100})), MP4_BAD_BOX) << "no time scale";
  ExpectEach(MP4_OK, {entry.SetTimeScale(8000), entry.SetSequenceOffset(6)});
  Bytes written = Bytes().Zeros(6).U16(1).U16(1).U16(1).U32(500).Add(Box("tims", Bytes().U32(8000)));
  written.Add(Box("tsro", Bytes().U32(0xFFFFFFFB))).Add(Box("snro", Bytes().U32(6)));
  EXPECT_EQ(WrittenBytes(&entry), Box("rtp ", written));
  EXPECT_EQ(Got(entry, &CRtpHintSampleEntry::GetTimeOffset), -5);
  EXPECT_EQ(Got(entry, &CRtpHintSampleEntry::GetSequenceOffset), 6);
  // The average is answered where the maximum is expected.
  CHintMediaHeaderBox header;
  u16 size = 0;
  ExpectEach(MP4_OK, {header.SetPduSizes(500, 250), header.GetPduSizes(&size, 0)});
  EXPECT_EQ(size, 250);
}

TEST(HintInformation, JoinsTextsAndGivesTheMovieItsOwn) {
  CMovieHintInformationBox movie;
  const char* text = nullptr;
  EXPECT_EQ(movie.GetSdp(&text), MP4_NOT_FOUND);
  EXPECT_EQ(movie.AppendSdp(nullptr), MP4_BAD_ARGUMENT);
  EXPECT_EQ(movie.GetSdp(&text), MP4_NOT_FOUND) << "the box is there now, without a text";
  ExpectEach(MP4_OK, {movie.AppendSdp("one "), movie.AppendSdp("two")});
  const char* again = nullptr;
  ExpectEach(MP4_OK, {movie.GetSdp(&text), movie.GetSdp(&again)});
  EXPECT_STREQ(text, "one two");
  EXPECT_EQ(text, again);
  EXPECT_EQ(WrittenBytes(&movie), Box("hnti", {Box("rtp ", Bytes().Text("sdp one two"))}));

  CTrackHintInformationBox track;
  std::unique_ptr<char[]> copy;
  EXPECT_EQ(track.GetSdp(&copy), MP4_NOT_FOUND);
  ExpectEach(MP4_OK, {track.AppendSdp("one "), track.AppendSdp("two"), track.GetSdp(&copy),
                      track.BorrowTrackSdp(&text)});
  EXPECT_STREQ(copy.get(), "one two");
  EXPECT_NE(copy.get(), text);
  EXPECT_EQ(WrittenBytes(&track), Box("hnti", {Box("sdp ", Bytes().Text("one two"))}));
}

TEST(HintInformation, ReadsBoxesThatDisappoint) {
  const char* text = nullptr;
  // Behind "stsd" an "rtp " is a sample entry, wherever the two stand.
  const Bytes entry = Box("rtp ", Bytes().Zeros(16).Add(kTims));
  const Bytes stsd = FullBox("stsd", 0, 0, Bytes().U32(0));
  EXPECT_EQ(ReadBoxAs<CMovieHintInformationBox>(Box("hnti", {stsd, entry}))->GetSdp(&text), MP4_BAD_BOX);
  const auto full =
      ReadBoxAs<CMovieHintInformationBox>(Box("hnti", {Box("sdp ", Bytes().Text("of a track"))}));
  EXPECT_EQ(full->GetSdp(&text), MP4_NOT_FOUND);
  ASSERT_EQ(full->BorrowTrackSdp(&text), MP4_OK);
  EXPECT_STREQ(text, "of a track");
  EXPECT_EQ(ReadBoxAs<CMovieHintInformationBox>(Box("hnti", {Box("sdp ")}))->BorrowTrackSdp(&text),
            MP4_NOT_FOUND);
  EXPECT_EQ(ReadBox(Box("rtp ", Bytes().Zeros(3)), FourCc("hnti")).result, MP4_OUT_OF_RANGE);
  EXPECT_EQ(ReadBox(Box("rtp ", Bytes().Zeros(3)).U8(0), FourCc("hnti")).result, MP4_CORRUPT);
  const Bytes large = Bytes().U32(1).Text("sdp ").U64((u64{1} << 32) + 16);
  EXPECT_EQ(ReadBox(large).result, MP4_CORRUPT);
  EXPECT_EQ(ReadBox(WithDeclaredSize(Box("sdp "), 0xFFFFFFFF)).result, MP4_OUT_OF_RANGE);
  // Sizes that no file here holds: 32 bits do not count the terminator with the second one.
  struct : CStorage {
    Mp4Result RequireBytes(u64 /*count*/) override { return MP4_OK; }
  } endless;
  EXPECT_EQ(CBoxText().Read(&endless, u64{1} << 32), MP4_CORRUPT);
  if (sizeof(std::size_t) == 4) {
    EXPECT_EQ(CBoxText().Read(&endless, 0xFFFFFFFF), MP4_NO_MEMORY);
  }
  // The file refuses to read a container twice.
  EXPECT_EQ(full->Deserialize(MemoryBlock(Bytes{0})), MP4_NOT_READY);
}

}  // namespace
}  // namespace kt::test
