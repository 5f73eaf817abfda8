#include "filter/logic/line21_text_decoder.h"

#include <algorithm>
#include <bit>

namespace kt {

namespace {

/// So many calls without data, about two seconds of fields, leave the screen alone.
constexpr u32 kMostIdleFields = 120;

constexpr u8 kParityMask = 0x7F;
/// Below stands what fills up or means nothing here, from the next on the printable characters.
constexpr u8 kFirstControl = 0x10;
constexpr u8 kFirstPrintable = 0x20;
constexpr u8 kChannelBit = 0x08;
constexpr u16 kPreambleBit = 0x40;

/// The commands that act, with the first byte as channel 1 sends it (CEA-608, miscellaneous control codes).
enum Command : u16 {
  RESUME_CAPTION_LOADING = 0x1420,
  BACKSPACE = 0x1421,
  ROLL_UP_2 = 0x1425,
  ROLL_UP_3 = 0x1426,
  ROLL_UP_4 = 0x1427,
  RESUME_DIRECT_CAPTIONING = 0x1429,
  TEXT_RESTART = 0x142A,
  RESUME_TEXT_DISPLAY = 0x142B,
  ERASE_DISPLAYED_MEMORY = 0x142C,
  CARRIAGE_RETURN = 0x142D,
  ERASE_NON_DISPLAYED_MEMORY = 0x142E,
  END_OF_CAPTION = 0x142F,
  TAB_OFFSET_1 = 0x1721,
  TAB_OFFSET_2 = 0x1722,
  TAB_OFFSET_3 = 0x1723,
};

constexpr const char* kLineBreak = "<br>";

}  // namespace

void Line21TextDecoder::Decode(const u8* bytes, i32 count, i64 time) {
  const std::lock_guard lock(m_lock);
  m_time = time;
  if (!TakeField(bytes, count)) return;
  bool update = m_channelOne && m_mode != POP_ON;
  for (i32 i = 0; i < count; ++i) DecodeByte(bytes[i] & kParityMask, &update);
  // Also for a pair that says nothing: in these modes the screen is sent again, as readers expect.
  if (update) SendScreen();
}

bool Line21TextDecoder::TakeField(const u8* bytes, i32 count) {
  bool hasData = false;
  for (i32 i = 0; i < count; ++i) {
    if (std::popcount(bytes[i]) % 2 == 0) {
      m_channelOne = false;
      // The rows stay, unlike behind silence; readers rely on both.
      if (HasTimedOut() && m_screenActive) {
        BlankScreen();
        m_screenActive = false;
      }
      return false;
    }
    hasData |= (bytes[i] & kParityMask) >= kFirstControl;
  }
  if (hasData) {
    m_screenActive = true;
    m_idleFields = 0;
  } else if (HasTimedOut() && m_screenActive) {
    BlankScreen();
    EraseRows();
    m_screenActive = false;
  }
  return true;
}

bool Line21TextDecoder::HasTimedOut() {
  if (++m_idleFields <= kMostIdleFields) return false;
  m_idleFields = 0;
  return true;
}

void Line21TextDecoder::DecodeByte(u8 byte, bool* update) {
  if (byte < kFirstControl) return;
  if (m_awaitingSecondByte) {
    m_awaitingSecondByte = false;
    DecodeControlPair(static_cast<u16>(m_controlFirstByte << 8 | byte), update);
  } else if (byte >= kFirstPrintable) {
    if (m_channelOne && !m_textMode) Append(1, static_cast<char>(byte));
    // Nothing else forgets the last pair: two equal ones with only other channels or silence between count
    // as one, and readers rely on it.
    m_lastControl = 0;
  } else {
    m_channelOne = (byte & kChannelBit) == 0;
    m_controlFirstByte = static_cast<u8>(byte & ~kChannelBit);
    m_awaitingSecondByte = true;
  }
}

void Line21TextDecoder::DecodeControlPair(u16 pair, bool* update) {
  if (pair == m_lastControl || !m_channelOne) {
    *update = false;
    return;
  }
  m_lastControl = pair;
  if ((pair & kPreambleBit) == 0) {
    DecodeCommand(pair, update);
  } else if (m_mode != ROLL_UP) {
    // A preamble address code; where its row stands is not looked at.
    NextRow();
  }
}

void Line21TextDecoder::DecodeCommand(u16 pair, bool* update) {
  switch (pair) {
    case RESUME_CAPTION_LOADING:
      return StartPopOn();
    case BACKSPACE:
      if (!m_rows.back().empty()) m_rows.back().pop_back();
      return;
    case ROLL_UP_2:
    case ROLL_UP_3:
    case ROLL_UP_4:
      return StartRollUp();
    case RESUME_DIRECT_CAPTIONING:
      return StartPaintOn();
    case TEXT_RESTART:
    case RESUME_TEXT_DISPLAY:
      m_textMode = true;
      return;
    case ERASE_DISPLAYED_MEMORY:
      return BlankScreen();
    case CARRIAGE_RETURN:
      if (m_mode == ROLL_UP) NextRow();
      return;
    case ERASE_NON_DISPLAYED_MEMORY:
      return EraseRows();
    case END_OF_CAPTION:
      EndOfCaption();
      *update = false;
      return;
    case TAB_OFFSET_1:
    case TAB_OFFSET_2:
    case TAB_OFFSET_3:
      return Append(pair - TAB_OFFSET_1 + 1u, '\t');
    default:
      return;
  }
}

void Line21TextDecoder::StartRollUp() {
  m_textMode = false;
  if (m_mode == ROLL_UP) return;
  m_mode = ROLL_UP;
  BlankScreen();
  EraseRows();
}

void Line21TextDecoder::StartPopOn() {
  m_textMode = false;
  if (m_mode != POP_ON) {
    BlankScreen();
    EraseRows();
  }
  m_mode = POP_ON;
  m_popOnRowsPending = 0;
}

void Line21TextDecoder::StartPaintOn() {
  m_textMode = false;
  if (m_mode != PAINT_ON) EraseRows();
  m_mode = PAINT_ON;
}

void Line21TextDecoder::EndOfCaption() {
  // The last row counts even when it is empty; it is then emitted empty, and readers rely on it.
  ++m_popOnRowsPending;
  m_textMode = false;
  SendScreen();
  if (m_mode == POP_ON) {
    const std::size_t pending = std::min<std::size_t>(m_popOnRowsPending, m_rows.size());
    for (std::size_t i = m_rows.size() - pending; i < m_rows.size(); ++i) EmitRow(m_rows[i]);
  } else {
    BlankScreen();
    m_mode = POP_ON;
  }
  m_rows.swap(m_otherRows);
  m_popOnRowsPending = 0;
}

void Line21TextDecoder::NextRow() {
  if (m_rows.back().empty()) return;
  if (m_mode == POP_ON) {
    ++m_popOnRowsPending;
  } else {
    EmitRow(m_rows.back());
  }
  std::rotate(m_rows.begin(), m_rows.begin() + 1, m_rows.end());
  m_rows.back().clear();
}

void Line21TextDecoder::EmitRow(const std::string& row) {
  m_receiver.AddCaptionText(m_time, row.c_str());
}

void Line21TextDecoder::Append(std::size_t count, char letter) {
  std::string& row = m_rows.back();
  row.append(std::min(count, kLongestRow - row.size()), letter);
}

void Line21TextDecoder::SendScreen() {
  std::string text = m_rows[0];
  for (std::size_t i = 1; i < m_rows.size(); ++i) text += kLineBreak + m_rows[i];
  m_receiver.SendScreenText(text.c_str());
}

void Line21TextDecoder::BlankScreen() {
  m_receiver.SendScreenText(kLineBreak);
  for (std::string& row : m_otherRows) row.clear();
}

void Line21TextDecoder::EraseRows() {
  for (std::string& row : m_rows) row.clear();
}

}  // namespace kt
