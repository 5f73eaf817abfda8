#include "engine/box/box.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <limits>
#include <new>

namespace kt {
namespace {

constexpr u32 kUserTypeSize = 16;

bool FitsIn32Bits(u64 value) {
  return value <= std::numeric_limits<u32>::max();
}

}  // namespace

CBox::CBox(u32 type, const u8* userType) : m_size(8), m_type(type) {
  if (userType == nullptr) return;
  m_userType.reset(new (std::nothrow) u8[kUserTypeSize]);
  if (m_userType) std::copy_n(userType, kUserTypeSize, m_userType.get());
  m_size += kUserTypeSize;
}

Mp4Result CBox::Deserialize(CStorage* storage) {
  u32 declared = 0;
  KT_TRY(storage->ReadUInt32(&declared));
  KT_TRY(storage->ReadUInt32(&m_type));
  u64 header = 8;
  if (declared == 1) {
    KT_TRY(storage->ReadUInt64(&m_size));
    header = 16;
  } else if (declared == 0) {
    // The box extends to the end of the file, at any depth.
    u64 position = 0;
    u64 fileSize = 0;
    KT_TRY(storage->GetPosition(&position));
    KT_TRY(storage->GetSize(&fileSize));
    m_size = fileSize - position + 8;
  } else {
    m_size = declared;
  }
  if (m_type == FourCc("uuid")) {
    m_userType.reset(new (std::nothrow) u8[kUserTypeSize]);
    if (!m_userType) return MP4_NO_MEMORY;
    KT_TRY(storage->ReadBytes(m_userType.get(), kUserTypeSize));
    header += kUserTypeSize;
  }
  if (m_size < header) return MP4_CORRUPT;
  m_remaining = m_size - header;
  return MP4_OK;
}

Mp4Result CBox::Serialize(CStorage* storage) {
  const bool large = !FitsIn32Bits(m_size);
  KT_TRY(storage->WriteUInt32(large ? 1 : static_cast<u32>(m_size)));
  KT_TRY(storage->WriteUInt32(m_type));
  if (large) {
    // The field itself grows by the largesize that is now written: one call per CalculateSize.
    m_size += 8;
    KT_TRY(storage->WriteUInt64(m_size));
  }
  if (m_type == FourCc("uuid")) {
    if (!m_userType) return MP4_NOT_READY;
    KT_TRY(storage->WriteBytes(m_userType.get(), kUserTypeSize));
  }
  return MP4_OK;
}

Mp4Result CBox::Dump(int indent) {
  const CodeCharacters code(m_type);
  std::printf("\n");
  PrintIndent(indent);
  std::printf("Box type = %c%c%c%c  Size = %" PRIu64 "\n", code.first, code.second, code.third, code.fourth,
              m_size);
  if (m_type == FourCc("uuid")) {
    // The line shows the addresses of the four words and not the words, and stays so.
    const auto address = static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(m_userType.get()));
    PrintIndent(indent);
    std::printf("User type = %x%x%x%x\n", address, address + 4, address + 8, address + 12);
  }
  return MP4_OK;
}

Mp4Result CBox::CalculateSize() {
  m_size = m_type == FourCc("uuid") ? 8 + kUserTypeSize : 8;
  return MP4_OK;
}

Mp4Result CBox::GetSize(u64* size) {
  *size = FitsIn32Bits(m_size) ? m_size : m_size + 8;
  return MP4_OK;
}

Mp4Result CBox::GetType(u32* type) const {
  *type = m_type;
  return MP4_OK;
}

Mp4Result CBox::GetRemaining(u64* remaining) const {
  *remaining = m_remaining;
  return MP4_OK;
}

Mp4Result CBox::TakeSizeOff(u64* remaining) {
  u64 size = 0;
  KT_TRY(GetSize(&size));
  // No box is smaller than its header, unless the size of a box near 2^64 has wrapped.
  if (*remaining < size || size < 8) return MP4_CORRUPT;
  *remaining -= size;
  return MP4_OK;
}

CFullBox::CFullBox(u32 type, u8 version, u32 flags) : CBox(type), m_version(version), m_flags(flags) {
  m_size += 4;
}

CFullBox::CFullBox(CBox&& header, u8 version, u32 flags) noexcept
    : CBox(std::move(header)), m_version(version), m_flags(flags) {}

Mp4Result CFullBox::Deserialize(CStorage* storage) {
  KT_TRY(storage->ReadUInt8(&m_version));
  m_remaining -= 1;
  KT_TRY(storage->ReadUInt24(&m_flags));
  m_remaining -= 3;  // an empty payload wraps here without complaint
  return MP4_OK;
}

Mp4Result CFullBox::Serialize(CStorage* storage) {
  KT_TRY(CBox::Serialize(storage));
  KT_TRY(storage->WriteUInt8(m_version));
  return storage->WriteUInt24(m_flags);
}

Mp4Result CFullBox::Dump(int indent) {
  KT_TRY(CBox::Dump(indent));
  PrintIndent(indent);
  std::printf("Version=%d, Flags=0x%06x\n", m_version, m_flags);
  return MP4_OK;
}

Mp4Result CFullBox::CalculateSize() {
  KT_TRY(CBox::CalculateSize());
  m_size += 4;
  return MP4_OK;
}

}  // namespace kt
