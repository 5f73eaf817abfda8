#include "tools/playing/media_type_text.h"

#include <algorithm>
#include <cstdio>

namespace kt {
namespace {

struct IdentifierRow {
  Guid identifier;
  const char* name;
};

constexpr IdentifierRow kIdentifiers[] = {
    {GUID_NULL, "none"},
    {MEDIATYPE_Video, "vids"},
    {MEDIATYPE_Audio, "auds"},
    {MEDIATYPE_Text, "txts"},
    {MEDIATYPE_AUXLine21Data, "AUXLine21Data"},
    {MEDIASUBTYPE_Line21_BytePair, "Line21_BytePair"},
    {MEDIASUBTYPE_KtMp4Video, "KtMp4Video"},
    {MEDIASUBTYPE_KtMp4VideoStamped, "KtMp4VideoStamped"},
    {MEDIASUBTYPE_KtMp4Audio, "KtMp4Audio"},
    {MEDIASUBTYPE_KtMp4AudioStamped, "KtMp4AudioStamped"},
    {MEDIASUBTYPE_KtH263, "KtH263"},
    {MEDIASUBTYPE_KtH263Stamped, "KtH263Stamped"},
    {MEDIASUBTYPE_KtAmr, "KtAmr"},
    {MEDIASUBTYPE_KtAmrStamped, "KtAmrStamped"},
    {FORMAT_KtMp4Video, "KtMp4Video"},
    {FORMAT_WaveFormatEx, "WaveFormatEx"},
    {FORMAT_MPEG2Video, "MPEG2Video"},
    {MEDIASUBTYPE_RAW_AAC1, "RAW_AAC1"},
    {MEDIASUBTYPE_MPEG_HEAAC, "MPEG_HEAAC"},
    {MEDIASUBTYPE_MP3, "MP3"},
};

/// What the identifier is built on: a code of four characters or the tag of a sound.
std::string CodeText(u32 code) {
  std::string text;
  for (u32 shift = 0; shift < 32; shift += 8) text += static_cast<char>(code >> shift & 0xFF);
  if (std::ranges::all_of(text, [](char letter) { return letter >= ' ' && letter <= '~'; })) return text;
  char tag[20];
  std::snprintf(tag, sizeof tag, "tag 0x%04x", code);
  return tag;
}

std::string IdentifierText(const Guid& identifier) {
  for (const IdentifierRow& row : kIdentifiers) {
    if (row.identifier == identifier) return row.name;
  }
  Guid base = identifier;
  base.data1 = 0;
  if (base == WaveTagGuid(0)) return CodeText(identifier.data1);
  char text[40];
  const u8* rest = identifier.data4;
  std::snprintf(text, sizeof text, "%08x-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x", identifier.data1,
                identifier.data2, identifier.data3, rest[0], rest[1], rest[2], rest[3], rest[4], rest[5],
                rest[6], rest[7]);
  return text;
}

}  // namespace

std::string MediaTypeText(const MediaType& type) {
  std::string text = IdentifierText(type.majorType) + " / " + IdentifierText(type.subtype);
  if (type.format.empty()) return text;
  return text + " / " + IdentifierText(type.formatType) + ", format block of " +
         std::to_string(type.format.size()) + " bytes";
}

}  // namespace kt
