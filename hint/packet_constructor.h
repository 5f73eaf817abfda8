#pragma once

#include <ktmp4/hint_packets.h>

#include <memory>

#include "engine/storage/field_io.h"

namespace kt {

/// One instruction for the payload of a packet: 16 bytes, of which the first is the type.
class CRTPBaseConstructor {
 public:
  static constexpr u32 kSize = 16;

  CRTPBaseConstructor(const CRTPBaseConstructor&) = delete;
  CRTPBaseConstructor& operator=(const CRTPBaseConstructor&) = delete;
  virtual ~CRTPBaseConstructor() = default;

  /// Reads the 15 bytes behind the type, which has been read.
  virtual Mp4Result Deserialize(CStorage* storage) = 0;
  /// Writes the type byte; concrete classes call it first.
  virtual Mp4Result Serialize(CStorage* storage);
  virtual Mp4Result Dump(int indent);
  virtual Mp4Result GetConstructorType(u8* type);

 protected:
  explicit CRTPBaseConstructor(u8 type) : m_constructorType(type) {}

 private:
  u8 m_constructorType;
};

/// A constructor whose 15 bytes are the fields that `Derived::VisitFields` names.
template <class Derived>
class CFieldsConstructor : public CRTPBaseConstructor {
 public:
  Mp4Result Deserialize(CStorage* storage) override {
    u32 remaining = kSize - 1;
    CFieldReader<u32> reader(storage, &remaining);
    return static_cast<Derived*>(this)->VisitFields(reader);
  }
  Mp4Result Serialize(CStorage* storage) override {
    KT_TRY(CRTPBaseConstructor::Serialize(storage));
    u8 bytes[kSize - 1];
    CFieldEncoder encoder(bytes);
    KT_TRY(static_cast<Derived*>(this)->VisitFields(encoder));
    return storage->WriteBytes(bytes, sizeof bytes);
  }

 protected:
  using CRTPBaseConstructor::CRTPBaseConstructor;
};

/// Does nothing.
class CRTPNoOpConstructor final : public CFieldsConstructor<CRTPNoOpConstructor> {
 public:
  CRTPNoOpConstructor() : CFieldsConstructor(RTP_CONSTRUCTOR_NO_OP) {}

  template <class Fields>
  Mp4Result VisitFields(Fields& fields) {
    return fields.Reserved(15);
  }
};

/// Puts the bytes that it holds into the packet.
class CRTPImmediateConstructor final : public CFieldsConstructor<CRTPImmediateConstructor> {
 public:
  static constexpr u32 kMostBytes = 14;

  CRTPImmediateConstructor() : CFieldsConstructor(RTP_CONSTRUCTOR_IMMEDIATE) {}

  Mp4Result Dump(int indent) override;
  /// Keeps a copy. MP4_BAD_ARGUMENT for null, for no bytes and for more than 14.
  Mp4Result SetData(const u8* data, u32 size);

  template <class Fields>
  Mp4Result VisitFields(Fields& fields) {
    return fields(m_dataCount, m_data);
  }

 private:
  u8 m_dataCount = 0;  // not checked when it is read
  u8 m_data[kMostBytes] = {};
};

/// Puts a stretch of a media sample into the packet.
class CRTPSampleConstructor final : public CFieldsConstructor<CRTPSampleConstructor> {
 public:
  CRTPSampleConstructor() : CFieldsConstructor(RTP_CONSTRUCTOR_SAMPLE) {}

  Mp4Result Dump(int indent) override;
  /// The track is given by its place among the references of the hint track; `length` and `sampleOffset` are
  /// in bytes. Always MP4_OK.
  Mp4Result SetValues(u8 trackRefIndex, u16 length, u32 sampleNumber, u32 sampleOffset);

  template <class Fields>
  Mp4Result VisitFields(Fields& fields) {
    return fields(m_trackRefIndex, m_length, m_sampleNumber, m_sampleOffset, m_bytesPerBlock,
                  m_samplesPerBlock);
  }

 private:
  u8 m_trackRefIndex = 0;
  u16 m_length = 0;
  u32 m_sampleNumber = 0;
  u32 m_sampleOffset = 0;
  u16 m_bytesPerBlock = 1;
  u16 m_samplesPerBlock = 1;
};

/// Puts a stretch of a sample entry into the packet.
class CRTPSampleDescriptionConstructor final : public CFieldsConstructor<CRTPSampleDescriptionConstructor> {
 public:
  CRTPSampleDescriptionConstructor() : CFieldsConstructor(RTP_CONSTRUCTOR_SAMPLE_DESCRIPTION) {}

  Mp4Result Dump(int indent) override;

  template <class Fields>
  Mp4Result VisitFields(Fields& fields) {
    return fields(m_trackRefIndex, m_length, m_sampleDescriptionIndex, m_sampleDescriptionOffset, m_reserved);
  }

 private:
  u8 m_trackRefIndex = 0;
  u16 m_length = 0;
  u32 m_sampleDescriptionIndex = 0;
  u32 m_sampleDescriptionOffset = 0;
  u32 m_reserved = 0;
};

/// Reads a constructor, type first; null on failure. MP4_BAD_VALUE for an unknown type, with all 16 bytes
/// passed over; MP4_NO_MEMORY; what the storage reports.
Mp4Result CreateConstructor(CStorage* storage, std::unique_ptr<CRTPBaseConstructor>* constructor, u8* type);

}  // namespace kt
