// What `hint` writes and says beforehand, and what `sdp` and `hints` print.

#include <gtest/gtest.h>

#include "support/movie_builder.h"
#include "tools/program.h"

namespace kt::test {
namespace {

// Four samples in one chunk.
Track TrackOf(const Bytes& mediaHeader, std::string_view handler, const Bytes& entry, u64 size) {
  Track track;
  track.mediaHeader = mediaHeader;
  track.hdlr = Hdlr(handler);
  track.stsd = Stsd({entry});
  track.stsz = Stsz({size, size, size + 1, size});
  track.stsc = Stsc({{1, 4}});
  track.chunkOffsets = Stco({24});
  return track;
}
Track Pictures() {
  return TrackOf(Vmhd(), "vide", VisualEntry("mp4v", 320, 240, Esds(0x20, 4, {0, 0, 1, 0xB0})), 10);
}
Track Aac(u64 size) {
  return TrackOf(Smhd(), "soun", AudioEntry("mp4a", 2, 1000, Esds(0x40, 5, {0x12, 0x10})), size);
}
Track Amr() {
  return TrackOf(Smhd(), "soun", AudioEntry("samr", 1, 1000, Box("damr", Bytes().Zeros(9))), 13);
}
Track Captions() {
  return TrackOf(Nmhd(), "text", Box("ln21", Bytes().Zeros(6).U16(1).U8(0)), 3);
}

std::string HintedTracks(const std::string& file) {
  std::string tracks;
  for (const std::string& line : Lines(RunProgram({"sdp", file}).out)) {
    if (line.starts_with("m=")) tracks += line.substr(2, line.find(' ') - 1);
  }
  return tracks;
}

TEST(Hint, SaysBeforehandWhatCannotBe) {
  const struct {
    const char* what;
    std::vector<Track> tracks;
    std::vector<std::string> options;
    int exitCode;
    const char* hinted;
    const char* message;
  } cases[] = {
      {"all kinds", {Pictures(), Aac(10), Captions()}, {}, 0, "video audio text ", nullptr},
      {"sound alone", {Aac(10)}, {"--aac", "latm"}, 0, "audio ", nullptr},
      {"AMR in mp4", {Pictures(), Amr()}, {}, 1, "", "--type 3gp"},
      {"AMR in 3gp", {Pictures(), Amr()}, {"--type", "3gp"}, 0, "video ", "AAC alone"},
      {"a second sound track in AMR", {Aac(10), Amr()}, {}, 0, "audio ", "track 2 of"},
      {"AMR alone", {Amr()}, {"--type", "3gp"}, 1, "", "no track that can be hinted"},
      {"captions in mp4", {Captions()}, {}, 1, "", "--type 3gp"},
      {"captions in 3gp", {Captions()}, {"--type", "3gp"}, 0, "text ", nullptr},
      {"frames that just fit", {Aac(495)}, {}, 0, "audio ", nullptr},
      {"frames that are cut", {Aac(496)}, {}, 0, "audio ", "sample 3 of track 1"},
      {"the remedy", {Aac(496)}, {"--packet-size", "501"}, 0, "audio ", nullptr},
      {"frames that no header can tell", {Aac(8191)}, {"--packet-size", "9000"}, 0, "audio ", "8191"},
      {"LATM that just fits", {Aac(497)}, {"--aac", "latm"}, 0, "audio ", nullptr},
      {"LATM that does not", {Pictures(), Aac(498)}, {"--aac", "latm"}, 0, "video ", "--packet-size 501"},
      {"the remedy", {Aac(498)}, {"--aac", "latm", "--packet-size", "501"}, 0, "audio ", nullptr},
      {"LATM that never fits",
       {Aac(3569)},
       {"--aac", "latm", "--packet-size", "9000"},
       1,
       "",
       "3569 bytes at most"},
      {"no room", {Aac(10)}, {"--packet-size", "3"}, 2, "", "--packet-size"},
      {"too many", {Aac(10)}, {"--samples-per-packet", "65"}, 2, "", "--samples-per-packet"},
      {"no such framing", {Aac(10)}, {"--aac", "1"}, 2, "", "1 not in {generic,latm}"},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.what);
    const TempFolder folder;
    Movie movie;
    movie.mdat = Box("mdat", Bytes().Zeros(40000));
    movie.tracks = row.tracks;
    const TempFile file(movie.Build());
    const std::string out = folder / "out.mp4";
    std::vector<std::string> arguments = {"hint", file.Name(), out};
    arguments.insert(arguments.begin() + 1, row.options.begin(), row.options.end());
    const Outcome outcome = RunProgram(arguments);
    EXPECT_EQ(outcome.exitCode, row.exitCode) << outcome.err;
    EXPECT_EQ(folder.Names().size(), row.exitCode == 0 ? 1u : 0u);
    EXPECT_EQ(HintedTracks(out), row.hinted);
    if (row.message == nullptr) {
      EXPECT_EQ(outcome.err, "");
    } else {
      EXPECT_NE(outcome.err.find(row.message), std::string::npos) << outcome.err;
    }
  }
}

// The tracks of hints, objects and scene speak of the file that they are in; a copy gets new ones.
TEST(Hint, AHintedFileIsHintedAgainToTheSameBytes) {
  const TempFolder folder;
  const std::string first = folder / "1.mp4", second = folder / "2.mp4";
  ASSERT_EQ(RunProgram({"hint", Media("bframes-aac.mp4"), first}).exitCode, 0);
  const Outcome outcome = RunProgram({"hint", first, second});
  EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
  EXPECT_EQ(Lines(outcome.err).size(), 4u) << outcome.err;
  EXPECT_TRUE(ReadFile(first) == ReadFile(second));
}

TEST(Sdp, FillsInPortsAndFindsNothingInAPlainFile) {
  const TempFolder folder;
#ifdef _WIN32
  const std::string hinted = folder / "a_b.mp4";  // no control characters in names there
#else
  const std::string hinted = folder / "a\tb.mp4";
#endif
  ASSERT_EQ(RunProgram({"hint", Media("bframes-aac.mp4"), hinted}).exitCode, 0);
  const std::string plain = RunProgram({"sdp", hinted}).out;
  const std::string full = RunProgram({"sdp", "--full", "--port", "6000", hinted}).out;
  EXPECT_EQ(plain.rfind("a=control:*\r\n", 0), 0u) << plain;
  EXPECT_EQ(
      full.rfind("v=0\r\no=- 0 0 IN IP4 127.0.0.1\r\ns=a_b.mp4\r\nc=IN IP4 127.0.0.1\r\nt=0 0\r\na=control",
                 0),
      0u)
      << full;
  EXPECT_NE(full.find("\r\nm=video 6000 RTP/AVP 96\r\n"), std::string::npos) << full;
  EXPECT_NE(full.find("\r\nm=audio 6002 RTP/AVP 97\r\n"), std::string::npos) << full;
  EXPECT_EQ(RunProgram({"sdp", "--port", "6000", hinted}).exitCode, 2);
  ExpectRun({"sdp", "--full", "--port", "65533", hinted}, 1, {"no ports for 2"});
  EXPECT_NE(ExpectRun({"sdp", "--full", "--port", "65532", hinted}).find("65534 RTP"), std::string::npos);
  const Outcome outcome = RunProgram({"sdp", Media("aac.m4a")});
  EXPECT_EQ(outcome.exitCode, 1);
  EXPECT_NE(outcome.err.find("no session description"), std::string::npos) << outcome.err;
}

TEST(Hints, OfOneTrackOrOfAll) {
  const TempFolder folder;
  const std::string hinted = folder / "hinted.mp4";
  ASSERT_EQ(RunProgram({"hint", Media("bframes-aac.mp4"), hinted}).exitCode, 0);
  const std::string all = RunProgram({"hints", hinted}).out;
  const std::string video = RunProgram({"hints", "--track", "5", hinted}).out;
  const std::string sound = RunProgram({"hints", "--track", "6", hinted}).out;
  EXPECT_EQ(video.rfind("track 5, sample 1: time 0, from track 1\n    Packet Count 13\n", 0), 0u) << video;
  EXPECT_EQ(sound.rfind("track 6, sample 1: time 0, from track 2\n    Packet Count 1\n", 0), 0u) << sound;
  EXPECT_TRUE(all == video + sound);
  const Outcome other = RunProgram({"hints", "--track", "1", hinted});
  EXPECT_EQ(other.exitCode, 1);
  EXPECT_NE(other.err.find("it is no hint track"), std::string::npos) << other.err;
  EXPECT_EQ(RunProgram({"hints", Media("aac.m4a")}).exitCode, 1);
}

}  // namespace
}  // namespace kt::test
