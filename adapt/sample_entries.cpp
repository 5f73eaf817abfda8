#include "adapt/sample_entries.h"

#include <algorithm>
#include <bit>
#include <iterator>

#include <ktmp4/adapting_file.h>
#include "adapt/box_walk.h"
#include "adapt/descriptors.h"

namespace kt::adapt {
namespace {

constexpr u32 kCommonFields = 8;
constexpr u32 kVisualFields = kCommonFields + 70;
constexpr u32 kSoundFields = kCommonFields + 20;

enum class EntryKind { kOther, kVisual, kSound };

/// An entry that the strict reader knows and the box that it asks for, with the values that set it up when
/// the file does not.
struct KnownEntry {
  u32 code;
  EntryKind kind;
  u32 child;
  u8 objectType;
  u8 streamType;
};
constexpr KnownEntry kKnownEntries[] = {
    {FourCc("mp4v"), EntryKind::kVisual, FourCc("esds"), 0x20, 4},
    {FourCc("mp4a"), EntryKind::kSound, FourCc("esds"), 0x40, 5},
    {FourCc("mp4s"), EntryKind::kOther, FourCc("esds"), 0x02, 3},
    {FourCc("s263"), EntryKind::kVisual, FourCc("d263"), 0, 0},
    {FourCc("samr"), EntryKind::kSound, FourCc("damr"), 0, 0},
    {FourCc("sawb"), EntryKind::kSound, FourCc("damr"), 0, 0},
};

const KnownEntry* FindKnown(u32 code) {
  const auto found = std::find_if(std::begin(kKnownEntries), std::end(kKnownEntries),
                                  [&](const KnownEntry& row) { return row.code == code; });
  return found != std::end(kKnownEntries) ? found : nullptr;
}

// The codes of boxes that are no sample entries: under one of them an entry would be read as that box.
bool IsOtherBox(u32 code) {
  constexpr char kCodes[] =
      "co64cprtcttsd263damrdinfdrefedtselstftyphdlrhinthmhdhntiiodsmdatmdhdmdiaminfmoovmpodmvhdrtp sdp "
      "smhdsnrostbl"
      "stcostscstsdstssstszsttstimstkhdtraktreftsroudtaurl urn uuidvmhd";
  const CBytes codes(reinterpret_cast<const u8*>(kCodes), sizeof(kCodes) - 1);
  for (u64 at = 0; at < codes.Size(); at += 4) {
    if (codes.U32(at) == code) return true;
  }
  return false;
}

EntryKind KindOf(u32 code, u32 handler) {
  if (const KnownEntry* known = FindKnown(code)) return known->kind;
  if (handler == FourCc("vide")) return EntryKind::kVisual;
  return handler == FourCc("soun") ? EntryKind::kSound : EntryKind::kOther;
}

// QuickTime gives sound entries of versions 1 and 2 further fields; ISO/IEC 14496-12 has a version 1 without,
// which only stands in a "stsd" of version 1.
u64 SoundFieldsSize(CBytes payload, bool isVersion0) {
  const u32 version = isVersion0 ? payload.U16(kCommonFields) : 0;
  return kSoundFields + (version == 1 ? 16u : version == 2 ? 36u : 0u);
}

u32 SoundRate(CBytes payload, bool isVersion0) {
  if (!isVersion0 || payload.U16(kCommonFields) != 2) return payload.U16(kCommonFields + 16);
  const double rate = std::bit_cast<double>(payload.U64(kSoundFields + 4));
  return rate >= 1 && rate < 4e9 ? static_cast<u32>(rate) : 0;
}

// The child that an entry needs: among its boxes, inside of QuickTime's "wave", or where the fields of
// another version would end.
bool FindChild(CBytes payload, CBytes boxes, const KnownEntry& known, CBytes* child) {
  CBytes wave;
  if (FindBox(boxes, known.child, child)) return true;
  if (FindBox(boxes, FourCc("wave"), &wave) && FindBox(wave, known.child, child)) return true;
  if (known.kind != EntryKind::kSound) return false;
  for (const u64 more : {0u, 16u, 36u}) {
    if (FindBox(payload.From(kSoundFields + more), known.child, child)) return true;
  }
  return false;
}

void WriteFields(const EntryFacts& entry, CBytes payload, EntryKind kind, CImageWriter* writer) {
  if (kind != EntryKind::kSound) {
    writer->CopyExactly(payload, kind == EntryKind::kVisual ? kVisualFields : kCommonFields);
    return;
  }
  writer->CopyExactly(payload, kCommonFields).Zeros(8);
  writer->U16(entry.channels).U16(payload.U16(kCommonFields + 10)).U32(0);
  writer->U16(entry.sampleRate > 0xFFFF ? 0 : entry.sampleRate).U16(payload.U16(kCommonFields + 18));
}

// 3GPP TS 26.244, 6.7 and 6.8: the fields of a decoder of which nothing is known.
void WriteSpecificBox(u32 code, CBytes child, bool isThere, CImageWriter* writer) {
  if (isThere) {
    writer->Copy(child);
  } else if (code == FourCc("d263")) {
    writer->U32(0).U8(0).U8(10).U8(0);
  } else {
    writer->U32(0).U8(0).U16(0x81FF).U8(0).U8(1);
  }
}

u32 WriteKnownEntry(const KnownEntry& known, const EntryFacts& entry, CBytes payload, CImageWriter* writer) {
  CBytes child;
  const bool hasChild = FindChild(payload, entry.boxes, known, &child);
  bool isSetUp = hasChild;
  writer->Box(known.code, [&] {
    WriteFields(entry, payload, known.kind, writer);
    writer->Box(known.child, [&] {
      if (known.child == FourCc("esds")) {
        isSetUp = WriteEsDescriptor(child, known.objectType, known.streamType, writer);
      } else {
        WriteSpecificBox(known.child, child, hasChild, writer);
      }
    });
  });
  u32 notes = isSetUp ? 0 : u32{ADAPT_NO_DECODER_SET_UP};
  CBoxWalk walk(entry.boxes);
  for (BoxView box; walk.Next(&box);) {
    if (box.code != known.child) notes |= ADAPT_ENTRY_BOXES;
  }
  return notes;
}

// ISO/IEC 14496-12, 9.1.2: the entry of a hint track needs its time scale.
bool WriteHintEntry(CBytes payload, CImageWriter* writer) {
  constexpr u64 kFields = 16;
  constexpr u32 kChildren[] = {FourCc("tims"), FourCc("tsro"), FourCc("snro")};
  CBytes value;
  if (!FindBox(payload.From(kFields), FourCc("tims"), &value)) return false;
  writer->Box(FourCc("rtp "), [&] {
    writer->CopyExactly(payload, kFields);
    for (const u32 code : kChildren) {
      if (!FindBox(payload.From(kFields), code, &value)) continue;
      writer->Box(code, [&] { writer->CopyExactly(value, 4); });
    }
  });
  return true;
}

}  // namespace

CEntryWalk::CEntryWalk(CBytes sampleDescription, u32 handler)
    : m_rest(sampleDescription.From(8)), m_handler(handler), m_isVersion0(sampleDescription.U8(0) == 0) {}

bool CEntryWalk::Next(EntryFacts* entry) {
  BoxView box;
  CBoxWalk walk(m_rest);
  if (!walk.Next(&box)) return false;
  m_rest = m_rest.From(box.whole.Size());
  m_payload = box.payload;
  *entry = {};
  entry->code = box.code;
  switch (KindOf(box.code, m_handler)) {
    case EntryKind::kVisual:
      entry->width = m_payload.U16(kCommonFields + 16);
      entry->height = m_payload.U16(kCommonFields + 18);
      entry->boxes = m_payload.From(kVisualFields);
      break;
    case EntryKind::kSound: {
      const bool isVersion2 = m_isVersion0 && m_payload.U16(kCommonFields) == 2;
      entry->channels = isVersion2 ? m_payload.U32(kSoundFields + 12) : m_payload.U16(kCommonFields + 8);
      entry->sampleRate = SoundRate(m_payload, m_isVersion0);
      entry->boxes = m_payload.From(SoundFieldsSize(m_payload, m_isVersion0));
      break;
    }
    case EntryKind::kOther:
      entry->boxes = m_payload.From(kCommonFields);
      break;
  }
  return true;
}

u32 WriteSampleEntries(CBytes sampleDescription, u32 handler, CImageWriter* writer) {
  u32 notes = 0;
  u32 count = 0;
  CEntryWalk counted(sampleDescription, handler);
  for (EntryFacts entry; counted.Next(&entry);) ++count;
  writer->U32(0).U32(count);
  CEntryWalk walk(sampleDescription, handler);
  bool isFirst = true;
  for (EntryFacts entry; walk.Next(&entry); isFirst = false) {
    const CBytes payload = walk.Payload();
    if (const KnownEntry* known = FindKnown(entry.code)) {
      notes |= WriteKnownEntry(*known, entry, payload, writer);
    } else if (!IsOtherBox(entry.code)) {
      writer->Box(entry.code, [&] { writer->Copy(payload); });
    } else if (!isFirst || entry.code != FourCc("rtp ") || !WriteHintEntry(payload, writer)) {
      writer->Box(FourCc("skip"), [&] { writer->CopyExactly(payload, kCommonFields); });
      notes |= ADAPT_ENTRY_REPLACED;
    }
  }
  return notes;
}

u32 PlainSoundFrameSize(CBytes sampleDescription) {
  constexpr struct {
    u32 code;
    u32 bits;  // of a sample; 0 as the entry says
  } kRows[] = {{FourCc("raw "), 0},  {FourCc("twos"), 0},  {FourCc("sowt"), 0},  {FourCc("NONE"), 0},
               {FourCc("in24"), 24}, {FourCc("in32"), 32}, {FourCc("fl32"), 32}, {FourCc("fl64"), 64},
               {FourCc("ulaw"), 8},  {FourCc("alaw"), 8},  {FourCc("lpcm"), 0}};
  CEntryWalk walk(sampleDescription, FourCc("soun"));
  EntryFacts entry;
  if (!walk.Next(&entry)) return 0;
  for (const auto& row : kRows) {
    if (row.code != entry.code) continue;
    const u32 bits = row.bits != 0 ? row.bits : walk.Payload().U16(kCommonFields + 10);
    return entry.channels <= 0xFFFF ? entry.channels * ((bits + 7) / 8) : 0;
  }
  return 0;
}

}  // namespace kt::adapt
