#include "tools/files/output_place.h"

#include <cstdio>
#include <random>
#include <system_error>

#include "tools/terminal/failure.h"
#include "tools/terminal/memory_lack.h"

namespace kt {
namespace {

namespace fs = std::filesystem;

// A name beside `target` that nobody else uses. It does not contain the target's own name, to which nothing
// might be added any more.
fs::path NameBeside(const fs::path& target) {
  std::random_device random;
  return target.parent_path() / (".ktmp4-" + std::to_string(random()) + ".part");
}

// The file that stands under the name already has to be one that may be replaced.
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
    throw Failure(OperationOf(name) + ": there is such a file already (--force replaces it)");
  }
}

OutputPlace::OutputPlace(const std::string& name, const std::vector<std::string>& inputs)
    : m_operation(OperationOf(name)), m_target(name) {
  RequireReplaceable(m_target, inputs, m_operation);
  // Through a link the file itself is replaced, and not the link.
  std::error_code error;
  if (const fs::path real = fs::canonical(m_target, error); !error) m_target = real;
  if (m_target.empty()) throw Failure(m_operation + ": the name is empty");
  if (!m_target.has_filename()) throw Failure(m_operation + ": it is the name of a directory");
  m_partial = NameBeside(m_target);
  std::FILE* stream = std::fopen(m_partial.string().c_str(), "wb");
  if (stream == nullptr) throw SystemFailure(m_operation);
  std::fclose(stream);  // nothing fails from here on, so that the destructor will run
}

OutputPlace::~OutputPlace() {
  std::error_code ignored;
  if (!m_partial.empty()) fs::remove(m_partial, ignored);
}

void OutputPlace::Commit() {
  RequireEnoughMemory();
  std::error_code error;
  if (const fs::file_status before = fs::status(m_target, error); fs::exists(before)) {
    fs::permissions(m_partial, before.permissions(), error);
  }
  fs::rename(m_partial, m_target, error);
  if (error) throw Failure(m_operation + ": " + error.message());
  m_partial.clear();
}

}  // namespace kt
