// Mutates whole files as trees of boxes, where bytes alone would break a size sooner than reach a table:
// boxes are left out, doubled, moved, wrapped and told to be of another size, and numbers are bent. Linked
// into the targets whose input is a file.

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <random>
#include <string_view>
#include <vector>

#include <ktmp4/types.h>

extern "C" std::size_t LLVMFuzzerMutate(kt::u8* data, std::size_t size, std::size_t maxSize);
extern "C" std::size_t LLVMFuzzerCustomMutator(kt::u8* data, std::size_t size, std::size_t maxSize,
                                               unsigned seed);

namespace {

using kt::u32;
using kt::u64;
using kt::u8;

using Bytes = std::vector<u8>;
using Random = std::minstd_rand;

constexpr std::size_t kHeaderSize = 8;
constexpr int kDeepest = 40;

struct Box {
  std::array<u8, 4> code = {};
  // What stands ahead of the children; of a box without children all that it holds.
  Bytes fields;
  std::vector<Box> children;
  // What its header says in place of its true size.
  std::optional<u32> toldSize;
};

// Boxes, and what is left behind the last whole one.
struct Tree {
  std::vector<Box> boxes;
  Bytes rest;
};

struct Container {
  std::string_view code;
  std::size_t fields;
};

// Of a sample entry the fields ahead of its boxes.
constexpr Container kContainers[] = {
    {"moov", 0},  {"trak", 0},  {"mdia", 0},  {"minf", 0},  {"stbl", 0},  {"dinf", 0},
    {"edts", 0},  {"udta", 0},  {"tref", 0},  {"mvex", 0},  {"moof", 0},  {"traf", 0},
    {"hnti", 0},  {"wave", 0},  {"hinf", 0},  {"meta", 4},  {"dref", 8},  {"stsd", 8},
    {"mp4v", 78}, {"s263", 78}, {"avc1", 78}, {"mp4a", 28}, {"samr", 28}, {"rtp ", 16},
};

u32 Get32(const u8* bytes) {
  return u32{bytes[0]} << 24 | u32{bytes[1]} << 16 | u32{bytes[2]} << 8 | bytes[3];
}

void Put32(u8* bytes, u32 value) {
  for (int i = 0; i < 4; ++i) bytes[i] = static_cast<u8>(value >> (24 - 8 * i));
}

bool Parse(const u8* data, std::size_t size, int depth, Tree* tree);

Box ParseBox(const u8* data, std::size_t size, int depth) {
  Box box;
  std::copy_n(data + 4, 4, box.code.begin());
  const std::string_view code(reinterpret_cast<const char*>(data) + 4, 4);
  const auto* known = std::ranges::find(kContainers, code, &Container::code);
  const u8* payload = data + kHeaderSize;
  const std::size_t payloadSize = size - kHeaderSize;
  Tree inside;
  if (depth < kDeepest && known != std::end(kContainers) && payloadSize >= known->fields &&
      Parse(payload + known->fields, payloadSize - known->fields, depth + 1, &inside)) {
    box.fields.assign(payload, payload + known->fields);
    box.children = std::move(inside.boxes);
  } else {
    box.fields.assign(payload, payload + payloadSize);
  }
  return box;
}

// True when the boxes fill the bytes.
bool Parse(const u8* data, std::size_t size, int depth, Tree* tree) {
  while (size >= kHeaderSize) {
    const u32 boxSize = Get32(data);
    if (boxSize < kHeaderSize || boxSize > size) break;
    tree->boxes.push_back(ParseBox(data, boxSize, depth));
    data += boxSize;
    size -= boxSize;
  }
  tree->rest.assign(data, data + size);
  return size == 0;
}

void Write(const Box& box, Bytes* out) {
  const std::size_t start = out->size();
  out->resize(start + 4);
  out->insert(out->end(), box.code.begin(), box.code.end());
  out->insert(out->end(), box.fields.begin(), box.fields.end());
  for (const Box& child : box.children) Write(child, out);
  Put32(out->data() + start, box.toldSize.value_or(static_cast<u32>(out->size() - start)));
}

std::size_t Below(Random& random, std::size_t count) {
  return random() % count;
}

// A place among siblings.
struct Place {
  std::vector<Box>* siblings;
  std::size_t index;
  Box& Get() const { return (*siblings)[index]; }
};

void AddPlaces(std::vector<Box>& boxes, std::vector<Place>* places) {
  for (std::size_t i = 0; i < boxes.size(); ++i) {
    places->push_back({&boxes, i});
    AddPlaces(boxes[i].children, places);
  }
}

// Numbers at which arithmetic and checks of sizes and counts turn over, and their neighbours.
u64 EdgeNumber(Random& random) {
  constexpr u64 kEdges[] = {0,      1, 7, 8, 12, 13, 14, 15, 16, u64{1} << 31, u64{1} << 32, u64{1} << 63,
                            ~u64{0}};
  return kEdges[Below(random, std::size(kEdges))] + Below(random, 3) - 1;
}

void BendNumber(Bytes& bytes, Random& random) {
  if (bytes.empty()) return;
  const std::size_t width = std::min(std::size_t{1} << Below(random, 4), bytes.size());
  // Counts and first rows stand at the beginning and at multiples of four.
  const std::size_t range = Below(random, 2) ? bytes.size() : std::min<std::size_t>(bytes.size(), 24);
  const std::size_t offset = std::min(Below(random, range) & ~std::size_t{3}, bytes.size() - width);
  const u64 edge = EdgeNumber(random);
  const bool byStep = Below(random, 4) == 0;
  if (byStep) {
    bytes[offset + width - 1] = static_cast<u8>(bytes[offset + width - 1] + (Below(random, 2) ? 1 : 255));
    return;
  }
  for (std::size_t i = 0; i < width; ++i) {
    bytes[offset + i] = static_cast<u8>(edge >> (8 * (width - 1 - i)));
  }
}

void ResizeFields(Bytes& bytes, Random& random) {
  const std::size_t length = 1 + Below(random, 16);
  const std::size_t offset = Below(random, bytes.size() + 1);
  const auto from = bytes.begin() + static_cast<std::ptrdiff_t>(offset);
  if (Below(random, 2)) {
    bytes.insert(from, length, static_cast<u8>(random()));
  } else {
    bytes.erase(from, from + static_cast<std::ptrdiff_t>(std::min(length, bytes.size() - offset)));
  }
}

void Insert(const Place& to, Box box) {
  to.siblings->insert(to.siblings->begin() + static_cast<std::ptrdiff_t>(to.index), std::move(box));
}

void Erase(const Place& from) {
  from.siblings->erase(from.siblings->begin() + static_cast<std::ptrdiff_t>(from.index));
}

void MutateOnce(Tree& tree, Random& random) {
  std::vector<Place> places;
  AddPlaces(tree.boxes, &places);
  if (places.empty()) return;
  const Place place = places[Below(random, places.size())];
  const Place other = places[Below(random, places.size())];
  Box copy = other.Get();
  switch (Below(random, 12)) {
    case 0:
      return Erase(place);
    case 1:  // A box is doubled elsewhere.
      return Insert(place, std::move(copy));
    case 2:  // Two tables change their places, or one takes the other's.
      place.Get().fields = std::move(copy.fields);
      return;
    case 3:
      place.Get().code = copy.code;
      return;
    case 4: {  // Nested in itself.
      Box outer = place.Get();
      outer.children = {std::move(outer)};
      place.Get() = std::move(outer);
      return;
    }
    case 5:
      place.Get().children.push_back(std::move(copy));
      return;
    case 6:
      place.Get().toldSize = static_cast<u32>(EdgeNumber(random));
      return;
    case 7:
      return ResizeFields(place.Get().fields, random);
    default:
      return BendNumber(place.Get().fields, random);
  }
}

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(kt::u8* data, std::size_t size, std::size_t maxSize,
                                               unsigned seed) {
  Random random(seed);
  Tree tree;
  Parse(data, size, 0, &tree);
  if (tree.boxes.empty() || Below(random, 3) == 0) return LLVMFuzzerMutate(data, size, maxSize);
  for (std::size_t count = 1 + Below(random, 4); count > 0; --count) MutateOnce(tree, random);
  Bytes out;
  for (const Box& box : tree.boxes) Write(box, &out);
  out.insert(out.end(), tree.rest.begin(), tree.rest.end());
  if (out.empty() || out.size() > maxSize) return LLVMFuzzerMutate(data, size, maxSize);
  std::ranges::copy(out, data);
  return out.size();
}
