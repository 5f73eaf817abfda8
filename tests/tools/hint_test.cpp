// What `hint` writes and says beforehand, and what `sdp` and `hints` print.

#include <nlohmann/json.hpp>
#include <tuple>

#include "support/movie_builder.h"
#include "tools/program.h"

namespace kt::test {
namespace {

// Four samples in one chunk, of which the third is the largest.
Track Sized(const Track& track, u64 size) {
  return track.WithOneChunk(4, Stsz({size, size, size + 1, size}));
}
Track Aac(u64 size) {
  return Sized(SoundTrack(AudioEntry("mp4a", 2, 1000, Esds(0x40, 5, {0x12, 0x10}))), size);
}

std::string HintedTracks(const std::string& file) {
  std::string tracks;
  for (const std::string& line : Lines(RunProgram({"sdp", file}).out)) {
    if (line.starts_with("m=")) tracks += line.substr(2, line.find(' ') - 1);
  }
  return tracks;
}

TEST(Hint, SaysBeforehandWhatCannotBe) {
  const Bytes entry = VisualEntry("mp4v", 320, 240, Esds(0x20, 4, {0, 0, 1, 0xB0}));
  const Track pictures = Sized(TrackOf("vide", Vmhd(), entry), 10), captions = Sized(CaptionedTrack(), 3);
  const Track amr = Sized(SoundTrack(AudioEntry("samr", 1, 1000, Box("damr", Bytes().Zeros(9)))), 13);
  // In as many packets of 16 bytes as there can be, and one more.
  const Track large = pictures.With(&Track::stsz, Stsz({1, 1, 16 * 65535, 1}));
  const Track larger = pictures.With(&Track::stsz, Stsz({1, 1, 16 * 65535 + 1, 1}));
  const std::tuple<std::vector<Track>, const char*, int, const char*, std::vector<std::string>> cases[] = {
      {{pictures, Aac(10), captions}, "", 0, "video audio text ", {}},
      {{pictures, amr}, "", 1, "", {"--type 3gp"}},
      {{pictures, amr}, "--type 3gp", 0, "video ", {"AAC alone"}},
      {{Aac(10), amr}, "", 0, "audio ", {"track 2 of"}},
      {{amr}, "--type 3gp", 1, "", {"no track that can be hinted"}},
      {{captions}, "", 1, "", {"--type 3gp"}},
      {{captions}, "--type 3gp", 0, "text ", {}},
      {{pictures.WithOneChunk(1, Stsz({10})), Aac(10)}, "", 0, "audio ", {"it has one sample, and the last"}},
      {{captions.WithOneChunk(2, Stsz({3, 3}))}, "--type 3gp", 1, "", {"its 2 samples fit in one packet"}},
      // Frames that just fit, that are cut, and that no header can tell.
      {{Aac(495)}, "", 0, "audio ", {}},
      {{Aac(496)}, "", 0, "audio ", {"sample 3 of track 1"}},
      {{Aac(8191)}, "--packet-size 9000", 0, "audio ", {"8191"}},
      {{Aac(497)}, "--aac latm", 0, "audio ", {}},
      {{pictures, Aac(498)}, "--aac latm", 0, "video ", {"--packet-size 501"}},
      {{Aac(498)}, "--aac latm --packet-size 501", 0, "audio ", {}},
      {{Aac(3569)}, "--aac latm --packet-size 9000", 1, "", {"3569 bytes at most"}},
      {{large}, "--packet-size 16", 0, "video ", {}},
      {{Aac(10), larger}, "--packet-size 16", 0, "audio ", {"65536 packets", "--packet-size 17 "}},
      {{Aac(10)}, "--packet-size 3", 2, "", {"--packet-size"}},
      {{Aac(10)}, "--samples-per-packet 65", 2, "", {"--samples-per-packet"}},
      {{Aac(10)}, "--aac 1", 2, "", {"1 not in {generic,latm}"}},
  };
  for (const auto& [tracks, options, exitCode, hinted, message] : cases) {
    SCOPED_TRACE(options);
    const TempFolder folder;
    Movie movie;
    movie.mdat = Box("mdat", Bytes().Zeros(16 * 65536));
    movie.tracks = tracks;
    const TempFile file(movie.Build());
    const std::string out = folder / "out.mp4";
    ExpectShell(CommandLine({"hint", file.Name(), out}) + " " + options, exitCode, message);
    EXPECT_EQ(folder.Names().size(), exitCode == 0 ? 1u : 0u);
    EXPECT_EQ(HintedTracks(out), hinted);
  }
}

// The tracks of hints, objects and scene speak of the file that they are in; a copy gets new ones.
TEST(Hint, AHintedFileIsHintedAgainToTheSameBytes) {
  const TempFolder folder;
  const std::string first = folder / "1.mp4", second = folder / "2.mp4";
  ExpectRun({"hint", Media("bframes-aac.mp4"), first}, 0, {"pictures of track 1", "out of order"});
  // The scene's pictures stand ahead of its sound.
  ExpectParts(ExpectRun({"dump", first}), {"Index:  1 Track Id: 1\n      Index:  2 Track Id: 2\n"});
  ExpectRun({"hint", first, second}, 0, {"track 3 of", "track 4 of", "track 5 of", "track 6 of"});
  EXPECT_TRUE(ReadFile(first) == ReadFile(second));
}

TEST(Hinted, IsDescribedAndListed) {
  const TempFolder folder;
#ifdef _WIN32
  const std::string hinted = folder / "a_b.mp4";  // no control characters in names there
#else
  const std::string hinted = folder / "a\tb.mp4";
#endif
  ExpectRun({"hint", Media("bframes-aac.mp4"), hinted}, 0, {"out of order"});
  EXPECT_TRUE(ExpectRun({"sdp", hinted}).starts_with("a=control:*\r\n"));
  const std::string full = ExpectRun({"sdp", "--full", "--port", "65532", hinted});
  const std::string head =
      "v=0\r\no=- 0 0 IN IP4 127.0.0.1\r\ns=a_b.mp4\r\nc=IN IP4 127.0.0.1\r\nt=0 0\r\na=control";
  EXPECT_TRUE(full.starts_with(head)) << full;
  ExpectParts(full, {"\r\nm=video 65532 RTP/AVP 96\r\n", "\r\nm=audio 65534 RTP/AVP 97\r\n"});
  const std::string video = ExpectRun({"hints", "--track", "5", hinted});
  const std::string sound = ExpectRun({"hints", "--track", "6", hinted});
  EXPECT_TRUE(video.starts_with("track 5, sample 1: time 0, from track 1\n    Packet Count 13\n")) << video;
  EXPECT_TRUE(sound.starts_with("track 6, sample 1: time 0, from track 2\n    Packet Count 1\n")) << sound;
  EXPECT_TRUE(ExpectRun({"hints", hinted}) == video + sound);
  const auto json = nlohmann::json::parse(ExpectRun({"hints", "--json", hinted}));
  EXPECT_EQ(json.at(1).at("mediaTrack"), 2);
  EXPECT_EQ(json.at(1).at("samples").at(0).at("packets").at(0).at("pieces").back().at("type"), "sample");
  // Nothing in a plain file, and no text where a hint track has none.
  const Bytes entry = MpegEntry("rtp ", Bytes().U16(1).U16(1).U32(500).Add(Box("tims", Bytes().U32(9))));
  const TempFile mute(MovieOf(TrackOf("hint", FullBox("hmhd", 0, 0, Bytes().Zeros(16)), entry)).Build());
  const std::tuple<std::vector<std::string>, int, const char*> refused[] = {
      {{"sdp", "--port", "6000", hinted}, 2, "--full"},
      {{"sdp", "--full", "--port", "65533", hinted}, 1, "no ports for 2"},
      {{"sdp", Media("aac.m4a")}, 1, "no session description"},
      {{"sdp", mute.Name()}, 1, "no session description"},
      {{"hints", "--track", "1", hinted}, 1, "it is no hint track"},
      {{"hints", Media("aac.m4a")}, 1, "there is no hint track in"},
  };
  for (const auto& [arguments, exitCode, message] : refused) ExpectRun(arguments, exitCode, {message});
}

}  // namespace
}  // namespace kt::test
