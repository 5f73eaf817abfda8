#include "filter/logic/reader_pin.h"

#include <algorithm>
#include <mutex>
#include <new>
#include <utility>

#include "filter/formats/entry_types.h"
#include "filter/formats/format_block.h"
#include "filter/formats/private_block.h"
#include "filter/logic/time_conversion.h"

namespace kt {

namespace {

/// Of a format block or a buffer.
constexpr u64 kLargestBlock = u64{256} * 1024 * 1024;
/// A larger one is not looked at for a decoder's set-up.
constexpr u32 kLargestFirstSample = 1 << 20;

PinKind KindOf(u32 trackKind) {
  switch (trackKind) {
    case MP4_KIND_VIDEO:
      return PIN_VIDEO;
    case MP4_KIND_AUDIO:
      return PIN_AUDIO;
    case MP4_KIND_OBJECT_DESCRIPTOR:
      return PIN_OBJECT_DESCRIPTOR;
    case MP4_KIND_SCENE_DESCRIPTION:
      return PIN_SCENE_DESCRIPTION;
    case MP4_KIND_TEXT:
      return PIN_LINE21;
    default:
      return PIN_UNKNOWN;
  }
}

}  // namespace

CReaderPin::CReaderPin(CTrackLock& trackLock, std::string name)
    : m_trackLock(trackLock), m_name(std::move(name)) {}

u32 CReaderPin::SetTrack(CMp4Track* track) {
  if (!track) return 1;
  const std::lock_guard lock(m_trackLock);
  m_track = track;
  if (m_track->GetTimeScale(&m_timeScale)) return 1;
  static_cast<void>(m_track->GetSampleCount(&m_sampleCount));
  u32 trackKind = MP4_KIND_UNKNOWN;
  if (m_track->GetTrackType(&trackKind)) return 1;
  m_kind = KindOf(trackKind);
  if (m_kind == PIN_VIDEO && LearnVideo()) return 1;
  if (m_kind == PIN_AUDIO && LearnAudio()) return 1;
  m_lacksDecoderInfo = !LearnDecoderInfo();
  m_position.m_baseTime = 0;
  return 0;
}

u32 CReaderPin::LearnVideo() {
  if (m_track->GetVideoSize(&m_width, &m_height)) return 1;
  u32 format = MP4_FORMAT_UNKNOWN;
  if (m_track->GetSampleFormat(&format)) return 1;
  if (format == MP4_FORMAT_MP4V) m_format = PIN_FORMAT_MPEG4_VIDEO;
  if (format == MP4_FORMAT_S263) m_format = PIN_FORMAT_H263;
  return 0;
}

u32 CReaderPin::LearnAudio() {
  static_cast<void>(m_track->GetSampleRate(&m_sampleRate));
  u16 channels = 0;
  static_cast<void>(m_track->GetChannelCount(&channels));
  m_channels = channels;
  u32 format = MP4_FORMAT_UNKNOWN;
  if (m_track->GetSampleFormat(&format)) return 1;
  if (format == MP4_FORMAT_MP4A) m_format = PIN_FORMAT_MPEG4_AUDIO;
  if (format == MP4_FORMAT_SAWB) m_format = PIN_FORMAT_AMR_WIDE;
  if (format == MP4_FORMAT_SAMR) m_format = PIN_FORMAT_AMR_NARROW;
  // AMR has but one form of each; what the sample entry says of it is not believed, and readers rely on that.
  if (m_format == PIN_FORMAT_AMR_WIDE) m_sampleRate = 16000;
  if (m_format == PIN_FORMAT_AMR_NARROW) m_sampleRate = 8000;
  if (m_format == PIN_FORMAT_AMR_WIDE || m_format == PIN_FORMAT_AMR_NARROW) m_channels = 1;
  return 0;
}

bool CReaderPin::LearnDecoderInfo() {
  u32 size = 0;
  if (m_track->GetDecoderSpecificInfoSize(1, &size)) return true;
  if (size > kLargestBlock - kPictureSetUpOffset) return false;
  try {
    m_decoderInfo.resize(size);
  } catch (const std::bad_alloc&) {
    // The host has its own pin around this one by now, so this one has to stay.
    return false;
  }
  u32 read = size;
  static_cast<void>(m_track->GetDecoderSpecificInfo(1, size, &read, m_decoderInfo.data()));
  m_decoderInfo.resize(std::min(size, read));
  return true;
}

void CReaderPin::Adapt(const AdaptedEntry& entry) {
  m_isAdapted = true;
  if (!m_track || (m_format != PIN_FORMAT_UNKNOWN && m_format != PIN_FORMAT_MPEG4_AUDIO)) return;
  if (m_format == PIN_FORMAT_UNKNOWN) {
    m_width = static_cast<u16>(entry.width);
    m_height = static_cast<u16>(entry.height);
    m_sampleRate = entry.sampleRate;
    m_channels = entry.channels;
  }
  const std::lock_guard lock(m_trackLock);
  LearnLargestSample();
  try {
    LearnPlatformTypes(entry);
  } catch (const std::bad_alloc&) {
    m_platformTypes.clear();
  }
}

void CReaderPin::LearnLargestSample() {
  for (u32 sample = 1; sample <= m_sampleCount && sample != 0; ++sample) {
    u32 size = 0;
    if (m_track->GetSampleSize(sample, &size)) return;
    m_largestSample = std::max(m_largestSample, size);
  }
}

std::vector<u8> CReaderPin::ReadFirstSample() const {
  u32 size = 0;
  if (m_track->GetSampleSize(1, &size) || size > kLargestFirstSample) return {};
  std::vector<u8> bytes(size);
  if (m_track->ReadSample(1, size, &size, bytes.data())) return {};
  return bytes;
}

void CReaderPin::LearnPlatformTypes(const AdaptedEntry& entry) {
  const std::vector<u8> firstSample = ReadFirstSample();
  CodedTrack coded = {.entry = entry, .firstSample = firstSample};
  u64 first = 0, last = 0;
  if (m_sampleCount > 1 && !m_track->GetSampleDecodingTime(1, &first) &&
      !m_track->GetSampleDecodingTime(m_sampleCount, &last) && last > first) {
    coded.timePerSample = TicksToHns(last - first, m_timeScale) / (m_sampleCount - 1);
  }
  m_platformTypes = TypesOfEntry(coded);
  // An entry may be of another kind than its track.
  std::erase_if(m_platformTypes, [&](const MediaType& type) {
    return m_kind != (type.majorType == MEDIATYPE_Video ? PIN_VIDEO : PIN_AUDIO);
  });
}

CMp4Track* CReaderPin::LoseTrack() {
  const std::lock_guard lock(m_trackLock);
  return std::exchange(m_track, nullptr);
}

Guid CReaderPin::OfferedSubtype(bool stamped) const {
  if (m_kind == PIN_VIDEO) {
    if (m_format == PIN_FORMAT_H263) return stamped ? MEDIASUBTYPE_KtH263Stamped : MEDIASUBTYPE_KtH263;
    return stamped ? MEDIASUBTYPE_KtMp4VideoStamped : MEDIASUBTYPE_KtMp4Video;
  }
  switch (m_format) {
    case PIN_FORMAT_MPEG4_AUDIO:
      return stamped ? MEDIASUBTYPE_KtMp4AudioStamped : MEDIASUBTYPE_KtMp4Audio;
    case PIN_FORMAT_AMR_WIDE:
    case PIN_FORMAT_AMR_NARROW:
      return stamped ? MEDIASUBTYPE_KtAmrStamped : MEDIASUBTYPE_KtAmr;
    default:
      return GUID_NULL;
  }
}

FilterResult CReaderPin::GetMediaType(i32 position, MediaType* type) const {
  constexpr i32 kOwnTypes = 2;
  if (position < 0) return FilterResult::InvalidArgument;
  const bool isOwn = position < kOwnTypes;
  const std::size_t further = isOwn ? 0 : static_cast<std::size_t>(position - kOwnTypes);
  if (!isOwn && further >= m_platformTypes.size()) return FilterResult::NoMoreItems;
  *type = MediaType();
  if (isOwn && m_lacksDecoderInfo && m_kind != PIN_LINE21) return FilterResult::OutOfMemory;
  try {
    if (isOwn) {
      FillMediaType(position == 1, type);
    } else {
      *type = m_platformTypes[further];
    }
  } catch (const std::bad_alloc&) {
    return FilterResult::OutOfMemory;
  }
  return FilterResult::Ok;
}

void CReaderPin::FillMediaType(bool second, MediaType* type) const {
  if (m_kind == PIN_LINE21) {
    type->majorType = second ? MEDIATYPE_Text : MEDIATYPE_AUXLine21Data;
    type->subtype = second ? GUID_NULL : MEDIASUBTYPE_Line21_BytePair;
  } else if (m_kind == PIN_VIDEO || m_kind == PIN_AUDIO) {
    const Guid subtype = OfferedSubtype(second);
    *type = m_kind == PIN_VIDEO ? CodedPictures(subtype, FORMAT_KtMp4Video, VideoFormatBlock())
                                : CodedSound(subtype, AudioFormatBlock());
  }
}

std::vector<u8> CReaderPin::VideoFormatBlock() const {
  std::vector<u8> block(kPictureSetUpOffset);
  // The right and bottom edges of the source and the target rectangle.
  PutLittleEndian(block, 8, 4, m_width);
  PutLittleEndian(block, 12, 4, m_height);
  PutLittleEndian(block, 24, 4, m_width);
  PutLittleEndian(block, 28, 4, m_height);
  // AvgTimePerFrame is the length of a media tick, not of a frame; decoders read the time scale below
  // instead.
  PutLittleEndian(block, kPictureTimeOffset, 8, m_timeScale ? kHnsPerSecond / m_timeScale : 0);
  PutLittleEndian(block, kPictureWidthOffset, 4, m_width);
  PutLittleEndian(block, kPictureHeightOffset, 4, m_height);
  PutLittleEndian(block, kPictureScaleOffset, 4, m_timeScale);
  block.insert(block.end(), m_decoderInfo.begin(), m_decoderInfo.end());
  return block;
}

std::vector<u8> CReaderPin::AudioFormatBlock() const {
  const SoundFacts facts = {.channels = static_cast<u16>(m_channels),
                            .sampleRate = m_sampleRate,
                            .bytesPerSecond = m_avgBytesPerSecond,
                            .bitsPerSample = 16};
  std::vector<u8> block = WaveFormatBlock(facts, {});
  // The count of extra bytes at 16 stays 0 although the info follows; readers rely on the block's length.
  block.insert(block.end(), m_decoderInfo.begin(), m_decoderInfo.end());
  return block;
}

FilterResult CReaderPin::CheckMediaType(const MediaType& type) const {
  static constexpr struct {
    PinKind kind;
    Guid majorType;
    Guid subtype;
  } kAccepted[] = {
      {PIN_VIDEO, MEDIATYPE_Video, MEDIASUBTYPE_KtMp4Video},
      {PIN_VIDEO, MEDIATYPE_Video, MEDIASUBTYPE_KtMp4VideoStamped},
      {PIN_VIDEO, MEDIATYPE_Video, MEDIASUBTYPE_KtH263},
      {PIN_VIDEO, MEDIATYPE_Video, MEDIASUBTYPE_KtH263Stamped},
      {PIN_AUDIO, MEDIATYPE_Audio, MEDIASUBTYPE_KtMp4Audio},
      {PIN_AUDIO, MEDIATYPE_Audio, MEDIASUBTYPE_KtMp4AudioStamped},
      {PIN_AUDIO, MEDIATYPE_Audio, MEDIASUBTYPE_KtAmr},
      {PIN_AUDIO, MEDIATYPE_Audio, MEDIASUBTYPE_KtAmrStamped},
      {PIN_LINE21, MEDIATYPE_Text, GUID_NULL},
      {PIN_LINE21, MEDIATYPE_AUXLine21Data, MEDIASUBTYPE_Line21_BytePair},
  };
  const bool isOwn = std::ranges::any_of(kAccepted, [&](const auto& row) {
    return row.kind == m_kind && row.majorType == type.majorType && row.subtype == type.subtype;
  });
  const bool accepted = (isOwn && !IsForOtherDecoders()) || IsPlatformType(type);
  return accepted ? FilterResult::Ok : FilterResult::InvalidArgument;
}

bool CReaderPin::IsPlatformType(const MediaType& type) const {
  return std::ranges::any_of(m_platformTypes, [&](const MediaType& offered) {
    return offered.majorType == type.majorType && offered.subtype == type.subtype &&
           offered.formatType == type.formatType;
  });
}

FilterResult CReaderPin::SetMediaType(const MediaType& type) {
  m_textConnection = type.majorType == MEDIATYPE_Text;
  m_hasPlatformType = IsPlatformType(type);
  m_connectedSubtype = type.subtype;
  return FilterResult::Ok;
}

u32 CReaderPin::HeaderSize() const {
  return IsStampedSubtype(m_connectedSubtype) ? kStampSize : 0;
}

FilterResult CReaderPin::DecideBufferSize(BufferRequest* request) const {
  u32 count = 1;
  u64 size = 65565;
  switch (m_kind) {
    case PIN_VIDEO:
      size = u64{m_width} * m_height * 2;
      if (size == 0) size = 100000;
      break;
    case PIN_AUDIO:
      size = m_format == PIN_FORMAT_AMR_WIDE ? 1280 : m_format == PIN_FORMAT_AMR_NARROW ? 640 : 4096;
      break;
    case PIN_LINE21:
      count = m_textConnection ? 32 : 1;
      size = m_textConnection ? 256 : 150;
      break;
    default:
      break;
  }
  if (m_kind != PIN_LINE21) size = std::max<u64>(size, m_largestSample);
  // The room for the stamp is there in every case, also for types without one.
  size += kStampSize;
  if (size > kLargestBlock) return FilterResult::OutOfMemory;
  *request = {count, static_cast<u32>(size)};
  return FilterResult::Ok;
}

FilterResult CReaderPin::GetDuration(i64* duration) const {
  *duration = 0;
  u64 ticks = 0;
  {
    const std::lock_guard lock(m_trackLock);
    if (!m_track || m_timeScale == 0) return FilterResult::False;
    if (m_track->GetSampleDecodingTime(m_sampleCount, &ticks)) return FilterResult::False;
  }
  ticks += m_sampleCount >= 2 ? ticks / (m_sampleCount - 1) : 1;
  *duration = TicksToHns(ticks, m_timeScale);
  return FilterResult::Ok;
}

FilterResult CReaderPin::GetCurrentPosition(i64* current) const {
  *current = 0;
  u64 ticks = 0;
  const std::lock_guard lock(m_trackLock);
  if (!m_track || m_timeScale == 0) return FilterResult::False;
  if (m_track->GetSampleDecodingTime(m_position.m_currentSample, &ticks)) return FilterResult::False;
  *current = TicksToHns(ticks, m_timeScale);
  return FilterResult::Ok;
}

PinSegment CReaderPin::Segment() const {
  const std::lock_guard lock(m_trackLock);
  return {m_position.m_startPosition, m_position.m_stopPosition};
}

}  // namespace kt
