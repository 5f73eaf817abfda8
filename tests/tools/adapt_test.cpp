// What --adapt makes of files that the strict reader refuses, and what is said of it.

#include <nlohmann/json.hpp>

#include "support/movie_builder.h"
#include "tools/program.h"

namespace kt::test {
namespace {

using Json = nlohmann::json;

// A track whose tables contradict each other; pictures that start half a second late, with a box that the
// strict reader does not take; Opus.
Movie MovieOfAnotherWriter() {
  Movie movie;
  movie.tracks.resize(2);
  movie.tracks[0].stts = Stts({{3, 10}});
  Track& pictures = movie.tracks[1];
  pictures.tkhd = Tkhd(2, 320, 240, 40);
  pictures.edts = Edts({{500, -1}, {40, 0}});
  pictures.hdlr = Hdlr("vide", "name");
  pictures.stss = Stss({1, 3});
  const Bytes setUp = Esds(0x20, 4, {0, 0, 1, 0xB0});
  pictures.stsd =
      Stsd({VisualEntry("mp4v", 320, 240, Bytes().Add(setUp).Add(Box("btrt", Bytes().Zeros(12))))});
  const Track sound = SoundTrack(AudioEntry("Opus", 2, 48000, Box("dOps", Bytes().U16(2).Zeros(9))));
  movie.tracks.push_back(sound.With(&Track::tkhd, Tkhd(3, 0, 0, 40)));
  return movie;
}

TEST(Adapt, ReadsARefusedFileAndSaysWhatItDid) {
  const TempFile file(MovieOfAnotherWriter().Build());
  ExpectRun({"info", file.Name()}, 1, {"\"btrt\" behind \"esds\"; --adapt may read it\n"});
  const Json json = Json::parse(ExpectRun({"info", "--adapt", "--json", file.Name()}));
  EXPECT_EQ(json.at("leftOut"), Json::parse(R"([{"positionInFile": 1, "id": 1, "furtherEdits": 0,
    "notes": ["its tables contradict each other"]}])"));
  EXPECT_EQ(json.at("tracks")[0].at("adapted"),
            Json::parse(R"({"positionInFile": 2, "id": 2, "furtherEdits": 0,
    "notes": ["further boxes of its sample entries are left out"]})"));
  EXPECT_EQ(json.at("tracks")[1].at("entries"),
            Json::parse(R"([{"code": "Opus", "name": "Opus", "coding": "Opus", "channels": 2,
    "sampleRate": 48000}])"));
  ExpectParts(ExpectRun({"info", "--adapt", file.Name()}),
              {"  coded as        Opus (Opus)\n  sound           48000 Hz, 2 channels\n",
               "  left out        its tables contradict"});
  // Coded in a way that the pin does not know, and delivered all the same.
  ExpectParts(ExpectRun({"play", "--adapt", file.Name()}, 0, {"the track in place 1 of"}),
              {"connected with type 0, 1 buffer of 153616",
               "type 2: auds / tag 0x704f / WaveFormatEx, format block of 37", "type 3: auds / Opus /",
               "connected with type 2, 1 buffer of 4112", "pin 1: 3 of 4 samples delivered",
               "pin 2: 4 of 4 samples delivered, 10 bytes\n"});
  // The copy is plain, and its tracks keep their distance.
  const TempFile copy;
  ExpectRun({"remux", "--adapt", file.Name(), copy.Name()}, 0,
            {"track in place 1", "its handler (\"name\")", "0.500 s late; so does the copy", "track 2 of"});
  EXPECT_EQ(ExpectRun({"samples", "--track", "1", copy.Name()}),
            "sample,size,dts,cts,sync\n1,1,0,500,1\n2,2,510,510,0\n3,3,520,520,1\n4,4,530,530,0\n");
}

// What is there of a file that was cut can be had.
TEST(Adapt, GoesAsFarAsTheFile) {
  const TempFile file(MovieOf(Track().With(&Track::stsz, Stsz({1, 2, 3, 1'000'000}))).Build());
  EXPECT_EQ(Lines(ExpectRun({"samples", "--adapt", "--track", "1", file.Name()})).size(), 5u);
  ExpectParts(ExpectRun({"play", "--adapt", file.Name()}, 1, {"ended early"}),
              {"pin 1: 3 of 4 samples delivered, 6 bytes, ended early: its samples take more bytes"});
}

// A strict reader passes fragments over, so that a copy would be less than it looks.
TEST(Fragments, AreNamedAndNotLost) {
  const TempFile file(Bytes(Movie().Build()).Add(Box("moof", Bytes())));
  const TempFolder folder;
  const std::string in = ShellWord(file.Name()), out = " " + ShellWord(folder / "out");
  for (const std::string& line : {"remux " + in + out, "hint " + in + out, "extract --track 1 " + in + out})
    ExpectShell(CommandLine({}) + " " + line, 1, {"it is fragmented (\"moof\")", "--adapt reads them"});
  EXPECT_TRUE(folder.Names().empty());
  for (const std::string& line : {"samples --track 1 " + in, "play " + in})
    ExpectShell(CommandLine({}) + " " + line, 0, {"is fragmented (\"moof\")"});
  ExpectParts(ExpectRun({"info", file.Name()}), {"Fragmented        \"moof\", and what"});
}

}  // namespace
}  // namespace kt::test
