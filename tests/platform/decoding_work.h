#pragma once

#include <mutex>
#include <set>
#include <span>

#include "engine/types.h"
#include "platform/stand_in.h"

namespace kt::test {

/// Which decoder; the numbers are those of winelib/picture_decoder.c.
enum class Coding : int { Mpeg4 = 1, Aac = 2, H263 = 4 };

/// What a decoder has put out: pictures in I420, pieces of sound in 16 bits.
class DecodedPieces {
 public:
  void Add(std::span<const u8> piece) {
    const std::lock_guard lock(m_lock);
    m_pieces.emplace_back(piece.begin(), piece.end());
  }
  std::vector<std::vector<u8>> Take() {
    const std::lock_guard lock(m_lock);
    return std::exchange(m_pieces, {});
  }

 private:
  std::mutex m_lock;
  std::vector<std::vector<u8>> m_pieces;
};

/// A picture in I420 as a renderer shows it: 32 bits, the lowest line first.
std::vector<u8> ToRgb32(std::span<const u8> picture, u32 width, u32 height);

/// A filter that really decodes one of the pins' types, with the decoders of the machine that Wine runs on.
/// What comes out goes to `pieces`, too.
StandInScript DecoderScript(Coding coding, std::shared_ptr<DecodedPieces> pieces);

/// Tells the filter mapper of a decoder for as long as this lives, so that graphs find it by themselves.
class MappedDecoder {
 public:
  MappedDecoder(REFCLSID clsid, Coding coding);
  MappedDecoder(const MappedDecoder&) = delete;
  MappedDecoder& operator=(const MappedDecoder&) = delete;
  ~MappedDecoder();

 private:
  const CLSID m_clsid;
};

}  // namespace kt::test
