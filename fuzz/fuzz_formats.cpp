// Makes the standard types of a pin's type, whose subtype the first byte chooses and whose format block the
// rest is, and reads the rest as the set-up of sound and as a sample of pictures.

#include <vector>

#include "filter/formats/audio_config.h"
#include "filter/formats/picture_order.h"
#include "filter/formats/standard_types.h"
#include "fuzz/memory_file.h"

namespace {

using namespace kt;
using kt::fuzz::Require;

void FuzzTypes(u8 choice, const std::vector<u8>& block) {
  static constexpr Guid kSubtypes[] = {MEDIASUBTYPE_KtMp4Video, MEDIASUBTYPE_KtMp4VideoStamped,
                                       MEDIASUBTYPE_KtH263,     MEDIASUBTYPE_KtH263Stamped,
                                       MEDIASUBTYPE_KtMp4Audio, MEDIASUBTYPE_KtMp4AudioStamped,
                                       MEDIASUBTYPE_KtAmr,      MEDIASUBTYPE_KtAmrStamped};
  const bool isVideo = choice % 8 < 4;
  MediaType input;
  input.majorType = isVideo ? MEDIATYPE_Video : MEDIATYPE_Audio;
  input.subtype = kSubtypes[choice % 8];
  input.formatType = isVideo ? FORMAT_KtMp4Video : FORMAT_WaveFormatEx;
  input.format = block;
  for (const MediaType& type : StandardTypes(input)) {
    const std::vector<u8>& format = type.format;
    Require(type.majorType == input.majorType && type.temporalCompression == isVideo, "the kind stays");
    Require(!type.fixedSizeSamples && type.sampleSize == 0, "samples differ in size");
    if (isVideo) {
      Require(format.size() >= 88 && format.size() <= block.size() + 8, "a header and the set-up");
    } else {
      Require(format.size() >= 18 && format.size() == 18u + format[16] + 256u * format[17],
              "the size behind");
      Require(format[2] + format[3] > 0, "channels");
      Require(format[4] + format[5] + format[6] + format[7] > 0, "a rate");
    }
  }
}

void FuzzConfig(const std::vector<u8>& bytes) {
  const auto config = ReadAudioConfig(bytes);
  if (!config) return;
  Require(config->sampleRate > 0 && config->outputRate > 0, "rates");
  Require(config->channels > 0 && config->channels <= config->outputChannels, "channels");
  Require(config->sbr || (!config->ps && config->outputRate == config->sampleRate),
          "only SBR changes a rate");
}

// What stands ahead of a picture and is no header changes nothing.
void FuzzPictures(const std::vector<u8>& sample) {
  std::vector<u8> behindUserData = {0, 0, 1, 0xB2, 'a'};
  behindUserData.insert(behindUserData.end(), sample.begin(), sample.end());
  Require(KindOfPicture(sample) == KindOfPicture(behindUserData), "the first picture");
  Require(ComesInOrderOfDisplay(sample) == ComesInOrderOfDisplay(behindUserData), "the first layer");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const u8* data, std::size_t size) {
  if (size == 0) return 0;
  const std::vector<u8> bytes(data + 1, data + size);
  FuzzTypes(data[0], bytes);
  FuzzConfig(bytes);
  FuzzPictures(bytes);
  return 0;
}
