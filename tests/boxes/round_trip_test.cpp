#include <gtest/gtest.h>

#include <optional>
#include <set>

#include "boxes/box_factory.h"
#include "support/box_probe.h"
#include "support/descriptor_writer.h"

namespace kt::test {
namespace {

/// A box as it stands in a file, what it prints, and what it is written back as.
struct RoundTrip {
  std::string name;
  Bytes bytes;
  std::string dump;  // without the two lines that every box, or three that a full box, begins with
  std::optional<Bytes> written = {};  // where that differs by design
  std::optional<u64> size = {};       // where `CalculateSize` differs from the bytes written

  /// The box around it, which tells the classes of "rtp " apart.
  u32 Parent() const { return FourCc(name.starts_with("rtp  entry") ? "stsd" : "hnti"); }
};

// A value for each byte, so that a field read at the wrong place or width shows.
Bytes Counted(std::size_t count, u8 first = 1) {
  Bytes bytes;
  for (std::size_t i = 0; i < count; ++i) bytes.U8(first + i);
  return bytes;
}

const Bytes kMatrix = Bytes().U32s({0x10000, 1, 2, 3, 0xFFFF0000, 4, 5, 6, 0x40000000});
const Bytes kEntryHead = Bytes().Zeros(6).U16(7);
const Bytes kPicture = Bytes(Counted(16)).U16(320).U16(240).U32s({0x480000, 0x480001, 0x11223344}).U16(1);
const Bytes kVisualPart = Bytes(kPicture).Text("\4Name and more").Zeros(18).U16(24).U16(0xFFFF);
const Bytes kAudioPart = Bytes().Add(Counted(8)).U16(6).U16(24).U16(3).U16(4).U16(48000).U16(5);
const Bytes kConfig = Descriptor(
    4, Bytes().U8(0x40).U8(0x17).U24(0x030000).U32(128000).U32(96000).Add(Descriptor(5, {0x12, 0x10})));
const Bytes kEsBody = Bytes().U16(513).U8(0xC5).U16(7).U8(3).Text("a:b").Add(kConfig).Add(Descriptor(6, {2}));
const Bytes kEsds = FullBox("esds", 0, 0, Descriptor(3, kEsBody));

// The lines of a dump one level or more further in.
std::string Indented(const std::string& lines, const std::string& indent) {
  std::string text;
  bool atStart = true;
  for (const char c : lines) {
    // A closing brace is indented also where it stands behind the opening one or the text of a session.
    const std::size_t last = text.find_last_not_of(' ');
    const bool behind = last != std::string::npos && text[last] != '\n';
    if ((atStart && c != '\n') || (c == '}' && behind)) text += indent;
    text += c;
    atStart = c == '\n';
  }
  return text;
}

std::string EsdsDump(u32 size = 45) {
  const std::string lines = "Box type = esds  Size = " + std::to_string(size) +
                            "\nVersion=0, Flags=0x000000\n" +
                            "\n  ES descriptor\n  Tag: 0x03  Size: 31\n"
                            "  ES_ID: 513\n"
                            "  Stream dependence flag: 1 URL flag 1 OCR stream flag 0\n"
                            "  Stream priority: 5\n"
                            "  Depends on ES-Id: 7\n"
                            "  URL length 3 URL string:\n    a:b\n"
                            "\n    Decoder config descriptor\n    Tag: 0x04  Size: 17\n"
                            "    Object indication: 0x40  Stream type: 0x05\n"
                            "    UpStream flag: TRUE\n"
                            "    Buffer size DB: 196608\n"
                            "    Max. bitrate: 128000 Avg. bitrate: 96000\n"
                            "\n      Decoder specific info\n      Tag: 0x05  Size: 2\n"
                            "      {\n        12 10 \n      }\n"
                            "\n    SL config descriptor\n    Tag: 0x06  Size: 1\n"
                            "    Predefined SL header: 2\n";
  return "\n" + Indented(lines, "  ");
}

const char kChildDump[] = "{\n  Box type = free  Size = 8\n}\n";
const char kDates[] =
    "Creation Time = 1904/01/01 00:00:09 (9)\n"
    "Modification Time = 1904/02/29 00:00:00 (5097600)\n";
std::vector<RoundTrip> HeaderCases() {
  const Bytes narrow = Bytes().U32s({9, 5097600});
  const Bytes wide = Bytes().U64(0x100000000).U64(9999999999);
  const std::string wideDates =
      "Creation Time = 2040/02/06 06:28:16 (4294967296)\nModification Time = 9999999999 (invalid data)\n";
  Bytes mvhdTail = Bytes().U32(0x8000).U16(0xFF00).U16(0x1234).U32s({1, 2}).Add(kMatrix);
  mvhdTail.U32s({11, 12, 13, 14, 15, 16, 77});
  const Bytes tkhdTail = Bytes().U32s({8, 9}).U16(0xFFFF).U16(2).U16(0xFF00).U16(0x4321).Add(kMatrix).U32s(
      {0x01400080, 0xFFFF1234});
  const std::string tkhdLine =
      "Layer = -1, Volume = 0xffffff00, Width = 0x0140.0x0080, Height = 0xffffffff.0x0034\n";
  return {
      {"ftyp", Box("ftyp", Bytes().Text("isom").U32(512).Text("isommp42")),
       "Major Brand=isom Minor Version=512, #Compatible Brands=2:\nCompatible Brand 0: isom\n"
       "Compatible Brand 1: mp42\n"},
      {"ftyp without brands", Box("ftyp", Bytes().Text("3gp4").U32(0)),
       "Major Brand=3gp4 Minor Version=0, #Compatible Brands=0:\n"},
      {"mvhd", FullBox("mvhd", 0, 0, Bytes(narrow).U32s({600, 1200}).Add(mvhdTail)),
       std::string(kDates) +
           "TimeScale = 600 Duration = 1200\nDuration=1200, Rate=32768, Volume=-256, NextTrackId=77\n"},
      {"mvhd version 1", FullBox("mvhd", 1, 0, Bytes(wide).U32(600).U64(0x123456789A).Add(mvhdTail)),
       wideDates + "TimeScale = 600 Duration = 78187493530\n"
                   "Duration=78187493530, Rate=32768, Volume=-256, NextTrackId=77\n"},
      // A version above 1 has narrow times.
      {"tkhd version 2", FullBox("tkhd", 2, 7, Bytes(narrow).U32s({5, 6, 1000}).Add(tkhdTail)),
       kDates + ("Track ID=5, Duration=1000\n" + tkhdLine)},
      {"tkhd version 1", FullBox("tkhd", 1, 1, Bytes(wide).U32s({5, 6}).U64(1).Add(tkhdTail)),
       wideDates + "Track ID=5, Duration=1\n" + tkhdLine},
      {"mdhd", FullBox("mdhd", 0, 0, Bytes(narrow).U32s({90000, 45000}).U16(0x55C4).U16(3)),
       std::string(kDates) + "Time Scale=90000, Duration=45000\n"},
      {"mdhd version 1", FullBox("mdhd", 1, 0, Bytes(wide).U32(90000).U64(0x100000001).U16(0x55C4).U16(3)),
       wideDates + "Time Scale=90000, Duration=4294967297\n"},
  };
}

std::vector<RoundTrip> TrackStructureCases() {
  const Bytes hdlrFields = Bytes().U32(1).Text("vide").U32s({2, 3, 4});
  const Bytes urlEntry = FullBox("url ", 0, 1);
  std::vector<RoundTrip> cases = {
      {"hdlr", FullBox("hdlr", 0, 0, Bytes(hdlrFields).Text("a name").U8(0)),
       "Handler type=vide Name=a name\n"},
      {"hdlr without a name grows", FullBox("hdlr", 0, 0, hdlrFields), "Handler type=vide Name=\n",
       FullBox("hdlr", 0, 0, Bytes(hdlrFields).U8(0))},
      {"hdlr without a terminator grows", FullBox("hdlr", 0, 0, Bytes(hdlrFields).Text("name")),
       "Handler type=vide Name=name\n", FullBox("hdlr", 0, 0, Bytes(hdlrFields).Text("name").U8(0))},
      {"hdlr shrinks to its first zero byte", FullBox("hdlr", 0, 0, Bytes(hdlrFields).Text("na").Zeros(5)),
       "Handler type=vide Name=na\n", FullBox("hdlr", 0, 0, Bytes(hdlrFields).Text("na").U8(0))},
      {"vmhd", FullBox("vmhd", 0, 1, Bytes().U16(0x40).U16(1).U16(0xFFFF).U16(3)),
       "Graphics mode=64, OP color=1 -1 3\n"},
      {"smhd", FullBox("smhd", 0, 0, Bytes().U16(0xFF00).U16(9)), "Balance=-256\n"},
      {"dref keeps a count that is wrong", FullBox("dref", 0, 0, Bytes().U32(5).Add(urlEntry)),
       "{\n  Box type = url   Size = 12\n  Version=0, Flags=0x000001\n  String Location=\n}\n"},
      {"url ", urlEntry, "String Location=\n"},
      {"url  with a location is one byte longer than its size",
       FullBox("url ", 0, 0, Bytes().Text("http://a").U8(0)), "String Location=http://a\n",
       WithDeclaredSize(FullBox("url ", 0, 0, Bytes().Text("http://a").U8(0)), 20), 20},
      {"url  with an empty location", FullBox("url ", 0, 0, Bytes().U8(0)), "String Location=\n",
       FullBox("url ", 0, 0)},
      {"urn ", FullBox("urn ", 0, 1), "String name= String location=\n"},
      {"cprt", FullBox("cprt", 0, 0, Bytes().U16(0x55C4).Text("(c) me").U8(0)),
       "Language Code: und\nNotice: (c) me\n"},
      {"cprt drops its pad bit", FullBox("cprt", 0, 0, Bytes().U16(0xD5C4).U8(0)),
       "Language Code: und\nNotice: \n", FullBox("cprt", 0, 0, Bytes().U16(0x55C4).U8(0))},
      {"cprt without a notice", FullBox("cprt", 0, 0, Bytes().U16(0x55C4)), "Language Code: und\nNotice: \n"},
      {"cprt without a terminator grows", FullBox("cprt", 0, 0, Bytes().U16(0x55C4).Text("me")),
       "Language Code: und\nNotice: me\n", FullBox("cprt", 0, 0, Bytes().U16(0x55C4).Text("me").U8(0))},
      {"mdat writes nothing and counts a reserved header", Box("mdat", Counted(5)), "", Bytes(), 21},
  };
  for (const char* code : {"moov", "trak", "udta", "mdia", "minf", "dinf", "stbl", "edts"}) {
    cases.push_back({code, Box(code, {Box("free")}), kChildDump});
  }
  return cases;
}

std::vector<RoundTrip> SampleEntryCases() {
  const std::string head = "m_ui16DataReferenceIndex: 7\n";
  const std::string visual = head + "Width=320 Height=240,  Compressor Name=Name and more\n";
  const std::string audio = head + "Channel Count=6, Sample Size=24, Sample Rate=48000\n";
  const std::string damr = "\n  Box type = damr  Size = 11\n  {\n    01 02 03 \n  }\n";
  const Bytes d263 = Box("d263", Counted(17));
  const Bytes amrPayload = Bytes(kEntryHead).Add(kAudioPart).Add(Box("damr", Counted(3)));
  const Bytes dirtyHead = Bytes().Add(Counted(6)).U16(7);
  const Bytes paddedEsds = FullBox("esds", 0, 0, Bytes().U8(3).U32(0x80808000 | kEsBody.size()).Add(kEsBody));
  return {
      {"stsd keeps a count that is wrong", FullBox("stsd", 0, 0, Bytes().U32(2).Add(Box("ln21"))),
       "Entry count = 2\n{\n  Box type = ln21  Size = 8\n}\n"},
      {"stsd without entries", FullBox("stsd", 0, 0, Bytes().U32(0)), "Entry count = 0\n{}\n"},
      {"mp4v", Box("mp4v", Bytes(kEntryHead).Add(kVisualPart).Add(kEsds)), visual + EsdsDump()},
      {"mp4a", Box("mp4a", Bytes(kEntryHead).Add(kAudioPart).Add(kEsds)), audio + EsdsDump()},
      {"mp4s", Box("mp4s", Bytes(kEntryHead).Add(kEsds)), head + EsdsDump()},
      {"reserved bytes of an entry are dropped", Box("mp4s", Bytes(dirtyHead).Add(kEsds)), head + EsdsDump(),
       Box("mp4s", Bytes(kEntryHead).Add(kEsds))},
      {"padded descriptor sizes shrink", Box("mp4s", Bytes(kEntryHead).Add(paddedEsds)), head + EsdsDump(48),
       Box("mp4s", Bytes(kEntryHead).Add(kEsds))},
      {"s263", Box("s263", Bytes(kEntryHead).Add(kVisualPart).Add(d263)),
       visual + "\n  Box type = d263  Size = 25\n  {\n"
                "    01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f 10 \n    11 \n  }\n"},
      {"samr", Box("samr", amrPayload), audio + damr},
      {"sawb", Box("sawb", amrPayload), audio + damr},
      {"d263", Box("d263", Counted(2, 0xFE)), "{\n  fe ff \n}\n"},
      {"damr", Box("damr"), "{\n}\n"},
  };
}

std::vector<RoundTrip> TableCases() {
  const std::string two = "Entry count = 2\n";
  return {
      {"stts", FullBox("stts", 0, 0, Bytes().U32s({2, 3, 40, 5, 60})), two},
      {"ctts", FullBox("ctts", 0, 0, Bytes().U32s({2, 3, 40, 5, 0xFFFFFFFF})), two},
      {"stsz", FullBox("stsz", 0, 0, Bytes().U32s({0, 2, 100, 200})), "Sample Size = 0\nEntry Count = 2\n"},
      {"stsz of one size", FullBox("stsz", 0, 0, Bytes().U32s({7, 3})), "Sample Size = 7\nEntry Count = 3\n"},
      {"stsc", FullBox("stsc", 0, 0, Bytes().U32s({2, 1, 10, 1, 5, 6, 2})), two},
      {"stco", FullBox("stco", 0, 0, Bytes().U32s({2, 48, 0xFFFFFFFF})), two},
      {"co64", FullBox("co64", 0, 0, Bytes().U32(2).U64(48).U64(0x100000000)), two},
      {"stss", FullBox("stss", 0, 0, Bytes().U32s({2, 1, 31})), two},
      {"stss of another version", FullBox("stss", 9, 0xABCDEF, Bytes().U32s({2, 1, 31})), two},
      {"elst", FullBox("elst", 0, 0, Bytes().U32s({2, 1000, 0xFFFFFFFF, 0x10002, 5000, 0, 0x10000})), two},
      {"elst version 1",
       FullBox("elst", 1, 0, Bytes().U32(2).U64(1ULL << 40).U64(~0ULL).U32(0x10002).Zeros(20)), two},
      {"tref prints no braces", Box("tref", {Box("hint", Bytes().U32(1)), Box("mpod", Bytes())}),
       "\n  Box type = hint  Size = 12\n  Number of referenced tracks=1\n  Index:  1 Track Id: 1\n"
       "\n  Box type = mpod  Size = 8\n  Number of referenced tracks=0\n"},
      {"hint", Box("hint", Bytes().U32s({3, 0xFFFFFFFE})),
       "Number of referenced tracks=2\nIndex:  1 Track Id: 3\nIndex:  2 Track Id: -2\n"},
      {"mpod", Box("mpod", Bytes().U32(9)), "Number of referenced tracks=1\nIndex:  1 Track Id: 9\n"},
  };
}

std::vector<RoundTrip> HintCases() {
  const Bytes tims = Box("tims", Bytes().U32(90000));
  const Bytes tsro = Box("tsro", Bytes().U32(0xFFFFFFFE));
  const Bytes snro = Box("snro", Bytes().U32(7));
  const Bytes entryFields = Bytes(kEntryHead).U16(2).U16(3).U32(1450);
  const std::string entry =
      "m_ui16DataReferenceIndex: 7\n"
      "Hint track version = 2, Highest compatible version = 3 Max packet size = 1450\n";
  const std::string timsDump = "\n  Box type = tims  Size = 12\n  Time scale = 90000\n";
  const std::string tsroDump = "\n  Box type = tsro  Size = 12\n  Time offset = -2\n";
  const std::string snroDump = "\n  Box type = snro  Size = 12\n  Time offset = 7\n";
  const Bytes inOrder = Box("rtp ", Bytes(entryFields).Add(tims).Add(tsro).Add(snro));
  const std::string row(60, 'x');
  return {
      {"hmhd", FullBox("hmhd", 0, 0, Bytes().U16(500).U16(250).U32s({9, 0xFFFFFFFF, 5})),
       "Max PDUs=500, Avg. PDUs=250, Max. Bitrate=9, Avg. Bitrate=4294967295"},
      {"hnti without children", Box("hnti"), "{}\n"},
      {"hnti", Box("hnti", {Box("sdp ", Bytes().Text("a"))}),
       "{\n  Box type = sdp   Size = 9\n  SDP text:\n  {\n    a  }\n}\n"},
      {"sdp  without a text", Box("sdp "), "SDP text:\n{}\n"},
      {"sdp  breaks a row after 60 characters", Box("sdp ", Bytes().Text(row + "y")),
       "SDP text:\n{\n  " + row + "\n  y}\n"},
      {"sdp  has a character less in the rows of a later line", Box("sdp ", Bytes().Text("a\r\n" + row)),
       "SDP text:\n{\n  a\r\n  " + row.substr(1) + "\n  x}\n"},
      {"rtp  of a movie keeps its format", Box("rtp ", Bytes().Text("what").Text("v=0\n")),
       "SDP text:\n{\n  v=0\n}\n"},
      {"rtp  entry", inOrder, entry + timsDump + tsroDump + snroDump},
      {"rtp  entry puts its children in order and drops others",
       Box("rtp ", Bytes(entryFields).Add(Box("free", Bytes().Zeros(3))).Add(snro).Add(tsro).Add(tims)),
       entry + timsDump + tsroDump + snroDump, inOrder},
      {"rtp  entry with a time scale alone", Box("rtp ", Bytes(entryFields).Add(tims)), entry + timsDump},
      {"tims", tims, "Time scale = 90000\n"},
      {"tsro", tsro, "Time offset = -2\n"},
      {"snro prints itself as a time offset", snro, "Time offset = 7\n"},
  };
}

std::vector<RoundTrip> OtherCases() {
  const auto iods = [](const Bytes& descriptor) { return FullBox("iods", 0, 0, descriptor); };
  const auto reference = [](u16 index) { return Descriptor(15, Bytes().U16(index)); };
  const Bytes ids = Bytes().U16(0xFFDF), url = Bytes().U16(0x053F).U8(4).Add({'u', 0, 'v', 'w'});
  const Bytes levels = {0xFF, 0xFE, 15, 3, 0xFD}, plain = Bytes().U16(0x004F).Add(levels);
  const Bytes tracks = Bytes().Add(Descriptor(14, Bytes().U32(1))).Add(Descriptor(14, Bytes().U32(~0u)));
  const Bytes mixed = Bytes(ids).Add(Descriptor(200, {1})).Add(Descriptor(64)).Add(reference(7));
  const Bytes extended = Bytes(url).Add(reference(1)).Add(Descriptor(128)).Add(Descriptor(64));
  const std::string levelLines =
      "\n  ODProfileLevelIndication: 0xff\n  SceneProfileLevelIndication: 0xfe\n"
      "  AudioProfileLevelIndication: 0x0f\n  VisualProfileLevelIndication: 0x03\n"
      "  GraphicsProfileLevelIndication: 0xfd\n";
  const std::string trackLines =
      "\n    ES ID inc\n    Tag: 0x0e  Size: 4\n    TrackID: 1\n"
      "\n    ES ID inc\n    Tag: 0x0e  Size: 4\n    TrackID: -1\n"
      "\n    Unknown\n    Tag: 0x41  Size: 0\n";
  const auto head = [](const std::string& size) {
    return "{\n\n  MP4 IOD\n  Tag: 0x10  Size: " + size + "\n  OD_ID: 1\n  URLFlag: ";
  };
  return {
      {"iods", iods(Descriptor(16, Bytes(plain).Add(tracks).Add(Descriptor(65)))),
       head("21") + "FALSE\n  IncludeInlineProfileLevelFlag: FALSE" + levelLines + trackLines + "}\n"},
      {"iods with profiles inline", iods(Descriptor(16, Bytes().U16(0x005F).Add(levels))),
       head("7") + "FALSE\n  IncludeInlineProfileLevelFlag: TRUE" + levelLines + "}\n"},
      {"iods without a URL loses extensions", iods(Descriptor(16, Bytes(plain).Add(Descriptor(130)))),
       head("9") + "FALSE\n  IncludeInlineProfileLevelFlag: FALSE" + levelLines + "}\n",
       iods(Descriptor(16, plain))},
      {"iods with a URL has no levels",
       iods(Descriptor(16, Bytes().U16(0x006F).U8(3).Text("x:y").Add(tracks).Add(Descriptor(130)))),
       head("20") + "TRUE\n  IncludeInlineProfileLevelFlag: FALSE\n  URLString: x:y\n" +
           "\n    Unknown\n    Tag: 0x82  Size: 0\n}\n",
       iods(Descriptor(16, Bytes().U16(0x006F).U8(3).Text("x:y").Add(Descriptor(130))))},
      {"iods of a plain descriptor keeps references, then information",
       iods(Descriptor(17, Bytes(mixed).Add(Descriptor(96)).Add(reference(0xFFFE)).Add(Descriptor(95)))),
       "{\n\n  MP4 OD\n  Tag: 0x11  Size: 19\n  OD_ID: 1023\n  URLFlag: FALSE\n"
       "\n    ES ID ref\n    Tag: 0x0f  Size: 2\n    Track ref: 7\n"
       "\n    ES ID ref\n    Tag: 0x0f  Size: 2\n    Track ref: 65534\n"
       "\n    Unknown\n    Tag: 0x40  Size: 0\n"
       "\n    Unknown\n    Tag: 0x5f  Size: 0\n}\n",
       iods(Descriptor(
           17, Bytes(ids).Add(reference(7)).Add(reference(0xFFFE)).Add(Descriptor(64)).Add(Descriptor(95))))},
      {"iods of one with a URL keeps extensions alone",
       iods(Descriptor(17, Bytes(extended).Add(Descriptor(254)).Add(Descriptor(255)))),
       "{\n\n  MP4 OD\n  Tag: 0x11  Size: 19\n  OD_ID: 20\n  URLFlag: TRUE\n  URLString: u\n"
       "\n    Unknown\n    Tag: 0x80  Size: 0\n"
       "\n    Unknown\n    Tag: 0xfe  Size: 0\n}\n",
       iods(Descriptor(17, Bytes(url).Add(Descriptor(128)).Add(Descriptor(254))))},
      {"free loses its payload", Box("free", Counted(9)), "", Box("free")},
      {"nmhd is unknown when read", FullBox("nmhd", 0, 0), "", Box("nmhd")},
      {"ln21 is unknown when read", Box("ln21", Bytes(kEntryHead).U8(0)), "", Box("ln21")},
  };
}

std::vector<RoundTrip> AllCases() {
  std::vector<RoundTrip> all;
  for (const auto& cases :
       {HeaderCases(), TrackStructureCases(), SampleEntryCases(), TableCases(), HintCases(), OtherCases()}) {
    all.insert(all.end(), cases.begin(), cases.end());
  }
  return all;
}

std::string Code(const Bytes& bytes) {
  return std::string(bytes.begin() + 4, bytes.begin() + 8);
}

// Box type and size, and for full boxes version and flags.
std::string HeadLines(const Bytes& bytes, bool isFull) {
  char line[64];
  std::string text = "\nBox type = " + Code(bytes) + "  Size = " + std::to_string(bytes.size()) + "\n";
  if (isFull) {
    std::snprintf(line, sizeof(line), "Version=%d, Flags=0x%06x\n", bytes[8],
                  static_cast<unsigned>(bytes[9]) << 16 | static_cast<unsigned>(bytes[10]) << 8 | bytes[11]);
    text += line;
  }
  return text;
}

// A dump one level down differs by two blanks in front of every line and nothing else.
TEST(RoundTrip, EveryBoxReadsPrintsSizesAndWritesItself) {
  std::set<std::string> tested;
  for (const RoundTrip& test : AllCases()) {
    SCOPED_TRACE(test.name);
    tested.insert(Code(test.bytes));
    // What stands behind the box has to be left alone.
    const ReadBoxResult read = ReadBox(Bytes(test.bytes).U32(0xDEADBEEF), test.Parent());
    ASSERT_EQ(MP4_OK, read.result) << Mp4ResultName(read.result);
    EXPECT_EQ(test.bytes.size(), read.position);
    const bool isFull = dynamic_cast<CFullBox*>(read.box.get()) != nullptr;
    const std::string dump = HeadLines(test.bytes, isFull) + test.dump;
    EXPECT_EQ(dump, Dumped(*read.box));
    EXPECT_EQ(Indented(dump, "  "), Dumped(*read.box, 1));
    const Bytes& written = test.written ? *test.written : test.bytes;
    EXPECT_EQ(written, WrittenBytes(read.box.get()));
    EXPECT_EQ(test.size.value_or(written.size()), Got(*read.box, &CBox::GetSize));
    // A cut anywhere has to be reported, and never as success with fields that were not there. "mdat" and
    // unknown boxes are skipped by size, beyond the end as well; in memory that shows at once.
    for (std::size_t length = 1; length < test.bytes.size(); ++length) {
      Bytes cut(test.bytes.begin(), test.bytes.begin() + static_cast<std::ptrdiff_t>(length));
      EXPECT_NE(MP4_OK, ReadBox(cut, test.Parent()).result) << "cut to " << length;
    }
  }
  for (const BoxRow& row : BoxRows()) {
    const CodeCharacters code(row.code);
    EXPECT_TRUE(tested.contains({code.first, code.second, code.third, code.fourth})) << std::hex << row.code;
  }
}

}  // namespace
}  // namespace kt::test
