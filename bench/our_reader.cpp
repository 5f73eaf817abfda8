#include "bench/our_reader.h"

#include <ktmp4/sample_info.h>
#include "bench/check.h"

namespace kt {
COurReader::COurReader(const std::string& path, Mp4Result (*create)(CMp4File**)) {
  CMp4File* file = nullptr;
  Check(create(&file), "a file object");
  m_file.reset(file);
  Check(file->Open(path.c_str(), MP4_MODE_READ, MP4_TYPE_MP4), path.c_str());
  u32 count = 0;
  Check(file->GetTrackCount(&count), "GetTrackCount");
  for (u32 index = 1; index <= count; ++index) {
    Track track{};
    Check(file->OpenTrack(index, &track.face), "OpenTrack");
    Check(track.face->GetSampleCount(&track.samples), "GetSampleCount");
    Check(track.face->GetTimeScale(&track.timeScale), "GetTimeScale");
    m_tracks.push_back(track);
  }
}

COurReader::~COurReader() {
  for (const Track& track : m_tracks) Check(m_file->CloseTrack(track.face), "CloseTrack");
  Check(m_file->Close(), "Close");
}

u64 COurReader::LastTime(u32 track) {
  u64 time = 0;
  Check(m_tracks[track].face->GetSampleCompositionTime(m_tracks[track].samples, &time), "last time");
  return time;
}

std::vector<u32> COurReader::Sizes(u32 track) {
  std::vector<u32> sizes(m_tracks[track].samples);
  for (u32 i = 0; i < sizes.size(); ++i) {
    Check(m_tracks[track].face->GetSampleSize(i + 1, &sizes[i]), "GetSampleSize");
  }
  return sizes;
}

bool COurReader::IsInTurn(u32 track, u32 sample, u64 turn) {
  u64 time = 0;
  Check(m_tracks[track].face->GetSampleDecodingTime(sample, &time), "GetSampleDecodingTime");
  return time * 2 < turn * m_tracks[track].timeScale;
}

Tally COurReader::ReadInFileOrder() {
  Tally tally;
  std::vector<u32> next(m_tracks.size(), 1);
  bool more = true;
  for (u64 turn = 1; more; ++turn) {
    more = false;
    for (std::size_t i = 0; i < m_tracks.size(); ++i) {
      const Track& track = m_tracks[i];
      for (; next[i] <= track.samples && IsInTurn(static_cast<u32>(i), next[i], turn); ++next[i]) {
        Read(track, next[i], &tally);
      }
      more = more || next[i] <= track.samples;
    }
  }
  return tally;
}

Tally COurReader::ReadByTime() {
  Tally tally;
  std::vector<u32> next(m_tracks.size(), 1);
  for (;;) {
    const Track* earliest = nullptr;
    std::size_t chosen = 0;
    double best = 0;
    for (std::size_t i = 0; i < m_tracks.size(); ++i) {
      if (next[i] > m_tracks[i].samples) continue;
      u64 time = 0;
      Check(m_tracks[i].face->GetSampleDecodingTime(next[i], &time), "GetSampleDecodingTime");
      const double seconds = static_cast<double>(time) / m_tracks[i].timeScale;
      if (earliest != nullptr && seconds >= best) continue;
      earliest = &m_tracks[i];
      chosen = i;
      best = seconds;
    }
    if (earliest == nullptr) return tally;
    Read(*earliest, next[chosen]++, &tally);
  }
}

Tally COurReader::ReadByTrack() {
  Tally tally;
  for (const Track& track : m_tracks) {
    for (u32 sample = 1; sample <= track.samples; ++sample) Read(track, sample, &tally);
  }
  return tally;
}

Tally COurReader::ReadAtOnceByTrack() {
  Tally tally;
  SampleInfo info;
  for (const Track& track : m_tracks) {
    for (u32 sample = 1; sample <= track.samples; ++sample) {
      Check(ReadSampleAndInfo(track.face, sample, static_cast<u32>(m_buffer.size()), m_buffer.data(), &info),
            "ReadSampleAndInfo");
      tally.Add(info.size, info.decodingTime, info.compositionTime, m_buffer[0]);
    }
  }
  return tally;
}

Tally COurReader::ListAtOnceByTrack() {
  Tally tally;
  SampleInfo info;
  for (const Track& track : m_tracks) {
    for (u32 sample = 1; sample <= track.samples; ++sample) {
      Check(GetSampleInfo(track.face, sample, &info), "GetSampleInfo");
      tally.Add(info.size, info.decodingTime, info.compositionTime, 0);
    }
  }
  return tally;
}

Tally COurReader::ListByTrack() {
  Tally tally;
  for (const Track& track : m_tracks) {
    for (u32 sample = 1; sample <= track.samples; ++sample) {
      u32 size = 0;
      u64 decodingTime = 0;
      u64 compositionTime = 0;
      Check(track.face->GetSampleSize(sample, &size), "GetSampleSize");
      Check(track.face->GetSampleDecodingTime(sample, &decodingTime), "GetSampleDecodingTime");
      Check(track.face->GetSampleCompositionTime(sample, &compositionTime), "GetSampleCompositionTime");
      tally.Add(size, decodingTime, compositionTime, 0);
    }
  }
  return tally;
}

Tally COurReader::DeliverRange(u32 track, u32 first, u32 count) {
  Tally tally;
  CMp4Track& face = *m_tracks[track].face;
  for (u32 sample = first; sample < first + count; ++sample) {
    u32 size = 0;
    Check(face.GetSampleSize(sample, &size), "GetSampleSize");
    Check(face.ReadSample(sample, static_cast<u32>(m_buffer.size()), &size, m_buffer.data()), "ReadSample");
    u64 start = 0;
    u64 stop = 0;
    Check(face.GetSampleCompositionTime(sample, &start), "GetSampleCompositionTime");
    // The last sample has no successor, and its answer is of no use to anyone.
    if (sample < m_tracks[track].samples) {
      Check(face.GetSampleCompositionTime(sample + 1, &stop), "GetSampleCompositionTime");
    }
    u32 sync = 0;
    Check(face.FindSyncSample(start, &sync), "FindSyncSample");
    tally.Add(size, stop, start, sync == sample ? 1 : 0);
  }
  return tally;
}

Tally COurReader::ReadThese(u32 track, const std::vector<u32>& samples) {
  Tally tally;
  for (const u32 sample : samples) {
    u32 size = 0;
    Check(m_tracks[track].face->ReadSample(sample, static_cast<u32>(m_buffer.size()), &size, m_buffer.data()),
          "ReadSample");
    tally.Add(size, 0, 0, m_buffer[0]);
  }
  return tally;
}

u64 COurReader::FindSyncSamples(u32 track, const std::vector<u64>& times) {
  u64 sum = 0;
  for (const u64 time : times) {
    u32 sample = 0;
    const Mp4Result result = m_tracks[track].face->FindSyncSample(time, &sample);
    // A time ahead of the first picture has no sync sample.
    if (result != MP4_NOT_FOUND) Check(result, "FindSyncSample");
    sum += sample;
  }
  return sum;
}

}  // namespace kt
