// Writes the seeds that no other program makes: files with every box that the reader knows, descriptors
// and hint samples.
// ktmp4_make_seeds FOLDER fills the folder of each target below it.

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "hint/hint_support.h"
#include "support/movie_builder.h"

namespace {

using namespace kt;
using namespace kt::test;

void Save(const std::filesystem::path& path, const Bytes& bytes) {
  std::filesystem::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

Bytes InitialObjectDescriptor() {
  return Descriptor(16,
                    Bytes().U16(0x004F).Add({0xFF, 0xFF, 15, 3, 0xFF}).Add(Descriptor(14, Bytes().U32(1))));
}

Bytes EsDescriptor() {
  const Bytes esds = Esds(0x40, 5, {0x12, 0x10});
  return Bytes(esds.begin() + 12, esds.end());
}

// B-frames, a start delay, sync samples, large offsets, notices.
Track FullVideo() {
  Track track;
  track.tkhd = Tkhd(2, 320, 240, 400);
  track.edts = Edts({{30, -1}, {400, 0}});
  track.stts = Stts({{2, 10}, {3, 20}, {1, 0}});
  track.ctts = Ctts({{1, 20}, {1, 40}, {2, 0}, {2, 10}});
  track.stss = Stss({1, 4});
  track.stsz = Stsz({1, 2, 3, 1, 2, 1});
  track.stsc = Stsc({{1, 2}, {2, 1}, {4, 2}});
  track.chunkOffsets = Co64({24, 27, 30, 31});
  track.udta = Udta({Cprt("eng", "mine"), Cprt("deu", "")});
  return track;
}

Track Sound(const Bytes& entry) {
  Track track;
  track.tkhd = Tkhd(3, 0, 0, 40);
  track.hdlr = Hdlr("soun");
  track.mediaHeader = Smhd();
  track.stsd = Stsd({entry});
  track.stsz = ConstantStsz(2, 5);
  track.stts = Stts({{5, 1024}});
  track.stsc = Stsc({{1, 5}});
  track.chunkOffsets = Stco({24});
  return track;
}

// A track that carries neither pictures nor sound, with references to others.
Track Other(std::string_view handler, const Bytes& mediaHeader, const Bytes& entry) {
  Track track = Sound(entry);
  track.hdlr = Hdlr(handler);
  track.mediaHeader =
      Bytes(mediaHeader)
          .Add(Box("dinf", {FullBox("dref", 0, 0,
                                    Bytes().U32(2).Add(FullBox("url ", 0, 1)).Add(FullBox("urn ", 0, 1)))}));
  track.edts = Box("tref", {Box("mpod", Bytes().U32s({1, 2})), Box("hint", Bytes().U32(1))});
  return track;
}

// Tables of more than two blocks of records: runs whose first chunks rise, as they have to, and some that
// fall.
void SaveManyRuns(const std::filesystem::path& folder) {
  constexpr u32 kRuns = 1100;
  std::vector<std::pair<u32, u32>> runs;
  for (u32 run = 1; run <= kRuns; ++run) runs.emplace_back(run, run % 2 + 1);
  Track track = Track().WithOneChunk(kRuns * 3 / 2, ConstantStsz(1, kRuns * 3 / 2));
  track.chunkOffsets = Stco(std::vector<u64>(kRuns, 24));
  track.stsc = Stsc(runs);
  Save(folder / "many-runs", MovieOf(track).Build());
  runs[300].first = 1;
  track.stsc = Stsc(runs);
  Save(folder / "falling-runs", MovieOf(track).Build());
}

void SaveFiles(const std::filesystem::path& folder) {
  Save(folder / "plain-video", Movie().Build());
  Save(folder / "video-with-everything", MovieOf(FullVideo()).Build());
  Movie sounds;
  const Bytes damr = Box("damr", Bytes().Text("KTMP").Zeros(5));
  sounds.tracks = {Sound(AudioEntry("mp4a", 2, 44100, Esds(0x40, 5, {0x12, 0x10}))),
                   Sound(AudioEntry("samr", 1, 8000, damr)), Sound(AudioEntry("sawb", 1, 16000, damr))};
  sounds.ftyp = Box("ftyp", Bytes().Text("3gp4").U32(0).Text("3gp4"));
  Save(folder / "sounds", sounds.Build());
  Movie systems;
  systems.tracks = {Other("odsm", Nmhd(), MpegEntry("mp4s", Esds(1, 1, {}))),
                    Other("sdsm", Nmhd(), MpegEntry("mp4s", Esds(2, 3, {1, 2}))),
                    Other("text", Nmhd(), MpegEntry("ln21", Bytes().U8(0))),
                    Other("hint", FullBox("hmhd", 0, 0, Bytes().Zeros(16)),
                          MpegEntry("rtp ", Bytes().Zeros(8).Add(Box("tims", Bytes().U32(90000)))))};
  systems.tracks.back().udta = Udta({Box("hnti", {Box("sdp ", Bytes().Text("v=0"))})});
  systems.udta =
      Bytes(FullBox("iods", 0, 0, InitialObjectDescriptor()))
          .Add(Udta({Cprt("und", "a notice"), Box("hnti", {Box("rtp ", Bytes().Text("sdp v=0"))})}));
  Save(folder / "systems", systems.Build());
  Track h263;
  h263.stsd = Stsd({VisualEntry("s263", 176, 144, Box("d263", Bytes().Text("KTMP").Zeros(3)))});
  Save(folder / "h263", MovieOf(h263).Build());
  // An entry of other writers beside all of that, so that it is adapted.
  const Bytes esds = Esds(0x20, 4, {0xD0, 0xD1});
  systems.tracks.push_back(Track().With(
      &Track::stsd, Stsd({VisualEntry("mp4v", 320, 240, Bytes(esds).Add(Box("btrt", Bytes().Zeros(12))))})));
  Save(folder.parent_path() / "adapt" / "systems", systems.Build());
  SaveManyRuns(folder);
  Save(folder.parent_path() / "box" / "sounds", sounds.Build());
  Save(folder.parent_path() / "box" / "systems", systems.Build());
  Save(folder.parent_path() / "box" / "video", MovieOf(FullVideo()).Build());
  Bytes nested = Box("free");
  for (int i = 0; i < 62; ++i) nested = Box("trak", nested);
  Save(folder / "nested", Box("moov", nested));
  Save(folder / "empty-tracks", Box("moov", {Box("trak"), Box("trak"), Box("udta"), Box("trak")}));
}

// The minor version chooses how to play.
void SavePlays(const std::filesystem::path& folder) {
  const Bytes amr = Box("damr", Bytes().Zeros(9));
  Movie movie;
  movie.tracks = {Track(), Sound(AudioEntry("mp4a", 2, 44100, Esds(0x40, 5, {0x12, 0x10}))),
                  Other("text", Nmhd(), MpegEntry("ln21", Bytes().U8(0))),
                  Sound(AudioEntry("samr", 1, 8000, amr))};
  for (Track& track : movie.tracks) {
    // Caption pairs and the mark of a text are found in the media data of all.
    track.stsz = ConstantStsz(3, 12);
    track.stsc = Stsc({{1, 12}});
    track.stts = Stts({{12, 33}});
    track.chunkOffsets = Stco({24});
  }
  movie.mdat = Box(
      "mdat", Bytes({1, 0x94, 0x25, 1, 0x94, 0xAD, 1, 0xC8, 0xE5, 1, 0xEC, 0xEC, 1, 0xEF, 0x80})
                  .Add({1, 0x94, 0x20, 1, 0x94, 0x70, 1, 0x61, 0x62, 1, 0x94, 0x2F})
                  .Add({0, 0, 1, 0xB3, 0, 0, 0, 0, 0, 1, 0xB2, 0x11, 0x22, 0x33, 0x44, 1, 3, 'a', 'b', 'c'}));
  const auto save = [&](const char* name, u32 choice) {
    movie.ftyp = Box("ftyp", Bytes().Text("isom").U32(choice));
    Save(folder / name, movie.Build());
  };
  save("four-kinds", 0);
  save("captions-as-text", 2);
  save("stamped-with-stop", 9);
  save("extractor", 4);
  movie.tracks[0].stsz = ConstantStsz(20, 3);
  movie.tracks[0].stts = Stts({{3, 33}});
  movie.tracks[0].stsc = Stsc({{1, 1}});
  movie.tracks[0].chunkOffsets = Stco({51, 51, 24});
  save("metadata-text", 0);
}

// The minor version chooses how to hint.
void SaveHintings(const std::filesystem::path& folder) {
  Movie movie;
  movie.tracks = {Track(), Sound(AudioEntry("mp4a", 2, 44100, Esds(0x40, 5, {0x12, 0x10}))),
                  Other("text", Nmhd(), MpegEntry("ln21", Bytes().U8(0)))};
  for (Track& track : movie.tracks) {
    track.stsz = Stsz({3, 12, 70, 2, 600, 9, 9, 9});
    track.stsc = Stsc({{1, 8}});
    track.stts = Stts({{8, 33}});
    track.chunkOffsets = Stco({24});
  }
  movie.mdat = Box("mdat", Bytes().Zeros(720));
  const struct {
    const char* name;
    u32 choice;
  } cases[] = {{"video-aac", 3}, {"latm", 0xB},    {"video-small-packets", 7},
               {"captions", 0},  {"groups", 0x13}, {"3gp", 0x43}};
  for (const auto& row : cases) {
    movie.ftyp = Box("ftyp", Bytes().Text("isom").U32(row.choice));
    Save(folder / row.name, movie.Build());
  }
}

// The first byte tells the target what follows: even a descriptor, odd a command.
void SaveDescriptors(const std::filesystem::path& folder) {
  const Bytes reference = Descriptor(15, Bytes().U16(1));
  const Bytes od = Descriptor(17, Bytes().U16(0x051F).Add(reference).Add(Descriptor(64, {1})));
  const Bytes custom =
      Descriptor(6, Bytes().U8(0).U8(5).U32(90000).U32(1).Add({32, 0, 8, 9}).U16(0x1234).U64(7));
  const Bytes withUrl = Descriptor(
      3, Bytes().U16(9).U8(0xC5).U16(8).U8(3).Text("a:b").Add(Descriptor(4, Bytes().Zeros(13))).Add(custom));
  Save(folder / "es", Bytes().U8(0).Add(EsDescriptor()));
  Save(folder / "es-with-url", Bytes().U8(0).Add(withUrl));
  Save(folder / "iod", Bytes().U8(0).Add(InitialObjectDescriptor()));
  Save(folder / "od", Bytes().U8(0).Add(od));
  Save(folder / "od-with-url",
       Bytes().U8(0).Add(Descriptor(1, Bytes().U16(0x003F).U8(1).Text("u").Add(Descriptor(200, {1})))));
  Save(folder / "unknown", Bytes().U8(0).Add(Descriptor(99, {1, 2, 3})));
  Save(folder / "padded-size", Bytes().U8(0).Add({5, 0x80, 0x80, 0x80, 0x80, 2, 1, 2}));
  Save(folder / "update", Bytes().U8(1).Add(Descriptor(1, Bytes(od).Add(EsDescriptor()))));
}

// A packet of time 0 whose constructors all have 16 bytes.
Bytes PacketBytes(u8 payloadType, u16 sequenceNumber, bool marker,
                  std::initializer_list<Bytes> constructors) {
  Bytes bytes = Bytes().U32(0).U8(0).U8((marker ? 0x80U : 0U) | payloadType).U16(sequenceNumber).U16(0);
  bytes.U16(constructors.size());
  for (const Bytes& constructor : constructors) bytes.Add(constructor);
  return bytes;
}

Bytes SampleBytes(u32 sample, u16 length) {
  return Bytes().U8(2).U8(0).U16(length).U32(sample).U32(0).U16(1).U16(1);
}

void SaveHintSamples(const std::filesystem::path& folder) {
  const Bytes immediate = Bytes().U8(1).U8(4).Add({0, 16, 9, 0x60}).Zeros(10);
  const Bytes description = Bytes().U8(3).U8(0).U16(9).U32s({1, 2, 3});
  const Bytes plain =
      PacketBytes(96, 1, true, {immediate, SampleBytes(7, 300), description, Bytes().Zeros(16)});
  const Bytes flags = Bytes().U32(0xFFFFFFFE).U8(0x60).U8(97).U16(2).U8(0);
  Save(folder / "all-constructors", HintSampleBytes({plain}));
  Save(folder / "two-packets", HintSampleBytes({PacketBytes(96, 1, false, {SampleBytes(1, 500)}), plain}));
  Save(folder / "flags", HintSampleBytes({Bytes(flags).U8(3).U16(1).Add(immediate)}));
  Save(
      folder / "extra-list",
      HintSampleBytes({Bytes(flags).U8(4).U16(0).U32(24).Add(Box("rtpo", Bytes().U32(5))).Add(Box("udta"))}));
  Save(folder / "extra-data", HintSampleBytes({plain}, Bytes().Text("media")));
  Save(folder / "no-packets", HintSampleBytes({}));
}

// The first byte chooses a subtype of pictures (below 4), of MPEG-4 sound (4, 5) or of AMR; its block
// follows.
void SaveFormats(const std::filesystem::path& folder) {
  const Bytes layer = {0, 0, 1, 0x20, 8, 0xD4, 0x8D, 8, 0, 0xCD, 5, 0x84, 0x12, 0x14, 0x18, 0x3F};
  const Bytes picture = {0, 0, 1, 0xB6, 0x51, 0xCF};
  const Bytes listed = {0x11, 0x80, 0x14, 0xC8, 0x45, 0x23, 0x3A, 0xF0, 0x23, 0x29, 0x80, 0x40, 0x00};
  const Bytes behind = {0x13, 0x08, 0x56, 0xE5, 0x9D, 0x48, 0x80};
  const Bytes wave = {0, 0, 2, 0, 0x44, 0xAC, 0, 0, 0, 0, 0, 0, 1, 0, 16, 0, 0, 0};
  Save(folder / "layer", Bytes().U8(0).Zeros(104).Add(layer).Add(picture));
  Save(folder / "layer-alone", Bytes().U8(3).Add(layer).Add(picture));
  Save(folder / "aac", Bytes().U8(4).Add(wave).Add(behind));
  Save(folder / "listed-channels", Bytes().U8(5).Add(listed));
  Save(folder / "mp3", Bytes().U8(4).Add(wave));
  Save(folder / "amr", Bytes().U8(7).Add({0, 0, 1, 0, 0x40, 0x1F}).Zeros(12));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: ktmp4_make_seeds FOLDER\n");
    return 2;
  }
  SaveFiles(std::filesystem::path(argv[1]) / "file");
  SavePlays(std::filesystem::path(argv[1]) / "play");
  SaveHintings(std::filesystem::path(argv[1]) / "hinting");
  SaveDescriptors(std::filesystem::path(argv[1]) / "descriptor");
  SaveHintSamples(std::filesystem::path(argv[1]) / "hint_sample");
  SaveFormats(std::filesystem::path(argv[1]) / "formats");
  return 0;
}
