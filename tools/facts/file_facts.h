#pragma once

#include <array>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tools/facts/sample_entry.h"
#include "tools/files/input_file.h"

namespace kt {

// What a file and its tracks are, as plain values. What a file does not tell is not there.

/// Year, month, day, hour, minute, second.
using Date = std::array<u32, 6>;

/// One entry of an edit list: ISO/IEC 14496-12, 8.6.6.
struct Edit {
  /// How long it lasts; 0 when the file says so, as a fragmented one may that does not know its length.
  double seconds = 0;
  /// Where it begins in the media, in seconds; nothing for an empty edit, while which nothing is shown.
  std::optional<double> from;
  /// 1 is the speed of the media, 0 holds a picture.
  double rate = 1;
};

/// How a picture is turned when it is shown: mirrored first, left to right, then turned clockwise.
struct Rotation {
  bool mirrored = false;
  /// 0 to 359.
  u32 degrees = 0;
};

struct TrackFacts {
  /// For `CMp4File::OpenTrack`.
  u32 index = 0;
  /// Of a track that does not open there is nothing else.
  Mp4Result result = MP4_OK;
  std::optional<u32> id, kind, samples, timeScale;
  u32 format = MP4_FORMAT_UNKNOWN;
  /// Of the first sample entry; empty when there is none.
  std::string code;
  /// "H.264, High profile, level 3.1"; empty for a code that is not known.
  std::string coding;
  /// In movie ticks, as the track header tells.
  std::optional<u64> duration;
  /// The same in seconds.
  std::optional<double> seconds;
  /// Of all samples.
  std::optional<u64> bytes;
  /// Mean values over all samples, in bits and in samples a second.
  std::optional<double> bitRate, samplesPerSecond;
  /// When the first sample is shown, in seconds.
  std::optional<double> start;
  /// Three letters; empty when it is not told, or told as undetermined.
  std::string language;
  std::string handlerName;
  std::optional<std::pair<u32, u32>> picture;
  std::optional<Rotation> rotation;
  /// Of sound: what comes out of the decoder, where its set-up tells.
  std::optional<u32> rate;
  std::optional<u16> channels;
  std::vector<u8> decoderInfo;
  /// At most `kMostEdits` of `editCount`.
  std::vector<Edit> edits;
  u64 editCount = 0;
  /// Of an adapted file, with what the entries of the file point to.
  std::vector<AdaptedEntry> entries;
  std::optional<AdaptedTrack> adapted;
};
inline constexpr u64 kMostEdits = 100;

struct FileFacts {
  u32 fileType = 0;
  /// Bytes of the file.
  u64 size = 0;
  /// Of "ftyp"; none when there is none.
  std::vector<std::string> brands;
  std::optional<u32> timeScale;
  std::optional<Date> created;
  /// The length of the longest track.
  std::optional<double> seconds;
  std::vector<TrackFacts> tracks;
  /// The box that tells of fragments; empty when there are none.
  std::string fragments;
  bool isAdapted = false;
  std::vector<AdaptedTrack> leftOut;
};

/// Gathers them from a file that is open. What points into the file is good until it is closed.
FileFacts GatherFacts(InputFile& input);

/// "video"; "unknown" for a number that is none.
const char* KindName(u32 kind);
const char* FileTypeName(u32 type);
/// What the library calls a sample format: "mp4v".
const char* FormatName(u32 format);
/// "1904-01-02 00:00:00", with `between` between date and time.
std::string DateText(const Date& date, char between);
std::string HexText(const std::vector<u8>& bytes);
/// "176 x 144 pixels, 25 a second"; empty for a track without pictures.
std::string PictureText(const TrackFacts& facts);
std::string PixelText(u32 width, u32 height);
/// "2 channels"
std::string ChannelText(u32 channels);
/// Bits a second for people: "1234 kbit/s".
std::string BitRateText(double bitsPerSecond);
/// "mirrored, turned clockwise by 90 degrees"
std::string RotationText(const Rotation& rotation);
/// "nothing for 0.500 s", "4.000 s from 0.067 s on"
std::string EditText(const Edit& edit);
/// "4.000 s"
std::string SecondsText(double seconds);

}  // namespace kt
