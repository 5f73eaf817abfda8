#include "tools/diagnosis/other_formats.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "tools/diagnosis/box_place.h"

namespace kt {
namespace {

using namespace std::string_view_literals;

struct FormatRow {
  std::size_t offset;
  std::string_view mark;
  const char* name;
};

constexpr FormatRow kFormats[] = {
    {8, "AVI "sv, "AVI"},
    {8, "WAVE"sv, "WAV"},
    {0, "\x1A\x45\xDF\xA3"sv, "Matroska or WebM"},
    {0, "OggS"sv, "Ogg"},
    {0, "FLV"sv, "Flash video"},
    {0, "fLaC"sv, "FLAC"},
    {0, "ID3"sv, "MP3"},
    {0, "\xFF\xFB"sv, "MP3"},
    {0, "\xFF\xF3"sv, "MP3"},
    {0, "\xFF\xF1"sv, "AAC as a plain stream (ADTS)"},
    {0, "\xFF\xF9"sv, "AAC as a plain stream (ADTS)"},
    {0, "#!AMR"sv, "AMR as a plain stream"},
    {0, "\0\0\1\xBA"sv, "an MPEG program stream"},
    {0, "\0\0\1\xB3"sv, "a plain stream of MPEG video"},
    {0, "\0\0\1\xB0"sv, "a plain stream of MPEG-4 visual"},
    {0, "\0\0\0\1\x67"sv, "a plain stream of H.264"},
    {0, "\x30\x26\xB2\x75"sv, "Windows Media (ASF)"},
    {0, "#EXTM3U"sv, "a playlist (M3U)"},
    {0, "%PDF"sv, "PDF"},
    {0, "PK\3\4"sv, "a zip archive"},
    {0, "\x1F\x8B"sv, "gzip"},
    {0, "\x89PNG"sv, "a PNG picture"},
    {0, "\xFF\xD8\xFF"sv, "a JPEG picture"},
    {0, "GIF8"sv, "a GIF picture"},
    {0,
     "\x7F"
     "ELF"sv,
     "a program"},
    {0, "MZ"sv, "a program"},
};

// The codes that files of this format begin with (ISO/IEC 14496-12, and QuickTime).
constexpr std::string_view kFirstCodes[] = {"ftyp", "moov", "mdat", "free", "skip",
                                            "wide", "uuid", "udta", "styp", "pnot"};

bool IsTransportStream(std::string_view head) {
  constexpr std::size_t kPacket = 188;
  return head.size() > 2 * kPacket && head[0] == 'G' && head[kPacket] == 'G' && head[2 * kPacket] == 'G';
}

bool IsText(std::string_view head) {
  return !head.empty() && std::ranges::all_of(head, [](char letter) {
    const auto byte = static_cast<unsigned char>(letter);
    return byte >= 0x20 || byte == '\n' || byte == '\r' || byte == '\t' || byte == '\f';
  });
}

bool IsWebPage(std::string_view head) {
  std::string small(head.substr(0, 256));
  std::ranges::transform(small, small.begin(), [](char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + ('a' - 'A')) : letter;
  });
  return small.find("<!doctype html") != std::string::npos || small.find("<html") != std::string::npos;
}

std::string NameOf(std::string_view head) {
  for (const FormatRow& row : kFormats) {
    if (head.size() >= row.offset && head.substr(row.offset).starts_with(row.mark)) return row.name;
  }
  if (IsTransportStream(head)) return "an MPEG transport stream";
  if (IsText(head)) return IsWebPage(head) ? "a web page (HTML)" : "a text";
  return "";
}

}  // namespace

std::string OtherFormat(ByteSpan head) {
  const std::string_view text(reinterpret_cast<const char*>(head.data()), head.size());
  const std::string_view first = text.substr(std::min<std::size_t>(text.size(), 4), 4);
  if (std::ranges::find(kFirstCodes, first) != std::end(kFirstCodes)) return "";
  const std::string name = NameOf(text);
  if (!name.empty()) return "it does not begin like an MP4 file but like " + name;
  const bool mayBegin = LooksLikeCode(static_cast<u32>(Number(head, 4, 4)));
  return mayBegin ? "" : "it does not begin like an MP4 file";
}

}  // namespace kt
