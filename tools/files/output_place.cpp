#include "tools/files/output_place.h"

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>
#else
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

#include <cerrno>
#include <cstdio>
#include <random>
#include <system_error>

#include <ktmp4/types.h>
#include "tools/terminal/failure.h"
#include "tools/terminal/memory_lack.h"

namespace kt {
namespace {

namespace fs = std::filesystem;

constexpr const char* kInTheWay = ": there is such a file already (--force replaces it)";

// Makes an empty file where there is nothing yet, not even a link; false with `errno` when it cannot. Who may
// not read `predecessor`, the file that it is to replace, may not read this one either.
bool MakeFile(const fs::path& path, [[maybe_unused]] const fs::path& predecessor) {
#ifdef _WIN32
  const int handle = _wopen(path.c_str(), _O_CREAT | _O_EXCL | _O_WRONLY | _O_BINARY, _S_IREAD | _S_IWRITE);
  return handle >= 0 && _close(handle) == 0;
#else
  struct stat status = {};
  const mode_t mode = stat(predecessor.c_str(), &status) == 0 ? (status.st_mode & 0666) | S_IWUSR : 0666;
  const int handle = open(path.c_str(), O_CREAT | O_EXCL | O_NOFOLLOW | O_WRONLY | O_CLOEXEC, mode);
  return handle >= 0 && close(handle) == 0;
#endif
}

// Gives a file another name, unless something has that name, whenever it came there.
std::error_code MoveToFreeName(const fs::path& from, const fs::path& to) {
#ifdef _WIN32
  if (MoveFileExW(from.c_str(), to.c_str(), 0)) return {};
  const DWORD error = GetLastError();
  if (error == ERROR_ALREADY_EXISTS) return std::make_error_code(std::errc::file_exists);
  return {static_cast<int>(error), std::system_category()};
#else
#ifdef RENAME_NOREPLACE
  if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return {};
  if (errno != EINVAL && errno != ENOSYS) return {errno, std::generic_category()};
#endif
  // A file system that cannot do this at one stroke may know second names.
  if (link(from.c_str(), to.c_str()) == 0) {
    unlink(from.c_str());
    return {};
  }
  if (errno == EEXIST) return std::make_error_code(std::errc::file_exists);
  std::error_code error;
  if (fs::exists(fs::symlink_status(to, error))) return std::make_error_code(std::errc::file_exists);
  fs::rename(from, to, error);
  return error;
#endif
}

// A name beside `target` that nobody else uses nor guesses. It does not contain the target's own name, to
// which nothing might be added any more.
fs::path NameBeside(const fs::path& target) {
  std::random_device random;
  return target.parent_path() / (".ktmp4-" + std::to_string(u64{random()} << 32 | random()) + ".part");
}

// The file that stands under the name already has to be one that can be replaced.
void RequireReplaceable(const fs::path& target, const std::vector<std::string>& inputs,
                        const std::string& operation) {
  std::error_code error;
  const fs::file_status status = fs::status(target, error);
  if (!fs::exists(status)) return;
  if (fs::is_directory(status)) throw Failure(operation + ": it is a directory");
  if (!fs::is_regular_file(status)) throw Failure(operation + ": it is no regular file");
  for (const std::string& input : inputs) {
    if (fs::equivalent(target, input, error))
      throw Failure(operation + ": it is the file that is being read");
  }
  std::FILE* stream = std::fopen(target.string().c_str(), "r+b");
  if (stream == nullptr) throw SystemFailure(operation);
  std::fclose(stream);
}

std::string OperationOf(const std::string& name) {
  return "cannot write " + Quoted(name);
}

}  // namespace

void RequireFree(const std::string& name, bool force) {
  std::error_code error;
  if (!force && fs::is_regular_file(name, error)) {
    throw Failure(OperationOf(name) + kInTheWay);
  }
}

OutputPlace::OutputPlace(const std::string& name, const std::vector<std::string>& inputs, bool force)
    : m_operation(OperationOf(name)), m_target(name), m_force(force) {
  RequireReplaceable(m_target, inputs, m_operation);
  RequireFree(name, force);
  // Through a link the file itself is replaced, and not the link.
  std::error_code error;
  if (const fs::path real = fs::canonical(m_target, error); !error) m_target = real;
  if (m_target.empty()) throw Failure(m_operation + ": the name is empty");
  if (!m_target.has_filename()) throw Failure(m_operation + ": it is the name of a directory");
  m_partial = NameBeside(m_target);
  // Nothing fails behind this, so that the destructor will run.
  if (!MakeFile(m_partial, m_target)) throw SystemFailure(m_operation);
}

OutputPlace::~OutputPlace() {
  std::error_code ignored;
  if (!m_partial.empty()) fs::remove(m_partial, ignored);
}

void OutputPlace::Commit() {
  RequireEnoughMemory();
  std::error_code error;
  if (m_force) {
    if (const fs::file_status before = fs::status(m_target, error); fs::exists(before)) {
      fs::permissions(m_partial, before.permissions(), error);
    }
    fs::rename(m_partial, m_target, error);
  } else {
    error = MoveToFreeName(m_partial, m_target);
    if (error == std::errc::file_exists) throw Failure(m_operation + kInTheWay);
  }
  if (error) throw Failure(m_operation + ": " + error.message());
  m_partial.clear();
}

}  // namespace kt
