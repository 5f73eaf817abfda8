#include "tools/diagnosis/descriptor_look.h"

#include <optional>

namespace kt {
namespace {

constexpr u32 kEs = 3, kDecoderConfig = 4, kSlConfig = 6, kMp4Initial = 16, kMp4Object = 17;
constexpr const char* kOverrun = "the sizes of its descriptors contradict each other";

struct DescriptorPlace {
  u32 tag = 0;
  ByteSpan body;
  u64 length = 0;  // with the header
};

// The descriptor that the bytes begin with; none when it ends behind them. ISO/IEC 14496-1, 7.2.2 and 8.3.3.
std::optional<DescriptorPlace> FirstOf(ByteSpan bytes) {
  constexpr std::size_t kLongestHeader = 6;
  u32 size = 0;
  for (std::size_t i = 1; i < kLongestHeader && i < bytes.size(); ++i) {
    size = size << 7 | (bytes[i] & 0x7FU);
    if ((bytes[i] & 0x80) != 0) continue;
    if (size > bytes.size() - i - 1) return std::nullopt;
    return DescriptorPlace{bytes[0], bytes.subspan(i + 1, size), i + 1 + u64{size}};
  }
  return std::nullopt;
}

// Calls `visit` with each of the descriptors that fill the bytes; false when they do not.
template <class Visit>
bool ForEachDescriptor(ByteSpan bytes, Visit visit) {
  while (!bytes.empty()) {
    const auto each = FirstOf(bytes);
    if (!each) return false;
    visit(*each);
    bytes = bytes.subspan(static_cast<std::size_t>(each->length));
  }
  return true;
}

// What lies behind fields of that length; nothing when the body is shorter.
std::optional<ByteSpan> Behind(ByteSpan body, u64 fields) {
  if (body.size() < fields) return std::nullopt;
  return body.subspan(static_cast<std::size_t>(fields));
}

bool IsDecoderConfigRight(ByteSpan body) {
  const auto children = Behind(body, 13);
  return children && ForEachDescriptor(*children, [](const DescriptorPlace&) {});
}

std::string StreamFault(ByteSpan body) {
  const u64 flags = Number(body, 2, 1);
  u64 fields = 3 + ((flags & 0x80) != 0 ? 2 : 0);
  if ((flags & 0x40) != 0) fields += 1 + Number(body, fields, 1);
  const auto children = Behind(body, fields);
  if (!children) return "its descriptor is shorter than its fields";
  bool hasDecoderConfig = false, hasSlConfig = false, isRight = true, isSlKnown = true;
  const bool fits = ForEachDescriptor(*children, [&](const DescriptorPlace& child) {
    if (child.tag == kDecoderConfig) isRight = isRight && IsDecoderConfigRight(child.body);
    if (child.tag == kSlConfig) isSlKnown = isSlKnown && !child.body.empty() && child.body[0] <= 2;
    hasDecoderConfig |= child.tag == kDecoderConfig;
    hasSlConfig |= child.tag == kSlConfig;
  });
  if (!fits || !isRight) return kOverrun;
  if (!isSlKnown) return "its SL config descriptor is of a kind that is not known";
  if (!hasDecoderConfig) return "there is no decoder config descriptor in it";
  return hasSlConfig ? "" : "there is no SL config descriptor in it";
}

}  // namespace

std::string EsDescriptorFault(ByteSpan bytes, u64* length) {
  const auto place = FirstOf(bytes);
  if (!place) return kOverrun;
  *length = place->length;
  if (place->tag != kEs)
    return "a descriptor of tag " + std::to_string(place->tag) + " stands where tag 3 has to";
  return StreamFault(place->body);
}

std::string ObjectDescriptorFault(ByteSpan bytes, u64* length) {
  const auto place = FirstOf(bytes);
  if (!place) return kOverrun;
  *length = place->length;
  if (place->tag != kMp4Initial && place->tag != kMp4Object) {
    return "a descriptor of tag " + std::to_string(place->tag) + " stands where tag 16 or 17 has to";
  }
  const bool hasUrl = (Number(place->body, 1, 1) & 0x20) != 0;
  const u64 levels = place->tag == kMp4Initial ? 5 : 0;
  const auto children = Behind(place->body, 2 + (hasUrl ? 1 + Number(place->body, 2, 1) : levels));
  if (!children) return "its descriptor is shorter than its fields";
  return ForEachDescriptor(*children, [](const DescriptorPlace&) {}) ? "" : kOverrun;
}

}  // namespace kt
