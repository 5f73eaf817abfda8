#pragma once

#include "engine/box/box.h"

namespace kt {

/// "mdat": the bytes of the samples, which never stand in memory: skipped when read, streamed when written.
/// ISO/IEC 14496-12, 8.1.1.
///
/// A written box takes a header of 16 bytes up front, because its size is known only at the end. Below 4 GiB
/// the header is patched to its form of 8 bytes, and the 8 bytes behind it become payload that no chunk
/// offset points at.
class CMediaDataBox final : public CBox {
 public:
  static constexpr u32 kType = FourCc("mdat");
  CMediaDataBox() : CBox(kType) {}
  explicit CMediaDataBox(CBox&& header) : CBox(std::move(header)) {}

  /// Skips the payload; that the file is long enough comes to light at the next header.
  Mp4Result Deserialize(CStorage* storage) override;
  /// Writes nothing: no walk writes the top level of a file.
  Mp4Result Serialize(CStorage* storage) override;
  Mp4Result CalculateSize() override;

  /// Writes the reserved header at the storage's position. `storage` is borrowed from then on.
  Mp4Result StartWriting(CStorage* storage);
  /// Appends bytes; `*position` takes their offset in the file. After a failure the next bytes take that same
  /// place. MP4_FILE_IO for a size of 0, MP4_NOT_READY before `StartWriting`.
  Mp4Result AppendData(const u8* data, u32 size, u64* position);
  /// Patches the header and goes back to the end, also when that fails. Can be repeated, and bytes can be
  /// appended behind it. MP4_NOT_READY before `StartWriting`.
  Mp4Result FinishWriting();

 private:
  Mp4Result PatchHeader(u64 end);

  CStorage* m_storage = nullptr;  // null until writing has started
  u64 m_dataLength = 0;
  u64 m_headerPosition = 0;
};

}  // namespace kt
