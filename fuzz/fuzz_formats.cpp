// Makes the standard types of a pin's type, whose subtype the first byte chooses and whose format block the
// rest is, and reads the rest as the set-up of sound, as a sample of pictures, as the set-up in a sample
// entry or all the boxes there, and as samples that the companion puts in their times.

#include <algorithm>
#include <cstdint>
#include <deque>
#include <optional>
#include <span>
#include <vector>

#include "filter/decoder/display_times.h"
#include "filter/formats/audio_config.h"
#include "filter/formats/entry_types.h"
#include "filter/formats/picture_order.h"
#include "filter/formats/private_block.h"
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

void FuzzEntry(u8 choice, const std::vector<u8>& bytes) {
  static constexpr struct {
    u32 code;
    u32 box;
  } kRows[] = {{FourCc("avc3"), FourCc("avcC")},
               {FourCc("hvc1"), FourCc("hvcC")},
               {FourCc("mp4a"), FourCc("esds")},
               {FourCc("Opus"), FourCc("dOps")},
               {FourCc(".mp3"), FourCc("wave")}};
  const auto& row = kRows[choice % 5];
  std::vector<u8> boxes;
  if (choice & 0x80) {
    for (const u32 number : {static_cast<u32>(bytes.size() + 8), row.box}) {
      for (const u32 shift : {24u, 16u, 8u, 0u}) boxes.push_back(static_cast<u8>(number >> shift));
    }
  }
  boxes.insert(boxes.end(), bytes.begin(), bytes.end());
  CodedTrack track;
  track.entry = {1, 1, row.code, 320, 240, 2, 44100, boxes.data(), static_cast<u32>(boxes.size())};
  track.firstSample = bytes;
  for (const MediaType& type : TypesOfEntry(track)) {
    const std::vector<u8>& format = type.format;
    if (type.majorType == MEDIATYPE_Video) {
      Require(format.size() >= 132, "MPEG2VIDEOINFO");
      const std::size_t behind = format[116] + 256u * format[117] + 65536u * format[118];
      Require(format.size() == 132 + behind && behind <= 2 * bytes.size(), "the sequence header");
    } else {
      Require(format.size() == 18u + format[16] + 256u * format[17], "the size behind");
    }
  }
}

// What a sample says, from bytes that tell what it has and each number of its times.
std::optional<SampleTimes> ReadTimes(const StreamTimes& stream, u8 what, std::span<const u8>* rest) {
  if ((what & 4) == 0) return std::nullopt;
  const auto take = [&](std::size_t size) {
    const std::span<const u8> taken = rest->first(std::min(size, rest->size()));
    *rest = rest->subspan(taken.size());
    return taken;
  };
  const std::size_t size = what & 8 ? 8 : 2;
  const auto start = static_cast<i64>(GetLittleEndian(take(size), 0, size));
  const auto stop = static_cast<i64>(GetLittleEndian(take(size), 0, size));
  const SampleTimes times = FittingTimes(stream, {start, stop}, (what & 16) != 0, take(what & 32 ? 16 : 0));
  Require(times.start <= times.stop, "a stop behind the start");
  return times;
}

// Samples go out as many as come in, in their order, and few are held back.
void FuzzDisplay(u8 choice, std::span<const u8> rest) {
  CDisplayTimes display;
  if (choice & 1) display.SetOrder((choice & 2) != 0);
  const StreamTimes stream{choice & 4 ? 25 : choice * 0x01010101u, choice & 8 ? 400'000 : INT64_MAX};
  std::deque<std::optional<SampleTimes>> held;
  const auto take = [&] {
    for (std::optional<SampleTimes> times; display.TakeReady(&times); held.pop_front()) {
      Require(!held.empty() && times.has_value() == held.front().has_value(), "as many as came");
      if (times) Require(times->start <= times->stop, "a stop behind the start");
      if (display.Order() != false) Require(times == held.front(), "nothing waits in order of display");
    }
    Require(display.IsWaiting() == !held.empty(), "the rest waits");
    Require(held.size() <= CDisplayTimes::kMostWaiting, "few wait");
  };
  while (!rest.empty()) {
    const u8 what = rest[0];
    rest = rest.subspan(1);
    held.push_back(ReadTimes(stream, what, &rest));
    display.Add(held.back(), static_cast<PictureKind>(what % 4 % 3));
    take();
    if (what >= 0xF0) {
      display.Clear();
      held.clear();
    }
  }
  display.Finish();
  take();
  Require(held.empty(), "all have gone");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const u8* data, std::size_t size) {
  if (size == 0) return 0;
  const std::vector<u8> bytes(data + 1, data + size);
  FuzzTypes(data[0], bytes);
  FuzzConfig(bytes);
  FuzzPictures(bytes);
  FuzzEntry(data[0], bytes);
  FuzzDisplay(data[0], bytes);
  return 0;
}
