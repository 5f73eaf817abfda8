#pragma once

#include <sys/resource.h>

#include <algorithm>
#include <csignal>
#include <cstdint>

namespace kt::test {

/// Lets no file grow beyond `bytes` while it lives, as a full disk would.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(std::uint64_t bytes) : m_oldHandler(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &m_old);
    rlimit limit = m_old;
    limit.rlim_cur =
        static_cast<rlim_t>(std::min<std::uint64_t>(bytes, m_old.rlim_max));  // 32 bits somewhere
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;
  ~FileSizeLimit() {
    setrlimit(RLIMIT_FSIZE, &m_old);
    std::signal(SIGXFSZ, m_oldHandler);
  }

 private:
  void (*m_oldHandler)(int);
  rlimit m_old{};
};

}  // namespace kt::test
