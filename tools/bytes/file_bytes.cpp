#include "tools/bytes/file_bytes.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "tools/terminal/failure.h"

namespace kt {
namespace {

constexpr u64 kLongestPiece = 0x10000;
// Boxes lie far apart where there is media data between them.
constexpr u64 kShortestPiece = 0x400;

}  // namespace

FileBytes::FileBytes(const std::string& name) : m_stream(name, std::ios::binary) {
  if (!m_stream) RequireOpenFailedByFile("cannot read " + Quoted(name));
  // The end of a folder's stream lies anywhere.
  std::error_code error;
  const std::uintmax_t size = std::filesystem::file_size(name, error);
  m_size = m_stream && !error ? size : 0;
}

ByteSpan FileBytes::At(u64 position, u64 wanted) {
  if (position >= m_size) return {};
  const u64 size = std::min({wanted, m_size - position, kLongestPiece});
  if (position < m_begin || position + size > m_begin + m_piece.size()) {
    m_begin = position;
    m_piece.resize(static_cast<std::size_t>(std::max(size, std::min(kShortestPiece, m_size - position))));
    m_stream.clear();
    m_stream.seekg(static_cast<std::streamoff>(position));
    m_stream.read(reinterpret_cast<char*>(m_piece.data()), static_cast<std::streamsize>(m_piece.size()));
    m_piece.resize(static_cast<std::size_t>(m_stream.gcount()));
  }
  const ByteSpan from = ByteSpan(m_piece).subspan(static_cast<std::size_t>(position - m_begin));
  return from.first(std::min(from.size(), static_cast<std::size_t>(size)));
}

}  // namespace kt
