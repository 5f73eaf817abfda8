#include "tools/copy/movie_details.h"

#include <algorithm>
#include <fstream>
#include <initializer_list>
#include <string_view>
#include <utility>

#include "tools/terminal/failure.h"

namespace kt {
namespace {

using ByteSpan = std::span<const u8>;

// The bytes from an offset on; none behind the end.
ByteSpan From(ByteSpan bytes, u64 offset) {
  return bytes.subspan(static_cast<std::size_t>(std::min<u64>(offset, bytes.size())));
}

// A number of so many bytes at an offset; 0 behind the end.
u64 Number(ByteSpan bytes, u64 offset, u32 size) {
  bytes = From(bytes, offset);
  if (bytes.size() < size) return 0;
  u64 number = 0;
  for (const u8 byte : bytes.first(size)) number = number << 8 | byte;
  return number;
}

struct BoxHeader {
  std::string_view type;
  u64 headerSize = 8;
  u64 size = 0;  // with the header
};

constexpr u64 kLongestHeader = 16;

// The header that the bytes begin with, of a box for which `room` bytes are left. None where no box can be.
std::optional<BoxHeader> HeaderOf(ByteSpan bytes, u64 room) {
  if (bytes.size() < 8) return std::nullopt;
  BoxHeader header{{reinterpret_cast<const char*>(bytes.data()) + 4, 4}, 8, Number(bytes, 0, 4)};
  if (header.size == 1) header = {header.type, kLongestHeader, Number(bytes, 8, 8)};
  if (header.size == 0) header.size = room;  // up to the end
  if (header.size < header.headerSize || header.size > room) return std::nullopt;
  return header;
}

// Gives the payload of each box of a type.
template <class Visit>
void ForEachBox(ByteSpan bytes, std::string_view type, Visit&& visit) {
  while (const auto header = HeaderOf(bytes, bytes.size())) {
    const ByteSpan box = bytes.first(static_cast<std::size_t>(header->size));
    if (header->type == type) visit(From(box, header->headerSize));
    bytes = bytes.subspan(box.size());
  }
}

// The payload of the first box at the end of a path; nothing when there is none.
std::optional<ByteSpan> BoxAt(ByteSpan bytes, std::initializer_list<std::string_view> path) {
  for (const std::string_view type : path) {
    std::optional<ByteSpan> found;
    ForEachBox(bytes, type, [&](ByteSpan payload) {
      if (!found) found = payload;
    });
    if (!found) return std::nullopt;
    bytes = *found;
  }
  return bytes;
}

// An offset in a box whose times take 32 bits in version 0 and 64 in version 1; three of these stand ahead.
u64 BehindTimes(ByteSpan box, u64 offset) {
  return Number(box, 0, 1) == 1 ? offset + 12 : offset;
}

bool IsTransforming(ByteSpan box, u64 offset) {
  constexpr u32 kUnity[] = {0x10000, 0, 0, 0, 0x10000, 0, 0, 0, 0x40000000};
  offset = BehindTimes(box, offset);
  bool isUnity = true, isEmpty = true;  // nine zeros are no matrix
  for (const u32 expected : kUnity) {
    const u64 value = Number(box, offset, 4);
    isUnity &= value == expected;
    isEmpty &= value == 0;
    offset += 4;
  }
  return !isUnity && !isEmpty;
}

std::string LanguageOf(ByteSpan mediaHeader) {
  constexpr u64 kFirstPacked = 0x400, kUnspecified = 0x7FFF;
  const u64 code = Number(mediaHeader, BehindTimes(mediaHeader, 20), 2);
  if (code == 0 || code == kUnspecified) return {};
  if (code < kFirstPacked) return "number " + std::to_string(code);  // as QuickTime counts them
  std::string language;
  for (const u32 shift : {10U, 5U, 0U}) language += static_cast<char>((code >> shift & 0x1F) + 0x60);
  return language == "und" ? "" : language;
}

// QuickTime counts the letters, ahead of them.
std::string HandlerName(ByteSpan handler, bool mayBeCounted) {
  ByteSpan name = From(handler, 24);
  if (mayBeCounted && !name.empty() && name[0] + u64{1} == name.size()) name = From(name, 1);
  return {name.begin(), std::ranges::find(name, u8{0})};
}

// Goes behind the header of a descriptor, which has to have this tag.
bool EnterDescriptor(ByteSpan* bytes, u64 tag) {
  if (bytes->empty() || Number(*bytes, 0, 1) != tag) return false;
  u64 header = 1;
  while (header < 4 && (Number(*bytes, header, 1) & 0x80) != 0) ++header;
  *bytes = From(*bytes, header + 1);
  return true;
}

// The object type in the payload of "esds" (ISO/IEC 14496-1, 7.2.6.5).
std::optional<u8> ObjectTypeIn(const std::optional<ByteSpan>& info) {
  constexpr u64 kFullBoxFields = 4;
  if (!info) return std::nullopt;
  ByteSpan bytes = From(*info, kFullBoxFields);
  if (!EnterDescriptor(&bytes, 3)) return std::nullopt;
  const u64 flags = Number(bytes, 2, 1);
  u64 fields = 3;
  if ((flags & 0x80) != 0) fields += 2;
  if ((flags & 0x40) != 0) fields += 1 + Number(bytes, fields, 1);
  if ((flags & 0x20) != 0) fields += 2;
  bytes = From(bytes, fields);
  if (!EnterDescriptor(&bytes, 4) || bytes.empty()) return std::nullopt;
  return bytes[0];
}

// Of a sample description.
std::optional<u8> ObjectTypeOf(ByteSpan description) {
  constexpr u64 kSoundFields = 28;
  const auto entry = BoxAt(From(description, 8), {"mp4a"});
  return entry ? ObjectTypeIn(BoxAt(From(*entry, kSoundFields), {"esds"})) : std::nullopt;
}

// Of the boxes in a sample entry of whatever file; QuickTime has the one that counts inside of another.
std::optional<u8> ObjectTypeOf(const AdaptedEntry& entry) {
  constexpr u32 kMpeg4Sound = 0x6D703461;  // "mp4a"
  if (entry.code != kMpeg4Sound) return std::nullopt;
  const ByteSpan boxes(entry.boxes, entry.boxesSize);
  const auto info = BoxAt(boxes, {"esds"});
  return ObjectTypeIn(info ? info : BoxAt(boxes, {"wave", "esds"}));
}

std::vector<u32> SyncSamplesOf(ByteSpan table) {
  std::vector<u32> samples;
  const u64 count = std::min<u64>(Number(table, 4, 4), From(table, 8).size() / 4);
  samples.reserve(static_cast<std::size_t>(count));
  for (u64 i = 0; i < count; ++i) samples.push_back(static_cast<u32>(Number(table, 8 + 4 * i, 4)));
  std::ranges::sort(samples);
  return samples;
}

// The payload of the first "moov" of a file.
std::vector<u8> ReadMovie(const std::string& name) {
  std::ifstream stream(name, std::ios::binary | std::ios::ate);
  u64 left = stream ? static_cast<u64>(stream.tellg()) : 0;
  u64 position = 0;
  for (;;) {
    u8 head[kLongestHeader] = {};
    stream.clear();  // the last box may be shorter than the longest header
    stream.seekg(static_cast<std::streamoff>(position));
    stream.read(reinterpret_cast<char*>(head), sizeof head);
    const auto header = HeaderOf(ByteSpan(head).first(static_cast<std::size_t>(stream.gcount())), left);
    if (!header)
      throw Failure("cannot read the tracks of " + Quoted(name) + ": there is no \"moov\" any more");
    if (header->type == "moov") {
      std::vector<u8> movie(static_cast<std::size_t>(header->size - header->headerSize));
      stream.clear();
      stream.seekg(static_cast<std::streamoff>(position + header->headerSize));
      if (stream.read(reinterpret_cast<char*>(movie.data()), static_cast<std::streamsize>(movie.size()))) {
        return movie;
      }
      throw Failure("cannot read the tracks of " + Quoted(name) + ": it has become shorter");
    }
    position += header->size;
    left -= header->size;
  }
}

}  // namespace

bool TrackDetails::IsSync(u32 sampleNumber) const {
  return !syncSamples || std::ranges::binary_search(*syncSamples, sampleNumber);
}

MovieDetails::MovieDetails(InputFile& input) : m_input(input), m_isAdapted(input.IsAdapted()) {
  try {
    m_movie = ReadMovie(input.Name());
  } catch (const Failure&) {
    if (!m_isAdapted) throw;
  }
  ForEachBox(m_movie, "trak", [&](ByteSpan track) { m_tracks.push_back(track); });
  if (m_isAdapted) {
    // By the index of the library, which does not count those that are left out.
    std::vector<ByteSpan> present;
    for (const AdaptedTrack& track : AdaptedTracks(input.File())) {
      if (track.position == 0) continue;
      const bool isFound = track.positionInFile <= m_tracks.size();
      present.push_back(isFound ? m_tracks[track.positionInFile - 1] : ByteSpan());
    }
    m_tracks = std::move(present);
  }
  if (const auto header = BoxAt(m_movie, {"mvhd"})) m_isTransformed = IsTransforming(*header, 36);
}

TrackDetails MovieDetails::Track(u32 index) const {
  TrackDetails details = DetailsOf(index);
  if (!m_isAdapted) return details;
  const std::vector<AdaptedEntry> entries = AdaptedEntries(m_input.File(), index);
  details.isAdapted = true;
  details.sampleEntries = static_cast<u32>(entries.size());
  details.objectType = entries.empty() ? std::nullopt : ObjectTypeOf(entries[0]);
  details.syncSamples.reset();
  return details;
}

TrackDetails MovieDetails::DetailsOf(u32 index) const {
  TrackDetails details;
  if (index == 0 || index > m_tracks.size()) return details;
  const ByteSpan track = m_tracks[index - 1];
  details.isTransformed = m_isTransformed;
  if (const auto box = BoxAt(track, {"tkhd"})) details.isTransformed |= IsTransforming(*box, 40);
  if (const auto box = BoxAt(track, {"mdia", "mdhd"})) details.language = LanguageOf(*box);
  if (const auto box = BoxAt(track, {"mdia", "hdlr"})) details.handlerName = HandlerName(*box, m_isAdapted);
  if (const auto box = BoxAt(track, {"mdia", "minf", "stbl", "stsd"})) {
    details.sampleEntries = static_cast<u32>(Number(*box, 4, 4));
    details.objectType = ObjectTypeOf(*box);
  }
  if (const auto box = BoxAt(track, {"mdia", "minf", "stbl", "stss"}))
    details.syncSamples = SyncSamplesOf(*box);
  return details;
}

}  // namespace kt
