#pragma once

#include "engine/box/box.h"
#include "engine/box/box_text.h"

namespace kt {

/// "cprt": a copyright notice in one language, whose bytes pass through without conversion.
/// ISO/IEC 14496-12, 8.10.2.
class CCopyrightBox final : public CFullBox {
 public:
  static constexpr u32 kType = FourCc("cprt");
  CCopyrightBox() : CFullBox(kType, 0, 0) {}
  explicit CCopyrightBox(CBox&& header) : CFullBox(std::move(header)) {}

  /// MP4_CORRUPT for fewer than 6 bytes of payload.
  Mp4Result Deserialize(CStorage* storage) override;
  Mp4Result Serialize(CStorage* storage) override;
  Mp4Result Dump(int indent) override;
  Mp4Result CalculateSize() override;

  /// `language` has three letters, `notice` is a text or null for none. MP4_BAD_ARGUMENT for a null language
  /// or a letter below "a", with the letters before it stored; MP4_NO_MEMORY.
  Mp4Result SetNotice(const char* language, const char* notice);
  /// Copies the letters, without a terminator, and, unless `notice` is null, the text with its terminator,
  /// `GetNoticeSize` bytes. MP4_BAD_ARGUMENT for a null language.
  Mp4Result GetNotice(char language[3], char* notice) const;
  /// Bytes of the notice with its terminator; 1 without a notice. MP4_BAD_ARGUMENT for null.
  Mp4Result GetNoticeSize(u32* size) const;

 private:
  u8 m_language[3] = {};  // letters less 0x60, 5 bits each
  CBoxText m_notice;
};

}  // namespace kt
