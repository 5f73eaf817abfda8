#include "filter/formats/visual_layer.h"

#include <algorithm>
#include <bit>

#include "filter/formats/bit_reader.h"

namespace kt {
namespace {

// Types of objects, ISO/IEC 14496-2, table 6-10.
constexpr u32 kSimple = 1;
constexpr u32 kRealTimeSimple = 10;
constexpr u32 kFineGranularity = 18;
// Shapes, table 6-14.
constexpr u32 kRectangular = 0;
constexpr u32 kGrayscale = 3;

void ReadControl(BitReader* bits, VisualLayer* layer) {
  bits->Skip(2);  // chroma
  layer->lowDelay = bits->ReadFlag();
  if (bits->ReadFlag()) bits->Skip(79);  // the decoder's buffers
}

void ReadLayer(BitReader* bits, VisualLayer* layer) {
  bits->Skip(1);
  const u32 objectType = bits->Read(8);
  if (objectType == kFineGranularity) return;  // has a header of its own
  if (bits->ReadFlag()) bits->Skip(7);         // version and priority
  if (bits->Read(4) == 15) bits->Skip(16);     // shape of the pixels
  // By default pictures of the other types may come out of order, which says nothing of whether they do.
  if (objectType == kSimple || objectType == kRealTimeSimple) layer->lowDelay = true;
  if (bits->ReadFlag()) ReadControl(bits, layer);
  const u32 shape = bits->Read(2);
  if (shape == kGrayscale) return;  // what follows depends on another header
  bits->Skip(1);
  layer->ticksPerSecond = bits->Read(16);
  bits->Skip(1);
  // As many bits as the numbers below the ticks of a second take.
  const u32 largest = std::max(layer->ticksPerSecond, 2U) - 1;
  if (bits->ReadFlag()) layer->ticksPerPicture = bits->Read(static_cast<u32>(std::bit_width(largest)));
  if (shape != kRectangular) return;
  bits->Skip(1);
  layer->width = bits->Read(13);
  bits->Skip(1);
  layer->height = bits->Read(13);
}

}  // namespace

std::size_t FindStartCode(std::span<const u8> bytes, std::size_t from) {
  for (std::size_t at = from; at < bytes.size() && bytes.size() - at > 3; ++at) {
    if (bytes[at] == 0 && bytes[at + 1] == 0 && bytes[at + 2] == 1) return at + 3;
  }
  return bytes.size();
}

std::optional<VisualLayer> ReadVisualLayer(std::span<const u8> bytes) {
  for (std::size_t at = FindStartCode(bytes, 0); at < bytes.size(); at = FindStartCode(bytes, at + 1)) {
    if (bytes[at] == kPictureCode) return {};
    if (bytes[at] < kFirstLayerCode || bytes[at] > kLastLayerCode) continue;
    BitReader bits(bytes.subspan(at + 1));
    VisualLayer layer;
    ReadLayer(&bits, &layer);
    if (!bits.IsWhole()) return {};
    return layer;
  }
  return {};
}

}  // namespace kt
