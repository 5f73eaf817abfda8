#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tools/copy/movie_details.h"
#include "tools/copy/track_source.h"
#include "tools/files/input_file.h"
#include "tools/terminal/interrupts.h"
#include "tools/terminal/notes.h"

namespace kt {

/// One track on its way from a file that is read into a file that is written. `Obstacle` and `Examine` come
/// before all else, in this order.
class TrackCopy final : public TrackSource {
 public:
  /// `wanted` tells that somebody has asked for this very track, who is then taken at his word about what the
  /// file does not say for certain. `notes` takes what a copy changes or loses.
  TrackCopy(InputFile& input, u32 index, TrackDetails details, bool wanted, Notes notes);

  /// Why such a track cannot be written at all; empty when it can.
  std::string Obstacle();
  /// Looks at all samples and fails at the first that the writer would refuse.
  void Examine(const Interrupts& interrupts);

  std::string Name() const override { return m_name; }
  /// In the file that is read.
  u32 Index() const { return m_index; }
  /// Mp4TrackKind and Mp4SampleFormat.
  u32 Kind() const { return m_kind; }
  u32 Format() const { return m_format; }
  /// The first of the largest samples, found by `Examine`; 0 when there is none.
  u64 LargestSample() const { return m_largestSample; }
  u32 LargestSize() const { return m_largestSize; }
  /// Whether a sample is shown ahead of one that is decoded before it, as `Examine` has seen.
  bool IsReordered() const { return m_isReordered; }

  Mp4Result Begin(CMp4File& output) override;
  Mp4Result WriteNext() override;
  Mp4Result End(CMp4File& output) override;
  bool IsComplete() const override { return m_next > m_sampleCount; }
  double NextTime() const override { return static_cast<double>(m_nextDecodingTime) / m_timeScale; }
  u64 SampleCount() const override { return m_sampleCount; }
  u64 ByteCount() const override { return m_byteCount; }
  u64 WrittenBytes() const override { return m_copiedBytes; }
  double Length() const override { return static_cast<double>(m_lastTime + m_lastStep) / m_timeScale; }

 private:
  struct Sample {
    u32 size = 0;
    // As the copy has them.
    u64 decodingTime = 0;
    u64 compositionTime = 0;
  };
  class Timing;

  void Require(const std::string& what, Mp4Result result) const;
  // The same for what is asked of every sample: no text is made unless it is needed.
  void RequireOf(u64 sample, const char* what, Mp4Result result) const;
  std::string SampleName(u64 sample) const;
  Sample Look(u64 sample);
  bool IsSync(u64 sample, u64 compositionTime) const;
  std::vector<u8> DecoderInfo();
  std::string FormatObstacle();
  bool LooksLikeMpeg4Visual();
  // Reads a sample's bytes to the start of the buffer.
  void ReadInput(u64 sample, u32 size);
  void NoteLosses();
  void NoteLastSample();
  Mp4Result SetFormat();
  Mp4Result CopyDate();
  Mp4Result CopyPresentation();
  bool CanKeepLanguage() const;

  TrackHandle m_input;
  std::unique_ptr<CMp4Track> m_output;
  std::string m_name;
  u32 m_index;
  u64 m_fileSize;
  TrackDetails m_details;
  bool m_wanted;
  Notes m_notes;
  u32 m_kind = MP4_KIND_UNKNOWN;
  u32 m_format = MP4_FORMAT_UNKNOWN;
  u32 m_timeScale = 0;
  u64 m_sampleCount = 0;
  u64 m_byteCount = 0;
  u64 m_largestSample = 0;
  u32 m_largestSize = 0;
  bool m_isReordered = false;
  u64 m_lastTime = 0;  // when the last sample of the copy is decoded, and how long it lasts there
  u64 m_lastStep = 1;
  u64 m_start = 0;  // what the copy's times are earlier by: the decoding time of the first sample
  u64 m_delay = 0;  // that time where the copy keeps it
  u64 m_next = 1;
  u64 m_nextDecodingTime = 0;
  u64 m_copiedBytes = 0;
  std::vector<u8> m_buffer = std::vector<u8>(1);
};

}  // namespace kt
