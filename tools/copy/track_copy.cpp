#include "tools/copy/track_copy.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>

#include <ktmp4/track_presentation.h>
#include "tools/captions/line21_track.h"
#include "tools/copy/copyright_copy.h"
#include "tools/facts/track_questions.h"
#include "tools/files/sample_claims.h"
#include "tools/terminal/failure.h"

namespace kt {
namespace {

constexpr u64 kLargestStep = (u64{1} << 31) - 1;  // the writer counts a larger step as one backwards
constexpr u32 kNegativeOffset = u32{1} << 31;     // as the file stores it
constexpr u32 kWidestPicture = 32767;
constexpr i16 kFullVolume = 0x100;
constexpr u8 kMpeg4Audio = 0x40;

// Whether MPEG-4 visual can begin so (ISO/IEC 14496-2, 6.2.1). MPEG-1 and MPEG-2 video, JPEG and PNG, which
// sample entries of the same code stand for, do not.
bool BeginsLikeMpeg4Visual(const std::vector<u8>& bytes) {
  constexpr u8 kLastLayer = 0x2F, kSequence = 0xB0, kUserData = 0xB2, kObject = 0xB5, kPicture = 0xB6;
  if (bytes.size() < 4 || bytes[0] != 0 || bytes[1] != 0 || bytes[2] != 1) return false;
  const u8 code = bytes[3];
  return code <= kLastLayer || code == kSequence || code == kUserData || code == kObject || code == kPicture;
}

// By the object types of AAC in its MPEG-4 and MPEG-2 forms (ISO/IEC 14496-1, 7.2.6.6).
bool IsAac(std::optional<u8> objectType) {
  return !objectType || *objectType == kMpeg4Audio || (*objectType >= 0x66 && *objectType <= 0x68);
}

std::string Hex(u8 number) {
  char text[8];
  std::snprintf(text, sizeof text, "0x%02X", static_cast<unsigned>(number));
  return text;
}

std::string Seconds(u64 ticks, u32 timeScale) {
  char text[32];
  std::snprintf(text, sizeof text, "%.3f s", static_cast<double>(ticks) / timeScale);
  return text;
}

std::string Joined(const std::vector<std::string>& parts) {
  std::string text;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    text += i == 0 ? "" : i + 1 == parts.size() ? " and " : ", ";
    text += parts[i];
  }
  return text;
}

std::string Count(u64 count) {
  return count == 1 ? "1 sample" : std::to_string(count) + " samples";
}

}  // namespace

/// What the writer makes of the times: it lets decoding times rise, and offsets begin with the first sample
/// or not at all.
class TrackCopy::Timing {
 public:
  explicit Timing(std::string where) : m_where(std::move(where)) {}

  // Throws a `Failure` for a sample that the writer refuses.
  void Take(u64 number, const Sample& sample) {
    u64 decodingTime = sample.decodingTime;
    if (number > 1 && decodingTime <= m_last) {
      decodingTime = m_last + 2;
      Note(&m_raised, number);
    }
    if (decodingTime - m_last > kLargestStep) {
      throw Failure("cannot write " + Name(number) + ": it comes " + std::to_string(decodingTime - m_last) +
                    " ticks behind the one before it, and a step must stay below 2^31");
    }
    if (number == 1) m_hasOffsets = decodingTime < sample.compositionTime;
    if (!m_hasOffsets && decodingTime < sample.compositionTime) {
      throw Failure("cannot write " + Name(number) + ": it is the first one with a composition offset (" +
                    std::to_string(sample.compositionTime - decodingTime) +
                    " ticks), and offsets have to begin with sample 1");
    }
    if (m_hasOffsets && sample.compositionTime < decodingTime) Note(&m_wrapped, number);
    if (sample.compositionTime - sample.decodingTime >= kNegativeOffset) Note(&m_negative, number);
    m_last = decodingTime;
  }

  void Report(const Notes& notes) const {
    Report(notes, m_raised, "repeats a decoding time; the copy moves it 2 ticks behind the one before");
    Report(notes, m_wrapped, "is then decoded after it is shown; its composition offset wraps");
    Report(notes, m_negative, "has a negative composition offset, which the copy tells as a very large one");
  }

 private:
  struct Finding {
    u64 first = 0;
    u64 count = 0;
  };

  std::string Name(u64 number) const { return "sample " + std::to_string(number) + m_where; }
  static void Note(Finding* finding, u64 number) {
    if (finding->count++ == 0) finding->first = number;
  }
  void Report(const Notes& notes, const Finding& finding, const char* what) const {
    if (finding.count == 0) return;
    std::string text = Name(finding.first) + " " + what;
    if (finding.count > 1) text += " (the first of " + Count(finding.count) + ")";
    notes(text);
  }

  std::string m_where;
  u64 m_last = 0;
  bool m_hasOffsets = false;
  Finding m_raised, m_wrapped, m_negative;
};

TrackCopy::TrackCopy(InputFile& input, u32 index, TrackDetails details, bool wanted, Notes notes)
    : m_input(input.OpenTrack(index)),
      m_name("track " + std::to_string(index) + " of " + Quoted(input.Name())),
      m_index(index),
      m_fileSize(input.Size()),
      m_details(std::move(details)),
      m_wanted(wanted),
      m_notes(std::move(notes)) {
  u32 count = 0;
  Require("cannot count the samples of " + m_name, m_input->GetSampleCount(&count));
  m_sampleCount = count;
  Require("cannot find the kind of " + m_name, m_input->GetTrackType(&m_kind));
  Require("cannot find the time scale of " + m_name, m_input->GetTimeScale(&m_timeScale));
  if (m_input->GetSampleFormat(&m_format) != MP4_OK) m_format = MP4_FORMAT_UNKNOWN;
}

void TrackCopy::Require(const std::string& what, Mp4Result result) const {
  if (result) throw ResultFailure(what, result);
}

void TrackCopy::RequireOf(u64 sample, const char* what, Mp4Result result) const {
  if (result) throw ResultFailure(what + SampleName(sample), result);
}

std::string TrackCopy::SampleName(u64 sample) const {
  return "sample " + std::to_string(sample) + " of " + m_name;
}

TrackCopy::Sample TrackCopy::Look(u64 sample) {
  const u32 number = static_cast<u32>(sample);
  Sample found;
  RequireOf(sample, "cannot find the size of ", m_input->GetSampleSize(number, &found.size));
  RequireOf(sample, "cannot find the decoding time of ",
            m_input->GetSampleDecodingTime(number, &found.decodingTime));
  RequireOf(sample, "cannot find the composition time of ",
            m_input->GetSampleCompositionTime(number, &found.compositionTime));
  found.decodingTime -= m_start;
  found.compositionTime -= m_start;
  // The writer begins with 0. So a track that is to start late begins there with one long sample, which is
  // shown in its time.
  if (sample == 1) found.decodingTime = 0;
  return found;
}

bool TrackCopy::IsSync(u64 sample, u64 compositionTime) const {
  if (!m_details.isAdapted) return m_details.IsSync(static_cast<u32>(sample));
  return IsSyncSample(*m_input, static_cast<u32>(sample), compositionTime + m_start);
}

std::vector<u8> TrackCopy::DecoderInfo() {
  u32 size = 0;
  // What has no set-up data is copied without.
  if (m_input->GetDecoderSpecificInfoSize(1, &size) != MP4_OK) return {};
  std::vector<u8> info(size);
  if (size > 0) {
    Require("cannot read the decoder set-up of " + m_name,
            m_input->GetDecoderSpecificInfo(1, size, &size, info.data()));
  }
  return info;
}

std::string TrackCopy::Obstacle() {
  switch (m_kind) {
    case MP4_KIND_VIDEO:
    case MP4_KIND_AUDIO:
    case MP4_KIND_TEXT:
      break;
    case MP4_KIND_HINT:
      return "it is a hint track, whose packets point into the file that it is in";
    case MP4_KIND_OBJECT_DESCRIPTOR:
    case MP4_KIND_SCENE_DESCRIPTION:
      return "object descriptors and scenes name the tracks of the file that they are in";
    default:
      return "it is neither video nor sound nor captions";
  }
  if (m_timeScale == 0) return "it has no time scale";
  if (m_details.sampleEntries > 1) return "it has several sample entries, and a copy has one";
  return FormatObstacle();
}

std::string TrackCopy::FormatObstacle() {
  constexpr const char* kUnknown =
      "its format is none that can be written (MPEG-4 visual, AAC, H.263, AMR, Line 21)";
  u16 width = 0, height = 0;
  switch (m_format) {
    case MP4_FORMAT_MP4V:
      if (!m_wanted && !LooksLikeMpeg4Visual()) return "it does not begin like MPEG-4 visual";
      [[fallthrough]];
    case MP4_FORMAT_S263:
      Require("cannot find the picture size of " + m_name, m_input->GetVideoSize(&width, &height));
      if (width > kWidestPicture || height > kWidestPicture) return "its pictures are too large";
      return m_kind == MP4_KIND_VIDEO ? "" : kUnknown;
    case MP4_FORMAT_MP4A:
      if (!IsAac(m_details.objectType))
        return "by its object type, " + Hex(*m_details.objectType) + ", it is not AAC";
      if (DecoderInfo().empty()) return "it has no decoder set-up, so it is not AAC";
      [[fallthrough]];
    case MP4_FORMAT_SAMR:
    case MP4_FORMAT_SAWB:
      return m_kind == MP4_KIND_AUDIO ? "" : kUnknown;
    case MP4_FORMAT_UNKNOWN:
      if (m_kind != MP4_KIND_TEXT) return kUnknown;
      return m_wanted || LooksLikeLine21(*m_input, m_fileSize)
                 ? ""
                 : "its texts do not look like Line 21 captions";
    default:
      return kUnknown;
  }
}

bool TrackCopy::LooksLikeMpeg4Visual() {
  const std::vector<u8> info = DecoderInfo();
  if (!info.empty() || m_sampleCount == 0) return BeginsLikeMpeg4Visual(info);
  ReadInput(1, Look(1).size);
  return BeginsLikeMpeg4Visual(m_buffer);
}

void TrackCopy::Examine(const Interrupts& interrupts) {
  RequireSamplesFit(*m_input, m_fileSize, m_name);
  if (m_sampleCount > 0) {
    RequireOf(1, "cannot find the decoding time of ", m_input->GetSampleDecodingTime(1, &m_start));
  }
  // The edits of an adapted file act, and its tracks keep their distance.
  if (m_details.isAdapted) m_delay = std::exchange(m_start, 0);
  Timing timing(" of " + m_name);
  u64 latest = 0;  // of the composition times
  for (u64 number = 1; number <= m_sampleCount; ++number) {
    interrupts.Check();
    const Sample sample = Look(number);
    if (sample.size == 0) {
      throw Failure("cannot write " + SampleName(number) + ": it has no bytes, and such a sample is refused");
    }
    if (sample.size > m_largestSize) {
      m_largestSample = number;
      m_largestSize = sample.size;
    }
    if (sample.compositionTime < latest) m_isReordered = true;
    latest = std::max(latest, sample.compositionTime);
    m_byteCount += sample.size;
    timing.Take(number, sample);
    if (number > 1) m_lastStep = sample.decodingTime - std::exchange(m_lastTime, sample.decodingTime);
  }
  timing.Report(m_notes);
  NoteLosses();
}

void TrackCopy::NoteLosses() {
  std::vector<std::string> lost;
  if (!m_details.language.empty() && !CanKeepLanguage()) {
    lost.push_back("its language (" + OneLine(m_details.language) + ")");
  }
  if (!m_details.handlerName.empty())
    lost.push_back("the name of its handler (" + Quoted(m_details.handlerName) + ")");
  if (!m_details.edits.empty()) lost.push_back(m_details.edits + " (--adapt lets edits act)");
  if (!lost.empty()) m_notes(m_name + " loses " + Joined(lost));
  NoteLastSample();
  if (m_details.objectType.value_or(kMpeg4Audio) != kMpeg4Audio) {
    m_notes(m_name + " is MPEG-2 AAC by its object type; the copy calls it MPEG-4 audio");
  }
  if (m_start != 0) {
    m_notes(m_name + " starts " + Seconds(m_start, m_timeScale) + " late; the copy starts with the movie");
  }
  if (m_delay != 0) {
    m_notes(m_name + " starts " + Seconds(m_delay, m_timeScale) +
            " late; so does the copy, where its first sample is decoded at 0");
  }
  u32 rate = 0;
  const u32 named = m_timeScale & 0xFFFF;
  if (m_kind == MP4_KIND_AUDIO && m_input->GetSampleRate(&rate) == MP4_OK && rate != named) {
    m_notes("the sample entry of " + m_name + " names " + std::to_string(rate) + " Hz, that of the copy " +
            std::to_string(named) + ", by its time scale; players go by the decoder set-up");
  }
}

// The writer lets the last sample last as long as the one before it.
void TrackCopy::NoteLastSample() {
  const double was = static_cast<double>(m_details.lastDuration) / m_timeScale;
  const double becomes = static_cast<double>(m_lastStep) / m_timeScale;
  constexpr double kNoticeable = 0.05;
  if (m_details.timedSamples != m_sampleCount || std::abs(was - becomes) < kNoticeable) return;
  m_notes("the last sample of " + m_name + " lasts " + Seconds(m_details.lastDuration, m_timeScale) +
          "; in the copy it lasts as long as the one before it, " + Seconds(m_lastStep, m_timeScale));
}

bool TrackCopy::CanKeepLanguage() const {
  return m_details.language.size() == 3 &&
         std::ranges::all_of(m_details.language, [](char letter) { return letter >= 'a' && letter <= 'z'; });
}

Mp4Result TrackCopy::CopyPresentation() {
  if (CanKeepLanguage()) KT_TRY(SetTrackLanguage(m_output.get(), m_details.language.c_str()));
  return m_details.matrix ? SetTrackMatrix(m_output.get(), m_details.matrix->data()) : MP4_OK;
}

Mp4Result TrackCopy::Begin(CMp4File& output) {
  CMp4Track* added = nullptr;
  KT_TRY(output.AddTrack(&added));
  m_output.reset(added);
  KT_TRY(m_output->SetTrackType(m_kind));
  KT_TRY(m_output->SetTimeScale(m_timeScale));
  KT_TRY(SetFormat());
  KT_TRY(CopyDate());
  KT_TRY(CopyPresentation());
  return CopyNotices(*m_input, *m_output, m_notes, m_name);
}

Mp4Result TrackCopy::SetFormat() {
  const std::vector<u8> info = DecoderInfo();
  const u32 infoSize = static_cast<u32>(info.size());
  if (m_kind == MP4_KIND_AUDIO) {
    return m_output->SetAudioFormat(kFullVolume, 0, info.data(), infoSize, m_format);
  }
  if (m_kind == MP4_KIND_VIDEO) {
    u16 width = 0, height = 0;
    Require("cannot find the picture size of " + m_name, m_input->GetVideoSize(&width, &height));
    KT_TRY(m_output->SetVideoFormat(width, height, info.data(), infoSize, m_format));
  } else {
    KT_TRY(m_output->SetLine21Format(0, 0, 0));
  }
  // Pixels need not be square: the size of presentation can be another one.
  u32 width = 0, height = 0;
  Require("cannot find the size of presentation of " + m_name, m_input->GetDimensions(&width, &height));
  return width == 0 || height == 0 ? MP4_OK : m_output->SetDimensions(width, height);
}

Mp4Result TrackCopy::CopyDate() {
  u32 year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
  // A date that cannot be told is none.
  if (m_input->GetCreationDate(&year, &month, &day, &hour, &minute, &second) != MP4_OK) return MP4_OK;
  return m_output->SetCreationDate(year, month, day, hour, minute, second);
}

void TrackCopy::ReadInput(u64 sample, u32 size) {
  Mp4Result result = size > m_fileSize ? MP4_FILE_IO : MP4_OK;  // no memory for what the file cannot hold
  if (!result) {
    if (size > m_buffer.size()) m_buffer.resize(size);
    result = m_input->ReadSample(static_cast<u32>(sample), size, &size, m_buffer.data());
  }
  RequireOf(sample, "cannot read ", result);
}

Mp4Result TrackCopy::WriteNext() {
  const u64 number = m_next;
  const Sample sample = Look(number);
  ReadInput(number, sample.size);
  const bool isSync = IsSync(number, sample.compositionTime);
  m_copiedBytes += sample.size;
  if (++m_next <= m_sampleCount) m_nextDecodingTime = Look(m_next).decodingTime;
  return m_output->WriteSample(m_buffer.data(), sample.size, sample.decodingTime, sample.compositionTime,
                               isSync ? 1 : 0);
}

Mp4Result TrackCopy::End(CMp4File& output) {
  KT_TRY(output.CloseTrack(m_output.get()));
  static_cast<void>(m_output.release());  // deleted
  return MP4_OK;
}

}  // namespace kt
