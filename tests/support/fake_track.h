#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "engine/file/mp4_file_impl.h"
#include "filter/logic/track_lock.h"

namespace kt::test {

struct FakeSample {
  std::vector<u8> bytes;
  u64 decodingTime = 0, compositionTime = 0;
  bool sync = true;
};

/// What a fake track says of itself. An operation named in `failing` answers MP4_CORRUPT and stores nothing.
struct FakeTrackFacts {
  u32 kind = MP4_KIND_VIDEO, format = MP4_FORMAT_MP4V, id = 1, timeScale = 1000;
  u64 duration = 0;
  u16 width = 0, height = 0;
  u32 sampleRate = 0;
  u16 channels = 0;
  std::vector<u8> info = {};
  /// The size of the info that is told, when it is not that of `info`.
  u32 infoClaim = 0;
  std::vector<FakeSample> samples = {};
  std::set<std::string> failing = {};
};

/// What a fake file holds and, afterwards, what was done with it. It outlives the file object.
struct FakeFileFacts {
  std::vector<FakeTrackFacts> tracks;
  u32 movieTimeScale = 600;
  std::set<std::string> failing;
  /// When set, every call into a track has to hold it.
  const CTrackLock* lock = nullptr;
  /// Calls that change something, in order.
  std::vector<std::string> log;
  std::set<CMp4Track*> open;

  void ExpectLocked(const char* call) const {
    EXPECT_TRUE(!lock || lock->IsHeldByCaller()) << call << " without the track lock";
  }
};

class FakeTrack : public CMp4Track {
 public:
  FakeTrack(const FakeFileFacts& file, const FakeTrackFacts& facts) : m_file(file), m_facts(facts) {}

  Mp4Result GetSampleCount(u32* count) override {
    return Tell("GetSampleCount", count, static_cast<u32>(m_facts.samples.size()));
  }
  Mp4Result GetTrackType(u32* kind) override { return Tell("GetTrackType", kind, m_facts.kind); }
  Mp4Result GetSampleFormat(u32* format) override { return Tell("GetSampleFormat", format, m_facts.format); }
  Mp4Result GetTrackId(u32* id) override { return Tell("GetTrackId", id, m_facts.id); }
  Mp4Result GetTimeScale(u32* scale) override { return Tell("GetTimeScale", scale, m_facts.timeScale); }
  Mp4Result GetDuration(u64* duration) override { return Tell("GetDuration", duration, m_facts.duration); }
  Mp4Result GetVideoSize(u16* width, u16* height) override {
    KT_TRY(Tell("GetVideoSize", width, m_facts.width));
    return Tell("GetVideoSize", height, m_facts.height);
  }
  Mp4Result GetChannelCount(u16* channels) override {
    return Tell("GetChannelCount", channels, m_facts.channels);
  }
  Mp4Result GetSampleRate(u32* rate) override { return Tell("GetSampleRate", rate, m_facts.sampleRate); }
  Mp4Result GetDecoderSpecificInfoSize(u32 entryIndex, u32* size) override {
    if (m_facts.infoClaim > 0) return Tell("GetDecoderSpecificInfoSize", size, m_facts.infoClaim);
    if (entryIndex != 1) return MP4_BAD_ARGUMENT;
    return Tell("GetDecoderSpecificInfoSize", size, static_cast<u32>(m_facts.info.size()));
  }
  Mp4Result GetDecoderSpecificInfo(u32 entryIndex, u32 bufferSize, u32* size, void* buffer) override {
    if (entryIndex != 1) return MP4_BAD_ARGUMENT;
    KT_TRY(Tell("GetDecoderSpecificInfo", size, static_cast<u32>(m_facts.info.size())));
    if (*size > 0 && bufferSize >= *size) std::memcpy(buffer, m_facts.info.data(), *size);
    return MP4_OK;
  }
  Mp4Result ReadSample(u32 sample, u32 bufferSize, u32* size, u8* buffer) override {
    KT_TRY(GetSampleSize(sample, size));
    if (*size > bufferSize) return MP4_BUFFER_TOO_SMALL;
    u32 unused = 0;
    KT_TRY(Tell("ReadSample", &unused, 0u));
    if (*size > 0) std::memcpy(buffer, m_facts.samples[sample - 1].bytes.data(), *size);
    return MP4_OK;
  }
  Mp4Result GetSampleSize(u32 sample, u32* size) override {
    KT_TRY(Find(sample));
    return Tell("GetSampleSize", size, static_cast<u32>(m_facts.samples[sample - 1].bytes.size()));
  }
  Mp4Result GetSampleDecodingTime(u32 sample, u64* time) override {
    KT_TRY(Find(sample));
    return Tell("GetSampleDecodingTime", time, m_facts.samples[sample - 1].decodingTime);
  }
  Mp4Result GetSampleCompositionTime(u32 sample, u64* time) override {
    KT_TRY(Find(sample));
    return Tell("GetSampleCompositionTime", time, m_facts.samples[sample - 1].compositionTime);
  }
  Mp4Result FindSyncSample(u64 time, u32* sample) override {
    for (u32 i = static_cast<u32>(m_facts.samples.size()); i > 0; --i) {
      const FakeSample& candidate = m_facts.samples[i - 1];
      if (candidate.sync && candidate.compositionTime <= time) return Tell("FindSyncSample", sample, i);
    }
    return MP4_NOT_FOUND;
  }

  /// As the library's, but that a time before the first sample does not spoil the next search.
  Mp4Result FindSampleByDecodingTime(u64 time, u32* sample) override {
    u32 number = 0;
    for (const FakeSample& candidate : m_facts.samples) number += candidate.decodingTime <= time;
    if (number > 0 && number == m_facts.samples.size() && m_facts.samples.back().decodingTime < time) {
      *sample = number;
      return MP4_NOT_FOUND;
    }
    return m_facts.samples.empty() ? MP4_NOT_FOUND : Tell("FindSampleByDecodingTime", sample, number);
  }

  Mp4Result GetDimensions(u32*, u32*) override { return MP4_NOT_FOUND; }
  Mp4Result GetCopyright(char*, char*, u32*, u32) override { return MP4_NOT_FOUND; }
  Mp4Result SetCopyright(const char*, const char*, u32) override { return MP4_NOT_FOUND; }
  Mp4Result GetCreationDate(u32*, u32*, u32*, u32*, u32*, u32*) override { return MP4_NOT_FOUND; }
  Mp4Result SetCreationDate(u32, u32, u32, u32, u32, u32) override { return MP4_NOT_FOUND; }
  Mp4Result FindSampleByCompositionTime(u64, u32*) override { return MP4_NOT_FOUND; }
  Mp4Result SetTrackType(u32) override { return MP4_NOT_FOUND; }
  Mp4Result SetTimeScale(u32) override { return MP4_NOT_FOUND; }
  Mp4Result SetDimensions(u32, u32) override { return MP4_NOT_FOUND; }
  Mp4Result SetVideoFormat(u32, u32, const void*, u32, u32) override { return MP4_NOT_FOUND; }
  Mp4Result SetAudioFormat(i16, u16, const void*, u32, u32) override { return MP4_NOT_FOUND; }
  Mp4Result SetLine21Format(u32, u32, u32) override { return MP4_NOT_FOUND; }
  Mp4Result WriteSample(const void*, u32, u64, u64, u32) override { return MP4_NOT_FOUND; }

 private:
  template <class T>
  Mp4Result Tell(const char* call, T* output, T value) {
    m_file.ExpectLocked(call);
    if (m_facts.failing.contains(call)) return MP4_CORRUPT;
    *output = value;
    return MP4_OK;
  }
  Mp4Result Find(u32 sample) const {
    m_file.ExpectLocked("a look-up");
    if (sample == 0) return MP4_ZERO_INDEX;
    return sample > m_facts.samples.size() ? MP4_NOT_FOUND : MP4_OK;
  }

  const FakeFileFacts& m_file;
  const FakeTrackFacts& m_facts;
};

/// What it does not fake is answered as by a file that has never been opened.
class FakeFile : public CMp4FileImpl {
 public:
  explicit FakeFile(FakeFileFacts& facts) : m_facts(facts) {}
  ~FakeFile() override {
    EXPECT_TRUE(m_facts.open.empty()) << "a track outlives its file";
    m_facts.log.push_back("delete");
  }

  Mp4Result Open(const char* fileName, u32 mode, u32 fileType) override {
    return Do("Open", std::string(fileName) + " " + std::to_string(mode) + std::to_string(fileType));
  }
  Mp4Result Close() override { return Do("Close", ""); }
  Mp4Result GetTrackCount(u32* count) override {
    return Tell("GetTrackCount", count, static_cast<u32>(m_facts.tracks.size()));
  }
  Mp4Result GetMovieTimeScale(u32* scale) override {
    return Tell("GetMovieTimeScale", scale, m_facts.movieTimeScale);
  }
  Mp4Result OpenTrack(u32 trackIndex, CMp4Track** track) override {
    m_facts.ExpectLocked("OpenTrack");
    KT_TRY(Do("OpenTrack", std::to_string(trackIndex)));
    const FakeTrackFacts& facts = m_facts.tracks.at(trackIndex - 1);
    if (facts.failing.contains("OpenTrack")) return MP4_NOT_FOUND;
    *track = new FakeTrack(m_facts, facts);
    m_facts.open.insert(*track);
    return MP4_OK;
  }
  Mp4Result CloseTrack(CMp4Track* track) override {
    m_facts.ExpectLocked("CloseTrack");
    u32 id = 0;
    static_cast<void>(track->GetTrackId(&id));
    m_facts.open.erase(track);
    delete track;
    return Do("CloseTrack", std::to_string(id));
  }

 private:
  Mp4Result Do(const std::string& call, const std::string& detail) {
    m_facts.log.push_back(detail.empty() ? call : call + " " + detail);
    return m_facts.failing.contains(call) ? MP4_FILE_IO : MP4_OK;
  }

  Mp4Result Tell(const char* call, u32* output, u32 value) const {
    if (m_facts.failing.contains(call)) return MP4_NOT_FOUND;
    *output = value;
    return MP4_OK;
  }

  FakeFileFacts& m_facts;
};

}  // namespace kt::test
