#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include <ktmp4/adapting_file.h>
#include "support/answer.h"
#include "support/descriptor_writer.h"
#include "support/temp_file.h"
#include "support/track_boxes.h"

namespace kt::test {

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
  const Bytes fields = Bytes().U8(objectType).U8(static_cast<u64>(streamType << 2 | 1)).Zeros(11);
  const Bytes config = Descriptor(4, Bytes(fields).Add(Descriptor(5, decoderInfo)));
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

  /// The same with another piece: `Track().With(&Track::stss, Stss({1}))`.
  template <class Piece>
  Track With(Piece piece, const Bytes& content) const {
    Track changed = *this;
    changed.*piece = content;
    return changed;
  }
  /// The same with so many samples of other sizes, ten ticks each, in one chunk.
  Track WithOneChunk(u32 samples, const Bytes& sizes) const {
    const Track timed = With(&Track::stsz, sizes).With(&Track::stts, Stts({{samples, 10}}));
    return timed.With(&Track::stsc, Stsc({{1, samples}})).With(&Track::chunkOffsets, Stco({24}));
  }
};

/// A track of another kind, of the times and sizes above.
inline Track TrackOf(std::string_view handler, const Bytes& mediaHeader, const Bytes& entry) {
  const Track track = Track().With(&Track::hdlr, Hdlr(handler)).With(&Track::mediaHeader, mediaHeader);
  return track.With(&Track::stsd, Stsd({entry}));
}
/// The same for sound: as it stands AAC.
inline Track SoundTrack(const Bytes& entry = AudioEntry("mp4a", 2, 44100, Esds(0x40, 5, {0x12, 0x10}))) {
  return TrackOf("soun", Smhd(), entry);
}
/// The same for captions.
inline Track CaptionedTrack() {
  return TrackOf("text", Nmhd(), Box("ln21", Bytes().Zeros(6).U16(1)));
}

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

/// What is read of a sample; nothing when that has to fail.
inline Bytes SampleOf(CMp4Track& track, u32 sample, Mp4Result expected = MP4_OK) {
  u32 size = Ask(track, &CMp4Track::GetSampleSize, sample).value;
  Bytes bytes(size);
  EXPECT_EQ(track.ReadSample(sample, size, &size, bytes.data()), expected) << sample;
  return expected == MP4_OK ? bytes : Bytes();
}

inline std::unique_ptr<CMp4File> NewFile(bool adapting = false) {
  CMp4File* file = nullptr;
  EXPECT_EQ((adapting ? CreateAdaptingMp4File : CreateMp4File)(&file), MP4_OK);
  return std::unique_ptr<CMp4File>(file);
}

/// A file object over a file of these bytes. `result` is the answer of `Open`.
class OpenedMovie {
 public:
  explicit OpenedMovie(const std::vector<u8>& content, u32 fileType = MP4_TYPE_MP4)
      : m_temp(content), result(m_file->Open(m_temp.Name().c_str(), MP4_MODE_READ, fileType)) {}
  explicit OpenedMovie(const Movie& movie) : OpenedMovie(movie.Build()) {}
  explicit OpenedMovie(const Track& track) : OpenedMovie(MovieOf(track)) {}

  CMp4File* operator->() { return m_file.get(); }
  CMp4File& operator*() { return *m_file; }
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

 private:
  TempFile m_temp;
  std::unique_ptr<CMp4File> m_file = NewFile();

 public:
  const Mp4Result result;
};

}  // namespace kt::test
