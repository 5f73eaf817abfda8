#include "tools/report/box_contents.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <string_view>

#include "tools/terminal/shown_text.h"

namespace kt {
namespace {

constexpr u64 kMostRows = 24;
constexpr u64 kLongestText = 2000;

/// The layout of a box: a letter for the form of each field, its name behind it, a comma between two.
///
///   1 2 4 8  a number of so many bytes      w  of 4, in version 1 of 8        i  a signed w
///   f        fixed 8.8 of 2 bytes           F  fixed 16.16, U without sign     c  four characters
///   l        a language of 5-bit letters    v  version and flags              t  text up to the end
///   -N       N bytes that say nothing       h  the rest in hexadecimal
///
/// A table has the same for its records; their number is the last field.
struct LayoutRow {
  std::string_view code;
  std::string_view fields;
  std::string_view record = {};
};

constexpr LayoutRow kLayouts[] = {
    {"mvhd", "v,wcreated,wmodified,4time scale,wduration,Frate,fvolume,-70,4next track id"},
    {"tkhd",
     "v,wcreated,wmodified,4track id,-4,wduration,-8,2layer,2alternate group,fvolume,-2,-36,Fwidth,Fheight"},
    {"mdhd", "v,wcreated,wmodified,4time scale,wduration,llanguage"},
    {"hdlr", "v,-4,chandler,-12,tname"},
    {"vmhd", "v,2graphics mode"},
    {"smhd", "v,fbalance"},
    {"hmhd", "v,2largest packet,2mean packet,4highest bit rate,4mean bit rate"},
    {"mehd", "v,wduration"},
    {"trex", "v,4track id,4sample entry,4duration,4size,4flags of samples"},
    {"mfhd", "v,4sequence number"},
    {"tfhd", "v,4track id"},
    {"tfdt", "v,wdecoding time"},
    {"trun", "v,4samples"},
    {"sidx", "v,4reference,4time scale,wearliest time,wfirst offset,-2,2references"},
    {"mfro", "v,4size"},
    {"btrt", "4buffer,4highest bit rate,4mean bit rate"},
    {"pasp", "4horizontal spacing,4vertical spacing"},
    {"colr", "ckind,2primaries,2transfer,2matrix"},
    {"frma", "coriginal format"},
    {"tims", "4RTP time scale"},
    {"tsro", "4offset of times"},
    {"snro", "4offset of sequence numbers"},
    {"url ", "v,tlocation"},
    {"cprt", "v,llanguage,tnotice"},
    {"sdp ", "ttext"},
    {"name", "ttext"},
    {"data", "4type,-4,ttext"},
    {"esds", "v,hdescriptor"},
    {"iods", "v,hdescriptor"},
    {"avcC", "hset-up"},
    {"hvcC", "hset-up"},
    {"av1C", "hset-up"},
    {"dOps", "hset-up"},
    {"d263", "hset-up"},
    {"damr", "hset-up"},
    {"ftyp", "cbrand,4version", "ccompatible brand"},
    {"styp", "cbrand,4version", "ccompatible brand"},
    {"hint", "", "4track id"},
    {"mpod", "", "4track id"},
    {"chap", "", "4track id"},
    {"sync", "", "4track id"},
    {"stsd", "v,4entries"},
    {"dref", "v,4entries"},
    {"stts", "v,4entries", "4samples,4ticks each"},
    {"ctts", "v,4entries", "4samples,iticks later"},
    {"stss", "v,4entries", "4sync sample"},
    {"stsc", "v,4entries", "4first chunk,4samples each,4sample entry"},
    {"stsz", "v,4size of all,4entries", "4bytes"},
    {"stco", "v,4entries", "4offset"},
    {"co64", "v,4entries", "8offset"},
    {"elst", "v,4entries", "wmovie ticks,imedia time,Frate"},
};
// Sample entries, by what stands around them.
constexpr LayoutRow kPicture = {"", "-6,2data reference,-16,2width,2height,-12,2pictures a sample"};
constexpr LayoutRow kSound = {"", "-6,2data reference,2version,-6,2channels,2bits,-4,Urate"};
constexpr std::string_view kPictures[] = {"mp4v", "s263", "avc1", "avc3", "hvc1", "hev1", "av01",
                                          "vp09", "vp08", "mjpa", "jpeg", "ap4h", "apch", "encv"};
constexpr std::string_view kSounds[] = {"mp4a", "samr", "sawb", "Opus", "ac-3", "ec-3", "alac",
                                        "fLaC", ".mp3", "twos", "sowt", "lpcm", "ipcm", "enca"};

bool IsOneOf(std::span<const std::string_view> codes, u32 code) {
  return std::ranges::find(codes, code, CodeOf) != codes.end();
}

const LayoutRow* LayoutOf(u32 code, u32 owner) {
  if (owner == CodeOf("stsd")) {
    if (IsOneOf(kPictures, code)) return &kPicture;
    return IsOneOf(kSounds, code) ? &kSound : nullptr;
  }
  const auto* const row =
      std::ranges::find(kLayouts, code, [](const LayoutRow& each) { return CodeOf(each.code); });
  return row == std::end(kLayouts) ? nullptr : row;
}

std::string FixedText(i64 value, double one) {
  char text[64];
  std::snprintf(text, sizeof text, "%.7g", static_cast<double>(value) / one);
  return text;
}

std::string TextOf(ByteSpan bytes) {
  std::string text(bytes.begin(), bytes.end());
  while (!text.empty() && text.back() == 0) text.pop_back();
  return text;
}

std::string HexOf(ByteSpan bytes) {
  constexpr std::size_t kMost = 128;
  std::string text;
  for (const u8 byte : bytes.first(std::min(bytes.size(), kMost))) {
    text += "0123456789abcdef"[byte >> 4];
    text += "0123456789abcdef"[byte & 15];
    text += ' ';
  }
  return bytes.size() > kMost ? text + "..." : text;
}

/// Reads fields one behind the other, as a layout names them.
class FieldReader {
 public:
  FieldReader(FileBytes& file, const BoxPlace& box) : m_file(file), m_at(box.Payload()), m_end(box.End()) {}

  // Calls `take(name, value)` with each; false once the box ends ahead of one.
  template <class Take>
  bool Read(std::string_view layout, Take take) {
    while (!layout.empty()) {
      const std::size_t comma = std::min(layout.find(','), layout.size());
      const std::string_view field = layout.substr(0, comma);
      layout.remove_prefix(std::min(comma + 1, layout.size()));
      const u64 width = WidthOf(field);
      if (width > m_end - m_at) return false;
      if (field[0] != '-') {
        const BoxValue value = ValueOf(field[0], width);
        if (field[0] == 'v') m_isWide = m_file.NumberAt(m_at, 1) == 1;
        if (field[0] != 'v' || value.text != "0")
          take(field[0] == 'v' ? "version and flags" : std::string(field.substr(1)), value);
      }
      m_at += width;
    }
    return true;
  }

  u64 WidthOfAll(std::string_view layout) const {
    u64 width = 0;
    for (std::size_t begin = 0; begin < layout.size();) {
      const std::size_t comma = std::min(layout.find(',', begin), layout.size());
      width += WidthOf(layout.substr(begin, comma - begin));
      begin = comma + 1;
    }
    return width;
  }

  u64 Left() const { return m_end - m_at; }
  u64 LastNumber() const { return m_number; }

 private:
  u64 WidthOf(std::string_view field) const {
    switch (field[0]) {
      case '1':
        return 1;
      case '2':
      case 'f':
      case 'l':
        return 2;
      case '8':
        return 8;
      case 'w':
      case 'i':
        return m_isWide ? 8 : 4;
      case 't':
      case 'h':
        return m_end - m_at;
      case '-': {
        u64 width = 0;
        for (const char digit : field.substr(1)) width = 10 * width + static_cast<u64>(digit - '0');
        return width;
      }
      default:
        return 4;
    }
  }

  BoxValue ValueOf(char form, u64 width) {
    using enum BoxValue::Form;
    if (form == 't') return {kText, TextOf(m_file.At(m_at, std::min(width, kLongestText)))};
    if (form == 'h') return {kText, HexOf(m_file.At(m_at, width))};
    m_number = m_file.NumberAt(m_at, static_cast<u32>(width));
    const i64 isSigned = width == 8 ? static_cast<i64>(m_number) : static_cast<i32>(m_number);
    switch (form) {
      case 'i':
        return {kNumber, std::to_string(isSigned)};
      case 'f':
        return {kNumber, FixedText(static_cast<i16>(m_number), 256)};
      case 'F':
        return {kNumber, FixedText(isSigned, 65536)};
      case 'U':
        return {kNumber, FixedText(static_cast<i64>(m_number), 65536)};
      case 'c':
        return {kText, CodeText(static_cast<u32>(m_number))};
      case 'l':
        return {kText, LanguageText(static_cast<u32>(m_number))};
      default:
        return {kCount, std::to_string(m_number)};
    }
  }

  static std::string LanguageText(u32 packed) {
    std::string text;
    for (const u32 shift : {10U, 5U, 0U}) {
      const u32 letter = packed >> shift & 31;
      text += letter >= 1 && letter <= 26 ? static_cast<char>('a' + letter - 1) : '?';
    }
    return text;
  }

  FileBytes& m_file;
  u64 m_at;
  u64 m_end;
  u64 m_number = 0;
  bool m_isWide = false;
};

void ReadRows(FieldReader& reader, const LayoutRow& layout, BoxContents* contents) {
  const u64 width = reader.WidthOfAll(layout.record);
  const bool isCounted = layout.fields.ends_with("entries");
  contents->rowCount = std::min(reader.Left() / width, isCounted ? reader.LastNumber() : ~u64{0});
  for (u64 row = 0; row < std::min(contents->rowCount, kMostRows); ++row) {
    std::vector<BoxValue> values;
    const bool isFirst = row == 0;
    const bool isWhole = reader.Read(layout.record, [&](const std::string& name, const BoxValue& value) {
      if (isFirst) contents->columns.push_back(name);
      values.push_back(value);
    });
    if (!isWhole) return;
    contents->rows.push_back(std::move(values));
  }
}

}  // namespace

BoxContents ReadBoxContents(FileBytes& file, const BoxPlace& box, u32 owner) {
  BoxContents contents;
  const LayoutRow* const layout = LayoutOf(box.code, owner);
  if (layout == nullptr) return contents;
  FieldReader reader(file, box);
  const bool isWhole = reader.Read(layout->fields, [&](const std::string& name, const BoxValue& value) {
    if (!value.text.empty()) contents.fields.push_back({name, value});
  });
  if (isWhole && !layout->record.empty()) ReadRows(reader, *layout, &contents);
  return contents;
}

}  // namespace kt
