#pragma once

#include <memory>

#include "boxes/containers/container_box.h"
#include "boxes/hint/session_text_box.h"

namespace kt {

/// What "hnti" makes of an empty box.
inline constexpr ContainerRules kHintInformationRules{
    .serializesWithoutList = true,
    .dumpsWithoutList = true,
    .sizesWithoutList = true,
    .lookup = ChildLookup::kNone,
};

/// "hnti": holds the session description, of a movie or of a hint track. ISO/IEC 14496-12, 9.1.4.
class CHintInformationBox : public CContainerBox<CBox, kHintInformationRules> {
 public:
  static constexpr u32 kType = FourCc("hnti");

  /// The text of a track ("sdp "), borrowed. Read from a file, the box of a track is of the class of the
  /// movie, so that both look. MP4_NOT_FOUND without that box or its text.
  Mp4Result BorrowTrackSdp(const char** text);

 protected:
  CHintInformationBox() : CContainerBox(kType) {}
  explicit CHintInformationBox(CBox&& header) : CContainerBox(std::move(header)) {}

  /// The first child with the type of `TextBox`, as its class; borrowed. MP4_NOT_FOUND, MP4_BAD_BOX for a
  /// sample entry of a hint track, which has the type of the movie's text.
  template <class TextBox>
  Mp4Result FindText(TextBox** box);
  template <class TextBox>
  Mp4Result AppendToText(const char* text);
};

/// The "hnti" of a movie, and every one that was read. ISO/IEC 14496-12, 9.1.4.1.
class CMovieHintInformationBox final : public CHintInformationBox {
 public:
  CMovieHintInformationBox() = default;
  explicit CMovieHintInformationBox(CBox&& header) : CHintInformationBox(std::move(header)) {}

  /// Appends to the "rtp " box, which is made when there is none. MP4_BAD_ARGUMENT for null, MP4_NO_MEMORY.
  Mp4Result AppendSdp(const char* text);
  /// The text of the "rtp " box, borrowed. MP4_NOT_FOUND without that box or its text.
  Mp4Result GetSdp(const char** text);
};

/// The "hnti" of a hint track that is being written. ISO/IEC 14496-12, 9.1.4.2.
class CTrackHintInformationBox final : public CHintInformationBox {
 public:
  static constexpr bool kTypeIsAmbiguous = true;  // read, it is of the class of the movie
  CTrackHintInformationBox() = default;

  /// Appends to the "sdp " box, which is made when there is none. MP4_BAD_ARGUMENT for null, MP4_NO_MEMORY.
  Mp4Result AppendSdp(const char* text);
  /// A copy of the text of the "sdp " box for the caller. MP4_NOT_FOUND without that box or its text,
  /// MP4_NO_MEMORY.
  Mp4Result GetSdp(std::unique_ptr<char[]>* text);
};

}  // namespace kt
