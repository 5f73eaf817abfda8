#include "boxes/box_text.h"

#include <limits>
#include <new>

namespace kt {

Mp4Result CBoxText::Set(const char* text) {
  std::unique_ptr<char[]> copy;
  if (text != nullptr) {
    const std::size_t size = std::strlen(text) + 1;
    copy.reset(new (std::nothrow) char[size]);
    if (copy) std::memcpy(copy.get(), text, size);
  }
  m_text = std::move(copy);
  return text == nullptr || m_text ? MP4_OK : MP4_NO_MEMORY;
}

Mp4Result CBoxText::Read(CStorage* storage, u64 count) {
  m_text.reset();
  KT_TRY(storage->RequireBytes(count));
  // The walk refuses every box of 4 GiB or more with this code.
  if (count >= std::numeric_limits<u32>::max()) return MP4_CORRUPT;
  const std::size_t length = static_cast<std::size_t>(count);
  m_text.reset(new (std::nothrow) char[length + 1]);
  if (!m_text) return MP4_NO_MEMORY;
  m_text[length] = 0;
  return storage->ReadBlock(m_text.get(), static_cast<u32>(count));
}

}  // namespace kt
