#pragma once

#include <memory>

#include <ktmp4/mp4_file.h>
#include "hint/session_text.h"

namespace kt {

/// A media track that a hint track sends, open while this lives.
class CMediaTrack {
 public:
  CMediaTrack() = default;
  CMediaTrack(const CMediaTrack&) = delete;
  CMediaTrack& operator=(const CMediaTrack&) = delete;
  ~CMediaTrack();

  /// Once. `file` is borrowed. What `CMp4File::OpenTrack` answers.
  Mp4Result Open(CMp4File* file, u32 number);

  u32 Number() const { return m_number; }
  /// Borrowed; there is one once `Open` has succeeded.
  CMp4Track* Track() const { return m_track; }

  /// `otherKind` is the answer for a track that is not of `kind`.
  Mp4Result RequireKind(u32 kind, Mp4Result otherKind) const;
  /// The duration. MP4_BAD_VALUE for a movie without a time scale.
  Mp4Result GetSeconds(double* seconds) const;
  /// Nothing when the track has none. The bytes are this object's. MP4_NO_MEMORY.
  Mp4Result ReadDecoderInfo(DecoderInfo* info);

 private:
  CMp4File* m_file = nullptr;
  CMp4Track* m_track = nullptr;  // given back to the file in the end
  u32 m_number = 0;
  std::unique_ptr<u8[]> m_decoderInfo;
};

}  // namespace kt
