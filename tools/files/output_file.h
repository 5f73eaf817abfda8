#pragma once

#include <cstdio>
#include <optional>
#include <string>

#include <ktmp4/types.h>
#include "tools/files/output_place.h"

namespace kt {

/// A stream into an `OutputPlace`, or onto standard output for the name "-". All failures are thrown as
/// `Failure`.
class OutputFile {
 public:
  /// As `OutputPlace`, with one file that is read. A terminal gets no bytes of a stranger.
  OutputFile(const std::string& name, const std::string& input, bool force);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  void Write(const u8* data, std::size_t size);
  /// The file is complete and gets its name.
  void Finish();

 private:
  std::optional<OutputPlace> m_place;  // goes behind the stream, which is closed then
  std::string m_operation;
  std::FILE* m_stream = nullptr;
};

}  // namespace kt
