#include "tools/facts/file_facts.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numbers>

#include <ktmp4/track_presentation.h>
#include "filter/formats/audio_config.h"
#include "tools/facts/track_questions.h"
#include "tools/files/adapted_facts.h"
#include "tools/terminal/json_text.h"

namespace kt {
namespace {

// What a getter stores, or nothing when it fails.
template <class Object, class Value>
std::optional<Value> Ask(Object& object, Mp4Result (Object::*getter)(Value*)) {
  Value value{};
  if ((object.*getter)(&value)) return std::nullopt;
  return value;
}

std::optional<std::pair<u32, u32>> PictureSize(CMp4Track& track, std::optional<u32> kind) {
  u16 width = 0, height = 0;
  if (track.GetVideoSize(&width, &height) == MP4_OK) return std::pair<u32, u32>(width, height);
  // Of a coding that the library does not know the track header still tells the size of presentation.
  std::pair<u32, u32> shown;
  if (kind != MP4_KIND_VIDEO || track.GetDimensions(&shown.first, &shown.second)) return std::nullopt;
  return shown;
}

// What comes out of the decoder. Sample entries tell 2 channels and 16 bits of a rate whatever is in the
// stream, and those of AMR how many frames a sample has.
void TakeSound(TrackFacts* facts) {
  constexpr u32 kNarrowBand = 8000, kWideBand = 16000;
  if (facts->format == MP4_FORMAT_SAMR || facts->format == MP4_FORMAT_SAWB) {
    facts->rate = facts->format == MP4_FORMAT_SAMR ? kNarrowBand : kWideBand;
    facts->channels = u16{1};
  }
  if (facts->format != MP4_FORMAT_MP4A) return;
  if (const auto config = ReadAudioConfig(facts->decoderInfo)) {
    facts->rate = config->outputRate;
    facts->channels = static_cast<u16>(config->outputChannels);
  }
}

// All samples together; nothing when one cannot be told, or when tables claim more than the file has: a few
// bytes of them can claim thousands of millions of samples. What adapting lists is in proportion to the file.
std::optional<u64> BytesOf(CMp4Track& track, u32 samples, u64 limit) {
  u64 bytes = 0;
  for (u64 sample = 1; sample <= samples; ++sample) {
    u32 size = 0;
    if (track.GetSampleSize(static_cast<u32>(sample), &size) != MP4_OK) return std::nullopt;
    bytes += size;
    if (bytes > limit) return std::nullopt;
  }
  return bytes;
}

// The mean time between two samples, in seconds; without a second sample there is none.
std::optional<double> MeanStep(CMp4Track& track, u32 samples, u32 timeScale) {
  u64 first = 0, last = 0;
  if (samples < 2 || timeScale == 0 || track.GetSampleDecodingTime(1, &first) != MP4_OK ||
      track.GetSampleDecodingTime(samples, &last) != MP4_OK || last <= first) {
    return std::nullopt;
  }
  return static_cast<double>(last - first) / timeScale / (samples - 1);
}

void TakeRates(CMp4Track& track, u64 limit, TrackFacts* facts) {
  const u32 samples = facts->samples.value_or(0), timeScale = facts->timeScale.value_or(0);
  facts->bytes = BytesOf(track, samples, limit);
  u64 start = 0;
  if (timeScale != 0 && track.GetSampleCompositionTime(1, &start) == MP4_OK) {
    facts->start = static_cast<double>(start) / timeScale;
  }
  const std::optional<double> step = MeanStep(track, samples, timeScale);
  if (!step) return;
  facts->samplesPerSecond = 1 / *step;
  if (facts->bytes) facts->bitRate = static_cast<double>(*facts->bytes) * 8 / (*step * samples);
}

void TakePresentation(CMp4Track& track, TrackFacts* facts) {
  char language[4] = {};
  if (GetTrackLanguage(&track, language) == MP4_OK && std::string_view(language) != "und") {
    facts->language = language;
  }
  i32 matrix[9] = {};
  if (facts->kind != MP4_KIND_VIDEO || GetTrackMatrix(&track, matrix) != MP4_OK) return;
  const double a = matrix[0], b = matrix[1], c = matrix[3], d = matrix[4];
  const bool mirrored = a * d - b * c < 0;
  const double angle = mirrored ? std::atan2(-b, -a) : std::atan2(b, a);
  const long degrees = std::lround(angle * 180 / std::numbers::pi);
  const Rotation rotation{mirrored, static_cast<u32>((degrees + 360) % 360)};
  if (rotation.mirrored || rotation.degrees != 0) facts->rotation = rotation;
}

// What the library does not know, the entries themselves tell.
void TakeEntry(const SampleEntry& entry, TrackFacts* facts) {
  facts->code = entry.code;
  facts->coding = CodingText(entry);
  if (!facts->adapted || facts->format != MP4_FORMAT_UNKNOWN) return;
  if (entry.width != 0 || entry.height != 0) facts->picture = {entry.width, entry.height};
  if (entry.channels != 0) facts->channels = static_cast<u16>(std::min(entry.channels, 0xFFFFU));
  if (entry.sampleRate != 0) facts->rate = entry.sampleRate;
}

// A movie or media header's ticks per second; 1 where it has none.
double ScaleIn(const std::optional<ByteSpan>& header) {
  if (!header) return 1;
  return static_cast<double>(std::max<u64>(1, Number(*header, Number(*header, 0, 1) == 1 ? 20 : 12, 4)));
}

// Both scales as the file has them: adapting may count in others.
void TakeEdits(ByteSpan movie, ByteSpan track, TrackFacts* facts) {
  const auto list = BoxAt(track, {"edts", "elst"});
  if (!list) return;
  const double movieScale = ScaleIn(BoxAt(movie, {"mvhd"}));
  const double mediaScale = ScaleIn(BoxAt(track, {"mdia", "mdhd"}));
  const u32 width = Number(*list, 0, 1) == 1 ? 8 : 4;
  const u64 size = u64{2} * width + 4, empty = width == 8 ? ~u64{0} : 0xFFFFFFFF;
  facts->editCount = std::min<u64>(Number(*list, 4, 4), From(*list, 8).size() / size);
  for (u64 at = 8; facts->edits.size() < std::min(facts->editCount, kMostEdits); at += size) {
    Edit edit;
    edit.seconds = static_cast<double>(Number(*list, at, width)) / movieScale;
    const u64 time = Number(*list, at + width, width);
    if (time != empty) edit.from = static_cast<double>(time) / mediaScale;
    edit.rate = static_cast<i32>(Number(*list, at + u64{2} * width, 4)) / 65536.0;
    facts->edits.push_back(edit);
  }
}

class Gathering {
 public:
  explicit Gathering(InputFile& input) : m_input(input), m_file(input.File()) {}

  FileFacts Gather() {
    m_facts.fileType = Ask(m_file, &CMp4File::GetFileType).value_or(MP4_TYPE_MP4);
    m_facts.size = m_input.Size();
    m_facts.timeScale = Ask(m_file, &CMp4File::GetMovieTimeScale);
    m_facts.fragments = m_input.Fragments();
    m_facts.isAdapted = m_input.IsAdapted();
    TakeDate();
    TakeBrands();
    const u32 count = Ask(m_file, &CMp4File::GetTrackCount).value_or(0);
    m_facts.tracks.resize(count);
    for (const AdaptedTrack& track : AdaptedTracks(m_file)) {
      if (track.position == 0 || track.position > count) {
        m_facts.leftOut.push_back(track);
      } else {
        m_facts.tracks[track.position - 1].adapted = track;
      }
    }
    const std::vector<ByteSpan> boxes = m_input.TrackBoxes();
    for (u32 index = 1; index <= count; ++index) {
      TrackFacts& track = m_facts.tracks[index - 1];
      track.index = index;
      Take(index <= boxes.size() ? boxes[index - 1] : ByteSpan(), &track);
      if (track.seconds) m_facts.seconds = std::max(m_facts.seconds.value_or(0), *track.seconds);
    }
    return std::move(m_facts);
  }

 private:
  void TakeDate() {
    Date date{};
    if (m_file.GetCreationDate(&date[0], &date[1], &date[2], &date[3], &date[4], &date[5]) != MP4_OK) return;
    if (date != Date{1904, 1, 1, 0, 0, 0}) m_facts.created = date;  // which stands for none
  }

  void TakeBrands() {
    const ByteSpan type(m_input.Boxes().fileType);
    for (u64 at = 0; at + 4 <= type.size(); at += 4) {
      constexpr u64 kVersion = 4;
      if (at != kVersion) m_facts.brands.push_back(CodeText(static_cast<u32>(Number(type, at, 4))));
    }
  }

  void Take(ByteSpan boxes, TrackFacts* facts) {
    CMp4Track* opened = nullptr;
    facts->result = m_file.OpenTrack(facts->index, &opened);
    if (facts->result) return;
    const TrackHandle track(opened, TrackCloser{&m_file});
    facts->id = Ask(*track, &CMp4Track::GetTrackId);
    facts->kind = Ask(*track, &CMp4Track::GetTrackType);
    facts->format = Ask(*track, &CMp4Track::GetSampleFormat).value_or(MP4_FORMAT_UNKNOWN);
    facts->samples = Ask(*track, &CMp4Track::GetSampleCount);
    facts->timeScale = Ask(*track, &CMp4Track::GetTimeScale);
    facts->duration = Ask(*track, &CMp4Track::GetDuration);
    if (facts->duration && m_facts.timeScale.value_or(0) != 0) {
      facts->seconds = static_cast<double>(*facts->duration) / *m_facts.timeScale;
    }
    facts->picture = PictureSize(*track, facts->kind);
    facts->rate = Ask(*track, &CMp4Track::GetSampleRate);
    facts->channels = Ask(*track, &CMp4Track::GetChannelCount);
    facts->decoderInfo = DecoderInfo(*track);
    TakeSound(facts);
    TakeRates(*track, m_facts.isAdapted ? ~u64{0} : m_facts.size, facts);
    TakePresentation(*track, facts);
    facts->handlerName = HandlerName(boxes, m_facts.isAdapted);
    if (const auto& movie = m_input.Boxes().movie) TakeEdits(*movie, boxes, facts);
    facts->entries = AdaptedEntries(m_file, facts->index);
    TakeEntry(FirstEntry(facts->entries, boxes), facts);
  }

  InputFile& m_input;
  CMp4File& m_file;
  FileFacts m_facts;
};

template <std::size_t Count>
const char* NameAt(u32 number, const char* const (&names)[Count]) {
  return number < Count ? names[number] : "unknown";
}

}  // namespace

FileFacts GatherFacts(InputFile& input) {
  return Gathering(input).Gather();
}

const char* KindName(u32 kind) {
  static constexpr const char* kKinds[] = {
      "unknown", "video", "audio", "hint", "object descriptors", "scene description", "text"};
  return NameAt(kind, kKinds);
}

const char* FileTypeName(u32 type) {
  static constexpr const char* kTypes[] = {"MP4", "3GP", "M4A"};
  return NameAt(type, kTypes);
}

const char* FormatName(u32 format) {
  static constexpr const char* kFormats[] = {"unknown", "mp4v", "mp4a", "mp4s", "s263", "sawb", "samr"};
  return NameAt(format, kFormats);
}

std::string DateText(const Date& date, char between) {
  char text[80];
  std::snprintf(text, sizeof text, "%04u-%02u-%02u%c%02u:%02u:%02u", date[0], date[1], date[2], between,
                date[3], date[4], date[5]);
  return text;
}

std::string HexText(const std::vector<u8>& bytes) {
  std::string text;
  for (const u8 byte : bytes) {
    text += "0123456789abcdef"[byte >> 4];
    text += "0123456789abcdef"[byte & 15];
  }
  return text;
}

std::string PictureText(const TrackFacts& facts) {
  if (!facts.picture) return {};
  std::string text = PixelText(facts.picture->first, facts.picture->second);
  if (facts.samplesPerSecond) text += ", " + ShortNumber(*facts.samplesPerSecond) + " a second";
  return text;
}

std::string PixelText(u32 width, u32 height) {
  return std::to_string(width) + " x " + std::to_string(height) + " pixels";
}

std::string ChannelText(u32 channels) {
  return std::to_string(channels) + (channels == 1 ? " channel" : " channels");
}

std::string BitRateText(double bitsPerSecond) {
  char text[400];
  std::snprintf(text, sizeof text, bitsPerSecond < 10'000 ? "%.1f kbit/s" : "%.0f kbit/s",
                bitsPerSecond / 1000);
  return text;
}

std::string RotationText(const Rotation& rotation) {
  std::string turned = "turned clockwise by " + std::to_string(rotation.degrees) + " degrees";
  if (!rotation.mirrored) return turned;
  return rotation.degrees == 0 ? "mirrored" : "mirrored and " + turned;
}

std::string EditText(const Edit& edit) {
  if (!edit.from) return "nothing for " + SecondsText(edit.seconds);
  const std::string from = SecondsText(*edit.from);
  if (edit.rate == 0) return "the picture at " + from + " for " + SecondsText(edit.seconds);
  std::string text = (edit.seconds == 0 ? "all" : SecondsText(edit.seconds)) + " from " + from + " on";
  if (edit.rate != 1) text += " at " + ShortNumber(edit.rate) + " times the speed";
  return text;
}

std::string SecondsText(double seconds) {
  char text[400];
  std::snprintf(text, sizeof text, "%.3f s", seconds);
  return text;
}

}  // namespace kt
