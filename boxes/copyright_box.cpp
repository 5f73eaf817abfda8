#include "boxes/copyright_box.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace kt {
namespace {

constexpr u8 kLetterBase = 0x60;

char Letter(u8 value) {
  return static_cast<char>(value + kLetterBase);
}

}  // namespace

Mp4Result CCopyrightBox::Deserialize(CStorage* storage) {
  if (m_remaining < 6) return MP4_CORRUPT;
  KT_TRY(CFullBox::Deserialize(storage));
  u16 packed = 0;
  KT_TRY(storage->ReadUInt16(&packed));
  m_remaining -= 2;
  for (u32 i = 0; i < 3; ++i) m_language[i] = static_cast<u8>(packed >> (10 - 5 * i) & 0x1F);
  if (m_remaining == 0) return MP4_OK;
  KT_TRY(m_notice.Read(storage, m_remaining));
  m_remaining = 0;
  return MP4_OK;
}

Mp4Result CCopyrightBox::Serialize(CStorage* storage) {
  KT_TRY(CFullBox::Serialize(storage));
  KT_TRY(storage->WriteUInt16(static_cast<u16>(m_language[0] << 10 | m_language[1] << 5 | m_language[2])));
  return m_notice.Exists() ? storage->WriteBlock(m_notice.Get(), m_notice.Length() + 1) : MP4_OK;
}

Mp4Result CCopyrightBox::Dump(int indent) {
  KT_TRY(CFullBox::Dump(indent));
  PrintIndent(indent);
  std::printf("Language Code: %c%c%c\n", Letter(m_language[0]), Letter(m_language[1]), Letter(m_language[2]));
  PrintIndent(indent);
  std::printf("Notice: %s\n", m_notice.Get());
  return MP4_OK;
}

Mp4Result CCopyrightBox::CalculateSize() {
  KT_TRY(CFullBox::CalculateSize());
  m_size += 2;
  if (m_notice.Exists()) m_size += m_notice.Length() + 1;
  return MP4_OK;
}

Mp4Result CCopyrightBox::SetNotice(const char* language, const char* notice) {
  if (language == nullptr) return MP4_BAD_ARGUMENT;
  for (u32 i = 0; i < 3; ++i) {
    // Compared as signed characters on every platform, so that bytes from 128 on are refused too.
    if (static_cast<i8>(language[i]) < 'a') return MP4_BAD_ARGUMENT;
    m_language[i] = static_cast<u8>(language[i] - kLetterBase);
  }
  return m_notice.Set(notice);
}

Mp4Result CCopyrightBox::GetNotice(char language[3], char* notice) const {
  if (language == nullptr) return MP4_BAD_ARGUMENT;
  std::ranges::transform(m_language, language, Letter);
  if (notice != nullptr) std::memcpy(notice, m_notice.Get(), m_notice.Length() + 1);
  return MP4_OK;
}

Mp4Result CCopyrightBox::GetNoticeSize(u32* size) const {
  if (size == nullptr) return MP4_BAD_ARGUMENT;
  *size = m_notice.Length() + 1;
  return MP4_OK;
}

}  // namespace kt
