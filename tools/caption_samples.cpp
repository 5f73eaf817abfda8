#include "tools/caption_samples.h"

#include <algorithm>
#include <bit>

namespace kt {
namespace {

constexpr u8 kValid = 0xFC;
constexpr u8 kNotValid = 0xF8;
constexpr BytePair kNoData = {0x80, 0x80};

/// Lines that a person should know of.
struct Finding {
  u32 firstLine = 0;
  u32 lines = 0;

  void Take(u32 line) {
    if (lines++ == 0) firstLine = line;
  }
  void Report(const char* what, const Notes& note) const {
    if (lines == 0) return;
    note("line " + std::to_string(firstLine) + what +
         (lines > 1 ? " (the first of " + std::to_string(lines) + " lines)" : std::string()));
  }
};

bool HasOddParity(const BytePair& pair) {
  return std::popcount(pair[0]) % 2 == 1 && std::popcount(pair[1]) % 2 == 1;
}

class Layout {
 public:
  explicit Layout(u64 longestStep) : m_longestStep(longestStep) {}

  u64 NextFrame() const { return m_samples.empty() ? 0 : m_samples.back().frame + 1; }

  void Add(u64 frame, const BytePair& pair, bool beginsCue) {
    FillUpTo(frame);
    m_samples.push_back({frame, pair, beginsCue, false});
  }
  void End() { m_samples.push_back({NextFrame(), kNoData, false, true}); }

  std::vector<CaptionSample> m_samples;

 private:
  void FillUpTo(u64 frame) {
    if (m_samples.empty() && frame > 0) m_samples.push_back({0, kNoData, true, true});
    while (!m_samples.empty() && frame - m_samples.back().frame > m_longestStep) {
      m_samples.push_back({m_samples.back().frame + m_longestStep, kNoData, true, true});
    }
  }

  u64 m_longestStep;
};

}  // namespace

std::array<u8, 3> SampleBytes(const CaptionSample& sample) {
  return {sample.isFiller ? kNotValid : kValid, sample.pair[0], sample.pair[1]};
}

void SetSampleBytes(const u8* bytes, CaptionSample* sample) {
  sample->pair = {bytes[1], bytes[2]};
  sample->isFiller = bytes[0] == kNotValid && sample->pair == kNoData;
}

std::vector<CaptionSample> LayOut(const SccFile& file, u64 longestStep, const Notes& note) {
  Layout layout(longestStep);
  Finding late, evenParity;
  for (const SccCue& cue : file.cues) {
    const u64 begin = std::max(cue.frame, layout.NextFrame());
    if (begin != cue.frame) late.Take(cue.line);
    if (!std::ranges::all_of(cue.pairs, HasOddParity)) evenParity.Take(cue.line);
    u64 frame = begin;
    for (const BytePair& pair : cue.pairs) {
      layout.Add(frame, pair, frame == begin);
      ++frame;
    }
  }
  late.Report(" begins while the pairs before it still go out; its own follow behind them", note);
  evenParity.Report(" has a byte of even parity, over which decoders stumble; it is kept", note);
  layout.End();
  return layout.m_samples;
}

std::vector<SccCue> GatherCues(const std::vector<CaptionSample>& samples) {
  const bool marked = !std::ranges::all_of(samples, &CaptionSample::beginsCue);
  std::vector<SccCue> cues;
  u64 next = 0;
  for (const CaptionSample& sample : samples) {
    if (sample.isFiller) continue;
    if (cues.empty() || sample.frame != next || (marked && sample.beginsCue)) {
      cues.push_back({sample.frame, {}, 0});
    }
    cues.back().pairs.push_back(sample.pair);
    next = sample.frame + 1;
  }
  return cues;
}

}  // namespace kt
