#pragma once

#include <memory>
#include <span>

#include "engine/box/box.h"

namespace kt {

/// "ftyp": the brands that a file conforms to. ISO/IEC 14496-12, 4.3.
class CFileTypeBox final : public CBox {
 public:
  static constexpr u32 kType = FourCc("ftyp");
  CFileTypeBox() : CBox(kType) {}
  explicit CFileTypeBox(CBox&& header) : CBox(std::move(header)) {}

  /// MP4_CORRUPT for fewer than 8 bytes of payload, or when the brands are no multiple of 4 bytes.
  Mp4Result Deserialize(CStorage* storage) override;
  Mp4Result Serialize(CStorage* storage) override;
  Mp4Result Dump(int indent) override;
  Mp4Result CalculateSize() override;

  Mp4Result GetBrand(u32* majorBrand, u32* minorVersion) const;
  Mp4Result SetBrand(u32 majorBrand, u32 minorVersion);
  /// Appends a brand. MP4_NO_MEMORY; MP4_NOT_READY after a failed read.
  Mp4Result AddCompatibleBrand(u32 brand);

 private:
  // Empty where a read has failed after counting.
  std::span<const u32> Brands() const {
    return {m_compatibleBrands.get(), m_compatibleBrands ? m_compatibleBrandCount : 0};
  }

  u32 m_majorBrand = 0;
  u32 m_minorVersion = 0;
  std::unique_ptr<u32[]> m_compatibleBrands;
  u32 m_compatibleBrandCount = 0;
};

}  // namespace kt
