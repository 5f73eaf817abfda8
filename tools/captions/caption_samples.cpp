#include "tools/captions/caption_samples.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <utility>

#include "tools/terminal/failure.h"

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
    const u64 last = LastFrame(file.count);
    if (begin > last || cue.pairs.size() - 1 > last - begin) {
      throw Failure("line " + std::to_string(cue.line) + ": its pairs run past the last time code, " +
                    TimeCode(last, file.count));
    }
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

SccWriter::SccWriter(FrameCount count, bool marked, Print print)
    : m_count(count), m_marked(marked), m_print(std::move(print)) {
  m_print(std::string(kSccHead) + "\n");
}

void SccWriter::Add(const CaptionSample& sample) {
  if (sample.isFiller) return;
  if (sample.frame > LastFrame(m_count)) {
    throw Failure("the captions last longer than time codes, which end behind 99 hours");
  }
  char pair[8];
  std::snprintf(pair, sizeof pair, "%02x%02x", sample.pair[0], sample.pair[1]);
  if (!m_inLine || sample.frame != m_next || (m_marked && sample.beginsCue)) {
    Finish();
    m_print("\n" + TimeCode(sample.frame, m_count) + "\t" + pair);
    m_inLine = true;
  } else {
    m_print(std::string(" ") + pair);
  }
  m_next = sample.frame + 1;
}

void SccWriter::Finish() {
  if (m_inLine) m_print("\n");
  m_inLine = false;
}

}  // namespace kt
