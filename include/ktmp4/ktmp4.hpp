#pragma once

// The library as values of C++: what is opened closes itself, results carry their value, tracks and samples
// are ranges, bytes are spans. All of it is inline over the operations of the other headers and costs what
// they cost; `Get` of each class gives their object for whatever is not here.
//
//   for (const ktmp4::Track& track : ktmp4::Movie::Open("film.mp4").value().Tracks()) {
//     for (const ktmp4::Sample sample : track.Samples()) Use(sample.Bytes().value(),
//     sample.DecodingTime().value());
//   }

#include <algorithm>
#include <array>
#include <chrono>
#include <compare>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <initializer_list>
#include <iterator>
#include <limits>
#include <memory>
#include <optional>
#include <ranges>
#include <span>
#include <string>
#include <system_error>
#include <type_traits>
#include <utility>
#include <vector>
#ifdef __cpp_exceptions
#include <stdexcept>
#endif

#include <ktmp4/adapting_file.h>
#include <ktmp4/mp4_hint_track.h>
#include <ktmp4/track_presentation.h>

namespace ktmp4 {

using kt::Mp4Result;

#ifdef __cpp_exceptions
/// What `Result::value` throws when there is none.
class Error : public std::runtime_error {
 public:
  /// Its text is the result's name and sentence.
  explicit Error(Mp4Result result)
      : std::runtime_error(std::string(kt::Mp4ResultName(result)) + ": " + kt::Mp4ResultText(result)),
        m_result(result) {}
  /// The result that there was in place of a value.
  Mp4Result Code() const { return m_result; }

 private:
  Mp4Result m_result;
};
#endif

namespace detail {
[[noreturn]] inline void Fail(Mp4Result result) {
#ifdef __cpp_exceptions
  throw Error(result);
#else
  std::fprintf(stderr, "ktmp4: %s: %s\n", kt::Mp4ResultName(result), kt::Mp4ResultText(result));
  std::abort();
#endif
}
}  // namespace detail

/// A value, or the result that says why there is none; in the shape of `std::expected<T, Mp4Result>`. `value`
/// throws `Error` when there is none, or ends the program where exceptions are off.
template <class T>
class [[nodiscard]] Result {
 public:
  using value_type = T;  ///< As `std::expected` calls it.
  /// For a success.
  Result(T value) : m_value(std::move(value)) {}
  /// For a failure: with MP4_OK there is still no value.
  Result(Mp4Result error) : m_error(error) {}

  /// Whether there is a value.
  bool has_value() const { return m_value.has_value(); }
  /// The same.
  explicit operator bool() const { return has_value(); }
  /// MP4_OK with a value.
  Mp4Result error() const { return m_error; }
  /// @{
  /// The value; without one `Error` is thrown, or the program ends where exceptions are off.
  T& value() & { return Checked(), *m_value; }
  const T& value() const& { return Checked(), *m_value; }
  T value() && { return Checked(), std::move(*m_value); }
  /// @}
  /// @{
  /// The value, which has to be there.
  T& operator*() { return *m_value; }
  const T& operator*() const { return *m_value; }
  T* operator->() { return &*m_value; }
  const T* operator->() const { return &*m_value; }
  /// @}
  /// The value, or another one where there is none.
  template <class Other>
  T value_or(Other&& other) const {
    return m_value.value_or(std::forward<Other>(other));
  }

 private:
  void Checked() const {
    if (!m_value) detail::Fail(m_error);
  }

  std::optional<T> m_value;
  Mp4Result m_error = kt::MP4_OK;
};

/// Success, or what went wrong.
template <>
class [[nodiscard]] Result<void> {
 public:
  using value_type = void;  ///< As `std::expected` calls it.
  Result() = default;
  /// MP4_OK is success.
  Result(Mp4Result error) : m_error(error) {}
  /// Whether it went well.
  bool has_value() const { return m_error == kt::MP4_OK; }
  /// The same.
  explicit operator bool() const { return has_value(); }
  /// MP4_OK for a success.
  Mp4Result error() const { return m_error; }
  /// Throws `Error` for a failure, or ends the program where exceptions are off.
  void value() const {
    if (!has_value()) detail::Fail(m_error);
  }

 private:
  Mp4Result m_error = kt::MP4_OK;
};

/// A time or a length in ticks of a track.
struct Ticks {
  kt::u64 count = 0;  ///< How many.
  kt::u32 scale = 1;  ///< Ticks per second.

  /// Rounded down; the largest there is where it does not fit, and for a scale of 0.
  constexpr std::chrono::nanoseconds Nanoseconds() const {
    constexpr kt::u64 kPerSecond = 1'000'000'000;
    constexpr auto kLargest = static_cast<kt::u64>(std::numeric_limits<std::chrono::nanoseconds::rep>::max());
    if (scale == 0 || count / scale >= kLargest / kPerSecond) return std::chrono::nanoseconds::max();
    const kt::u64 whole = count / scale * kPerSecond + count % scale * kPerSecond / scale;
    return std::chrono::nanoseconds(static_cast<std::chrono::nanoseconds::rep>(whole));
  }
  /// As near as a `double` comes; no number for a scale of 0.
  constexpr double Seconds() const { return static_cast<double>(count) / scale; }
  /// The ticks that a time takes, rounded down; none of a time below 0.
  static constexpr Ticks From(std::chrono::nanoseconds time, kt::u32 scale) {
    constexpr kt::u64 kPerSecond = 1'000'000'000;
    const auto whole = static_cast<kt::u64>(std::max(time, std::chrono::nanoseconds(0)).count());
    return {whole / kPerSecond * scale + whole % kPerSecond * scale / kPerSecond, scale};
  }
  /// The same number of the same ticks.
  bool operator==(const Ticks&) const = default;
};

class Track;

/// One sample of a track, by its number; nothing is read before it is asked for. Good as long as its track.
class Sample {
 public:
  /// In its track, from 1 on.
  kt::u32 Number() const { return m_number; }
  /// In bytes. The results of `CMp4Track::GetSampleSize`.
  Result<kt::u32> Size() const { return Ask<kt::u32>(&kt::CMp4Track::GetSampleSize); }
  /// The results of `CMp4Track::GetSampleDecodingTime`.
  Result<Ticks> DecodingTime() const { return AskTime(&kt::CMp4Track::GetSampleDecodingTime); }
  /// The results of `CMp4Track::GetSampleCompositionTime`.
  Result<Ticks> CompositionTime() const { return AskTime(&kt::CMp4Track::GetSampleCompositionTime); }
  /// Whether a search for a sync sample at the sample's own composition time finds it.
  Result<bool> IsSync() const {
    const Result<Ticks> time = CompositionTime();
    if (!time) return time.error();
    kt::u32 found = 0;
    const Mp4Result result = m_track->FindSyncSample(time->count, &found);
    if (result != kt::MP4_OK && result != kt::MP4_NOT_FOUND) return result;
    return result == kt::MP4_OK && found == m_number;
  }
  /// Reads into memory of the caller's, and answers the part of it that the sample takes.
  /// MP4_BUFFER_TOO_SMALL and the results of `CMp4Track::ReadSample`.
  Result<std::span<kt::u8>> ReadTo(std::span<kt::u8> room) const {
    constexpr std::size_t kMost = std::numeric_limits<kt::u32>::max();
    kt::u32 size = 0;
    const auto most = static_cast<kt::u32>(std::min(room.size(), kMost));
    if (const Mp4Result result = m_track->ReadSample(m_number, most, &size, room.data())) return result;
    return room.first(size);
  }
  /// Reads into new memory. MP4_FILE_IO for a sample that is larger than its file, for which none is taken.
  Result<std::vector<kt::u8>> Bytes() const {
    const Result<kt::u32> size = Size();
    if (!size) return size.error();
    if (*size > m_fileSize) return kt::MP4_FILE_IO;
    std::vector<kt::u8> bytes(*size);
    const Result<std::span<kt::u8>> read = ReadTo(bytes);
    if (!read) return read.error();
    return bytes;
  }

 private:
  friend class Track;
  Sample(kt::CMp4Track* track, kt::u32 number, kt::u32 timeScale, kt::u64 fileSize)
      : m_track(track), m_number(number), m_timeScale(timeScale), m_fileSize(fileSize) {}

  template <class T>
  Result<T> Ask(Mp4Result (kt::CMp4Track::*question)(kt::u32, T*)) const {
    T value{};
    if (const Mp4Result result = (m_track->*question)(m_number, &value)) return result;
    return value;
  }
  Result<Ticks> AskTime(Mp4Result (kt::CMp4Track::*question)(kt::u32, kt::u64*)) const {
    const Result<kt::u64> time = Ask(question);
    if (!time) return time.error();
    return Ticks{*time, m_timeScale};
  }

  kt::CMp4Track* m_track;
  kt::u32 m_number;
  kt::u32 m_timeScale;
  kt::u64 m_fileSize;
};

/// The samples of a track in decoding order, made as they are asked for. Good as long as the track.
class SampleRange {
 public:
  /// A place in the range, by which samples are had at random.
  class iterator {
   public:
    using value_type = Sample;
    using difference_type = std::int64_t;
    using iterator_concept = std::random_access_iterator_tag;
    using iterator_category = std::input_iterator_tag;
    iterator() = default;
    Sample operator*() const;
    Sample operator[](difference_type steps) const { return *(*this + steps); }
    iterator& operator++() { return *this += 1; }
    iterator& operator--() { return *this -= 1; }
    iterator operator++(int) { return std::exchange(*this, *this + 1); }
    iterator operator--(int) { return std::exchange(*this, *this - 1); }
    iterator& operator+=(difference_type steps) {
      m_index += steps;
      return *this;
    }
    iterator& operator-=(difference_type steps) { return *this += -steps; }
    friend iterator operator+(iterator place, difference_type steps) { return place += steps; }
    friend iterator operator+(difference_type steps, iterator place) { return place += steps; }
    friend iterator operator-(iterator place, difference_type steps) { return place -= steps; }
    friend difference_type operator-(const iterator& left, const iterator& right) {
      return left.m_index - right.m_index;
    }
    auto operator<=>(const iterator& other) const { return m_index <=> other.m_index; }
    bool operator==(const iterator& other) const { return m_index == other.m_index; }

   private:
    friend class SampleRange;
    iterator(const Track* track, difference_type index) : m_track(track), m_index(index) {}
    const Track* m_track = nullptr;
    difference_type m_index = 0;
  };

  iterator begin() const { return {m_track, 0}; }      ///< At the first sample.
  iterator end() const { return {m_track, m_count}; }  ///< Behind the last one.
  std::size_t size() const { return m_count; }         ///< How many samples.
  bool empty() const { return m_count == 0; }          ///< Whether there is none.
  Sample operator[](kt::u32 index) const;  ///< By its place from 0 on, which is its number less 1.

 private:
  friend class Track;
  SampleRange(const Track* track, kt::u32 count) : m_track(track), m_count(count) {}
  const Track* m_track;
  kt::u32 m_count;
};

/// A track that is read. It may outlive its movie and answers MP4_NOT_READY then.
class Track {
 public:
  /// The object behind it, borrowed.
  kt::CMp4Track& Get() const { return *m_track; }
  /// An `Mp4TrackKind`.
  kt::u32 Kind() const { return m_kind; }
  /// Ticks per second.
  kt::u32 TimeScale() const { return m_timeScale; }
  /// How many samples it has.
  kt::u32 SampleCount() const { return m_sampleCount; }
  /// The number by which the file knows it, which is no index.
  Result<kt::u32> Id() const { return Ask(&kt::CMp4Track::GetTrackId); }
  /// An `Mp4SampleFormat`; MP4_NOT_FOUND for a coding that is none.
  Result<kt::u32> Format() const { return Ask(&kt::CMp4Track::GetSampleFormat); }
  /// The four characters of the coding of a sample entry, counted from 1, as `kt::FourCc` has them.
  Result<kt::u32> Coding(kt::u32 entry = 1) const {
    kt::u32 code = 0;
    if (const Mp4Result result = kt::GetTrackCoding(m_track.get(), entry, &code)) return result;
    return code;
  }
  /// Channels of sound. MP4_NOT_FOUND as for `Format`.
  Result<kt::u16> ChannelCount() const { return Ask(&kt::CMp4Track::GetChannelCount); }
  /// Samples of sound per second. MP4_NOT_FOUND as for `Format`.
  Result<kt::u32> SampleRate() const { return Ask(&kt::CMp4Track::GetSampleRate); }
  /// Width and height of the coded picture in pixels.
  Result<std::pair<kt::u16, kt::u16>> VideoSize() const {
    std::pair<kt::u16, kt::u16> size;
    if (const Mp4Result result = m_track->GetVideoSize(&size.first, &size.second)) return result;
    return size;
  }
  /// The decoder set-up of a sample entry, counted from 1.
  Result<std::vector<kt::u8>> DecoderSetUp(kt::u32 entry = 1) const {
    kt::u32 size = 0;
    if (const Mp4Result result = m_track->GetDecoderSpecificInfoSize(entry, &size)) return result;
    std::vector<kt::u8> bytes(size);
    const Mp4Result result = m_track->GetDecoderSpecificInfo(entry, size, &size, bytes.data());
    if (result != kt::MP4_OK) return result;
    return bytes;
  }
  /// Three letters of ISO 639-2; MP4_NOT_FOUND where the file tells none.
  Result<std::string> Language() const {
    char letters[4] = {};
    if (const Mp4Result result = kt::GetTrackLanguage(m_track.get(), letters)) return result;
    return std::string(letters);
  }
  /// As `kt::GetTrackMatrix` stores it.
  Result<std::array<kt::i32, 9>> Matrix() const {
    std::array<kt::i32, 9> matrix = {};
    if (const Mp4Result result = kt::GetTrackMatrix(m_track.get(), matrix.data())) return result;
    return matrix;
  }

  /// By its number from 1 on; one that is not there answers so when it is asked.
  ktmp4::Sample Sample(kt::u32 number) const {
    return ktmp4::Sample(m_track.get(), number, m_timeScale, m_fileSize);
  }
  /// All samples in decoding order.
  SampleRange Samples() const { return {this, m_sampleCount}; }
  /// The last sync sample that is shown at or before a time.
  Result<ktmp4::Sample> FindSync(std::chrono::nanoseconds time) const {
    kt::u32 number = 0;
    const kt::u64 ticks = Ticks::From(time, m_timeScale).count;
    if (const Mp4Result result = m_track->FindSyncSample(ticks, &number)) return result;
    return Sample(number);
  }

 private:
  friend class Movie;
  explicit Track(kt::CMp4Track* track, kt::u64 fileSize) : m_track(track), m_fileSize(fileSize) {}
  Mp4Result Learn() {
    KT_TRY(m_track->GetTrackType(&m_kind));
    KT_TRY(m_track->GetTimeScale(&m_timeScale));
    return m_track->GetSampleCount(&m_sampleCount);
  }
  template <class T>
  Result<T> Ask(Mp4Result (kt::CMp4Track::*question)(T*)) const {
    T value{};
    if (const Mp4Result result = (m_track.get()->*question)(&value)) return result;
    return value;
  }

  std::unique_ptr<kt::CMp4Track> m_track;
  kt::u64 m_fileSize;
  kt::u32 m_kind = kt::MP4_KIND_UNKNOWN;
  kt::u32 m_timeScale = 0;
  kt::u32 m_sampleCount = 0;
};

}  // namespace ktmp4

/// @cond
// It borrows its track, and so it goes on through the views of <ranges> as one of them does.
template <>
inline constexpr bool std::ranges::enable_view<ktmp4::SampleRange> = true;
template <>
inline constexpr bool std::ranges::enable_borrowed_range<ktmp4::SampleRange> = true;
/// @endcond

namespace ktmp4 {

inline Sample SampleRange::iterator::operator*() const {
  return m_track->Sample(static_cast<kt::u32>(m_index + 1));
}
inline Sample SampleRange::operator[](kt::u32 index) const {
  return m_track->Sample(index + 1);
}

/// A hint track that is read: what a sender of RTP needs beside the samples of the track (hint_packets.h).
class HintTrack {
 public:
  /// The object behind it, borrowed.
  kt::CMp4HintTrack& Get() const { return *m_track; }
  /// The session description of the track.
  Result<std::string> SessionText() const {
    constexpr std::size_t kMost = 1 << 24;
    Mp4Result result = kt::MP4_BUFFER_TOO_SMALL;
    for (std::string text(4096, '\0'); text.size() <= kMost; text.resize(4 * text.size())) {
      result = m_track->GetTrackSdp(text.data(), static_cast<kt::u32>(text.size()));
      if (result == kt::MP4_OK) return std::string(text.c_str());
      if (result != kt::MP4_BUFFER_TOO_SMALL) break;
    }
    return result;
  }
  /// The id of the track whose samples it sends.
  Result<kt::u32> MediaTrackId() const {
    kt::u32 id = 0;
    if (const Mp4Result result = kt::GetReferencedTrack(m_track.get(), 1, &id)) return result;
    return id;
  }

 private:
  friend class Movie;
  explicit HintTrack(kt::CMp4HintTrack* track) : m_track(track) {}
  std::unique_ptr<kt::CMp4HintTrack> m_track;
};

/// How a file is read: as the strict reader takes it, or as today's writers make it (adapting_file.h).
enum class Reading { Strict, Adapting };

/// A file that is read.
class Movie {
 public:
  /// `name` is in the system's 8-bit encoding. The results of `CMp4File::Open`.
  static Result<Movie> Open(const std::string& name, Reading reading = Reading::Strict) {
    const auto create = reading == Reading::Adapting ? kt::CreateAdaptingMp4File : kt::CreateMp4File;
    Result<Movie> movie = OpenMade(create, name.c_str());
    std::error_code unknown;  // the size is then the largest there is
    if (movie) movie->m_fileSize = std::filesystem::file_size(name, unknown);
    return movie;
  }
  /// A whole file in memory, with the results of that file. The bytes are borrowed: they have to outlive the
  /// movie, unchanged.
  static Result<Movie> OpenMemory(std::span<const kt::u8> bytes, Reading reading = Reading::Strict) {
    const auto create = reading == Reading::Adapting ? kt::CreateAdaptingMp4FileOver : kt::CreateMp4FileOver;
    Result<Movie> movie =
        OpenMade([&](kt::CMp4File** made) { return create(bytes.data(), bytes.size(), made); }, nullptr);
    if (movie) movie->m_fileSize = bytes.size();
    return movie;
  }

  /// The object behind it, borrowed.
  kt::CMp4File& Get() const { return *m_file; }
  /// How many tracks it has, of all kinds.
  kt::u32 TrackCount() const {
    kt::u32 count = 0;
    static_cast<void>(m_file->GetTrackCount(&count));
    return count;
  }
  /// By its index from 1 on. The results of `CMp4File::OpenTrack`.
  Result<Track> OpenTrack(kt::u32 index) const {
    kt::CMp4Track* opened = nullptr;
    if (const Mp4Result result = m_file->OpenTrack(index, &opened)) return result;
    Track track(opened, m_fileSize);
    if (const Mp4Result result = track.Learn()) return result;
    return track;
  }
  /// All tracks that open, in their order. `OpenTrack` tells why another one does not.
  std::vector<Track> Tracks() const {
    std::vector<Track> tracks;
    for (kt::u32 index = 1; index <= TrackCount(); ++index) {
      if (Result<Track> track = OpenTrack(index)) tracks.push_back(std::move(*track));
    }
    return tracks;
  }
  /// The results of `CMp4File::OpenHintTrack`.
  Result<HintTrack> OpenHintTrack(kt::u32 index) const {
    kt::CMp4HintTrack* opened = nullptr;
    if (const Mp4Result result = m_file->OpenHintTrack(index, &opened)) return result;
    return HintTrack(opened);
  }

 private:
  explicit Movie(kt::CMp4File* file) : m_file(file) {}
  template <class Create>
  static Result<Movie> OpenMade(const Create& create, const char* name) {
    kt::CMp4File* made = nullptr;
    const Mp4Result creation = create(&made);
    Movie movie(made);
    if (creation != kt::MP4_OK) return creation;
    const Mp4Result opening = made->Open(name, kt::MP4_MODE_READ, kt::MP4_TYPE_MP4);
    if (opening != kt::MP4_OK) return opening;
    return movie;
  }
  std::unique_ptr<kt::CMp4File> m_file;
  kt::u64 m_fileSize = 0;
};

/// What pictures are, for `Writer::AddVideo`.
struct VideoFormat {
  kt::u32 width = 0;                     ///< Pixels.
  kt::u32 height = 0;                    ///< Pixels.
  std::span<const kt::u8> setUp;         ///< For the decoder; it is copied.
  kt::u32 timeScale = 90'000;            ///< Ticks per second.
  kt::u32 format = kt::MP4_FORMAT_MP4V;  ///< An `Mp4SampleFormat` of pictures.
};

/// What sound is, for `Writer::AddAudio`.
struct AudioFormat {
  kt::u32 sampleRate = 0;                ///< Samples per second, which is the time scale as well.
  std::span<const kt::u8> setUp;         ///< For the decoder; it is copied.
  kt::u32 format = kt::MP4_FORMAT_MP4A;  ///< An `Mp4SampleFormat` of sound.
};

/// A track that is being written. Unless it is closed its file cannot be finished.
class TrackWriter {
 public:
  /// The object behind it, borrowed; not to be asked for once it is closed.
  kt::CMp4Track& Get() const { return *m_track; }
  /// In the file, from 1 on.
  kt::u32 Index() const { return m_index; }
  /// Appends a sample; its times are in ticks of the track. The results of `CMp4Track::WriteSample`.
  Result<void> Write(std::span<const kt::u8> bytes, kt::u64 decodingTime, kt::u64 compositionTime,
                     bool isSync = true) {
    if (m_track == nullptr || bytes.size() > std::numeric_limits<kt::u32>::max()) return kt::MP4_BAD_ARGUMENT;
    return m_track->WriteSample(bytes.data(), static_cast<kt::u32>(bytes.size()), decodingTime,
                                compositionTime, isSync ? 1 : 0);
  }
  /// Finishes the track; it takes no more samples. May be tried again after a failure. The results of
  /// `CMp4File::CloseTrack`.
  Result<void> Close() {
    const Mp4Result result = m_file->CloseTrack(m_track.get());
    if (result == kt::MP4_OK) static_cast<void>(m_track.release());
    return result;
  }

 private:
  friend class Writer;
  TrackWriter(std::shared_ptr<kt::CMp4File> file, kt::CMp4Track* track, kt::u32 index)
      : m_file(std::move(file)), m_track(track), m_index(index) {}

  std::shared_ptr<kt::CMp4File> m_file;
  std::unique_ptr<kt::CMp4Track> m_track;  // goes first
  kt::u32 m_index;
};

/// A file that is written.
class Writer {
 public:
  /// Creates a file of an `Mp4FileType`, or empties the one that stands there. The results of
  /// `CMp4File::Open`.
  static Result<Writer> Create(const std::string& name, kt::u32 fileType = kt::MP4_TYPE_MP4) {
    kt::CMp4File* made = nullptr;
    const Mp4Result creation = kt::CreateMp4File(&made);
    Writer writer(made);
    if (creation != kt::MP4_OK) return creation;
    const Mp4Result opening = made->Open(name.c_str(), kt::MP4_MODE_WRITE, fileType);
    if (opening != kt::MP4_OK) return opening;
    return writer;
  }

  /// The object behind it, borrowed.
  kt::CMp4File& Get() const { return *m_file; }
  /// Adds a track of pictures. The results of `CMp4File::AddTrack` and `CMp4Track::SetVideoFormat`.
  Result<TrackWriter> AddVideo(const VideoFormat& format) {
    return Add(kt::MP4_KIND_VIDEO, format.timeScale, [&](kt::CMp4Track& track) {
      return track.SetVideoFormat(format.width, format.height, format.setUp.data(),
                                  static_cast<kt::u32>(format.setUp.size()), format.format);
    });
  }
  /// Adds a track of sound. The results of `CMp4File::AddTrack` and `CMp4Track::SetAudioFormat`.
  Result<TrackWriter> AddAudio(const AudioFormat& format) {
    constexpr kt::i16 kFullVolume = 0x100;
    return Add(kt::MP4_KIND_AUDIO, format.sampleRate, [&](kt::CMp4Track& track) {
      return track.SetAudioFormat(kFullVolume, 0, format.setUp.data(),
                                  static_cast<kt::u32>(format.setUp.size()), format.format);
    });
  }
  /// Line 21 captions.
  Result<TrackWriter> AddCaptions(kt::u32 timeScale) {
    return Add(kt::MP4_KIND_TEXT, timeScale,
               [](kt::CMp4Track& track) { return track.SetLine21Format(0, 0, 0); });
  }
  /// Adds the hints of tracks that are closed, by their indices; `hintType` is an `Mp4HintType`, and a packet
  /// size of 0 the default. The results of `CMp4File::CloseHintTrack`.
  Result<void> AddHints(kt::u32 hintType, std::initializer_list<kt::u32> tracks, kt::u16 packetSize = 0) {
    kt::CMp4HintTrack* added = nullptr;
    KT_TRY(m_file->AddHintTrack(&added, hintType));
    std::unique_ptr<kt::CMp4HintTrack> hints(added);
    for (const kt::u32 track : tracks) KT_TRY(hints->AddReferencedTrack(track));
    if (packetSize != 0) KT_TRY(hints->SetMaxPacketSize(packetSize));
    KT_TRY(m_file->CloseHintTrack(hints.get()));
    static_cast<void>(hints.release());
    return {};
  }
  /// The object descriptor and scene tracks that a hinted file of MP4_TYPE_MP4 needs; an index of 0 is none.
  Result<void> AddScene(kt::u32 videoTrack, kt::u32 audioTrack) {
    return m_file->AddSceneTracks(videoTrack, audioTrack, 0);
  }
  /// Completes the file, all of whose tracks are closed. Without it the file has no "moov" and nobody can
  /// read it. May be tried again after a failure. The results of `CMp4File::Close`.
  Result<void> Close() { return m_file->Close(); }

 private:
  explicit Writer(kt::CMp4File* file) : m_file(file) {}
  template <class SetFormat>
  Result<TrackWriter> Add(kt::u32 kind, kt::u32 timeScale, const SetFormat& setFormat) {
    kt::CMp4Track* added = nullptr;
    KT_TRY(m_file->AddTrack(&added));
    kt::u32 index = 0;
    static_cast<void>(m_file->GetTrackCount(&index));
    TrackWriter track(m_file, added, index);
    KT_TRY(added->SetTrackType(kind));
    KT_TRY(added->SetTimeScale(timeScale));
    KT_TRY(setFormat(*added));
    return track;
  }

  std::shared_ptr<kt::CMp4File> m_file;
};

}  // namespace ktmp4
