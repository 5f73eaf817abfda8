#include "filter/formats/entry_types.h"

#include <algorithm>
#include <initializer_list>
#include <limits>
#include <numeric>
#include <optional>
#include <utility>

#include "filter/formats/bit_reader.h"
#include "filter/formats/format_block.h"
#include "filter/formats/sound_types.h"

namespace kt {
namespace {

using Set = std::span<const u8>;

/// A box that is larger sets no decoder up.
constexpr std::size_t kLargestSetUp = 1 << 20;

/// The payload of the first box of this code; nothing when there is none, or a broken one in front of it.
std::optional<Set> FindBox(Set boxes, u32 code) {
  constexpr u32 kHeader = 8;
  for (BitReader reader(boxes);;) {
    const u32 size = reader.Read(32);
    const u32 found = reader.Read(32);
    const Set payload = reader.Take(std::max(size, kHeader) - kHeader);
    if (!reader.IsWhole() || size < kHeader) return std::nullopt;
    if (found == code) return payload;
  }
}

/// What sets the decoder up; empty when there is nothing. In QuickTime sound it stands in a "wave" box.
Set FindSetUp(const AdaptedEntry& entry, u32 code) {
  const Set boxes(entry.boxes, entry.boxesSize);
  std::optional<Set> setUp = FindBox(boxes, code);
  if (!setUp) setUp = FindBox(FindBox(boxes, FourCc("wave")).value_or(Set()), code);
  return setUp && setUp->size() <= kLargestSetUp ? *setUp : Set();
}

void Append(std::vector<u8>* target, Set bytes) {
  target->insert(target->end(), bytes.begin(), bytes.end());
}

/// Size and time of a picture, and its shape where its pixels are no squares (ISO/IEC 14496-12, 12.1.4).
PictureFacts PictureOf(const CodedTrack& track) {
  const AdaptedEntry& entry = track.entry;
  PictureFacts picture = {
      .width = entry.width, .height = entry.height, .timePerPicture = track.timePerSample};
  BitReader pixel(FindSetUp(entry, FourCc("pasp")));
  const u64 shapeWidth = u64{entry.width} * pixel.Read(32);
  const u64 shapeHeight = u64{entry.height} * pixel.Read(32);
  if (shapeWidth == 0 || shapeHeight == 0) return picture;
  const u64 common = std::gcd(shapeWidth, shapeHeight);
  constexpr u64 kMost = std::numeric_limits<i32>::max();
  if (shapeWidth / common > kMost || shapeHeight / common > kMost) return picture;
  picture.shapeWidth = static_cast<u32>(shapeWidth / common);
  picture.shapeHeight = static_cast<u32>(shapeHeight / common);
  return picture;
}

/// A type for each of the codes, by which decoders differ.
std::vector<MediaType> PictureTypes(const CodedTrack& track, const SequenceFacts& sequence, Set header,
                                    std::initializer_list<u32> codes) {
  // The length of a picture's parts has 1, 2 or 4 bytes.
  if (sequence.flags == 3) return {};
  PictureFacts picture = PictureOf(track);
  std::vector<MediaType> types;
  for (const u32 code : codes) {
    picture.compression = code;
    types.push_back(
        CodedPictures(FourCcGuid(code), FORMAT_MPEG2Video, Mpeg2VideoBlock(picture, sequence, header)));
  }
  return types;
}

void AppendParameterSet(std::vector<u8>* sets, Set set) {
  sets->push_back(static_cast<u8>(set.size() >> 8));
  sets->push_back(static_cast<u8>(set.size()));
  Append(sets, set);
}

/// Takes `count` parameter sets, each behind 16 bits of length.
void TakeParameterSets(BitReader* record, u32 count, std::vector<u8>* sets) {
  for (; count > 0 && record->IsWhole(); --count) AppendParameterSet(sets, record->Take(record->Read(16)));
}

/// The parameter sets that ride in a sample, as they may with "avc3". ISO/IEC 14496-10, 7.3.1 and table 7-1.
std::vector<u8> ParameterSetsIn(Set sample, u32 lengthSize) {
  std::vector<u8> sets;
  for (BitReader reader(sample);;) {
    const Set unit = reader.Take(reader.Read(8 * lengthSize));
    if (!reader.IsWhole()) return sets;
    const u32 type = unit.empty() ? 0 : unit[0] & 0x1Fu;
    if ((type == 7 || type == 8) && unit.size() <= std::numeric_limits<u16>::max()) {
      AppendParameterSet(&sets, unit);
    }
  }
}

/// ISO/IEC 14496-15, 5.3.3.1.
std::vector<MediaType> AvcTypes(const CodedTrack& track) {
  BitReader record(FindSetUp(track.entry, FourCc("avcC")));
  const u32 version = record.Read(8);
  SequenceFacts sequence;
  sequence.profile = record.Read(8);
  record.Read(8);  // compatibility
  sequence.level = record.Read(8);
  sequence.flags = (record.Read(8) & 3u) + 1;
  std::vector<u8> sets;
  TakeParameterSets(&record, record.Read(8) & 0x1Fu, &sets);
  TakeParameterSets(&record, record.Read(8), &sets);
  if (!record.IsWhole() || version != 1) return {};
  if (sets.empty()) sets = ParameterSetsIn(track.firstSample, sequence.flags);
  if (sets.empty()) return {};
  return PictureTypes(track, sequence, sets, {FourCc("AVC1"), FourCc("avc1")});
}

/// ISO/IEC 14496-15, 8.3.3.1: the record as a whole is what decoders ask for.
std::vector<MediaType> HevcTypes(const CodedTrack& track) {
  const Set whole = FindSetUp(track.entry, FourCc("hvcC"));
  BitReader record(whole);
  record.Read(8);  // version: some writers say 0
  SequenceFacts sequence;
  sequence.profile = record.Read(8) & 0x1Fu;
  record.Take(10);  // compatibility and constraints
  sequence.level = record.Read(8);
  record.Take(8);  // down to the frame rate
  sequence.flags = (record.Read(8) & 3u) + 1;
  record.Read(8);  // arrays of parameter sets
  if (!record.IsWhole()) return {};
  return PictureTypes(track, sequence, whole, {FourCc("HVC1"), FourCc("hvc1")});
}

struct ElementaryStream {
  u32 objectType = 0;
  Set info;
};

/// The body of the next descriptor, if it has this tag; one that is longer than the bytes is cut. ISO/IEC
/// 14496-1, 7.2.2 and 8.3.3.
Set TakeDescriptor(BitReader* reader, u8 tag) {
  if (reader->Read(8) != tag) return {};
  u32 size = 0;
  u32 digit = 0x80;
  for (int i = 0; i < 4 && (digit & 0x80) != 0; ++i) {
    digit = reader->Read(8);
    size = size << 7 | (digit & 0x7F);
  }
  return reader->Take(static_cast<std::size_t>(std::min<u64>(size, reader->BitsLeft() / 8)));
}

/// The ES descriptor of an "esds" box. ISO/IEC 14496-1, 7.2.6.5 and 7.2.6.6; ISO/IEC 14496-14, 5.6.
std::optional<ElementaryStream> ReadElementaryStream(Set esds) {
  constexpr u8 kEs = 3, kDecoderConfig = 4, kDecoderInfo = 5;
  BitReader box(esds);
  box.Read(32);  // version and flags
  BitReader es(TakeDescriptor(&box, kEs));
  es.Read(16);
  const u32 flags = es.Read(8);
  if ((flags & 0x80) != 0) es.Read(16);
  if ((flags & 0x40) != 0) es.Take(es.Read(8));
  if ((flags & 0x20) != 0) es.Read(16);
  BitReader config(TakeDescriptor(&es, kDecoderConfig));
  ElementaryStream stream;
  stream.objectType = config.Read(8);
  config.Take(12);  // stream type, size of buffers, bit rates
  if (!config.IsWhole()) return std::nullopt;
  stream.info = TakeDescriptor(&config, kDecoderInfo);
  return stream;
}

/// Rate and channels are those of the first frame, if the sample begins with one: entries are often wrong.
/// ISO/IEC 11172-3 and 13818-3, 2.4.1.3.
std::vector<MediaType> LayerThreeTypes(const CodedTrack& track) {
  constexpr u32 kLayerThree = 1, kMono = 3;
  constexpr u32 kRates[] = {44100, 48000, 32000, 0};
  constexpr u32 kHalvings[] = {2, 0, 1, 0};  // by the version: 2.5, none, 2, 1
  BitReader frame(track.firstSample);
  const bool isFrame = frame.Read(11) == 0x7FF;
  const u32 version = frame.Read(2);
  const u32 layer = frame.Read(2);
  frame.Skip(5);  // protection, bit rate
  const u32 rate = kRates[frame.Read(2)] >> kHalvings[version];
  frame.Skip(2);  // padding, a private bit
  const u32 mode = frame.Read(2);
  if (!isFrame || !frame.IsWhole()) return Mp3Types(track.entry.sampleRate, track.entry.channels);
  return layer == kLayerThree ? Mp3Types(rate, mode == kMono ? 1 : 2) : std::vector<MediaType>();
}

std::vector<MediaType> Mp4aTypes(const CodedTrack& track) {
  const std::optional<ElementaryStream> stream = ReadElementaryStream(FindSetUp(track.entry, FourCc("esds")));
  if (!stream) return {};
  switch (stream->objectType) {
    case 0x40:
    case 0x66:
    case 0x67:
    case 0x68:
      return AacTypes(stream->info, track.entry.sampleRate, track.entry.channels);
    case 0x69:
    case 0x6B:
      return LayerThreeTypes(track);
    default:
      return {};
  }
}

/// The identification header of an Opus stream (RFC 7845, 5.1) out of a "dOps" box, which says the same in
/// big-endian numbers.
std::vector<u8> OpusHead(Set setUp) {
  std::vector<u8> head = {'O', 'p', 'u', 's', 'H', 'e', 'a', 'd', 1};
  BitReader reader(setUp);
  const auto turn = [&](std::size_t width) {
    const Set number = reader.Take(width);
    head.insert(head.end(), number.rbegin(), number.rend());
  };
  const u32 version = reader.Read(8);
  const u32 channels = reader.Read(8);
  head.push_back(static_cast<u8>(channels));
  for (const std::size_t width : {2u, 4u, 2u}) turn(width);  // pre-skip, rate of the input, gain
  const u32 mapping = reader.Read(8);
  head.push_back(static_cast<u8>(mapping));
  if (mapping != 0) Append(&head, reader.Take(2u + channels));
  const bool isKnown = version == 0 && channels != 0 && (mapping != 0 || channels <= 2);
  return isKnown && reader.IsWhole() ? head : std::vector<u8>();
}

/// The registered tag; then what decoder packs have for want of one.
std::vector<MediaType> OpusTypes(const CodedTrack& track) {
  constexpr u16 kTag = 0x704F;
  constexpr std::size_t kChannels = 9;
  const std::vector<u8> head = OpusHead(FindSetUp(track.entry, FourCc("dOps")));
  if (head.empty()) return {};
  // It is decoded at 48 kHz whatever went in.
  const SoundFacts sound = {.tag = kTag, .channels = head[kChannels], .sampleRate = 48000};
  std::vector<MediaType> types;
  for (const Guid& subtype : {WaveTagGuid(kTag), FourCcGuid("Opus"), FourCcGuid("OPUS")}) {
    types.push_back(CodedSound(subtype, WaveFormatBlock(sound, head)));
  }
  return types;
}

}  // namespace

std::vector<MediaType> TypesOfEntry(const CodedTrack& track) {
  switch (track.entry.code) {
    case FourCc("avc1"):
    case FourCc("avc3"):
      return AvcTypes(track);
    case FourCc("hvc1"):
    case FourCc("hev1"):
      return HevcTypes(track);
    case FourCc("mp4a"):
      return Mp4aTypes(track);
    case FourCc(".mp3"):
      return LayerThreeTypes(track);
    case FourCc("Opus"):
      return OpusTypes(track);
    default:
      return {};
  }
}

}  // namespace kt
