#pragma once

#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <ktmp4/types.h>

namespace kt::test {

/// The whole content of a file.
inline std::vector<u8> ReadFile(const std::filesystem::path& path) {
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

inline void WriteFile(const std::filesystem::path& path, const std::vector<u8>& content) {
  std::ofstream stream(path, std::ios::binary);
  stream.write(reinterpret_cast<const char*>(content.data()), static_cast<std::streamsize>(content.size()));
}

/// A name in the folder for temporary files that no other test uses; what stands there goes when it does.
class TempFile {
 public:
  TempFile() {
    static std::atomic<int> counter{0};
    m_path = std::filesystem::temp_directory_path() /
             ("ktmp4-test-" + std::to_string(getpid()) + "-" + std::to_string(counter++));
    // An earlier process of the same number may have died with it; Wine gives the same ones again and again.
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
  }
  explicit TempFile(const std::vector<u8>& content) : TempFile() { WriteFile(m_path, content); }
  TempFile(const TempFile&) = delete;
  TempFile& operator=(const TempFile&) = delete;
  ~TempFile() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
  }

  const std::filesystem::path& Path() const { return m_path; }
  /// The name in the form that the library takes.
  std::string Name() const { return m_path.string(); }

 private:
  std::filesystem::path m_path;
};

}  // namespace kt::test
