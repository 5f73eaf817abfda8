// What dump, info and samples tell of files that open.

#include <nlohmann/json.hpp>
#include <sstream>

#include "support/movie_builder.h"
#include "tools/program.h"

namespace kt::test {
namespace {

using Json = nlohmann::json;

Json InfoOf(const std::string& file) {
  return Json::parse(ExpectRun({"info", "--json", file}));
}

// The boxes by their sizes in the file are those that the library has read, which does not look into "meta".
TEST(Dump, TellsScriptsTheTreeThatItPrints) {
  for (const char* name : {"bframes-aac.mp4", "h263.3gp", "aac.m4a", "ntsc-faststart.mp4"}) {
    const std::string file = Media(name), bytes = ReadText(file);
    std::string told, printed;
    const auto tell = [&](const auto& self, const Json& owner) -> void {
      for (const Json& box : owner.at("boxes")) {
        const std::string type = box.at("type");
        EXPECT_EQ(bytes.substr(box.at("offset").get<std::size_t>() + 4, 4), type);
        told += "Box type = " + type + "  Size = " + box.at("size").dump() + "\n";
        if (type != "meta") self(self, box);
      }
    };
    tell(tell, Json::parse(ExpectRun({"dump", "--json", file})));
    std::istringstream dump(ExpectRun({"dump", file}));
    for (std::string line; std::getline(dump, line);) {
      if (const auto at = line.find("Box type"); at != line.npos) printed += line.substr(at) + "\n";
    }
    EXPECT_EQ(told, printed) << name;
  }
  ExpectParts(ExpectRun({"dump", "--json", Media("bframes-aac.mp4")}),
              {R"("path":"moov/trak[2]/mdia/mdhd","offset":166866,"size":32,"headerSize":8,"properties":)"
               R"({"created":0,"modified":0,"time scale":44100,"duration":177424,"language":"und"})",
               R"("width":176,"height":144,"pictures a sample":1},"boxes":[)",
               R"("records":67,"firstRecords":[{"samples":1,"ticks later":512},{"samples":1)"});
}

TEST(Info, TellsScriptsWhatTheTracksAre) {
  const std::string file = Media("bframes-aac.mp4");
  const Json expected = Json::parse(R"({
    "result": 0, "fileType": 0, "fileTypeName": "MP4", "size": 169084, "brands": ["isom", "isom", "iso2", "mp41"],
    "created": null, "fragmented": false, "movieTimeScale": 1000, "seconds": 4, "tracks": [
      {"index": 1, "result": 0, "id": 1, "kind": 1, "kindName": "video", "format": 1, "formatName": "mp4v",
       "code": "mp4v", "coding": "MPEG-4 visual", "samples": 100, "timeScale": 12800, "duration": 4000, "seconds": 4,
       "start": 0.04, "bytes": 140566, "bitRate": 281132, "samplesPerSecond": 25, "width": 176, "height": 144,
       "rotation": 0, "mirrored": false, "language": null, "handler": "VideoHandler",
       "edits": [{"seconds": 4, "from": 0.04, "rate": 1}],
       "decoderInfo": "000001b0f1000001b5a913000001000000012008d48d0800cd05841214183f"},
      {"index": 2, "result": 0, "id": 2, "kind": 2, "kindName": "audio", "format": 2, "formatName": "mp4a",
       "code": "mp4a", "coding": "AAC, low complexity", "samples": 174, "timeScale": 44100, "duration": 4000,
       "seconds": 4, "start": 0, "bytes": 24029, "bitRate": 47578.973599, "samplesPerSecond": 43.066406,
       "sampleRate": 44100, "channels": 2, "language": null, "handler": "SoundHandler",
       "edits": [{"seconds": 4, "from": 0.02322, "rate": 1}], "decoderInfo": "121056e500"}]})");
  Json json = InfoOf(file);
  EXPECT_EQ(json.at("file"), file);
  json.erase("file");
  EXPECT_EQ(json, expected) << json.dump(2);
  const Json opus = InfoOf(TempFile(MovieOf(SoundTrack(AudioEntry("Opus", 2, 0, {}))).Build()).Name());
  for (const char* name : {"sampleRate", "decoderInfo"}) EXPECT_TRUE(opus.at("tracks")[0].at(name).is_null());
}

TEST(Info, TellsPeopleTheSameInWords) {
  Movie movie;
  movie.mvhd = Mvhd(1000, 24 * 3600);
  Track& turned = movie.tracks[0];
  const Bytes matrix = Bytes().U32s({0, 0x10000, 0, 0xFFFF0000, 0, 0, 0, 0, 0x40000000});
  turned.tkhd = FullBox("tkhd", 0, 1, Bytes().U32s({0, 0, 1, 0, 40}).Zeros(16).Add(matrix).Zeros(8));
  turned.mdhd = FullBox("mdhd", 0, 0, Bytes().U32s({0, 0, 1000, 40}).U16(5 << 10 | 14 << 5 | 7).U16(0));
  turned.edts = Edts({{500, -1}, {30, 10}});
  const TempFile file(movie.Build());
  ExpectParts(ExpectRun({"info", file.Name()}),
              {"Created           1904-01-02 00:00:00\n", "\nTrack 1: video\n",
               "coded as        mp4v (MPEG-4 visual)\n", "  picture         320 x 240 pixels, 100 a second\n",
               "shown           turned clockwise by 90 degrees\n", "  samples         4, 10 bytes\n",
               "  duration        40 movie ticks = 0.040 s\n",
               "  edits           nothing for 0.500 s\n                  0.030 s from 0.010 s on\n",
               "  language        eng\n", "  decoder info    d0d1\n"});
  const TempFile captions(MovieOf(CaptionedTrack()).Build());
  ExpectParts(ExpectRun({"info", captions.Name()}), {"  coded as        ln21 (Line 21 captions)\n"});
  // H.264 that the library itself does not know, in a file that it takes.
  const Bytes setUp = Box("avcC", Bytes().U32s({0x0164001F, 0xFF000000}));
  const TempFile avc(MovieOf(TrackOf("vide", Vmhd(), VisualEntry("avc1", 64, 48, setUp))).Build());
  ExpectParts(ExpectRun({"info", avc.Name()}), {"avc1 (H.264, High profile, level 3.1)\n"});
}

// One bad track hides neither the other nor itself.
TEST(Info, ListsATrackThatDoesNotOpen) {
  Movie movie;
  movie.tracks.resize(2);
  movie.tracks[1].stsz.clear();
  const TempFile file(movie.Build());
  const Json tracks = InfoOf(file.Name()).at("tracks");
  ASSERT_EQ(tracks.size(), 2u);
  EXPECT_EQ(tracks[0].at("samples"), 4);
  EXPECT_EQ(tracks[1].at("index"), 2);
  EXPECT_EQ(tracks[1].at("result"), 3);
  EXPECT_EQ(tracks[1].at("resultName"), "MP4_NOT_FOUND");
  ExpectParts(ExpectRun({"info", file.Name()}), {"MP4_NOT_FOUND (3)"});
}

// No sync sample ahead of it is not a failure, only no sync sample.
TEST(Samples, AreListedAsFarAsTheyCanBeTold) {
  const Track track = Track().With(&Track::stss, Stss({3}));
  const TempFile late(MovieOf(track).Build());
  EXPECT_EQ(ExpectRun({"samples", late.Name()}),
            "sample,size,dts,cts,sync\n1,1,0,0,0\n2,2,10,10,0\n3,3,20,20,1\n4,4,30,30,0\n");
  EXPECT_EQ(ExpectRun({"samples", "--columns", "offset,seconds,duration", late.Name()}),
            "offset,seconds,duration\n24,0,10\n25,0.01,10\n27,0.02,10\n30,0.03,10\n");
  const Json json = Json::parse(ExpectRun({"samples", "--json", late.Name()}));
  EXPECT_EQ(json.at("samples")[2], Json::parse(R"({"sample": 3, "size": 3, "dts": 20, "cts": 20, "sync": 1,
    "seconds": 0.02, "duration": 10, "offset": 27})"));
  ExpectRun({"samples", Media("bframes-aac.mp4")}, 1, {"has 2 tracks; --track says which"});
  // Fewer sizes than times.
  const TempFile cut(MovieOf(track.With(&Track::stsz, Stsz({1, 2}))).Build());
  const std::string out = ExpectRun({"samples", "--track", "1", cut.Name()}, 1, {"size of sample 3"});
  EXPECT_EQ(Lines(out).size(), 3u);
}

}  // namespace
}  // namespace kt::test
