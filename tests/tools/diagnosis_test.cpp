// Which box broke it: what is said of a file that the strict reader refuses.

#include "tools/diagnosis/diagnosis.h"
#include "support/movie_builder.h"
#include "tools/diagnosis/box_place.h"
#include "tools/program.h"
#include "tools/terminal/shown_text.h"

namespace kt::test {
namespace {

using ListedBoxes = std::vector<std::pair<std::string, u64>>;

// Path and place of all boxes that the reader takes apart.
void ListBoxes(FileBytes& file, u64 at, u64 end, const std::string& path, ListedBoxes* list) {
  const std::pair<const char*, u64> holders[] = {// with the bytes ahead of the boxes in them
                                                 {"moov", 0}, {"trak", 0}, {"mdia", 0},  {"minf", 0},
                                                 {"stbl", 0}, {"dinf", 0}, {"edts", 0},  {"udta", 0},
                                                 {"stsd", 8}, {"dref", 8}, {"mp4v", 78}, {"mp4a", 28}};
  u32 tracks = 0;
  for (BoxPlace box; at < end && LookAtHeader(file, at, end, &box) == HeaderLook::kFits; at = box.End()) {
    const std::string code = CodeText(box.code);
    const std::string name = path + code + (code == "trak" ? "[" + std::to_string(++tracks) + "]" : "");
    list->emplace_back(name, box.begin);
    for (const auto& [holder, ahead] : holders)
      if (code == holder) ListBoxes(file, box.Payload() + ahead, box.End(), name + "/", list);
  }
}

// Each box of a film with a wrong size in turn: it is the one that is named, whatever the reader trips over.
TEST(Diagnosis, NamesTheBoxThatWasBroken) {
  const std::vector<u8> film = ReadFile(Media("bframes-aac.mp4"));
  FileBytes file(Media("bframes-aac.mp4"));
  ListedBoxes list;
  ListBoxes(file, 0, film.size(), "", &list);
  u32 refused = 0;
  for (const auto& [path, place] : list) {
    for (const int wrongBy : {1, -1, 4, -4, 100}) {
      std::vector<u8> broken = film;
      const u64 size = file.NumberAt(place, 4) + static_cast<u64>(wrongBy);
      for (u32 i = 0; i < 4; ++i)
        broken[static_cast<std::size_t>(place) + i] = static_cast<u8>(size >> (24 - 8 * i));
      const OpenedMovie movie(broken);
      if (movie.result == MP4_OK) continue;  // what is skipped by its size may be longer
      ++refused;
      const auto diagnosis = Diagnose(movie.Name());
      ASSERT_TRUE(diagnosis) << path << " " << wrongBy;
      EXPECT_EQ(std::pair(diagnosis->path, diagnosis->offset), std::pair(path, place)) << diagnosis->Text();
    }
  }
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
