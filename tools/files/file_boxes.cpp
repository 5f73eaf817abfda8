#include "tools/files/file_boxes.h"

#include <fstream>

#include "tools/terminal/failure.h"

namespace kt {
namespace {

constexpr u64 kLongestHeader = 16;
constexpr u64 kMostOfFileType = 8 + 4 * 1000;

std::vector<u8> ReadAt(std::ifstream& stream, u64 position, u64 size) {
  std::vector<u8> bytes(static_cast<std::size_t>(size));
  stream.clear();  // the last box may be shorter than the longest header
  stream.seekg(static_cast<std::streamoff>(position));
  stream.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(size));
  bytes.resize(static_cast<std::size_t>(stream.gcount()));
  return bytes;
}

}  // namespace

std::optional<BoxHeader> HeaderOf(ByteSpan bytes, u64 room) {
  if (bytes.size() < 8) return std::nullopt;
  BoxHeader header{{reinterpret_cast<const char*>(bytes.data()) + 4, 4}, 8, Number(bytes, 0, 4)};
  if (header.size == 1) header = {header.type, kLongestHeader, Number(bytes, 8, 8)};
  if (header.size == 0) header.size = room;  // up to the end
  if (header.size < header.headerSize || header.size > room) return std::nullopt;
  return header;
}

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

FileBoxes ReadFileBoxes(const std::string& name) {
  // Fragments follow "moov" closely, and a file may be nothing but small boxes.
  constexpr u32 kMostBoxesBehind = 10'000;
  FileBoxes boxes;
  std::ifstream stream(name, std::ios::binary | std::ios::ate);
  if (!stream) throw SystemFailure("cannot read " + Quoted(name));
  u64 left = static_cast<u64>(stream.tellg());
  u64 position = 0;
  for (u32 behind = 0; behind < kMostBoxesBehind && !boxes.hasFragments;) {
    const std::vector<u8> head = ReadAt(stream, position, kLongestHeader);
    const auto header = HeaderOf(head, left);
    if (!header) break;
    boxes.hasFragments = header->type == "moof";
    const u64 size = header->size - header->headerSize;
    if (boxes.fileType.empty() && header->type == "ftyp") {
      boxes.fileType = ReadAt(stream, position + header->headerSize, std::min(size, kMostOfFileType));
    }
    if (!boxes.movie && header->type == "moov") {
      boxes.movie = ReadAt(stream, position + header->headerSize, size);
      if (boxes.movie->size() != size) boxes.movie.reset();
    }
    if (boxes.movie) ++behind;
    position += header->size;
    left -= header->size;
  }
  return boxes;
}

}  // namespace kt
