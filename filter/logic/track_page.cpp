#include "filter/logic/track_page.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "filter/logic/time_conversion.h"

namespace kt {

namespace {

/// The page prints most numbers as signed ones.
std::string SignedText(u32 number) {
  return std::to_string(static_cast<i32>(number));
}

/// In milliseconds; the page keeps 32 bits of them.
std::string DurationText(u64 duration, u32 movieTimeScale) {
  return std::to_string(static_cast<u32>(MultiplyDivide(duration, 1000, movieTimeScale)));
}

}  // namespace

const char* TrackTypeWord(u32 type) {
  static constexpr const char* kWords[] = {"Unknown", "Video", "Audio", "BIFS", "Object Descriptor", "Hint"};
  return type < std::size(kWords) ? kWords[type] : "Unknown";
}

TrackPage::Labels TrackPage::Activate() {
  Labels labels;
  u32 count = 0;
  if (!IsFailure(m_facts.GetTrackCount(&count))) {
    m_trackCount = static_cast<i32>(count);
    labels.push_back({PAGE_TRACK_COUNT, SignedText(count)});
  }
  if (!IsFailure(m_facts.GetMovieTimeScale(&m_movieTimeScale))) {
    labels.push_back({PAGE_MOVIE_TIME_SCALE, SignedText(m_movieTimeScale)});
  }
  m_selectedTrack = 1;
  for (Label& label : Refresh()) labels.push_back(std::move(label));
  return labels;
}

TrackPage::Labels TrackPage::SelectTrack(i32 track) {
  m_selectedTrack = track;
  return m_trackCount >= 1 ? Refresh() : Labels();
}

TrackPage::Labels TrackPage::Refresh() const {
  Labels labels;
  // Below 0 there is nothing to tell apart, and the smallest number has none below it.
  const i32 index = std::max(m_selectedTrack, 0) - 1;
  // A track beyond the last is no failure; nothing is then stored, and 0 is shown.
  const auto show = [&]<class T>(TrackPageLabel label, FilterResult (FileFacts::*get)(i32, T*) const,
                                 auto text) {
    T value = 0;
    const FilterResult result = (m_facts.*get)(index, &value);
    if (!IsFailure(result)) labels.push_back({label, text(value, result == FilterResult::Ok)});
  };
  const auto asSigned = [](u32 value, bool) { return SignedText(value); };
  show(PAGE_TRACK_ID, &FileFacts::GetTrackId, asSigned);
  show(PAGE_MEDIA_TYPE, &FileFacts::GetTrackType,
       [](u32 value, bool known) { return std::string(known ? TrackTypeWord(value) : ""); });
  show(PAGE_SAMPLE_COUNT, &FileFacts::GetSampleCount, asSigned);
  show(PAGE_TIME_SCALE, &FileFacts::GetTimeScale, [](u32 value, bool) { return std::to_string(value); });
  show(PAGE_DURATION, &FileFacts::GetDuration,
       [&](u64 value, bool) { return DurationText(value, m_movieTimeScale); });
  return labels;
}

}  // namespace kt
