#include "filter/formats/standard_types.h"

#include <span>

#include "filter/formats/format_block.h"
#include "filter/formats/private_block.h"
#include "filter/formats/sound_types.h"
#include "filter/formats/visual_layer.h"

namespace kt {
namespace {

constexpr u32 kMpeg4Visual[] = {FourCc("MP4V"), FourCc("mp4v")};
constexpr u32 kH263[] = {FourCc("H263"), FourCc("s263")};

std::vector<MediaType> PictureTypes(std::span<const u32> codes, PictureFacts facts,
                                    std::span<const u8> setup) {
  std::vector<MediaType> types;
  for (const u32 code : codes) {
    facts.compression = code;
    types.push_back(CodedPictures(FourCcGuid(code), FORMAT_VideoInfo, VideoInfoBlock(facts, setup)));
  }
  for (const u32 code : codes) {
    facts.compression = code;
    types.push_back(CodedPictures(FourCcGuid(code), FORMAT_VideoInfo2, VideoInfo2Block(facts, setup)));
  }
  return types;
}

// The time of a picture in the block is that of a media tick, so that it is taken from the stream or not at
// all.
std::vector<MediaType> Mpeg4VisualTypes(PictureFacts facts, std::span<const u8> setup) {
  if (const auto layer = ReadVisualLayer(setup)) {
    if (!facts.width || !facts.height) {
      facts.width = layer->width;
      facts.height = layer->height;
    }
    if (layer->ticksPerSecond)
      facts.timePerPicture = i64{layer->ticksPerPicture} * 10'000'000 / layer->ticksPerSecond;
  }
  return PictureTypes(kMpeg4Visual, facts, setup);
}

std::vector<MediaType> TypesOfPictures(const MediaType& input) {
  if (input.formatType != FORMAT_KtMp4Video || input.format.size() < kPictureSetUpOffset) return {};
  PictureFacts facts;
  facts.width = GetLittleEndian32(input.format, kPictureWidthOffset);
  facts.height = GetLittleEndian32(input.format, kPictureHeightOffset);
  const std::span<const u8> setup = std::span(input.format).subspan(kPictureSetUpOffset);
  if (input.subtype == MEDIASUBTYPE_KtMp4Video || input.subtype == MEDIASUBTYPE_KtMp4VideoStamped)
    return Mpeg4VisualTypes(facts, setup);
  // The contents of "d263" are no set-up of a decoder: pictures of H.263 tell all themselves.
  if (input.subtype == MEDIASUBTYPE_KtH263 || input.subtype == MEDIASUBTYPE_KtH263Stamped)
    return PictureTypes(kH263, facts, {});
  return {};
}

// The rate tells the two kinds apart. Decoders go by the subtype; there is no tag of theirs, so it is the
// lower half of that, as in subtypes that the platform makes of tags.
std::vector<MediaType> AmrTypes(u32 sampleRate) {
  if (sampleRate != 8000 && sampleRate != 16000) return {};
  const Guid subtype = sampleRate == 8000 ? FourCcGuid("samr") : FourCcGuid("sawb");
  const SoundFacts facts = {.tag = static_cast<u16>(subtype.data1 & 0xFFFF),
                            .channels = 1,
                            .sampleRate = sampleRate,
                            .bitsPerSample = 16};
  return {CodedSound(subtype, WaveFormatBlock(facts, {}))};
}

std::vector<MediaType> TypesOfSound(const MediaType& input) {
  if (input.formatType != FORMAT_WaveFormatEx || input.format.size() < kSoundSetUpOffset) return {};
  const u32 channels = static_cast<u32>(GetLittleEndian(input.format, kSoundChannelsOffset, 2));
  const u32 sampleRate = GetLittleEndian32(input.format, kSoundRateOffset);
  const std::span<const u8> setup = std::span(input.format).subspan(kSoundSetUpOffset);
  if (input.subtype == MEDIASUBTYPE_KtAmr || input.subtype == MEDIASUBTYPE_KtAmrStamped)
    return AmrTypes(sampleRate);
  if (input.subtype != MEDIASUBTYPE_KtMp4Audio && input.subtype != MEDIASUBTYPE_KtMp4AudioStamped) return {};
  // The block does not tell the kind of sound. AAC cannot be without a set-up; MP3 has none, and is the one
  // that files have of those without.
  return setup.empty() ? Mp3Types(sampleRate, channels) : AacTypes(setup, sampleRate, channels);
}

}  // namespace

std::vector<MediaType> StandardTypes(const MediaType& input) {
  if (input.majorType == MEDIATYPE_Video) return TypesOfPictures(input);
  if (input.majorType == MEDIATYPE_Audio) return TypesOfSound(input);
  return {};
}

}  // namespace kt
