#include "tools/files/output_file.h"

#include "tools/terminal/failure.h"
#include "tools/terminal/standard_streams.h"

namespace kt {

OutputFile::OutputFile(const std::string& name, const std::string& input, bool force) {
  if (name == "-") {
    m_operation = "cannot write on standard output";
    if (IsTerminal(stdout)) throw Failure(m_operation + ": it is a terminal, and these are bytes of a file");
    return;
  }
  m_place.emplace(name, std::vector<std::string>{input}, force);
  m_operation = m_place->Operation();
  m_stream = std::fopen(m_place->PartialName().c_str(), "wb");
  if (m_stream == nullptr) throw SystemFailure(m_operation);
}

OutputFile::~OutputFile() {
  if (m_stream != nullptr) std::fclose(m_stream);
}

void OutputFile::Write(const u8* data, std::size_t size) {
  if (size == 0) return;  // what has no bytes may be null
  std::FILE* const stream = m_stream != nullptr ? m_stream : stdout;
  if (std::fwrite(data, 1, size, stream) != size) throw SystemFailure(m_operation);
}

void OutputFile::Finish() {
  if (!m_place) return FlushOutput();
  std::FILE* stream = m_stream;
  m_stream = nullptr;
  if (std::fclose(stream) != 0) throw SystemFailure(m_operation);
  m_place->Commit();
}

}  // namespace kt
