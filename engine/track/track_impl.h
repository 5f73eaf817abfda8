#pragma once

#include <memory>

#include <ktmp4/sample_info.h>
#include "boxes/tables/sample_size_box.h"
#include "boxes/tables/sync_sample_box.h"
#include "engine/track/sample_time_table.h"
#include "engine/track/track_host.h"
#include "engine/track/track_writing.h"

namespace kt {

class CAMRSampleEntry;
class CAudioSampleEntry;
class CESDescriptor;
class CH263SampleEntry;
class CMediaBox;
class CMediaHeaderBox;
class CMediaInformationBox;
class CMP4SampleEntry;
class CSampleDescriptionBox;
class CSampleTableBox;
class CSampleToChunkBox;
class CTrackBox;
class CTrackHeaderBox;
class CVisualSampleEntry;

/// A track over the boxes of one "trak". The tree of its file owns them, and `OnDetached` drops them when
/// that goes. A track that is being written adds the last ones in `Finish` and owns them until then.
class CTrackImpl final : public CMp4Track, public CHostedTrack {
 public:
  /// Registers with `file`, which is borrowed; null leaves a track that `Bind` refuses.
  CTrackImpl(CTrackHost* file, u32 traceLevel) : CHostedTrack(file), m_traceLevel(traceLevel) {}

  /// Finds the track's boxes and takes its sample times over. MP4_NOT_FOUND for a required box that is
  /// missing, MP4_BAD_VALUE for track id 0, MP4_BAD_TIMING for a start delay without a movie time scale,
  /// MP4_NOT_READY without a file; what `CSampleTimeTable::Build` answers.
  Mp4Result Bind(u32 trackIndex);
  /// Makes the boxes of a new track, which gets that id, and begins to write. MP4_NOT_READY without a file,
  /// MP4_ALREADY_SET_UP on a track that is being written, MP4_NO_MEMORY; boxes made so far stay in the movie.
  Mp4Result SetUp(u32 trackIndex);
  bool IsWriting() const { return m_writing != nullptr; }
  /// Completes a track that is being written: its last chunk, tables, durations and bit rates. MP4_NOT_FOUND
  /// on any other track, MP4_BAD_TIMING without a time scale, MP4_NOT_FOUND without a sample entry; what the
  /// storage reports. After a failure the track takes no further samples, and `Finish` can be tried again.
  Mp4Result Finish();

  Mp4Result GetSampleCount(u32* count) override;
  Mp4Result GetTrackType(u32* kind) override;
  Mp4Result GetSampleFormat(u32* format) override;
  Mp4Result GetTrackId(u32* id) override;
  Mp4Result GetTimeScale(u32* scale) override;
  Mp4Result GetDuration(u64* duration) override;
  Mp4Result GetDimensions(u32* width, u32* height) override;
  Mp4Result GetVideoSize(u16* width, u16* height) override;
  Mp4Result GetChannelCount(u16* channels) override;
  Mp4Result GetSampleRate(u32* rate) override;
  Mp4Result GetCopyright(char language[3], char* notice, u32* noticeSize, u32 index) override;
  Mp4Result SetCopyright(const char* language, const char* notice, u32 index) override;
  Mp4Result GetCreationDate(u32* year, u32* month, u32* day, u32* hour, u32* minute, u32* second) override;
  Mp4Result SetCreationDate(u32 year, u32 month, u32 day, u32 hour, u32 minute, u32 second) override;
  Mp4Result GetDecoderSpecificInfo(u32 entryIndex, u32 bufferSize, u32* size, void* buffer) override;
  Mp4Result GetDecoderSpecificInfoSize(u32 entryIndex, u32* size) override;
  Mp4Result ReadSample(u32 sample, u32 bufferSize, u32* size, u8* buffer) override;
  Mp4Result GetSampleSize(u32 sample, u32* size) override;
  Mp4Result GetSampleDecodingTime(u32 sample, u64* time) override;
  Mp4Result GetSampleCompositionTime(u32 sample, u64* time) override;
  Mp4Result FindSampleByCompositionTime(u64 time, u32* sample) override;
  Mp4Result FindSyncSample(u64 time, u32* sample) override;
  Mp4Result FindSampleByDecodingTime(u64 time, u32* sample) override;
  Mp4Result SetTrackType(u32 kind) override;
  Mp4Result SetTimeScale(u32 scale) override;
  Mp4Result SetDimensions(u32 width, u32 height) override;
  Mp4Result SetVideoFormat(u32 width, u32 height, const void* info, u32 infoSize, u32 format) override;
  Mp4Result SetAudioFormat(i16 volume, u16 balance, const void* info, u32 infoSize, u32 format) override;
  Mp4Result SetLine21Format(u32 reserved1, u32 reserved2, u32 reserved3) override;
  Mp4Result WriteSample(const void* data, u32 size, u64 decodingTime, u64 compositionTime,
                        u32 isSync) override;

  /// Sets the duration in movie ticks, which `Finish` then leaves alone. MP4_NOT_READY unless being written.
  Mp4Result SetDuration(u64 duration);
  /// Makes the sample entry of an object descriptor or scene track. MP4_NOT_FOUND unless being written.
  Mp4Result SetMpeg4SystemsFormat(const void* info, u32 infoSize);
  /// Makes a sample entry of one of the codes that can be written, and copies `info`. MP4_BAD_ARGUMENT for
  /// another code, MP4_NOT_READY unless being written, MP4_NO_MEMORY.
  Mp4Result AddSampleEntry(const void* info, u32 infoSize, u32 code);
  /// See sample_info.h.
  Mp4Result GetSampleInfo(u32 sample, SampleInfo* info);
  Mp4Result ReadSampleAndInfo(u32 sample, u32 bufferSize, u8* buffer, SampleInfo* info);

  /// The ES descriptor of an MPEG-4 sample entry, borrowed. MP4_NOT_FOUND for any other entry, MP4_NOT_READY
  /// when the track is not bound or the entry has no descriptor.
  Mp4Result GetEsDescriptor(u32 entryIndex, CESDescriptor** descriptor);

  // For a hint track, which completes its own track. Borrowed from the tree; null on a track that is neither
  // bound nor being written.
  CTrackBox* GetTrackBox() const { return m_boxes.track; }
  CMediaBox* GetMediaBox() const { return m_boxes.media; }
  CMediaInformationBox* GetMediaInformationBox() const { return m_boxes.mediaInformation; }
  CSampleDescriptionBox* GetSampleDescriptionBox() const { return m_boxes.sampleDescription; }

 private:
  // All borrowed from the file's tree, while writing some from `m_writing`; null until found.
  struct Boxes {
    CTrackBox* track = nullptr;
    CTrackHeaderBox* trackHeader = nullptr;
    CMediaBox* media = nullptr;
    CMediaInformationBox* mediaInformation = nullptr;
    CMediaHeaderBox* mediaHeader = nullptr;
    CTimeToSampleBox* timeToSample = nullptr;
    CSampleSizeBox* sampleSize = nullptr;
    CSampleToChunkBox* sampleToChunk = nullptr;
    CChunkOffsetBox* chunkOffset = nullptr;  // one of these two
    CChunkLargeOffsetBox* chunkLargeOffset = nullptr;
    CSyncSampleBox* syncSample = nullptr;  // null when every sample is one
    CSampleDescriptionBox* sampleDescription = nullptr;
  };
  // A sample entry with its code, and under each class that it has; the others are null.
  struct Entry {
    u32 code = 0;
    CVisualSampleEntry* visual = nullptr;
    CAudioSampleEntry* audio = nullptr;
    CMP4SampleEntry* mpeg4 = nullptr;
    CH263SampleEntry* h263 = nullptr;
    CAMRSampleEntry* amr = nullptr;
  };

  // Where a sample lies, and those behind it up to the last one of its chunk.
  struct SamplePlace {
    u64 Position() const { return chunkOffset + offsetInChunk; }
    // Goes on to the sample behind this one, which has that many bytes.
    void Pass(u32 size) {
      ++sample;
      offsetInChunk += size;
    }

    u32 sample = 0;  // 0 for none
    u32 lastSample = 0;
    u32 chunk = 0;
    u32 offsetInChunk = 0;  // modulo 2^32
    u64 chunkOffset = 0;
    u64 question = 0;  // to "stsc" that has led here
  };

  // Samples with one last sync sample, and its composition time.
  struct SyncPoint {
    CSyncRange range;
    u64 time = 0;
  };

  void OnDetached() override;
  Mp4Result RequireWriting() const;
  Mp4Result AddMediaBoxes();
  Mp4Result AddSampleTableBoxes(CTrackWriting* writing);
  Mp4Result AddAudioEntry(std::unique_ptr<CAudioSampleEntry> entry);
  Mp4Result AddAmrEntry(std::unique_ptr<CAMRSampleEntry> entry, const void* info, u32 infoSize);
  Mp4Result AddSystemsEntry(const void* info, u32 infoSize);
  Mp4Result NoteSync(bool isSync);
  Mp4Result WriteChunk();
  Mp4Result AppendChunk(u64* chunkPosition);
  Mp4Result AddChunkOffset(u64 position);
  Mp4Result WidenChunkOffsets();
  Mp4Result FinishTimes();
  Mp4Result FinishSampleTable();
  Mp4Result FinishDurations(u64* mediaDuration);
  Mp4Result FinishBitRates(u64 mediaDuration);
  Mp4Result FindKind();
  Mp4Result FindStartOffset(u64* offsetTicks);
  Mp4Result FindChunkOffsets(CSampleTableBox* sampleTable);
  Mp4Result BuildTimes(CCompositionOffsetBox* compositionOffset, u64 startOffsetTicks);
  Mp4Result FindSyncPoint(u32 sample);
  void FindSyncTimes();
  Mp4Result FindSampleSize(u32 sample, u32* size);
  Mp4Result FindSampleTimes(u32 sample, u64* decodingTime, u64* compositionTime);
  Mp4Result GetBothTimes(u32 sample, SampleInfo* info);
  Mp4Result ReadElsewhere(u32 sample, u32 bufferSize, u32* size, u8* buffer);
  Mp4Result FetchSample(u32 size, u8* buffer, bool follows);
  bool IsNext(u32 sample) const;
  Mp4Result FindPlace(u32 sample);
  u64 CountBytesAhead(u64 position, u32 sample);
  Mp4Result GetChunkOffset(u32 chunk, u64* offset);
  Mp4Result GetEntry(u32 entryIndex, Entry* entry);
  Mp4Result GetBoundEntry(u32 entryIndex, Entry* entry);

  u32 m_trackId = 0;
  u32 m_bound = 0;
  u32 m_traceLevel;  // what the file hands to each track; no operation of a track prints a trace yet
  u32 m_kind = MP4_KIND_UNKNOWN;
  Boxes m_boxes;
  // What was asked last, so that the next question in order costs little.
  CSampleSizeRun m_sizes;  // empty while sizes are added
  SamplePlace m_next;
  SyncPoint m_sync;
  SyncPoint m_syncBefore;      // around a sync sample both are asked about in turn
  CDataList<u64> m_syncTimes;  // composition times of the entries of "stss"; empty until one is sought
  bool m_hasSoughtSync = false;
  CSampleTimeTable m_times;
  std::unique_ptr<CTrackWriting> m_writing;  // null unless the track is being written
};

}  // namespace kt
