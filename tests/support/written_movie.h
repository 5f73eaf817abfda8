#pragma once

#include <ktmp4/mp4_hint_track.h>
#include "support/movie_builder.h"

namespace kt::test {

/// The boxes that stand one behind the other from `at` on, headers included.
inline std::vector<Bytes> BoxesIn(const std::vector<u8>& bytes, std::size_t at) {
  std::vector<Bytes> boxes;
  while (at + 8 <= bytes.size()) {
    std::size_t size = 0;
    for (std::size_t i = 0; i < 4; ++i) size = size << 8 | bytes[at + i];
    if (size < 8 || size > bytes.size() - at) break;
    const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(at);
    boxes.emplace_back(begin, begin + static_cast<std::ptrdiff_t>(size));
    at += size;
  }
  return boxes;
}

inline std::string CodeOf(const Bytes& box) {
  return {box.begin() + 4, box.begin() + 8};
}

/// The box at the end of a path of plain containers, "moov/trak/mdia", the `track`-th of several tracks,
/// header included; empty when there is none.
inline Bytes BoxAt(const std::vector<u8>& file, std::string_view path, u32 track = 1) {
  const std::string_view code = path.substr(0, path.find('/'));
  u32 left = code == "trak" ? track : 1;
  for (const Bytes& box : BoxesIn(file, 0)) {
    if (CodeOf(box) != code || --left > 0) continue;
    if (code == path) return box;
    return BoxAt({box.begin() + 8, box.end()}, path.substr(code.size() + 1), track);
  }
  return {};
}

inline Bytes SampleTableBoxAt(const std::vector<u8>& file, std::string_view code, u32 track = 1) {
  return BoxAt(file, std::string("moov/trak/mdia/minf/stbl/").append(code), track);
}

/// The codes of the children of a box, one behind the other: "mdhdhdlrminf".
inline std::string CodesIn(const Bytes& box, std::size_t headerSize = 8) {
  std::string codes;
  for (const Bytes& child : BoxesIn(box, headerSize)) codes += CodeOf(child);
  return codes;
}

/// A file object that writes. `result` is the answer of `Open`.
class WrittenMovie {
 public:
  explicit WrittenMovie(u32 fileType = MP4_TYPE_3GP)
      : result(m_file->Open(Name().c_str(), MP4_MODE_WRITE, fileType)) {}

  CMp4File* operator->() { return m_file.get(); }
  CMp4File& operator*() { return *m_file; }
  std::string Name() const { return m_temp.Name(); }
  Bytes Content() const {
    const std::vector<u8> content = ReadFile(m_temp.Path());
    return Bytes(content.begin(), content.end());
  }

  /// A new track without kind, time scale and format. The file takes it back.
  CMp4Track* AddBareTrack() {
    CMp4Track* track = nullptr;
    EXPECT_EQ(m_file->AddTrack(&track), MP4_OK);
    return track;
  }
  /// A new track that takes samples. A format of 0 stands for that of captions, whatever the kind.
  CMp4Track* AddTrack(u32 kind, u32 timeScale, u32 format, const Bytes& info = {}) {
    CMp4Track* track = AddBareTrack();
    const u32 infoSize = static_cast<u32>(info.size());
    EXPECT_EQ(track->SetTrackType(kind), MP4_OK);
    EXPECT_EQ(track->SetTimeScale(timeScale), MP4_OK);
    EXPECT_EQ(format == 0              ? track->SetLine21Format(0, 0, 0)
              : kind == MP4_KIND_VIDEO ? track->SetVideoFormat(320, 240, info.data(), infoSize, format)
                                       : track->SetAudioFormat(0x100, 0, info.data(), infoSize, format),
              MP4_OK);
    return track;
  }
  /// The same for captions, which no format of bytes concerns.
  CMp4Track* AddTextTrack(u32 timeScale = 1000) { return AddTrack(MP4_KIND_TEXT, timeScale, 0); }
  /// Closes these tracks and the file, all of which have to close. Gives what stands in the file then.
  Bytes Finish(std::initializer_list<CMp4Track*> tracks) {
    for (CMp4Track* track : tracks) EXPECT_EQ(m_file->CloseTrack(track), MP4_OK);
    EXPECT_EQ(m_file->Close(), MP4_OK);
    return Content();
  }

  CMp4HintTrack* AddHintTrack(u32 hintType, const std::vector<u32>& references) {
    CMp4HintTrack* hint = nullptr;
    EXPECT_EQ(m_file->AddHintTrack(&hint, hintType), MP4_OK);
    for (const u32 track : references) EXPECT_EQ(hint->AddReferencedTrack(track), MP4_OK);
    return hint;
  }

 private:
  TempFile m_temp;
  std::unique_ptr<CMp4File> m_file = NewFile();

 public:
  const Mp4Result result;
};

/// Writes a sample of `size` bytes that is shown when it is decoded.
inline Mp4Result WriteSample(CMp4Track* track, u32 size, u64 time, bool isSync = true) {
  const std::vector<u8> bytes(size, static_cast<u8>(time));
  return track->WriteSample(bytes.data(), size, time, time, isSync ? 1 : 0);
}
/// Samples of one size at these times, all of which have to be written.
inline void WriteSamples(CMp4Track* track, u32 size, std::initializer_list<u64> times) {
  for (const u64 time : times) ASSERT_EQ(WriteSample(track, size, time), MP4_OK) << time;
}

}  // namespace kt::test
