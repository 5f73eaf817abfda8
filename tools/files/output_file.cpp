#include "tools/files/output_file.h"

#include "tools/terminal/failure.h"

namespace kt {

OutputFile::OutputFile(const std::string& name, const std::string& input, bool force)
    : m_place(name, {input}, force), m_stream(std::fopen(m_place.PartialName().c_str(), "wb")) {
  if (m_stream == nullptr) throw SystemFailure(m_place.Operation());
}

OutputFile::~OutputFile() {
  if (m_stream != nullptr) std::fclose(m_stream);
}

void OutputFile::Write(const u8* data, std::size_t size) {
  if (std::fwrite(data, 1, size, m_stream) != size) throw SystemFailure(m_place.Operation());
}

void OutputFile::Finish() {
  std::FILE* stream = m_stream;
  m_stream = nullptr;
  if (std::fclose(stream) != 0) throw SystemFailure(m_place.Operation());
  m_place.Commit();
}

}  // namespace kt
