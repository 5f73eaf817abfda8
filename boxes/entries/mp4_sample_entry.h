#pragma once

#include "boxes/containers/required_child.h"
#include "boxes/entries/audio_sample_entry.h"
#include "boxes/entries/es_descriptor_box.h"
#include "boxes/entries/visual_sample_entry.h"

namespace kt {

/// The second base of the MPEG-4 sample entries: their "esds" box and the way to its descriptor.
///
/// Every getter answers MP4_NOT_READY while there is no descriptor.
class CMP4SampleEntry {
 public:
  virtual ~CMP4SampleEntry() = default;

  /// `*size` takes the number of bytes; MP4_OK also when it exceeds `capacity`, with nothing copied.
  /// MP4_NOT_FOUND when the descriptor has no such bytes.
  virtual Mp4Result GetDecoderSpecificInfo(u32 capacity, u32* size, void* buffer);
  virtual Mp4Result GetDecoderSpecificInfoSize(u32* size);
  /// Borrowed.
  virtual Mp4Result GetEsDescriptor(CESDescriptor** descriptor);
  /// Fills the descriptor in, which is made when there is none: object and stream type by ISO/IEC 14496-1,
  /// 7.2.6.6, and `infoSize` bytes for the decoder. MP4_NO_MEMORY; MP4_NOT_READY the second time.
  virtual Mp4Result SetDecoderConfig(u16 esId, u8 objectType, u8 streamType, const void* info, u32 infoSize);

  /// Bits per second; makes the descriptor when there is none. MP4_NO_MEMORY.
  Mp4Result SetBitrates(u32 max, u32 avg);

 protected:
  CESDBox m_EsdBox;
};

/// An MPEG-4 sample entry on top of its visual, audio or common part. ISO/IEC 14496-14, 5.6.
template <class Layer>
class CEsdSampleEntry : public Layer, public CMP4SampleEntry {
 public:
  /// MP4_BAD_BOX when another box than "esds" stands first, MP4_CORRUPT when it exceeds the entry.
  Mp4Result Deserialize(CStorage* storage) override {
    KT_TRY(Layer::Deserialize(storage));
    return ReadRequiredChild<CESDBox>(storage, &this->m_remaining, [this](CBox&& header) {
      m_EsdBox = CESDBox(std::move(header));
      return &m_EsdBox;
    });
  }
  Mp4Result Serialize(CStorage* storage) override {
    KT_TRY(Layer::Serialize(storage));
    return m_EsdBox.Serialize(storage);
  }
  Mp4Result Dump(int indent) override {
    KT_TRY(Layer::Dump(indent));
    return m_EsdBox.DumpAt(indent + 1, this->m_level + 1);
  }
  Mp4Result CalculateSize() override {
    KT_TRY(Layer::CalculateSize());
    KT_TRY(m_EsdBox.CalculateSize());
    u64 childSize = 0;
    KT_TRY(m_EsdBox.GetSize(&childSize));
    this->m_size += childSize;
    return MP4_OK;
  }

 protected:
  explicit CEsdSampleEntry(u32 type) : Layer(type) {}
  explicit CEsdSampleEntry(CBox&& header) : Layer(std::move(header)) {}
};

/// "mp4v": MPEG-4 visual.
class CMP4VisualSampleEntry final : public CEsdSampleEntry<CVisualSampleEntry> {
 public:
  static constexpr u32 kType = FourCc("mp4v");
  CMP4VisualSampleEntry() : CEsdSampleEntry(kType) {}
  explicit CMP4VisualSampleEntry(CBox&& header) : CEsdSampleEntry(std::move(header)) {}
};

/// "mp4a": MPEG-4 audio.
class CMP4AudioSampleEntry final : public CEsdSampleEntry<CAudioSampleEntry> {
 public:
  static constexpr u32 kType = FourCc("mp4a");
  CMP4AudioSampleEntry() : CEsdSampleEntry(kType) {}
  explicit CMP4AudioSampleEntry(CBox&& header) : CEsdSampleEntry(std::move(header)) {}
};

/// "mp4s": MPEG-4 systems streams, such as object descriptors and scenes.
class CMP4MpegSampleEntry final : public CEsdSampleEntry<CSampleEntry> {
 public:
  static constexpr u32 kType = FourCc("mp4s");
  CMP4MpegSampleEntry() : CEsdSampleEntry(kType) {}
  explicit CMP4MpegSampleEntry(CBox&& header) : CEsdSampleEntry(std::move(header)) {}
};

}  // namespace kt
