#include "engine/box/box_text.h"

#include <limits>
#include <new>
#include <utility>

namespace kt {
namespace {

// Room for that many bytes and the zero byte behind them, which stands there already. Null without memory,
// and for what this machine cannot count.
std::unique_ptr<char[]> MakeText(u64 size) {
  if (size >= std::numeric_limits<std::size_t>::max()) return nullptr;
  const std::size_t length = static_cast<std::size_t>(size);
  std::unique_ptr<char[]> text(new (std::nothrow) char[length + 1]);
  if (text) text[length] = 0;
  return text;
}

}  // namespace

Mp4Result CBoxText::Set(const char* text) {
  const std::unique_ptr<char[]> old = std::move(m_text);  // may hold the new text
  m_size = 0;
  return text != nullptr ? Append(text) : MP4_OK;
}

Mp4Result CBoxText::Append(const char* text) {
  const std::size_t added = std::strlen(text);
  if (added > std::numeric_limits<u32>::max() - m_size) return MP4_NO_MEMORY;
  const u32 size = m_size + static_cast<u32>(added);
  std::unique_ptr<char[]> joined = MakeText(size);
  if (!joined) return MP4_NO_MEMORY;
  std::memcpy(joined.get(), Get(), m_size);
  std::memcpy(joined.get() + m_size, text, added);
  m_text = std::move(joined);
  m_size = size;
  return MP4_OK;
}

Mp4Result CBoxText::Read(CStorage* storage, u64 count) {
  m_text.reset();
  m_size = 0;
  KT_TRY(storage->RequireBytes(count));
  // The walk refuses every box of 4 GiB or more with this code.
  if (count > std::numeric_limits<u32>::max()) return MP4_CORRUPT;
  const u32 size = static_cast<u32>(count);
  std::unique_ptr<char[]> text = MakeText(size);
  if (!text) return MP4_NO_MEMORY;
  KT_TRY(storage->ReadBlock(text.get(), size));
  m_text = std::move(text);
  m_size = size;
  return MP4_OK;
}

}  // namespace kt
