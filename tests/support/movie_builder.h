#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/mp4_file.h"
#include "support/descriptor_writer.h"
#include "support/temp_file.h"

namespace kt::test {

// The boxes of a track, each from its records. What has times is written in version 0.

inline Bytes TableBox(std::string_view code, std::size_t count, const Bytes& records) {
  return FullBox(code, 0, 0, Bytes().U32(count).Add(records));
}

/// A table of runs: sample count and value.
inline Bytes RunTable(std::string_view code, const std::vector<std::pair<u32, u32>>& runs) {
  Bytes records;
  for (const auto& [count, value] : runs) records.U32s({count, value});
  return TableBox(code, runs.size(), records);
}

inline Bytes NumberTable(std::string_view code, const std::vector<u64>& numbers, bool wide = false) {
  Bytes records;
  for (const u64 number : numbers) wide ? records.U64(number) : records.U32(number);
  return TableBox(code, numbers.size(), records);
}

inline Bytes Stts(const std::vector<std::pair<u32, u32>>& runs) {
  return RunTable("stts", runs);
}
inline Bytes Ctts(const std::vector<std::pair<u32, u32>>& runs) {
  return RunTable("ctts", runs);
}
inline Bytes Stss(const std::vector<u64>& samples) {
  return NumberTable("stss", samples);
}
inline Bytes Stco(const std::vector<u64>& offsets) {
  return NumberTable("stco", offsets);
}
inline Bytes Co64(const std::vector<u64>& offsets) {
  return NumberTable("co64", offsets, true);
}

/// Runs of chunks: first chunk and samples per chunk.
inline Bytes Stsc(const std::vector<std::pair<u32, u32>>& runs) {
  Bytes records;
  for (const auto& [firstChunk, samples] : runs) records.U32s({firstChunk, samples, 1});
  return TableBox("stsc", runs.size(), records);
}

inline Bytes Stsz(const std::vector<u64>& sizes) {
  Bytes payload = Bytes().U32(0).U32(sizes.size());
  for (const u64 size : sizes) payload.U32(size);
  return FullBox("stsz", 0, 0, payload);
}
inline Bytes ConstantStsz(u32 size, u32 count) {
  return FullBox("stsz", 0, 0, Bytes().U32(size).U32(count));
}

/// Edits: duration in movie ticks and media time.
inline Bytes Edts(const std::vector<std::pair<u32, i32>>& edits) {
  Bytes records;
  for (const auto& [duration, mediaTime] : edits) {
    records.U32(duration).U32(static_cast<u32>(mediaTime)).U16(1).U16(0);
  }
  return Box("edts", {TableBox("elst", edits.size(), records)});
}

inline Bytes Mvhd(u32 timeScale, u32 creationTime = 0) {
  return FullBox("mvhd", 0, 0, Bytes().U32(creationTime).U32(0).U32(timeScale).Zeros(84));
}
inline Bytes Tkhd(u32 id, u32 width, u32 height, u32 duration) {
  return FullBox("tkhd", 0, 1,
                 Bytes().U32s({0, 0, id, 0, duration}).Zeros(52).U32(width << 16).U32(height << 16));
}
inline Bytes Mdhd(u32 timeScale, u32 duration, u32 creationTime = 0) {
  return FullBox("mdhd", 0, 0, Bytes().U32s({creationTime, 0, timeScale, duration, 0}));
}
inline Bytes Hdlr(std::string_view handlerType) {
  return FullBox("hdlr", 0, 0, Bytes().U32(0).Text(handlerType).Zeros(12).Text("name").U8(0));
}
inline Bytes Vmhd() {
  return FullBox("vmhd", 0, 1, Bytes().Zeros(8));
}
inline Bytes Smhd() {
  return FullBox("smhd", 0, 0, Bytes().Zeros(4));
}
inline Bytes Nmhd() {
  return FullBox("nmhd", 0, 0);
}
inline Bytes Udta(std::initializer_list<Bytes> children) {
  return Box("udta", children);
}
/// A copyright notice in three letters' language.
inline Bytes Cprt(std::string_view language, std::string_view notice) {
  u32 packed = 0;
  for (const char letter : language) packed = packed << 5 | (static_cast<u8>(letter) - 0x60u);
  return FullBox("cprt", 0, 0, Bytes().U16(packed).Text(notice).U8(0));
}

// Sample entries.

inline Bytes VisualEntry(std::string_view code, u16 width, u16 height, const Bytes& child) {
  return Box(code, Bytes().Zeros(6).U16(1).Zeros(16).U16(width).U16(height).Zeros(50).Add(child));
}
inline Bytes AudioEntry(std::string_view code, u16 channels, u16 rate, const Bytes& child) {
  return Box(code,
             Bytes().Zeros(6).U16(1).Zeros(8).U16(channels).U16(16).Zeros(4).U16(rate).U16(0).Add(child));
}
inline Bytes MpegEntry(std::string_view code, const Bytes& child) {
  return Box(code, Bytes().Zeros(6).U16(1).Add(child));
}
inline Bytes Esds(u8 objectType, u8 streamType, const std::vector<u8>& decoderInfo) {
  const Bytes config = Descriptor(4, Bytes()
                                         .U8(objectType)
                                         .U8(static_cast<u64>(streamType << 2 | 1))
                                         .U24(0)
                                         .U32(0)
                                         .U32(0)
                                         .Add(Descriptor(5, decoderInfo)));
  const Bytes sl = Descriptor(6, Bytes().U8(2));
  return FullBox("esds", 0, 0, Descriptor(3, Bytes().U16(1).U8(0).Add(config).Add(sl)));
}
inline Bytes Stsd(const std::vector<Bytes>& entries) {
  Bytes children;
  for (const Bytes& entry : entries) children.Add(entry);
  return TableBox("stsd", entries.size(), children);
}

/// A "trak" in pieces, each a whole box that a test can replace, or leave out by making it empty. As it
/// stands it is a video track of four samples of 1 to 4 bytes in two chunks, for the media data of `Movie`.
struct Track {
  Bytes tkhd = Tkhd(1, 320, 240, 40);
  Bytes edts;
  Bytes mdhd = Mdhd(1000, 40);
  Bytes hdlr = Hdlr("vide");
  Bytes mediaHeader = Vmhd();
  Bytes stsd = Stsd({VisualEntry("mp4v", 320, 240, Esds(0x20, 4, {0xD0, 0xD1}))});
  Bytes stts = Stts({{4, 10}});
  Bytes ctts, stss;
  Bytes stsz = Stsz({1, 2, 3, 4});
  Bytes stsc = Stsc({{1, 2}});
  Bytes chunkOffsets = Stco({24, 27});
  Bytes udta;

  Bytes SampleTable() const { return Box("stbl", {stsd, stts, ctts, stss, stsz, stsc, chunkOffsets}); }
  Bytes MediaInformation() const { return Box("minf", {mediaHeader, SampleTable()}); }
  Bytes Media() const { return Box("mdia", {mdhd, hdlr, MediaInformation()}); }
  Bytes Build() const { return Box("trak", {tkhd, edts, Media(), udta}); }
};

/// A whole file in pieces: "ftyp", "mdat", "moov". The media data begins at byte 24 of the file.
struct Movie {
  Bytes ftyp = Box("ftyp", Bytes().Text("isom").U32(0));
  Bytes mdat = Box("mdat", Bytes().Text("abbcccdddd"));
  Bytes mvhd = Mvhd(1000);
  std::vector<Track> tracks = {Track()};
  Bytes udta;

  Bytes Build() const {
    Bytes children = mvhd;
    for (const Track& track : tracks) children.Add(track.Build());
    return Bytes().Add(ftyp).Add(mdat).Add(Box("moov", children.Add(udta)));
  }
};

/// A movie of one track.
inline Movie MovieOf(const Track& track) {
  Movie movie;
  movie.tracks = {track};
  return movie;
}

/// A file object over a file of these bytes. `result` is the answer of `Open`.
class OpenedMovie {
 public:
  explicit OpenedMovie(const std::vector<u8>& content, u32 fileType = MP4_TYPE_MP4) : m_temp(content) {
    CMp4File* made = nullptr;
    EXPECT_EQ(CreateMp4File(&made), MP4_OK);
    m_file.reset(made);
    result = m_file->Open(m_temp.Name().c_str(), MP4_MODE_READ, fileType);
  }
  explicit OpenedMovie(const Movie& movie) : OpenedMovie(movie.Build()) {}
  explicit OpenedMovie(const Track& track) : OpenedMovie(MovieOf(track)) {}

  CMp4File* operator->() { return m_file.get(); }
  /// The track, which has to open; it goes back by itself, also when the file has gone before.
  std::unique_ptr<CMp4Track> OpenTrack(u32 index = 1) {
    CMp4Track* track = nullptr;
    EXPECT_EQ(m_file->OpenTrack(index, &track), MP4_OK);
    return std::unique_ptr<CMp4Track>(track);
  }
  /// What `OpenTrack` answers; no track comes with a failure.
  Mp4Result BindResult(u32 index = 1) {
    CMp4Track* track = nullptr;
    const Mp4Result answer = m_file->OpenTrack(index, &track);
    EXPECT_EQ(track != nullptr, answer == MP4_OK);
    delete track;
    return answer;
  }
  void DestroyFile() { m_file.reset(); }
  std::string Name() const { return m_temp.Name(); }

  Mp4Result result = MP4_NOT_READY;

 private:
  TempFile m_temp;
  std::unique_ptr<CMp4File> m_file;
};

}  // namespace kt::test
