#pragma once

#include <windows.h>

#include <string>

#include "support/line21_script.h"
#include "support/written_movie.h"

namespace kt::test {

/// A file with a video, an audio and a caption track. All have the same samples: `kReaderSamples` of them,
/// one every 10 ms, the first and the fifth of the video sync samples. The second video sample holds the
/// metadata text "Hello"; the captions say "Hi" in a row that is complete half way through.
inline constexpr u32 kReaderSamples = 10;

class ReaderMovie {
 public:
  ReaderMovie() {
    const Bytes info = {0x12, 0x10};
    CMp4Track* const video = m_movie.AddTrack(MP4_KIND_VIDEO, 1000, MP4_FORMAT_MP4V, info);
    CMp4Track* const audio = m_movie.AddTrack(MP4_KIND_AUDIO, 1000, MP4_FORMAT_MP4A, info);
    CMp4Track* const captions = m_movie.AddTextTrack();

    std::vector<Line21Pair> pairs = Line21Pairs("{-}{RU2}{PAC}Hi{CR}");
    pairs.resize(kReaderSamples, {0x80, 0x80});
    for (u32 i = 0; i < kReaderSamples; ++i) {
      const u64 time = u64{i} * 10;
      const bool isSync = i % 4 == 0;
      if (i == 1) {
        const std::string text("\0\0\1\xB3...\0\0\1\xB2\x11\x22\x33\x44\1\5Hello", 22);
        EXPECT_EQ(video->WriteSample(text.data(), static_cast<u32>(text.size()), time, time, 0), MP4_OK);
      } else {
        EXPECT_EQ(test::WriteSample(video, i + 1, time, isSync), MP4_OK);
      }
      EXPECT_EQ(test::WriteSample(audio, 20, time), MP4_OK);
      const u8 caption[] = {0xFF, pairs[i][0], pairs[i][1]};
      EXPECT_EQ(captions->WriteSample(caption, sizeof caption, time, time, 1), MP4_OK);
    }
    m_movie.Finish({video, audio, captions});
  }

  std::wstring Name() const {
    const std::string name = m_movie.Name();
    return {name.begin(), name.end()};
  }
  /// A URL of the file; `parameters` begin with "&".
  std::wstring Url(const std::wstring& parameters) const { return L"ktmp4file://" + Name() + parameters; }

 private:
  WrittenMovie m_movie;
};

}  // namespace kt::test
