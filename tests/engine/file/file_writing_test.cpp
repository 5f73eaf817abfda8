// Files that are written, through the public faces: their bytes, and what reading makes of them.

#include <gtest/gtest.h>

#include "support/written_movie.h"

namespace kt::test {
namespace {

// The brands are final before the first sample, and a file without tracks gets no "moov".
TEST(FileWriting, OpenLaysDownBrandsAndTheHeaderOfTheMediaData) {
  const std::pair<u32, Bytes> cases[] = {
      {MP4_TYPE_MP4, Box("ftyp", Bytes().Text("mp42").U32(1).Text("mp42isom"))},
      {MP4_TYPE_3GP, Box("ftyp", Bytes().Text("3gp4").U32(512).Text("3gp43gp5isom"))},
      {MP4_TYPE_M4A, Box("ftyp", Bytes().Text("M4A ").U32(0).Text("mp42isom"))},
  };
  for (const auto& [fileType, ftyp] : cases) {
    WrittenMovie movie(fileType);
    ASSERT_EQ(movie.result, MP4_OK);
    EXPECT_EQ(Got(*movie, &CMp4File::GetFileType), fileType);
    EXPECT_EQ(Got(*movie, &CMp4File::GetMovieTimeScale), 1000u);
    EXPECT_EQ(movie.Finish({}), Bytes(ftyp).Add(Bytes().U32(1).Text("mdat").U64(0x100000008)));
  }
}

// Every box in its place, byte for byte.
TEST(FileWriting, AWholeFile) {
  WrittenMovie movie;
  CMp4Track* track = movie.AddTextTrack(500);
  ExpectEach(MP4_OK,
             {track->SetDimensions(320, 60), track->WriteSample("\x94\x20", 2, 0, 250, 1),
              track->WriteSample("\x94\x2c\x80", 3, 250, 250, 0), movie->SetCopyright("eng", "nobody", 1),
              track->SetCopyright("deu", "niemand", 0), movie->SetCreationDate(1904, 1, 1, 0, 0, 9)});

  const Bytes matrix = Bytes().U32s({0x10000, 0, 0, 0, 0x10000, 0, 0, 0, 0x40000000});
  const Bytes ftyp = Box("ftyp", Bytes().Text("3gp4").U32(512).Text("3gp43gp5isom"));
  const Bytes mdat = Box("mdat", Bytes().U64(0x100000008).U16(0x9420).U24(0x942c80));
  const Bytes mvhd =
      FullBox("mvhd", 0, 0,
              Bytes().U32s({9, 0, 1000, 1000, 0x10000}).U16(0x100).Zeros(10).Add(matrix).Zeros(24).U32(2));
  const Bytes tkhd = FullBox(
      "tkhd", 0, 1, Bytes().U32s({0, 0, 1, 0, 1000}).Zeros(16).Add(matrix).U32(320 << 16).U32(60 << 16));
  const Bytes dinf = Box("dinf", {TableBox("dref", 1, FullBox("url ", 0, 1))});
  const Bytes stsd = Stsd({Box("ln21", Bytes().Zeros(6).U16(1).U8(0))});
  const Bytes stbl = Box("stbl", {Stts({{2, 250}}), Stsz({2, 3}), Stsc({{1, 2}}), stsd,
                                  Ctts({{1, 250}, {1, 0}}), Stss({1}), Stco({ftyp.size() + 16})});
  const Bytes mdia =
      Box("mdia", {Mdhd(500, 500), FullBox("hdlr", 0, 0, Bytes().U32(0).Text("text").Zeros(13)),
                   Box("minf", {dinf, stbl, Nmhd()})});
  const Bytes moov = Box("moov", {mvhd, Box("trak", {tkhd, mdia, Udta({Cprt("deu", "niemand")})}),
                                  Udta({Cprt("eng", "nobody")})});
  EXPECT_EQ(movie.Finish({track}), Bytes(ftyp).Add(mdat).Add(moov));
}

TEST(FileWriting, DumpSizesTheBoxesFirstAndClosingIsTraced) {
  WrittenMovie movie;
  CMp4Track* track = movie.AddTextTrack();
  ASSERT_EQ(movie->CloseTrack(track), MP4_OK);
  const std::string dump = Printed([&] { return movie->Dump(); });
  EXPECT_NE(dump.find("Box type = stco  Size = 16\n"), std::string::npos) << dump;
  EXPECT_NE(dump.find("Box type = mdat  Size = 16\n"), std::string::npos) << dump;
  ASSERT_EQ(movie->SetTraceLevel(1), MP4_OK);
  EXPECT_EQ(Printed([&] { return movie->Close(); }), "CMp4FileImpl::Close >> All boxes serialized\n");
}

// Closing.

TEST(FileWriting, CloseWithTracksLeftOpen) {
  WrittenMovie movie;
  CMp4Track* first = movie.AddTextTrack();
  CMp4Track* second = movie.AddTextTrack();
  WriteSamples(first, 5, {0});
  WriteSamples(second, 7, {0});
  EXPECT_EQ(movie->Close(), MP4_NOT_FOUND) << "the first track gives the movie its duration";
  EXPECT_EQ(Got(*movie, &CMp4File::IsOpen), 1u);
  ASSERT_EQ(movie->CloseTrack(first), MP4_OK);
  EXPECT_EQ(movie->Close(), MP4_OK) << "nobody waits for the second";
  EXPECT_EQ(WriteSample(second, 7, 1), MP4_NOT_READY);
  delete second;
  OpenedMovie read(movie.Content());
  EXPECT_EQ(read.BindResult(1), MP4_OK);
  EXPECT_EQ(read.BindResult(2), MP4_NOT_FOUND) << "its tables were never completed";
}

// Each failure leaves the file open; samples can still come, and the header of "mdat" is patched again.
TEST(FileWriting, CloseCanBeRepeatedAndLeavesOneMovie) {
  WrittenMovie movie;
  CMp4Track* first = movie.AddTextTrack();
  CMp4Track* second = movie.AddBareTrack();
  ExpectEach(MP4_OK, {second->SetTrackType(MP4_KIND_TEXT), second->SetTimeScale(1000),
                      first->WriteSample("first", 5, 0, 0, 1), movie->CloseTrack(first)});
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(movie->Close(), MP4_NOT_READY) << "the second track has no sample entry";
    ASSERT_EQ(second->WriteSample("second", 6, static_cast<u64>(i), static_cast<u64>(i), 1), MP4_OK);
  }
  ASSERT_EQ(second->SetLine21Format(0, 0, 0), MP4_OK);
  const Bytes content = movie.Finish({second});
  EXPECT_EQ(movie->Close(), MP4_NOT_FOUND);
  EXPECT_EQ(CodesIn(content, 0), "ftypmdatmoov");
  EXPECT_EQ(BoxAt(content, "mdat"), Box("mdat", Bytes().U64(0x100000008).Text("firstsecondsecond")));
}

}  // namespace
}  // namespace kt::test
