#pragma once

#include <memory>

#include "engine/storage/printing.h"
#include "engine/storage/storage.h"

namespace kt {

/// Base of every box of the tree, and itself the box of an unknown type: its payload is skipped and not kept.
///
/// Derived classes follow one pattern. The factory reads the header into a bare `CBox` and moves it into the
/// concrete class, whose `Deserialize` then reads the payload alone. `Serialize`, `Dump` and `CalculateSize`
/// call their base first and stop on its failure. ISO/IEC 14496-12, 4.2.
class CBox {
 public:
  /// A concrete class names its code as `kType`, and has this true when a box of that code may be of another
  /// class: since several share the code, or since the factory does not know it and reads an unknown box.
  static constexpr bool kTypeIsAmbiguous = false;

  /// The bare box, all fields zero, into which a header is read.
  CBox() = default;
  /// A new box. `userType` is null or points to 16 bytes, which are copied.
  explicit CBox(u32 type, const u8* userType = nullptr);
  /// Takes over a header that has been read.
  CBox(CBox&& header) noexcept = default;
  CBox& operator=(CBox&& header) noexcept = default;
  virtual ~CBox() = default;

  /// Here: reads size, type and user type. MP4_CORRUPT when the size is below its own header. In a derived
  /// class: reads the payload behind a header that has been read.
  virtual Mp4Result Deserialize(CStorage* storage);
  /// Writes header and payload. `CalculateSize` has to run before each call. MP4_NOT_READY for a "uuid" box
  /// without a user type.
  virtual Mp4Result Serialize(CStorage* storage);
  /// Prints the box on standard output, `indent` levels of two blanks deep.
  virtual Mp4Result Dump(int indent);
  /// Works the size out from the contents, children included.
  virtual Mp4Result CalculateSize();
  /// The size in bytes that a parent has to count for this box: 8 more than the field for a size above 32
  /// bits, whose header grows by them when it is written. Readers rely on a box of such a size counting 8
  /// bytes too many.
  virtual Mp4Result GetSize(u64* size);

  /// Prints the box as one that `level` boxes stand around: it is these that a list of children counts, and
  /// not the indent.
  Mp4Result DumpAt(int indent, u32 level) {
    m_level = level;
    const Mp4Result result = Dump(indent);
    m_level = 0;
    return result;
  }

  Mp4Result GetType(u32* type) const;
  /// Payload bytes that `Deserialize` has not consumed yet.
  Mp4Result GetRemaining(u64* remaining) const;
  /// Takes the size of this box, which has been read, off the bytes that its parent has left. MP4_CORRUPT,
  /// with nothing taken, when they do not hold it.
  Mp4Result TakeSizeOff(u64* remaining);

 protected:
  u64 m_size = 0;
  u32 m_type = 0;
  u32 m_level = 0;                   // while it is printed: the boxes around it
  std::unique_ptr<u8[]> m_userType;  // 16 bytes, null unless the type is "uuid"
  u64 m_remaining = 0;
};

/// A box with a version and 24 bits of flags. A version other than 1 reads as version 0.
class CFullBox : public CBox {
 public:
  CFullBox(u32 type, u8 version, u32 flags);
  explicit CFullBox(CBox&& header, u8 version = 0, u32 flags = 0) noexcept;

  Mp4Result Deserialize(CStorage* storage) override;
  Mp4Result Serialize(CStorage* storage) override;
  Mp4Result Dump(int indent) override;
  Mp4Result CalculateSize() override;

 protected:
  u8 m_version = 0;
  u32 m_flags = 0;
};

}  // namespace kt
