#pragma once

#include <algorithm>
#include <cstdio>

#include "engine/box/fields_box.h"
#include "engine/storage/data_list.h"

namespace kt {

/// A full box that holds a count and as many records of one form.
///
/// The fields of a record are named once, in file order, for reading, writing and sizing
/// (engine/storage/field_io.h):
///
///     template <class Fields> Mp4Result VisitEntry(Fields& fields, Entry& entry);
///
/// The count alone says how many records are read: it is not held against the size of the box, so a count too
/// large reads on into what follows, and bytes behind a count too small are left for the next box header.
template <class Derived, class Entry>
class CTableBox : public CFullBox {
 public:
  explicit CTableBox(u32 type) : CFullBox(type, 0, 0) {}
  explicit CTableBox(CBox&& header) : CFullBox(std::move(header)) {}

  /// What the storage reports, at once and before any record is read when it does not hold them all;
  /// MP4_NO_MEMORY. The records read so far stay.
  Mp4Result Deserialize(CStorage* storage) override {
    KT_TRY(CFullBox::Deserialize(storage));
    CFieldReader<u64> reader(storage, &m_remaining);
    KT_TRY(reader(m_ui32EntryCount));
    return ReadEntries(storage);
  }
  Mp4Result Serialize(CStorage* storage) override {
    KT_TRY(CFullBox::Serialize(storage));
    KT_TRY(storage->WriteUInt32(m_ui32EntryCount));
    return WriteEntries(storage);
  }
  Mp4Result CalculateSize() override {
    KT_TRY(CFullBox::CalculateSize());
    m_size += 4 + GetEntryBytes();
    return MP4_OK;
  }
  /// Prints the count; the records are not printed.
  Mp4Result Dump(int indent) override {
    KT_TRY(CFullBox::Dump(indent));
    PrintIndent(indent);
    std::printf("Entry count = %u\n", m_ui32EntryCount);
    return MP4_OK;
  }

  u32 GetEntryCount() const { return m_ui32EntryCount; }
  /// Record `index` as it stands in the file. MP4_ZERO_INDEX for 0, MP4_NOT_FOUND beyond the count.
  Mp4Result GetEntry(u32 index, Entry* entry) const { return m_List.GetAt(index, entry); }
  /// The records that are there: fewer than the count behind a failed `Deserialize`.
  const CDataList<Entry>& GetList() const { return m_List; }

 protected:
  Mp4Result ReadEntries(CStorage* storage) {
    // Before the first record is kept: the file has to be able to hold what it claims.
    KT_TRY(storage->RequireBytes(GetEntryBytes()));
    // Tables are what opening a long file costs, so records are fetched many at a time.
    u8 bytes[4096];
    const u32 width = GetEntryWidth();
    const u32 recordsPerPass = static_cast<u32>(sizeof bytes) / width;
    for (u32 left = m_ui32EntryCount; left > 0;) {
      const u32 records = std::min(left, recordsPerPass);
      KT_TRY(storage->ReadBytes(bytes, u64{records} * width));
      m_remaining -= u64{records} * width;
      CFieldDecoder decoder(bytes);
      for (u32 done = 0, added = 0; done < records; done += added) {
        Entry* entries = nullptr;
        KT_TRY(m_List.Extend(records - done, &entries, &added));
        for (u32 i = 0; i < added; ++i) KT_TRY(Self().VisitEntry(decoder, entries[i]));
      }
      left -= records;
    }
    return MP4_OK;
  }
  Mp4Result WriteEntries(CStorage* storage) {
    CFieldWriter writer(storage);
    for (u32 i = 0; i < m_ui32EntryCount; ++i) {
      Entry entry{};
      KT_TRY(m_List.GetAt(i + 1, &entry));
      KT_TRY(Self().VisitEntry(writer, entry));
    }
    return MP4_OK;
  }
  /// Bytes that the records take in the file.
  u64 GetEntryBytes() { return u64{GetEntryWidth()} * m_ui32EntryCount; }
  /// Adds a record at the end and counts it. MP4_NO_MEMORY.
  Mp4Result AppendEntry(const Entry& entry) {
    KT_TRY(m_List.Append(&entry));
    ++m_ui32EntryCount;
    return MP4_OK;
  }

  u32 m_ui32EntryCount = 0;
  CDataList<Entry> m_List;

 private:
  u32 GetEntryWidth() {
    u32 width = 0;
    CFieldSizer<u32> sizer(&width);
    Entry entry{};
    static_cast<void>(Self().VisitEntry(sizer, entry));
    return width;
  }
  Derived& Self() { return static_cast<Derived&>(*this); }
};

}  // namespace kt
