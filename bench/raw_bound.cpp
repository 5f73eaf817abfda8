#include "bench/raw_bound.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <span>

#include "bench/check.h"

namespace kt {
namespace {

void CheckSystem(bool worked, const char* what) {
  Check(worked ? MP4_OK : MP4_FILE_IO, what);
}

// Gathers samples and writes 64 KiB of them at a time.
class CRawWriter {
 public:
  explicit CRawWriter(const std::string& path)
      : m_file(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666)) {
    CheckSystem(m_file >= 0, path.c_str());
  }

  void Write(std::span<const u8> sample) {
    if (m_used + sample.size() > m_block.size()) Flush();
    std::memcpy(m_block.data() + m_used, sample.data(), sample.size());
    m_used += sample.size();
  }
  void Finish() {
    Flush();
    CheckSystem(close(m_file) == 0, "close");
  }

 private:
  void Flush() {
    CheckSystem(write(m_file, m_block.data(), m_used) == static_cast<ssize_t>(m_used), "write");
    m_used = 0;
  }

  int m_file;
  std::size_t m_used = 0;
  std::vector<u8> m_block = std::vector<u8>(1 << 16);
};

}  // namespace

CRawReader::CRawReader(const std::string& path) : m_file(open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
  struct stat status = {};
  CheckSystem(m_file >= 0 && fstat(m_file, &status) == 0, path.c_str());
  m_size = static_cast<u64>(status.st_size);
  COurReader reader(path);
  for (u32 track = 0; track < reader.TrackCount(); ++track) m_sizes.push_back(reader.Sizes(track));
  LayOutTurns(reader);
}

// Near enough to where they are: what stands ahead of the first sample is left out.
void CRawReader::LayOutTurns(COurReader& reader) {
  m_turns.resize(m_sizes.size());
  std::vector<u32> passed(m_sizes.size());
  u64 position = 0;
  for (bool more = true; more;) {
    more = false;
    for (u32 track = 0; track < m_sizes.size(); ++track) {
      const std::vector<u32>& sizes = m_sizes[track];
      Turn turn{position, 0, 0};
      const u64 number = m_turns[track].size() + 1;
      for (u32& i = passed[track]; i < sizes.size() && reader.IsInTurn(track, i + 1, number); ++i) {
        turn.size += sizes[i];
        ++turn.samples;
      }
      more = more || passed[track] < sizes.size();
      position += turn.size;
      m_turns[track].push_back(turn);
    }
  }
}

u64 CRawReader::ReadTurnsAndCopy() {
  u64 samples = 0;
  for (std::size_t track = 0; track < m_turns.size(); ++track) {
    const u32* size = m_sizes[track].data();
    for (const Turn& turn : m_turns[track]) {
      CheckSystem(turn.size <= m_block.size() &&
                      pread(m_file, m_block.data(), turn.size, static_cast<off_t>(turn.position)) ==
                          ssize_t{turn.size},
                  "pread");
      const u8* from = m_block.data();
      for (u32 i = 0; i < turn.samples; from += *size, ++size, ++i) {
        std::memcpy(m_sample.data(), from, *size);
      }
      samples += turn.samples;
    }
  }
  return samples;
}

CRawReader::~CRawReader() {
  close(m_file);
}

template <typename Take>
u64 CRawReader::ReadSamples(Take take) {
  u64 position = 0, samples = 0;
  std::size_t filled = 0, used = 0;
  for (const std::vector<u32>& sizes : m_sizes) {
    for (const u32 size : sizes) {
      for (std::size_t done = 0; done < size;) {
        if (used == filled) {
          const ssize_t got = pread(m_file, m_block.data(), m_block.size(), static_cast<off_t>(position));
          CheckSystem(got > 0, "pread");
          filled = static_cast<std::size_t>(got);
          position += filled;
          used = 0;
        }
        const std::size_t part = std::min(size - done, filled - used);
        std::memcpy(m_sample.data() + done, m_block.data() + used, part);
        done += part;
        used += part;
      }
      take(std::span<const u8>(m_sample.data(), size));
      ++samples;
    }
  }
  return samples;
}

u64 CRawReader::ReadAndCopy() {
  return ReadSamples([](std::span<const u8>) {});
}

u64 CRawReader::ReadAndWrite(const std::string& path) {
  CRawWriter writer(path);
  const u64 samples = ReadSamples([&writer](std::span<const u8> sample) { writer.Write(sample); });
  writer.Finish();
  return samples;
}

u64 CRawReader::ReadEach(u32 track, const std::vector<u32>& samples) {
  const std::vector<u32>& sizes = m_sizes[track];
  u64 sum = 0;
  for (const u32 sample : samples) {
    const u32 size = sizes[sample - 1];
    const u64 position = (m_size - size) / sizes.size() * (sample - 1);
    CheckSystem(pread(m_file, m_sample.data(), size, static_cast<off_t>(position)) == ssize_t{size}, "pread");
    sum += m_sample[0];
  }
  return sum;
}

void WriteRaw(const Sound& sound, const std::string& path) {
  CRawWriter writer(path);
  std::vector<u8> bytes(sound.sampleSize);
  for (u32 i = 0; i < sound.samples; ++i) {
    FillSample(bytes, i);
    writer.Write(bytes);
  }
  writer.Finish();
}

}  // namespace kt
