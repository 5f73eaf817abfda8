// Which box broke it: what is said of a file that the strict reader refuses.

#include "tools/diagnosis/diagnosis.h"

#include <nlohmann/json.hpp>

#include "support/movie_builder.h"
#include "tools/program.h"

namespace kt::test {
namespace {

// Calls with path, place and size of all boxes below one.
void ForEachBox(const nlohmann::json& owner, const auto& call) {
  for (const nlohmann::json& box : owner.at("boxes")) {
    call(box.at("path").get<std::string>(), box.at("offset").get<u32>(), box.at("size").get<u32>());
    ForEachBox(box, call);
  }
}

// Each box of a film with a wrong size in turn: it is the one that is named, whatever the reader trips over.
TEST(Diagnosis, NamesTheBoxThatWasBroken) {
  const std::vector<u8> film = ReadFile(Media("bframes-aac.mp4"));
  u32 refused = 0;
  const auto boxes = ExpectRun({"dump", "--json", Media("bframes-aac.mp4")});
  ForEachBox(nlohmann::json::parse(boxes), [&](const std::string& path, u32 place, u32 size) {
    for (const int wrongBy : {1, -1, 4, -4, 100}) {
      std::vector<u8> broken = film;
      const Bytes wrong = Bytes().U32(size + static_cast<u32>(wrongBy));
      std::ranges::copy(wrong, broken.data() + place);
      const OpenedMovie movie(broken);
      if (movie.result == MP4_OK) continue;  // what is skipped by its size may be longer
      ++refused;
      const auto diagnosis = Diagnose(movie.Name());
      ASSERT_TRUE(diagnosis) << path << " " << wrongBy;
      EXPECT_EQ(std::pair(diagnosis->path, diagnosis->offset), std::pair(path, u64{place}))
          << diagnosis->Text();
    }
  });
  EXPECT_GT(refused, 245u);
}

std::string Of(const Movie& movie) {
  const Bytes bytes = movie.Build();
  return std::string(bytes.begin(), bytes.end());
}

TEST(Diagnosis, KnowsWhatOtherWritersDo) {
  const Bytes esds = Esds(0x20, 4, {0xD0, 0xD1});
  const auto entry = [](const Bytes& bytes) {
    return Of(MovieOf(Track().With(&Track::stsd, Stsd({bytes}))));
  };
  const Bytes version1 = Bytes().Zeros(6).U16(1).U16(1).Zeros(34).Add(Box("wave", Bytes()));
  Movie userData;
  userData.udta = Box("udta", Bytes().U32(0));
  const std::string film = Of(Movie());
  const std::string stsd = "moov/trak[1]/mdia/minf/stbl/stsd/";
  const std::pair<std::string, std::string> rows[] = {
      {entry(VisualEntry("mp4v", 320, 240,
                         Bytes(esds).Add(Box("pasp", Bytes().U64(0))).Add(Box("btrt", Bytes().Zeros(12))))),
       stsd + "mp4v at 375: 36 bytes of \"pasp\" and \"btrt\" behind \"esds\""},
      {entry(Box("mp4a", version1)), stsd + "mp4a at 375: a QuickTime sound entry of version 1"},
      {entry(VisualEntry("mp4v", 320, 240, FullBox("esds", 0, 0, Descriptor(3, Bytes().U16(1).U8(0))))),
       stsd + "mp4v/esds at 461: there is no decoder config descriptor in it"},
      {Of(MovieOf(Track().With(&Track::stts, TableBox("stts", 1000, Bytes().U64(0))))),
       "stbl/stts at 500: its count says 1,000 entries, and it has bytes for 1"},
      {Of(userData), "moov/udta at 612: 4 zero bytes end its list, as QuickTime has it"},
      {film.substr(0, 30),
       "mdat at 16: the file is cut at 30: it has 14 of the 18 bytes of this box, and 4 "},
      {film.substr(0, 34), "there is no \"moov\" box in it, only \"ftyp\", \"mdat\": it is unfinished"},
      {film + "abc",
       "moov at 34: the 3 bytes behind it are too few for a box: the file is cut short, or has"},
      {"<!DOCTYPE HTML><title>404", "it does not begin like an MP4 file but like a web page (HTML)"},
  };
  for (const auto& [content, expected] : rows) {
    const OpenedMovie movie(std::vector<u8>(content.begin(), content.end()));
    EXPECT_NE(movie.result, MP4_OK) << expected;
    const auto diagnosis = Diagnose(movie.Name());
    ExpectParts(diagnosis ? diagnosis->Text() : "", {expected});
  }
  EXPECT_FALSE(Diagnose(TempFile(Movie().Build()).Name()));
}

// 5 GiB that no disk has to hold, and boxes without end one in the other.
TEST(Diagnosis, StaysSmallWhereFilesAreNot) {
  const TempFile vast(Bytes().Add(Movie().ftyp).U32(1).Text("mdat").U64(u64{5} << 30));
  std::filesystem::resize_file(vast.Path(), 16 + (u64{5} << 30));
  ExpectRun({"info", vast.Name()}, 1,
            {"mdat at 16: it has 5,368,709,120 bytes, and the strict reader takes none of 4 GiB and more"});
  Bytes nest;
  for (u32 level = 100'000; level > 0; --level) nest.U32(8 * level).Text("moov");
  const auto diagnosis = Diagnose(TempFile(nest).Name());
  ASSERT_TRUE(diagnosis);
  EXPECT_LT(diagnosis->Text().size(), 300u);
}

}  // namespace
}  // namespace kt::test
