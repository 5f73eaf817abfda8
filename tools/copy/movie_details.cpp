#include "tools/copy/movie_details.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <string_view>
#include <utility>

#include "tools/facts/sample_entry.h"
#include "tools/terminal/failure.h"

namespace kt {
namespace {

// An offset in a box whose times take 32 bits in version 0 and 64 in version 1; three of these stand ahead.
u64 BehindTimes(ByteSpan box, u64 offset) {
  return Number(box, 0, 1) == 1 ? offset + 12 : offset;
}

// The matrix in a header, unless it leaves the picture alone.
std::optional<std::array<i32, 9>> MatrixIn(ByteSpan box, u64 offset) {
  constexpr std::array<i32, 9> kUnity = {0x10000, 0, 0, 0, 0x10000, 0, 0, 0, 0x40000000};
  constexpr std::array<i32, 9> kNone = {};
  std::array<i32, 9> matrix = {};
  offset = BehindTimes(box, offset);
  for (i32& value : matrix) {
    value = static_cast<i32>(Number(box, offset, 4));
    offset += 4;
  }
  return matrix == kUnity || matrix == kNone ? std::nullopt : std::optional(matrix);
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

// The object type of sound in an entry "mp4a".
std::optional<u8> ObjectTypeOf(const SampleEntry& entry) {
  if (entry.code != "mp4a") return std::nullopt;
  const auto stream = MpegStreamOf(entry);
  return stream ? std::optional(stream->objectType) : std::nullopt;
}

void ReadTimes(ByteSpan table, TrackDetails* details) {
  const u64 count = std::min<u64>(Number(table, 4, 4), From(table, 8).size() / 8);
  for (u64 run = 0; run < count; ++run) {
    const u64 samples = Number(table, 8 + 8 * run, 4);
    details->timedSamples += samples;
    if (samples != 0) details->lastDuration = static_cast<u32>(Number(table, 12 + 8 * run, 4));
  }
}

// Edits that are not empty ones ahead of the others, but for one that begins where the media does: ISO/IEC
// 14496-12, 8.6.6.
std::string EditsOf(ByteSpan list, u32 timeScale) {
  const u32 width = Number(list, 0, 1) == 1 ? 8 : 4;
  const u64 entrySize = 2 * width + 4;
  const u64 count = std::min<u64>(Number(list, 4, 4), From(list, 8).size() / entrySize);
  const u64 empty = width == 8 ? ~u64{0} : 0xFFFFFFFF;
  u64 acting = 0, firstTime = 0;
  for (u64 entry = 0; entry < count; ++entry) {
    const u64 time = Number(list, 8 + entry * entrySize + width, width);
    if (acting == 0 && time == empty) continue;
    if (++acting == 1) firstTime = time;
  }
  if (acting > 1) return "its " + std::to_string(acting) + " edits";
  if (firstTime == 0 || timeScale == 0) return {};
  char text[80];
  std::snprintf(text, sizeof text, "its edit, which begins %.3f s into the media",
                static_cast<double>(firstTime) / timeScale);
  return text;
}

// The names of the tags: of iTunes, QuickTime and 3GPP. That of the program that wrote the file says nothing
// of a copy.
std::vector<std::string> TagsIn(ByteSpan movie) {
  std::vector<std::string> tags;
  const auto add = [&](std::string_view type) {
    constexpr std::string_view kWriter = "\xA9too";
    constexpr std::string_view kNoTags[] = {"cprt", "hnti", "meta", "hdlr", "free", "skip", kWriter};
    if (std::ranges::find(kNoTags, type) == std::end(kNoTags)) tags.emplace_back(type);
  };
  const ByteSpan userData = BoxAt(movie, {"udta"}).value_or(ByteSpan());
  ForEachBox(userData, [&](std::string_view type, ByteSpan) { add(type); });
  for (const auto& meta : {BoxAt(userData, {"meta"}), BoxAt(movie, {"meta"})}) {
    if (!meta) continue;
    // A full box, but in QuickTime.
    auto list = BoxAt(From(*meta, 4), {"ilst"});
    if (!list) list = BoxAt(*meta, {"ilst"});
    if (list) ForEachBox(*list, [&](std::string_view type, ByteSpan) { add(type); });
  }
  return tags;
}

// The copyright sign, as QuickTime means it, is told in UTF-8. Tags under names of their own are numbered.
std::string TagName(std::string_view type) {
  if (type[0] == 0)
    return "key " + std::to_string(Number(ByteSpan(reinterpret_cast<const u8*>(type.data()), 4), 0, 4));
  std::string name;
  for (const char letter : type) {
    const auto code = static_cast<unsigned char>(letter);
    if (code == 0xA9) {
      name += "\xC2\xA9";
    } else {
      name += code < 0x20 || code > 0x7E ? ByteInHex(letter) : std::string(1, letter);
    }
  }
  return name;
}

std::vector<u32> SyncSamplesOf(ByteSpan table) {
  std::vector<u32> samples;
  const u64 count = std::min<u64>(Number(table, 4, 4), From(table, 8).size() / 4);
  samples.reserve(static_cast<std::size_t>(count));
  for (u64 i = 0; i < count; ++i) samples.push_back(static_cast<u32>(Number(table, 8 + 4 * i, 4)));
  std::ranges::sort(samples);
  return samples;
}

}  // namespace

bool TrackDetails::IsSync(u32 sampleNumber) const {
  return !syncSamples || std::ranges::binary_search(*syncSamples, sampleNumber);
}

MovieDetails::MovieDetails(InputFile& input) : m_input(input), m_isAdapted(input.IsAdapted()) {
  const auto& movie = input.Boxes().movie;
  if (!movie && !m_isAdapted) {
    throw Failure("cannot read the tracks of " + Quoted(input.Name()) +
                  ": its \"moov\" is not there any more");
  }
  if (movie) m_movie = *movie;
  m_tracks = input.TrackBoxes();
}

std::vector<std::string> MovieDetails::Losses() const {
  std::vector<std::string> losses;
  const std::vector<std::string> tags = TagsIn(m_movie);
  constexpr std::size_t kMostNamed = 8;
  std::string names;
  for (std::size_t i = 0; i < std::min(tags.size(), kMostNamed); ++i) {
    names += (i == 0 ? "" : ", ") + TagName(tags[i]);
  }
  if (tags.size() > kMostNamed) names += " and " + std::to_string(tags.size() - kMostNamed) + " more";
  if (!tags.empty()) losses.push_back("its tags (" + names + ")");
  const auto header = BoxAt(m_movie, {"mvhd"});
  if (header && MatrixIn(*header, 36)) {
    losses.emplace_back("the matrix of the movie, which turns, moves or scales all pictures");
  }
  return losses;
}

TrackDetails MovieDetails::Track(u32 index) const {
  TrackDetails details = DetailsOf(index);
  if (!m_isAdapted) return details;
  const std::vector<AdaptedEntry> entries = AdaptedEntries(m_input.File(), index);
  details.isAdapted = true;
  details.sampleEntries = static_cast<u32>(entries.size());
  details.objectType = entries.empty() ? std::nullopt : ObjectTypeOf(EntryOf(entries[0]));
  details.syncSamples.reset();
  return details;
}

TrackDetails MovieDetails::DetailsOf(u32 index) const {
  TrackDetails details;
  if (index == 0 || index > m_tracks.size()) return details;
  const ByteSpan track = m_tracks[index - 1];
  if (const auto box = BoxAt(track, {"tkhd"})) details.matrix = MatrixIn(*box, 40);
  u32 timeScale = 0;
  if (const auto box = BoxAt(track, {"mdia", "mdhd"})) {
    details.language = LanguageOf(*box);
    timeScale = static_cast<u32>(Number(*box, Number(*box, 0, 1) == 1 ? 20 : 12, 4));
  }
  if (const auto box = BoxAt(track, {"edts", "elst"}); box && !m_isAdapted) {
    details.edits = EditsOf(*box, timeScale);
  }
  if (const auto box = BoxAt(track, {"mdia", "minf", "stbl", "stts"})) ReadTimes(*box, &details);
  details.handlerName = HandlerName(track, m_isAdapted);
  if (const auto box = BoxAt(track, {"mdia", "minf", "stbl", "stsd"})) {
    details.sampleEntries = static_cast<u32>(Number(*box, 4, 4));
    details.objectType = ObjectTypeOf(FirstEntry(track));
  }
  if (const auto box = BoxAt(track, {"mdia", "minf", "stbl", "stss"}))
    details.syncSamples = SyncSamplesOf(*box);
  return details;
}

}  // namespace kt
