#include "boxes/hint/session_text_box.h"
#include "engine/storage/printing.h"

#include <cstdio>
#include <cstring>
#include <limits>
#include <new>

namespace kt {

Mp4Result CSessionTextBox::Deserialize(CStorage* storage) {
  if (m_remaining > std::numeric_limits<u32>::max()) return MP4_CORRUPT;
  const u64 size = m_remaining;
  m_remaining = 0;
  return size > 0 ? m_sdpText.Read(storage, size) : m_sdpText.Set(nullptr);
}

Mp4Result CSessionTextBox::Serialize(CStorage* storage) {
  KT_TRY(CBox::Serialize(storage));
  return SerializeText(storage);
}

Mp4Result CSessionTextBox::SerializeText(CStorage* storage) {
  return m_sdpText.Exists() ? storage->WriteBlock(m_sdpText.Get(), m_sdpText.Size()) : MP4_OK;
}

// Rows of 60 characters; a line of the text that is not the first is a character shorter: readers of dumps
// rely on it.
Mp4Result CSessionTextBox::Dump(int indent) {
  KT_TRY(CBox::Dump(indent));
  PrintIndent(indent);
  std::printf("SDP text:\n");
  PrintIndent(indent);
  std::printf("{");
  const char* const text = m_sdpText.Get();
  u32 column = 0;
  for (u32 i = 0; i < m_sdpText.Size(); ++i) {
    if (i > 0 && text[i - 1] == '\n') {
      PrintIndent(indent + 1);
      column = 1;
    }
    if (column % 60 == 0) {
      std::printf("\n");
      PrintIndent(indent + 1);
    }
    std::printf("%c", text[i]);
    ++column;
  }
  PrintIndent(indent);
  std::printf("}\n");
  return MP4_OK;
}

Mp4Result CSessionTextBox::CalculateSize() {
  KT_TRY(CBox::CalculateSize());
  m_size += m_sdpText.Size();
  return MP4_OK;
}

Mp4Result CSessionTextBox::AppendSdp(const char* text) {
  if (text == nullptr) return MP4_BAD_ARGUMENT;
  return *text != '\0' ? m_sdpText.Append(text) : MP4_OK;
}

Mp4Result CSessionTextBox::BorrowSdp(const char** text) const {
  *text = m_sdpText.Exists() ? m_sdpText.Get() : nullptr;
  return m_sdpText.Exists() ? MP4_OK : MP4_NOT_FOUND;
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
