#pragma once

#include <cstdio>
#include <filesystem>
#include <string>

#include "engine/types.h"

namespace kt {

/// A file that gets its name only when it is complete. Until `Finish` its bytes gather beside it under
/// another name; without a `Finish` they go, and what stood under the name stays untouched. All failures are
/// thrown as `Failure`.
class OutputFile {
 public:
  /// `input` is the name of the file that is being read, which the output must not replace.
  OutputFile(const std::string& name, const std::string& input);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  void Write(const u8* data, std::size_t size);
  void Finish();

 private:
  std::string m_operation;
  std::filesystem::path m_target;
  std::filesystem::path m_partial;
  std::FILE* m_stream = nullptr;
};

}  // namespace kt
