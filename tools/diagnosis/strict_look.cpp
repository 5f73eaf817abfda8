#include "tools/diagnosis/strict_look.h"

#include <algorithm>
#include <iterator>

#include "tools/diagnosis/descriptor_look.h"

namespace kt {
namespace {

constexpr u32 kFullHeader = 4;  // version and flags

enum class Form {
  kBoxes,      // boxes behind the fields
  kFields,     // the fields and nothing else
  kTable,      // fields that end with a count, and so many records
  kSizes,      // "stsz", whose records may be left out
  kEntry,      // a sample entry: one box of a certain code behind the fields
  kHintEntry,  // boxes behind the fields, and "tims" among them
  kText,       // fields, and whatever is behind them
  kWords,      // fields, and numbers of four bytes
  kLocation,   // "url ", which has no text when its flags are not 0
  kEsDescriptor,
  kObjectDescriptor,
};

struct StrictRow {
  std::string_view code;
  Form form;
  u32 fields = 0;      // bytes of the payload
  u32 wideFields = 0;  // in version 1, where that differs
  u32 record = 0;      // bytes of a record
  u32 wideRecord = 0;
  std::string_view child = {};  // of a sample entry
};

constexpr StrictRow kRows[] = {
    {"moov", Form::kBoxes},
    {"trak", Form::kBoxes},
    {"mdia", Form::kBoxes},
    {"minf", Form::kBoxes},
    {"stbl", Form::kBoxes},
    {"dinf", Form::kBoxes},
    {"edts", Form::kBoxes},
    {"udta", Form::kBoxes},
    {"tref", Form::kBoxes},
    {"hnti", Form::kBoxes},
    {"stsd", Form::kBoxes, 8},
    {"dref", Form::kBoxes, 8},
    {"mvhd", Form::kFields, 100, 112},
    {"tkhd", Form::kFields, 84, 96},
    {"mdhd", Form::kFields, 24, 36},
    {"vmhd", Form::kFields, 12},
    {"smhd", Form::kFields, 8},
    {"hmhd", Form::kFields, 20},
    {"tims", Form::kFields, 4},
    {"tsro", Form::kFields, 4},
    {"snro", Form::kFields, 4},
    {"urn ", Form::kFields, 4},
    {"stts", Form::kTable, 8, 8, 8},
    {"ctts", Form::kTable, 8, 8, 8},
    {"stss", Form::kTable, 8, 8, 4},
    {"stsc", Form::kTable, 8, 8, 12},
    {"stco", Form::kTable, 8, 8, 4},
    {"co64", Form::kTable, 8, 8, 8},
    {"elst", Form::kTable, 8, 8, 12, 20},
    {"stsz", Form::kSizes, 12, 12, 4},
    {"mp4v", Form::kEntry, 78, 0, 0, 0, "esds"},
    {"mp4a", Form::kEntry, 28, 0, 0, 0, "esds"},
    {"mp4s", Form::kEntry, 8, 0, 0, 0, "esds"},
    {"s263", Form::kEntry, 78, 0, 0, 0, "d263"},
    {"samr", Form::kEntry, 28, 0, 0, 0, "damr"},
    {"sawb", Form::kEntry, 28, 0, 0, 0, "damr"},
    {"hdlr", Form::kText, 24},
    {"cprt", Form::kText, 6},
    {"ftyp", Form::kWords, 8},
    {"hint", Form::kWords},
    {"mpod", Form::kWords},
    {"url ", Form::kLocation, 4},
    {"iods", Form::kObjectDescriptor, 4},
};
constexpr StrictRow kHintEntry = {"rtp ", Form::kHintEntry, 16};
constexpr StrictRow kSessionText = {"rtp ", Form::kText, 4};
// It is known inside of a sample entry alone.
constexpr StrictRow kEsds = {"esds", Form::kEsDescriptor, 4};

const StrictRow* RowOf(u32 code) {
  const auto* const row =
      std::ranges::find(kRows, code, [](const StrictRow& each) { return CodeOf(each.code); });
  return row == std::end(kRows) ? nullptr : row;
}

// "20 bytes of "btrt" behind its fields".
std::string LeftOver(FileBytes& file, u64 begin, u64 end, const std::string& behind) {
  constexpr std::size_t kMostNamed = 4;
  std::string text = BytesText(end - begin);
  if (std::vector<u32> codes; AreBoxes(file, begin, end, &codes)) {
    for (std::size_t i = 0; i < std::min(codes.size(), kMostNamed); ++i) {
      text += (i == 0 ? " of " : " and ") + QuotedCode(codes[i]);
    }
    if (codes.size() > kMostNamed) text += " and more";
  }
  return text + " behind " + behind;
}

std::string TooShort(u64 has, u64 wanted) {
  return "it has " + BytesText(has) + ", and its fields take " + Grouped(wanted);
}

// Of something that has to take the whole payload.
std::string TakesAll(FileBytes& file, const BoxPlace& box, u64 taken, const std::string& name) {
  return taken == box.PayloadSize() ? "" : LeftOver(file, box.Payload() + taken, box.End(), name);
}

std::string TableFault(FileBytes& file, const BoxPlace& box, u64 fields, u64 record) {
  const u64 count = file.NumberAt(box.Payload() + fields - 4, 4);
  const u64 room = (box.PayloadSize() - fields) / record;
  if (count > room) {
    return "its count says " + Grouped(count) + (count == 1 ? " entry" : " entries") +
           ", and it has bytes for " + Grouped(room);
  }
  return TakesAll(file, box, fields + count * record,
                  count == 1 ? "its 1 entry" : "its " + Grouped(count) + " entries");
}

std::string DescriptorFault(FileBytes& file, const BoxPlace& box, bool isStream) {
  const ByteSpan bytes = file.At(box.Payload() + kFullHeader, box.PayloadSize() - kFullHeader);
  if (bytes.size() < box.PayloadSize() - kFullHeader) return "";  // longer than what is looked at
  u64 length = 0;
  std::string fault = isStream ? EsDescriptorFault(bytes, &length) : ObjectDescriptorFault(bytes, &length);
  if (!fault.empty()) return fault;
  return TakesAll(file, box, kFullHeader + length, "its descriptor");
}

// Of a box of this row whose fields are there.
std::string Fault(FileBytes& file, const BoxPlace& box, const StrictRow& row, bool isWide) {
  const u64 fields = isWide && row.wideFields != 0 ? row.wideFields : row.fields;
  const u64 record = isWide && row.wideRecord != 0 ? row.wideRecord : row.record;
  switch (row.form) {
    case Form::kFields:
      return TakesAll(file, box, fields, "its fields");
    case Form::kTable:
      return TableFault(file, box, fields, record);
    case Form::kSizes:
      if (file.NumberAt(box.Payload() + kFullHeader, 4) == 0) return TableFault(file, box, fields, record);
      return TakesAll(file, box, fields, "the one size that all samples have");
    case Form::kWords:
      if (box.PayloadSize() % 4 == 0) return "";
      return BytesText(box.PayloadSize()) + ", which cannot be numbers of 4 bytes each";
    case Form::kLocation:
      if (file.NumberAt(box.Payload() + 1, 3) == 0) return "";
      return TakesAll(file, box, kFullHeader, "flags that say that there is no more");
    case Form::kEsDescriptor:
    case Form::kObjectDescriptor:
      return DescriptorFault(file, box, row.form == Form::kEsDescriptor);
    default:
      return "";
  }
}

StrictLook LookByRow(FileBytes& file, const BoxPlace& box, const StrictRow& row);

// What stands in the place of the box that a sample entry has to have.
std::string OtherChild(FileBytes& file, const BoxPlace& entry, const BoxPlace& found,
                       std::string_view wanted) {
  const std::string name = "\"" + std::string(wanted) + "\"";
  const u64 version = file.NumberAt(entry.Payload() + 8, 2);
  if (entry.code == CodeOf("mp4a") && (version == 1 || version == 2)) {
    return "a QuickTime sound entry of version " + std::to_string(version) +
           ", whose further fields stand where " + name + " has to";
  }
  return LooksLikeCode(found.code) ? QuotedCode(found.code) + " stands where " + name + " has to"
                                   : "there is no " + name + " behind its fields";
}

StrictLook LookAtEntry(FileBytes& file, const BoxPlace& entry, const StrictRow& row) {
  const std::string name = "\"" + std::string(row.child) + "\"";
  const u64 begin = entry.Payload() + row.fields;
  BoxPlace child;
  const HeaderLook look = LookAtHeader(file, begin, entry.End(), &child);
  if (look == HeaderLook::kNoRoomForHeader) return {.fault = "there is no " + name + " in it"};
  if (child.code != CodeOf(row.child)) return {.fault = OtherChild(file, entry, child, row.child)};
  if (look == HeaderLook::kSmallerThanHeader) {
    return {.fault = "its size is below that of its header", .inside = child};
  }
  const bool isEsds = row.child == kEsds.code;
  if (look == HeaderLook::kLargerThanRoom) {
    // One of the two sizes is wrong: the child's, unless that one agrees with what is in it.
    const bool isRight =
        isEsds && child.size <= file.Size() - begin && LookByRow(file, child, kEsds).fault.empty();
    if (isRight) return {.fault = "it ends ahead of the end of its " + name};
    return {.fault = "it says " + BytesText(child.size) + ", and " + QuotedCode(entry.code) + " has " +
                     Grouped(entry.End() - begin) + " left",
            .inside = child};
  }
  if (isEsds) {
    if (StrictLook inner = LookByRow(file, child, kEsds); !inner.fault.empty()) {
      inner.inside = child;
      return inner;
    }
  }
  if (child.End() == entry.End()) return {};
  return {.fault = LeftOver(file, child.End(), entry.End(), name)};
}

StrictLook LookAtHintEntry(FileBytes& file, const BoxPlace& entry, u64 children) {
  std::vector<u32> codes;
  if (AreBoxes(file, children, entry.End(), &codes)) {
    if (std::ranges::count(codes, CodeOf("tims")) == 0) return {.fault = "there is no \"tims\" in it"};
    for (const char* single : {"tims", "tsro", "snro"}) {
      if (std::ranges::count(codes, CodeOf(single)) > 1) {
        return {.fault = "there is more than one \"" + std::string(single) + "\" in it"};
      }
    }
  }
  return {.children = children};
}

StrictLook LookByRow(FileBytes& file, const BoxPlace& box, const StrictRow& row) {
  const bool isWide = file.NumberAt(box.Payload(), 1) == 1;
  const u64 fields = isWide && row.wideFields != 0 ? row.wideFields : row.fields;
  if (box.PayloadSize() < fields) return {.fault = TooShort(box.PayloadSize(), fields)};
  if (row.form == Form::kBoxes) return {.children = box.Payload() + fields};
  if (row.form == Form::kEntry) return LookAtEntry(file, box, row);
  if (row.form == Form::kHintEntry) return LookAtHintEntry(file, box, box.Payload() + fields);
  return {.fault = Fault(file, box, row, isWide)};
}

}  // namespace

StrictLook LookAsStrictReader(FileBytes& file, const BoxPlace& box, u32 around) {
  if (box.code == CodeOf("rtp ")) {
    if (around == CodeOf("stsd")) return LookByRow(file, box, kHintEntry);
    if (around == CodeOf("hnti")) return LookByRow(file, box, kSessionText);
    return {.fault = "a \"rtp \" stands neither first in \"stsd\" nor first in \"hnti\""};
  }
  const StrictRow* const row = RowOf(box.code);
  return row == nullptr ? StrictLook{} : LookByRow(file, box, *row);
}

bool IsReadByField(u32 code) {
  const StrictRow* const row = RowOf(code);
  return row != nullptr && row->form != Form::kText && row->form != Form::kWords;
}

}  // namespace kt
