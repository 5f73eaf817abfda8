#include "boxes/file_type_box.h"

#include <algorithm>
#include <cstdio>
#include <limits>
#include <new>

namespace kt {

Mp4Result CFileTypeBox::Deserialize(CStorage* storage) {
  if (m_remaining < 8) return MP4_CORRUPT;
  KT_TRY(storage->ReadUInt32(&m_majorBrand));
  KT_TRY(storage->ReadUInt32(&m_minorVersion));
  m_remaining -= 8;
  if (m_remaining % 4 != 0) return MP4_CORRUPT;
  KT_TRY(storage->RequireBytes(m_remaining));
  // The walk refuses every box of 4 GiB or more with this code.
  if (m_remaining > std::numeric_limits<u32>::max()) return MP4_CORRUPT;
  m_compatibleBrandCount = static_cast<u32>(m_remaining / 4);
  if (m_compatibleBrandCount == 0) return MP4_OK;
  m_compatibleBrands.reset(new (std::nothrow) u32[m_compatibleBrandCount]);
  if (!m_compatibleBrands) return MP4_NO_MEMORY;
  for (u32 i = 0; i < m_compatibleBrandCount; ++i) {
    KT_TRY(storage->ReadUInt32(&m_compatibleBrands[i]));
    m_remaining -= 4;
  }
  return MP4_OK;
}

Mp4Result CFileTypeBox::Serialize(CStorage* storage) {
  KT_TRY(CBox::Serialize(storage));
  KT_TRY(storage->WriteUInt32(m_majorBrand));
  KT_TRY(storage->WriteUInt32(m_minorVersion));
  for (const u32 brand : Brands()) KT_TRY(storage->WriteUInt32(brand));
  return MP4_OK;
}

Mp4Result CFileTypeBox::Dump(int indent) {
  KT_TRY(CBox::Dump(indent));
  const CodeCharacters major(m_majorBrand);
  PrintIndent(indent);
  std::printf("Major Brand=%c%c%c%c Minor Version=%u, #Compatible Brands=%u:\n", major.first, major.second,
              major.third, major.fourth, m_minorVersion, m_compatibleBrandCount);
  u32 index = 0;
  for (const u32 brand : Brands()) {
    const CodeCharacters code(brand);
    PrintIndent(indent);
    std::printf("Compatible Brand %u: %c%c%c%c\n", index++, code.first, code.second, code.third, code.fourth);
  }
  return MP4_OK;
}

Mp4Result CFileTypeBox::CalculateSize() {
  KT_TRY(CBox::CalculateSize());
  m_size += 8 + u64{4} * m_compatibleBrandCount;
  return MP4_OK;
}

Mp4Result CFileTypeBox::GetBrand(u32* majorBrand, u32* minorVersion) const {
  *majorBrand = m_majorBrand;
  *minorVersion = m_minorVersion;
  return MP4_OK;
}

Mp4Result CFileTypeBox::SetBrand(u32 majorBrand, u32 minorVersion) {
  m_majorBrand = majorBrand;
  m_minorVersion = minorVersion;
  return MP4_OK;
}

Mp4Result CFileTypeBox::AddCompatibleBrand(u32 brand) {
  if (m_compatibleBrandCount > 0 && !m_compatibleBrands) return MP4_NOT_READY;
  std::unique_ptr<u32[]> grown(new (std::nothrow) u32[m_compatibleBrandCount + 1]);
  if (!grown) return MP4_NO_MEMORY;
  std::ranges::copy(Brands(), grown.get());
  grown[m_compatibleBrandCount++] = brand;
  m_compatibleBrands = std::move(grown);
  return MP4_OK;
}

}  // namespace kt
