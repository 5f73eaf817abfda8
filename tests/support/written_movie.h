#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string_view>
#include <vector>

#include "engine/mp4_file.h"
#include "support/answer.h"
#include "support/box_writer.h"
#include "support/temp_file.h"

namespace kt::test {

/// The first child with this code among boxes that stand one behind the other, header included; empty when
/// there is none. `occurrence` counts from 1.
inline Bytes ChildBox(const std::vector<u8>& boxes, std::string_view code, u32 occurrence = 1) {
  for (std::size_t at = 0; at + 8 <= boxes.size();) {
    std::size_t size = 0;
    for (std::size_t i = 0; i < 4; ++i) size = size << 8 | boxes[at + i];
    if (size < 8 || size > boxes.size() - at) break;
    const auto begin = boxes.begin() + static_cast<std::ptrdiff_t>(at);
    if (std::equal(code.begin(), code.end(), begin + 4) && --occurrence == 0) {
      return Bytes(begin, begin + static_cast<std::ptrdiff_t>(size));
    }
    at += size;
  }
  return {};
}

/// The box at the end of a path of plain containers, "moov/trak/mdia"; of several tracks the `track`-th.
inline Bytes BoxAt(const std::vector<u8>& file, std::string_view path, u32 track = 1) {
  Bytes box(file.begin(), file.end());
  for (bool isTop = true; !path.empty(); isTop = false) {
    const std::size_t end = std::min(path.find('/'), path.size());
    const std::string_view code = path.substr(0, end);
    path.remove_prefix(std::min(end + 1, path.size()));
    if (!isTop) box.erase(box.begin(), box.begin() + std::min<std::ptrdiff_t>(8, std::ssize(box)));
    box = ChildBox(box, code, code == "trak" ? track : 1);
  }
  return box;
}

inline Bytes SampleTableBoxAt(const std::vector<u8>& file, std::string_view code, u32 track = 1) {
  return BoxAt(file, std::string("moov/trak/mdia/minf/stbl/").append(code), track);
}

/// The codes of the children of a box, one behind the other: "mdhdhdlrminf".
inline std::string CodesIn(const Bytes& box, std::size_t headerSize = 8) {
  std::string codes;
  for (std::size_t at = headerSize; at + 8 <= box.size();) {
    codes.append(box.begin() + static_cast<std::ptrdiff_t>(at) + 4,
                 box.begin() + static_cast<std::ptrdiff_t>(at) + 8);
    at += std::max<std::size_t>(
        8, u32{box[at]} << 24 | u32{box[at + 1]} << 16 | u32{box[at + 2]} << 8 | box[at + 3]);
  }
  return codes;
}

/// A file object that writes. `result` is the answer of `Open`.
class WrittenMovie {
 public:
  explicit WrittenMovie(u32 fileType = MP4_TYPE_3GP) {
    CMp4File* made = nullptr;
    EXPECT_EQ(CreateMp4File(&made), MP4_OK);
    m_file.reset(made);
    result = m_file->Open(Name().c_str(), MP4_MODE_WRITE, fileType);
  }

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
  /// A new track that takes samples: captions, which no format of bytes concerns.
  CMp4Track* AddTextTrack(u32 timeScale = 1000, u32 kind = MP4_KIND_TEXT) {
    CMp4Track* track = AddBareTrack();
    EXPECT_EQ(track->SetTrackType(kind), MP4_OK);
    EXPECT_EQ(track->SetTimeScale(timeScale), MP4_OK);
    EXPECT_EQ(track->SetLine21Format(0, 0, 0), MP4_OK);
    return track;
  }
  /// Closes these tracks and the file, all of which have to close. Gives what stands in the file then.
  Bytes Finish(std::initializer_list<CMp4Track*> tracks) {
    for (CMp4Track* track : tracks) EXPECT_EQ(m_file->CloseTrack(track), MP4_OK);
    EXPECT_EQ(m_file->Close(), MP4_OK);
    return Content();
  }
  void DestroyFile() { m_file.reset(); }

  Mp4Result result = MP4_NOT_READY;

 private:
  TempFile m_temp;
  std::unique_ptr<CMp4File> m_file;
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
