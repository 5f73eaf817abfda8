#include "bench/raw_bound.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "bench/check.h"

namespace kt {
namespace {

void CheckSystem(bool worked, const char* what) {
  Check(worked ? MP4_OK : MP4_FILE_IO, what);
}

}  // namespace

CRawReader::CRawReader(const std::string& path) : m_file(open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
  struct stat status = {};
  CheckSystem(m_file >= 0 && fstat(m_file, &status) == 0, path.c_str());
  m_size = static_cast<u64>(status.st_size);
  COurReader reader(path);
  for (u32 track = 0; track < reader.TrackCount(); ++track) m_sizes.push_back(reader.Sizes(track));
}

CRawReader::~CRawReader() {
  close(m_file);
}

u64 CRawReader::ReadAndCopy() {
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
      ++samples;
    }
  }
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
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  CheckSystem(file >= 0, path.c_str());
  std::vector<u8> bytes(sound.sampleSize);
  std::vector<u8> block(1 << 16);
  std::size_t used = 0;
  const auto flush = [&] {
    CheckSystem(write(file, block.data(), used) == static_cast<ssize_t>(used), "write");
    used = 0;
  };
  for (u32 i = 0; i < sound.samples; ++i) {
    FillSample(bytes, i);
    if (used + bytes.size() > block.size()) flush();
    std::memcpy(block.data() + used, bytes.data(), bytes.size());
    used += bytes.size();
  }
  flush();
  CheckSystem(close(file) == 0, "close");
}

}  // namespace kt
