#pragma once

#include <memory>

#include "engine/box/box.h"
#include "engine/box/box_text.h"

namespace kt {

/// The text of a session description in a box: the rest of its payload, without a terminator. In memory one
/// zero byte stands behind it. ISO/IEC 14496-12, 9.1.4; the text is that of RFC 4566.
class CSessionTextBox : public CBox {
 public:
  /// Takes what is left of the box. MP4_CORRUPT for 4 GiB and more, before anything is asked of the storage;
  /// else as `CBoxText::Read`.
  Mp4Result Deserialize(CStorage* storage) override;
  Mp4Result Serialize(CStorage* storage) override;
  Mp4Result Dump(int indent) override;
  Mp4Result CalculateSize() override;

  /// Puts a copy of `text` behind the text that stands there. MP4_BAD_ARGUMENT for null, MP4_NO_MEMORY, also
  /// when 32 bits cannot count the two together.
  Mp4Result AppendSdp(const char* text);
  /// The text, borrowed; it goes with the next change. MP4_NOT_FOUND when there is none.
  Mp4Result BorrowSdp(const char** text) const;

 protected:
  explicit CSessionTextBox(u32 type) : CBox(type) {}
  explicit CSessionTextBox(CBox&& header) : CBox(std::move(header)) {}

  Mp4Result SerializeText(CStorage* storage);

 private:
  CBoxText m_sdpText;  // none when empty
};

/// "rtp " below the "hnti" of a movie: its session description. ISO/IEC 14496-12, 9.1.4.1.
class CRtpMovieHintInformationBox final : public CSessionTextBox {
 public:
  static constexpr u32 kType = FourCc("rtp ");
  static constexpr bool kTypeIsAmbiguous = true;  // it is also a sample entry
  CRtpMovieHintInformationBox() : CSessionTextBox(kType) {}
  explicit CRtpMovieHintInformationBox(CBox&& header) : CSessionTextBox(std::move(header)) {}

  Mp4Result Deserialize(CStorage* storage) override;
  Mp4Result Serialize(CStorage* storage) override;
  Mp4Result CalculateSize() override;

  /// The box's own text, borrowed. MP4_NOT_FOUND when there is none.
  Mp4Result GetSdp(const char** text) const { return BorrowSdp(text); }

 private:
  u32 m_descriptionFormat = FourCc("sdp ");  // kept, and never looked at
};

/// "sdp " below the "hnti" of a hint track: its part of the session description. ISO/IEC 14496-12, 9.1.4.2.
class CRtpTrackSdpHintInformationBox final : public CSessionTextBox {
 public:
  static constexpr u32 kType = FourCc("sdp ");
  CRtpTrackSdpHintInformationBox() : CSessionTextBox(kType) {}
  explicit CRtpTrackSdpHintInformationBox(CBox&& header) : CSessionTextBox(std::move(header)) {}

  /// A copy for the caller, unlike that of the movie. MP4_NOT_FOUND when there is no text, MP4_NO_MEMORY.
  Mp4Result GetSdp(std::unique_ptr<char[]>* text) const;
};

}  // namespace kt
