#include "hint/session_text_box.h"

#include <cstdio>
#include <cstring>
#include <limits>
#include <new>

namespace kt {
namespace {

constexpr u32 kMost = std::numeric_limits<u32>::max();

}  // namespace

Mp4Result CSessionTextBox::Deserialize(CStorage* storage) {
  if (m_remaining > kMost) return MP4_CORRUPT;
  const u32 size = static_cast<u32>(m_remaining);
  m_remaining = 0;
  m_sdpText.reset();
  m_sdpTextSize = 0;
  if (size == 0) return MP4_OK;
  KT_TRY(storage->RequireBytes(size));
  std::unique_ptr<char[]> text(new (std::nothrow) char[std::size_t{size} + 1]);
  if (!text) return MP4_NO_MEMORY;
  KT_TRY(storage->ReadBlock(text.get(), size));
  text[size] = 0;
  m_sdpText = std::move(text);
  m_sdpTextSize = size;
  return MP4_OK;
}

Mp4Result CSessionTextBox::Serialize(CStorage* storage) {
  KT_TRY(CBox::Serialize(storage));
  return SerializeText(storage);
}

Mp4Result CSessionTextBox::SerializeText(CStorage* storage) {
  return m_sdpTextSize > 0 ? storage->WriteBlock(m_sdpText.get(), m_sdpTextSize) : MP4_OK;
}

// Rows of 60 characters; a line of the text that is not the first is a character shorter: readers of dumps
// rely on it.
Mp4Result CSessionTextBox::Dump(int indent) {
  KT_TRY(CBox::Dump(indent));
  PrintIndent(indent);
  std::printf("SDP text:\n");
  PrintIndent(indent);
  std::printf("{");
  u32 column = 0;
  for (u32 i = 0; i < m_sdpTextSize; ++i) {
    if (i > 0 && m_sdpText[i - 1] == '\n') {
      PrintIndent(indent + 1);
      column = 1;
    }
    if (column % 60 == 0) {
      std::printf("\n");
      PrintIndent(indent + 1);
    }
    std::printf("%c", m_sdpText[i]);
    ++column;
  }
  PrintIndent(indent);
  std::printf("}\n");
  return MP4_OK;
}

Mp4Result CSessionTextBox::CalculateSize() {
  KT_TRY(CBox::CalculateSize());
  m_size += m_sdpTextSize;
  return MP4_OK;
}

Mp4Result CSessionTextBox::AppendSdp(const char* text) {
  if (text == nullptr) return MP4_BAD_ARGUMENT;
  const std::size_t added = std::strlen(text);
  if (added == 0) return MP4_OK;
  if (added >= kMost - m_sdpTextSize) return MP4_NO_MEMORY;
  std::unique_ptr<char[]> joined(new (std::nothrow) char[m_sdpTextSize + added + 1]);
  if (!joined) return MP4_NO_MEMORY;
  if (m_sdpText) std::memcpy(joined.get(), m_sdpText.get(), m_sdpTextSize);
  std::memcpy(joined.get() + m_sdpTextSize, text, added + 1);
  m_sdpText = std::move(joined);
  m_sdpTextSize += static_cast<u32>(added);
  return MP4_OK;
}

Mp4Result CSessionTextBox::BorrowSdp(const char** text) const {
  *text = m_sdpText.get();
  return m_sdpText ? MP4_OK : MP4_NOT_FOUND;
}

Mp4Result CRtpMovieHintInformationBox::Deserialize(CStorage* storage) {
  KT_TRY(storage->ReadUInt32(&m_descriptionFormat));
  m_remaining -= 4;  // a box too short for it wraps, and is refused for its size
  return CSessionTextBox::Deserialize(storage);
}

Mp4Result CRtpMovieHintInformationBox::Serialize(CStorage* storage) {
  KT_TRY(CBox::Serialize(storage));
  KT_TRY(storage->WriteUInt32(m_descriptionFormat));
  return SerializeText(storage);
}

Mp4Result CRtpMovieHintInformationBox::CalculateSize() {
  KT_TRY(CSessionTextBox::CalculateSize());
  m_size += 4;
  return MP4_OK;
}

Mp4Result CRtpTrackSdpHintInformationBox::GetSdp(std::unique_ptr<char[]>* text) const {
  const char* own = nullptr;
  KT_TRY(BorrowSdp(&own));
  const std::size_t size = std::strlen(own) + 1;
  text->reset(new (std::nothrow) char[size]);
  if (!*text) return MP4_NO_MEMORY;
  std::memcpy(text->get(), own, size);
  return MP4_OK;
}

}  // namespace kt
