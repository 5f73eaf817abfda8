#include "tools/report/track_texts.h"

#include <algorithm>

#include <ktmp4/hint_packets.h>
#include "filter/logic/line21_text_decoder.h"
#include "filter/logic/time_conversion.h"
#include "tools/captions/cues.h"
#include "tools/captions/line21_track.h"
#include "tools/diagnosis/box_place.h"

namespace kt {
namespace {

constexpr std::size_t kMostRows = 200;
constexpr u32 kMostSamples = 200'000;
// A sample of text or of hints is small.
constexpr u32 kLargestSample = 0x10000;

/// Reads the samples of a track one after the other.
class SampleReader {
 public:
  SampleReader(InputFile& input, const TrackFacts& facts)
      : m_track(input.OpenTrack(facts.index)),
        m_timeScale(facts.timeScale.value_or(0)),
        m_count(facts.samples.value_or(0)) {}

  // Calls `take(bytes, time in 100 ns)` with each until `texts` are as long as they get.
  template <class Take>
  void Read(TrackTexts* texts, Take take) {
    std::vector<u8> bytes;
    for (u32 sample = 1; sample <= m_count; ++sample) {
      if (texts->rows.size() >= kMostRows || sample > kMostSamples) {
        texts->samplesLeft = u64{m_count} - sample + 1;
        return;
      }
      u32 size = 0;
      u64 time = 0;
      Mp4Result result = m_track->GetSampleSize(sample, &size);
      if (!result && size > kLargestSample) result = MP4_BAD_VALUE;
      bytes.resize(result ? 0 : size);
      if (!result) result = m_track->ReadSample(sample, size, &size, bytes.data());
      if (!result) result = m_track->GetSampleDecodingTime(sample, &time);
      if (result) {
        texts->fault = "sample " + Grouped(sample) + " cannot be read: " + Mp4ResultText(result);
        return;
      }
      take(ByteSpan(bytes), TicksToHns(time, m_timeScale));
    }
  }

 private:
  const TrackHandle m_track;
  const u32 m_timeScale;
  const u32 m_count;
};

class CaptionRows final : public CaptionReceiver {
 public:
  explicit CaptionRows(TrackTexts* texts) : m_texts(texts) {}
  void SendScreenText(const char* /*text*/) override {}
  void AddCaptionText(i64 time, const char* text) override {
    const std::string row = PrintableRow(text);
    if (!row.empty()) m_texts->rows.push_back({ClockText(time, '.'), row});
  }

 private:
  TrackTexts* m_texts;
};

// 3GPP TS 26.245, 5.17: a length, and so many bytes.
std::string TimedText(ByteSpan sample) {
  const u64 size = std::min<u64>(Number(sample, 0, 2), sample.size() < 2 ? 0 : sample.size() - 2);
  return size == 0 ? ""
                   : std::string(sample.begin() + 2, sample.begin() + 2 + static_cast<std::ptrdiff_t>(size));
}

std::string PayloadText(CHintPackets& hints) {
  u64 own = 0, media = 0;
  RtpPiece piece;
  Mp4Result result = MP4_OK;
  while ((result = hints.NextPiece(&piece)) == MP4_OK) {
    (piece.type == RTP_CONSTRUCTOR_SAMPLE ? media : own) += piece.length;
  }
  std::string text = BytesText(media) + " of samples, " + Grouped(own) + " of its own";
  return result == MP4_NOT_FOUND ? text : text + "; then " + Mp4ResultText(result);
}

}  // namespace

TrackTexts CaptionsOf(InputFile& input, const TrackFacts& facts) {
  TrackTexts texts;
  const bool isTimedText = facts.code == "tx3g" || facts.code == "text";
  if (facts.kind != MP4_KIND_TEXT && !isTimedText) return texts;
  const bool isLine21 = LooksLikeLine21(*input.OpenTrack(facts.index), input.Size());
  if (!isTimedText && !isLine21) return texts;
  texts.columns = {"time", "text"};
  CaptionRows rows(&texts);
  Line21TextDecoder decoder(rows);
  SampleReader(input, facts).Read(&texts, [&](ByteSpan sample, i64 time) {
    if (isLine21) {
      if (sample.size() >= kShortestLine21Sample) decoder.Decode(sample.data() + 1, 2, time);
    } else if (std::string text = TimedText(sample); !text.empty()) {
      texts.rows.push_back({ClockText(time, '.'), std::move(text)});
    }
  });
  return texts;
}

TrackTexts PacketsOf(InputFile& input, const TrackFacts& facts) {
  TrackTexts texts;
  if (facts.kind != MP4_KIND_HINT) return texts;
  texts.columns = {"time", "sequence number", "payload type", "last of its picture or sound", "payload"};
  SampleReader(input, facts).Read(&texts, [&](ByteSpan sample, i64 time) {
    CHintPackets hints(sample.data(), static_cast<u32>(sample.size()));
    RtpHeader header;
    Mp4Result result = MP4_OK;
    while (texts.rows.size() < kMostRows && (result = hints.NextPacket(&header)) == MP4_OK) {
      texts.rows.push_back({ClockText(time, '.'), std::to_string(header.sequenceNumber),
                            std::to_string(header.payloadType), header.marker != 0 ? "yes" : "",
                            PayloadText(hints)});
    }
    if (result != MP4_OK && result != MP4_NOT_FOUND) texts.fault = Mp4ResultText(result);
  });
  return texts;
}

}  // namespace kt
