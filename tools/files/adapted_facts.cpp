#include "tools/files/adapted_facts.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace kt {

std::vector<AdaptedTrack> AdaptedTracks(CMp4File& file) {
  std::vector<AdaptedTrack> tracks;
  AdaptedTrack track;
  for (u32 position = 1; GetAdaptedTrack(&file, position, &track) == MP4_OK; ++position) {
    tracks.push_back(track);
  }
  return tracks;
}

std::vector<AdaptedEntry> AdaptedEntries(CMp4File& file, u32 index) {
  std::vector<AdaptedEntry> entries;
  AdaptedEntry entry;
  for (u32 number = 1; GetAdaptedEntry(&file, index, number, &entry) == MP4_OK; ++number) {
    entries.push_back(entry);
  }
  return entries;
}

std::vector<std::string> NoteTexts(const AdaptedTrack& track, u32 wanted) {
  std::vector<std::string> texts;
  for (u32 bit = 0; bit < 32; ++bit) {
    const u32 note = track.notes & wanted & u32{1} << bit;
    if (note == 0) continue;
    texts.emplace_back(AdaptNoteText(static_cast<AdaptNote>(note)));
    if (note == ADAPT_FURTHER_EDITS) texts.back() += " (" + std::to_string(track.furtherEdits) + " more)";
  }
  return texts;
}

std::string CodingName(const std::string& code) {
  struct CodingRow {
    std::string_view code;
    const char* name;
  };
  static constexpr CodingRow kCodings[] = {
      {"avc1", "H.264"},
      {"avc2", "H.264"},
      {"avc3", "H.264, set up in its samples"},
      {"avc4", "H.264, set up in its samples"},
      {"hvc1", "H.265"},
      {"hev1", "H.265, set up in its samples"},
      {"dvh1", "Dolby Vision in H.265"},
      {"dvhe", "Dolby Vision in H.265, set up in its samples"},
      {"vvc1", "H.266"},
      {"vvi1", "H.266, set up in its samples"},
      {"av01", "AV1"},
      {"vp08", "VP8"},
      {"vp09", "VP9"},
      {"mp4v", "MPEG-4 visual"},
      {"s263", "H.263"},
      {"H263", "H.263"},
      {"mjp2", "Motion JPEG 2000"},
      {"jpeg", "JPEG"},
      {"mjpa", "Motion JPEG"},
      {"png ", "PNG"},
      {"ap4h", "ProRes 4444"},
      {"apch", "ProRes 422 HQ"},
      {"apcn", "ProRes 422"},
      {"encv", "encrypted video"},
      {"mp4a", "MPEG-4 audio"},
      {".mp3", "MP3"},
      {"Opus", "Opus"},
      {"ac-3", "AC-3"},
      {"ec-3", "Enhanced AC-3"},
      {"ac-4", "AC-4"},
      {"dtsc", "DTS"},
      {"alac", "Apple Lossless"},
      {"fLaC", "FLAC"},
      {"mha1", "MPEG-H audio"},
      {"mhm1", "MPEG-H audio, set up in its samples"},
      {"samr", "AMR, narrow band"},
      {"sawb", "AMR, wide band"},
      {"twos", "PCM, the high byte first"},
      {"sowt", "PCM, the low byte first"},
      {"lpcm", "PCM"},
      {"ipcm", "PCM"},
      {"fpcm", "PCM of floating point"},
      {"raw ", "PCM of 8 bits"},
      {"in24", "PCM of 24 bits"},
      {"fl32", "PCM of floating point"},
      {"ulaw", "mu-law"},
      {"alaw", "A-law"},
      {"ima4", "IMA ADPCM"},
      {"enca", "encrypted sound"},
      {"ln21", "Line 21 captions"},
      {"tx3g", "timed text"},
      {"wvtt", "WebVTT"},
      {"stpp", "TTML"},
      {"c608", "CEA-608 captions"},
      {"c708", "CEA-708 captions"},
      {"text", "QuickTime text"},
      {"tmcd", "time code"},
      {"rtp ", "RTP hints"},
      {"mp4s", "MPEG-4 systems"},
  };
  const auto* const row = std::ranges::find(kCodings, std::string_view(code), &CodingRow::code);
  return row == std::end(kCodings) ? "" : row->name;
}

}  // namespace kt
