#pragma once

#include <array>
#include <mutex>
#include <string>

#include "filter/logic/caption_decoder.h"

namespace kt {

/// Takes what a caption decoder makes of the bytes.
class CaptionReceiver {
 public:
  /// What is on screen after a change: four rows with "<br>" between them, or "<br>" alone for a screen that
  /// has become empty.
  virtual void SendScreenText(const char* text) = 0;
  /// A row that is complete. `time` is the position in the file of the byte pair that completed it, in 100 ns
  /// units.
  virtual void AddCaptionText(i64 time, const char* text) = 0;

 protected:
  ~CaptionReceiver() = default;
};

/// Makes plain text of the byte pairs of a Line 21 track, caption channel 1 (CEA-608). Colours, attributes,
/// positions and the special characters are not decoded; what is neither text nor one of the commands below
/// is passed over.
///
/// Rows and mode outlast a seek; the time-out for silence then clears what is left over.
class Line21TextDecoder final : public CaptionDecoder {
 public:
  /// A longer row drops what follows.
  static constexpr std::size_t kLongestRow = 1024;

  /// `receiver` is borrowed. It is called from within `Decode`.
  explicit Line21TextDecoder(CaptionReceiver& receiver) : m_receiver(receiver) {}

  /// Takes `count` bytes with their parity bits, 2 in a caption track. Two tracks may share a decoder: their
  /// pairs are decoded one after the other, into the same rows. May run out of memory with an exception.
  void Decode(const u8* bytes, i32 count, i64 time) override;

 private:
  enum CaptionMode : u32 { ROLL_UP = 0, POP_ON = 1, PAINT_ON = 2 };
  using Rows = std::array<std::string, 4>;

  /// Looks at parity and silence; false when the bytes are not to be decoded.
  bool TakeField(const u8* bytes, i32 count);
  bool HasTimedOut();
  void DecodeByte(u8 byte, bool* update);
  void DecodeControlPair(u16 pair, bool* update);
  void DecodeCommand(u16 pair, bool* update);
  void StartRollUp();
  void StartPopOn();
  void StartPaintOn();
  void EndOfCaption();
  void NextRow();
  void EmitRow(const std::string& row);
  void Append(std::size_t count, char letter);
  void SendScreen();
  void BlankScreen();
  void EraseRows();

  CaptionReceiver& m_receiver;
  std::mutex m_lock;
  /// Of the pair at hand.
  i64 m_time = 0;
  /// First byte of a control pair, with its channel bit cleared.
  u8 m_controlFirstByte = 0;
  bool m_awaitingSecondByte = false;
  CaptionMode m_mode = ROLL_UP;
  /// Rows finished since the last flip, in pop-on mode.
  u32 m_popOnRowsPending = 0;
  /// The rows being written; text goes to the last one.
  Rows m_rows;
  /// The other memory, exchanged with the rows at the end of a caption.
  Rows m_otherRows;
  /// The last control pair that acted, since pairs are sent twice.
  u16 m_lastControl = 0;
  /// What comes in belongs to channel 1.
  bool m_channelOne = false;
  /// Calls in a row without anything of use.
  u32 m_idleFields = 0;
  /// Something may be on screen, which a time-out has to clear.
  bool m_screenActive = true;
  /// The channel carries text that is no caption.
  bool m_textMode = false;
};

}  // namespace kt
