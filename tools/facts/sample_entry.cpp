#include "tools/facts/sample_entry.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

#include "filter/formats/audio_config.h"
#include "tools/files/adapted_facts.h"

namespace kt {
namespace {

struct NameRow {
  u32 number;
  const char* name;
};

template <std::size_t Count>
std::string NameOf(u32 number, const NameRow (&rows)[Count]) {
  const auto* const row = std::ranges::find(rows, number, &NameRow::number);
  return row == std::end(rows) ? "" : row->name;
}

// The body of the descriptor that the bytes begin with, as far as they go; none with another tag.
std::optional<ByteSpan> Descriptor(ByteSpan bytes, u8 tag) {
  if (bytes.empty() || bytes[0] != tag) return std::nullopt;
  u64 header = 1, size = 0;
  do {
    size = size << 7 | (Number(bytes, header, 1) & 0x7F);
  } while ((Number(bytes, header++, 1) & 0x80) != 0 && header < 5);
  const ByteSpan body = From(bytes, header);
  return body.first(static_cast<std::size_t>(std::min<u64>(size, body.size())));
}

// "level 3.1"
std::string LevelText(u32 tenths) {
  const std::string whole = std::to_string(tenths / 10);
  return "level " + (tenths % 10 == 0 ? whole : whole + "." + std::to_string(tenths % 10));
}

std::string ProfileText(const std::string& coding, const std::string& profile, u32 levelInTenths) {
  return coding + (profile.empty() ? "" : ", " + profile + " profile") + ", " + LevelText(levelInTenths);
}

// ISO/IEC 14496-15, 5.3.3.1; the names are those of ISO/IEC 14496-10, annex A.
std::string AvcText(const std::string& name, ByteSpan record) {
  static constexpr NameRow kProfiles[] = {{66, "Baseline"},   {77, "Main"},     {88, "Extended"},
                                          {100, "High"},      {110, "High 10"}, {122, "High 4:2:2"},
                                          {244, "High 4:4:4"}};
  if (record.size() < 4) return name;
  constexpr u32 kBaseline = 66, kConstrained = 0x40;
  const bool isConstrained = record[1] == kBaseline && (record[2] & kConstrained) != 0;
  return ProfileText(name, isConstrained ? "Constrained Baseline" : NameOf(record[1], kProfiles), record[3]);
}

// ISO/IEC 14496-15, 8.3.3.1; ISO/IEC 23008-2, annex A. The level counts thirtieths.
std::string HevcText(const std::string& name, ByteSpan record) {
  static constexpr NameRow kProfiles[] = {
      {1, "Main"}, {2, "Main 10"}, {3, "Main Still Picture"}, {4, "Range Extensions"}};
  if (record.size() < 13) return name;
  return ProfileText(name, NameOf(record[1] & 0x1FU, kProfiles), record[12] / 3U);
}

// ISO/IEC 14496-3, table 1.17.
std::string AudioText(ByteSpan setUp) {
  static constexpr NameRow kObjects[] = {{1, "AAC, main"},
                                         {2, "AAC, low complexity"},
                                         {3, "AAC, scalable sampling rate"},
                                         {4, "AAC, prediction"},
                                         {6, "AAC, scalable"},
                                         {7, "TwinVQ"},
                                         {8, "CELP"},
                                         {9, "HVXC"},
                                         {17, "AAC, error resilient"},
                                         {22, "BSAC"},
                                         {23, "AAC, low delay"},
                                         {32, "MPEG audio, layer 1"},
                                         {33, "MP2"},
                                         {34, "MP3"},
                                         {36, "ALS (lossless)"},
                                         {37, "SLS (lossless)"},
                                         {39, "AAC, enhanced low delay"},
                                         {42, "xHE-AAC"}};
  const auto config = ReadAudioConfig(setUp);
  if (!config) return "AAC";
  if (config->ps) return "HE-AAC, version 2";
  if (config->sbr) return "HE-AAC";
  const std::string name = NameOf(config->objectType, kObjects);
  return name.empty() ? "MPEG-4 audio of type " + std::to_string(config->objectType) : name;
}

// ISO/IEC 14496-1, table 5.
std::string ObjectText(const MpegStream& stream, const std::string& fallback) {
  static constexpr NameRow kObjects[] = {{0x20, "MPEG-4 visual"},
                                         {0x21, "H.264"},
                                         {0x60, "MPEG-2 video"},
                                         {0x61, "MPEG-2 video"},
                                         {0x62, "MPEG-2 video"},
                                         {0x63, "MPEG-2 video"},
                                         {0x64, "MPEG-2 video"},
                                         {0x65, "MPEG-2 video"},
                                         {0x66, "AAC of MPEG-2, main"},
                                         {0x67, "AAC of MPEG-2, low complexity"},
                                         {0x68, "AAC of MPEG-2"},
                                         {0x69, "MP3"},
                                         {0x6A, "MPEG-1 video"},
                                         {0x6B, "MP3"},
                                         {0x6C, "JPEG"},
                                         {0x6D, "PNG"},
                                         {0xA5, "AC-3"},
                                         {0xA6, "Enhanced AC-3"},
                                         {0xA9, "DTS"},
                                         {0xAD, "Opus"},
                                         {0xDD, "Vorbis"},
                                         {0xE1, "QCELP"}};
  constexpr u8 kMpeg4Audio = 0x40;
  if (stream.objectType == kMpeg4Audio) return AudioText(stream.setUp);
  const std::string name = NameOf(stream.objectType, kObjects);
  return name.empty() ? fallback : name;
}

}  // namespace

std::optional<ByteSpan> SampleEntry::Box(std::string_view type) const {
  const auto box = BoxAt(boxes, {type});
  return box ? box : BoxAt(boxes, {"wave", type});
}

SampleEntry FirstEntry(ByteSpan track) {
  constexpr u64 kListFields = 8, kEntryFields = 8, kPictureFields = 78, kSoundFields = 28, kHandlerFields = 8;
  SampleEntry entry;
  const auto table = BoxAt(track, {"mdia", "minf", "stbl", "stsd"});
  const auto handler = BoxAt(track, {"mdia", "hdlr"});
  const ByteSpan list = From(table.value_or(ByteSpan()), kListFields);
  const auto header = HeaderOf(list, list.size());
  if (!header) return entry;
  const ByteSpan fields = From(list.first(static_cast<std::size_t>(header->size)), header->headerSize);
  entry.code = CodeText(static_cast<u32>(Number(list, 4, 4)));
  const u64 kind = Number(handler.value_or(ByteSpan()), kHandlerFields, 4);
  if (kind == FourCc("soun") || entry.code == "mp4a") {
    entry.channels = static_cast<u32>(Number(fields, 16, 2));
    entry.sampleRate = static_cast<u32>(Number(fields, 24, 2));
    entry.boxes = From(fields, kSoundFields);
  } else if (kind == FourCc("vide")) {
    entry.width = static_cast<u32>(Number(fields, 24, 2));
    entry.height = static_cast<u32>(Number(fields, 26, 2));
    entry.boxes = From(fields, kPictureFields);
  } else {
    entry.boxes = From(fields, kEntryFields);
  }
  return entry;
}

SampleEntry EntryOf(const AdaptedEntry& entry) {
  return {CodeText(entry.code), entry.width,      entry.height,
          entry.channels,       entry.sampleRate, ByteSpan(entry.boxes, entry.boxesSize)};
}

SampleEntry FirstEntry(const std::vector<AdaptedEntry>& entries, ByteSpan track) {
  return entries.empty() ? FirstEntry(track) : EntryOf(entries[0]);
}

std::string HandlerName(ByteSpan track, bool mayBeCounted) {
  constexpr u64 kFields = 24;
  ByteSpan name = From(BoxAt(track, {"mdia", "hdlr"}).value_or(ByteSpan()), kFields);
  if (mayBeCounted && !name.empty() && name[0] + u64{1} == name.size()) name = From(name, 1);
  return {name.begin(), std::ranges::find(name, u8{0})};
}

std::optional<MpegStream> MpegStreamOf(const SampleEntry& entry) {
  constexpr u8 kStream = 3, kDecoderConfig = 4, kDecoderInfo = 5;
  constexpr u64 kFullBoxFields = 4, kConfigFields = 13;
  const auto box = entry.Box("esds");
  if (!box) return std::nullopt;
  const auto descriptor = Descriptor(From(*box, kFullBoxFields), kStream);
  if (!descriptor) return std::nullopt;
  const u64 flags = Number(*descriptor, 2, 1);
  u64 fields = 3;
  if ((flags & 0x80) != 0) fields += 2;
  if ((flags & 0x40) != 0) fields += 1 + Number(*descriptor, fields, 1);
  if ((flags & 0x20) != 0) fields += 2;
  const auto config = Descriptor(From(*descriptor, fields), kDecoderConfig);
  if (!config || config->empty()) return std::nullopt;
  const ByteSpan info = Descriptor(From(*config, kConfigFields), kDecoderInfo).value_or(ByteSpan());
  return MpegStream{(*config)[0], info};
}

std::string CodingText(const SampleEntry& entry) {
  std::string name = CodingName(entry.code);
  if (const auto record = entry.Box("avcC")) return AvcText("H.264", *record);
  if (const auto record = entry.Box("hvcC")) return HevcText("H.265", *record);
  if (const auto stream = MpegStreamOf(entry)) return ObjectText(*stream, name);
  return name;
}

}  // namespace kt
