#include "adapt/adapted_file.h"

#include <algorithm>
#include <limits>
#include <new>

#include "adapt/fragments.h"
#include "adapt/image.h"
#include "adapt/movie.h"
#include "adapt/sample_entries.h"

namespace kt {
namespace {

using adapt::CBytes;
using adapt::CEntryWalk;
using adapt::CImageWriter;
using adapt::CMovie;
using adapt::CTrack;
using adapt::EntryFacts;

/// A box at the top of a file, by its place; `end` is at most that of the file.
struct TopBox {
  u32 code = 0;
  u64 start = 0;
  u64 payload = 0;
  u64 end = 0;
};

/// Goes through the boxes at the top of a file and reads none of them. A box that claims more than there is
/// ends with the file; what is no box ends the walk.
class CTopWalk {
 public:
  CTopWalk(CStorage* file, u64 size) : m_file(file), m_size(size) {}

  Mp4Result Next(TopBox* box, bool* isThere) {
    constexpr u64 kShortHeader = 8;
    *isThere = false;
    if (m_size - m_next < kShortHeader) return MP4_OK;
    u32 declared = 0;
    KT_TRY(m_file->SetPosition(m_next));
    KT_TRY(m_file->ReadUInt32(&declared));
    KT_TRY(m_file->ReadUInt32(&box->code));
    u64 header = kShortHeader;
    u64 size = declared;
    if (declared == 1) {
      header += kShortHeader;
      if (m_size - m_next < header) return MP4_OK;
      KT_TRY(m_file->ReadUInt64(&size));
    } else if (declared == 0 && box->code != 0) {
      size = m_size - m_next;
    }
    if (size < header) return MP4_OK;
    box->start = m_next;
    box->payload = m_next + header;
    m_next += std::min(size, m_size - m_next);
    box->end = m_next;
    *isThere = true;
    return MP4_OK;
  }

 private:
  CStorage* m_file;
  u64 m_size;
  u64 m_next = 0;
};

/// The payload of one box of the file after the other, in memory that is used again.
class CLoadedBox {
 public:
  Mp4Result Load(CStorage* file, const TopBox& box) {
    const u64 size = box.end - box.payload;
    if (size > std::numeric_limits<u32>::max()) return MP4_NO_MEMORY;
    if (size > m_capacity) {
      m_bytes.reset(new (std::nothrow) u8[static_cast<std::size_t>(size)]);
      m_capacity = m_bytes ? static_cast<std::size_t>(size) : 0;
      if (!m_bytes) return MP4_NO_MEMORY;
    }
    m_size = static_cast<std::size_t>(size);
    KT_TRY(file->SetPosition(box.payload));
    return file->ReadBytes(m_bytes.get(), size);
  }
  CBytes Bytes() const { return {m_bytes.get(), m_size}; }

 private:
  std::unique_ptr<u8[]> m_bytes;
  std::size_t m_capacity = 0;
  std::size_t m_size = 0;
};

}  // namespace

/// The work of one `Read`: the movie and the bytes that it is a view of go with it.
class CAdaptedFile::CReader {
 public:
  CReader(CStorage* file, CAdaptedFile* result) : m_file(file), m_result(result) {}

  Mp4Result ReadStructure() {
    KT_TRY(m_file->GetSize(&m_movie.fileSize));
    bool hasEarlyFragment = false;
    KT_TRY(ReadBoxes(&hasEarlyFragment));
    if (!m_hasMovie) return MP4_NOT_FOUND;
    // A movie that stands behind fragments of it: they have to be gone through once more.
    if (hasEarlyFragment) KT_TRY(ReadFragmentsAheadOfMovie());
    for (u32 i = 0; i < m_movie.trackCount; ++i) HoldClaims(&m_movie.tracks[i]);
    ApplyEdits(&m_movie);
    const CTrack* const tracks = m_movie.tracks.get();
    const bool leftOut = std::all_of(tracks, tracks + m_movie.trackCount,
                                     [](const CTrack& track) { return track.IsLeftOut(); });
    return leftOut ? MP4_NOT_FOUND : MP4_OK;
  }

  Mp4Result MakeImage() {
    CImageWriter measure;
    WriteImage(&m_movie, &measure);
    if (measure.Size() > std::numeric_limits<u32>::max()) return MP4_NO_MEMORY;
    m_result->m_image.reset(new (std::nothrow) u8[static_cast<std::size_t>(measure.Size())]);
    if (!m_result->m_image) return MP4_NO_MEMORY;
    m_result->m_imageSize = static_cast<u32>(measure.Size());
    CImageWriter writer(m_result->m_image.get());
    WriteImage(&m_movie, &writer);
    return MP4_OK;
  }

  Mp4Result ListTracks() {
    m_result->m_tracks.reset(new (std::nothrow) AdaptedTrack[m_movie.trackCount]);
    if (!m_result->m_tracks) return MP4_NO_MEMORY;
    m_result->m_trackCount = m_movie.trackCount;
    u32 position = 0;
    for (u32 i = 0; i < m_movie.trackCount; ++i) {
      const CTrack& track = m_movie.tracks[i];
      if (!track.IsLeftOut()) ++position;
      m_result->m_tracks[i] = {track.id, i + 1, track.IsLeftOut() ? 0 : position, track.notes,
                               track.edits.furtherEdits};
    }
    return MP4_OK;
  }

  Mp4Result ListEntries() {
    u32 count = 0;
    u64 bytes = 0;
    ForEachEntry([&](const AdaptedEntry&, CBytes boxes) {
      ++count;
      bytes += boxes.Size();
    });
    m_result->m_entries.reset(new (std::nothrow) AdaptedEntry[count]);
    m_result->m_entryBoxes.reset(new (std::nothrow) u8[static_cast<std::size_t>(bytes)]);
    if (!m_result->m_entries || !m_result->m_entryBoxes) return MP4_NO_MEMORY;
    u8* out = m_result->m_entryBoxes.get();
    ForEachEntry([&](AdaptedEntry entry, CBytes boxes) {
      entry.boxes = out;
      entry.boxesSize = static_cast<u32>(boxes.Size());
      out = std::copy_n(boxes.Data(), boxes.Size(), out);
      m_result->m_entries[m_result->m_entryCount++] = entry;
    });
    return MP4_OK;
  }

 private:
  // One pass through the file, as far as the fragments stand behind their movie.
  Mp4Result ReadBoxes(bool* hasEarlyFragment) {
    CTopWalk walk(m_file, m_movie.fileSize);
    TopBox box;
    bool isThere = false;
    for (;;) {
      KT_TRY(walk.Next(&box, &isThere));
      if (!isThere) return MP4_OK;
      if (box.code == FourCc("ftyp") && m_fileType.Bytes().Data() == nullptr) {
        KT_TRY(m_fileType.Load(m_file, box));
        m_movie.fileType = m_fileType.Bytes();
      } else if (box.code == FourCc("moov") && !m_hasMovie) {
        KT_TRY(m_moov.Load(m_file, box));
        KT_TRY(ReadMovie(m_moov.Bytes(), &m_movie));
        m_hasMovie = true;
        m_moviePosition = box.start;
      } else if (box.code == FourCc("moof") && m_hasMovie) {
        KT_TRY(ReadFragment(box));
      } else if (box.code == FourCc("moof")) {
        *hasEarlyFragment = true;
      }
    }
  }

  Mp4Result ReadFragmentsAheadOfMovie() {
    CTopWalk walk(m_file, m_moviePosition);
    TopBox box;
    bool isThere = false;
    for (;;) {
      KT_TRY(walk.Next(&box, &isThere));
      if (!isThere) return MP4_OK;
      if (box.code == FourCc("moof")) KT_TRY(ReadFragment(box));
    }
  }

  Mp4Result ReadFragment(const TopBox& box) {
    KT_TRY(m_moof.Load(m_file, box));
    return AddFragment(m_moof.Bytes(), box.start, &m_movie);
  }

  // Sync samples that only runs have named are listed as far as the structure of the file grants it.
  void HoldClaims(CTrack* track) {
    const u64 claims = track->tables.ClaimsListedByWriting();
    if (claims > m_movie.claimsLeft) {
      track->notes |= ADAPT_TOO_MANY_SAMPLES;
    } else {
      m_movie.claimsLeft -= claims;
    }
  }

  template <class Visit>
  void ForEachEntry(Visit visit) {
    u32 position = 0;
    for (u32 i = 0; i < m_movie.trackCount; ++i) {
      const CTrack& track = m_movie.tracks[i];
      if (track.IsLeftOut()) continue;
      ++position;
      u32 index = 0;
      CEntryWalk walk(track.sampleDescription, track.handler);
      for (EntryFacts facts; walk.Next(&facts);) {
        visit({position, ++index, facts.code, facts.width, facts.height, facts.channels, facts.sampleRate,
               nullptr, 0},
              facts.boxes);
      }
    }
  }

  CStorage* m_file;
  CAdaptedFile* m_result;
  CLoadedBox m_fileType;
  CLoadedBox m_moov;
  CLoadedBox m_moof;
  CMovie m_movie;
  u64 m_moviePosition = 0;
  bool m_hasMovie = false;
};

CAdaptedFile::CAdaptedFile() = default;
CAdaptedFile::~CAdaptedFile() = default;

Mp4Result CAdaptedFile::Read(CStorage* file) {
  CReader reader(file, this);
  KT_TRY(reader.ReadStructure());
  KT_TRY(reader.MakeImage());
  KT_TRY(reader.ListTracks());
  return reader.ListEntries();
}

void CAdaptedFile::ReleaseImage() {
  m_image.reset();
  m_imageSize = 0;
}

const AdaptedEntry* CAdaptedFile::FindEntry(u32 position, u32 index) const {
  const AdaptedEntry* const first = m_entries.get();
  const AdaptedEntry* const end = first + m_entryCount;
  const auto isBefore = [&](const AdaptedEntry& entry, u32) {
    return entry.position < position || (entry.position == position && entry.index < index);
  };
  const AdaptedEntry* const found = std::lower_bound(first, end, index, isBefore);
  return found != end && found->position == position && found->index == index ? found : nullptr;
}

}  // namespace kt
