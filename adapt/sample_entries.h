#pragma once

#include "adapt/image_writer.h"

namespace kt::adapt {

/// What a sample entry says, whatever its code. ISO/IEC 14496-12, 8.5.2 and 12.1 to 12.2.
struct EntryFacts {
  u32 code = 0;
  u32 width = 0;  // of a picture; 0 in entries of other kinds
  u32 height = 0;
  u32 channels = 0;  // of sound; 0 in entries of other kinds
  u32 sampleRate = 0;
  CBytes boxes;  // behind the fields; behind the common part in entries of other kinds
};

/// Goes through the entries in the payload of "stsd"; `handler` tells which fields they have.
class CEntryWalk {
 public:
  CEntryWalk(CBytes sampleDescription, u32 handler);
  bool Next(EntryFacts* entry);
  /// The entry that was handed out last, behind its box header.
  CBytes Payload() const { return m_payload; }

 private:
  CBytes m_rest;
  CBytes m_payload;
  u32 m_handler;
  bool m_isVersion0;
};

/// Writes the payload of "stsd" for the image: an entry of a code that the strict reader knows has its fields
/// in the plain form and the one box that is asked of it; all others stand as they are. Answers notes of
/// AdaptNote.
u32 WriteSampleEntries(CBytes sampleDescription, u32 handler, CImageWriter* writer);

/// The bytes of one frame of sound that is not compressed, in the first entry; 0 for any other. QuickTime
/// says a size of 1 for each frame of it.
u32 PlainSoundFrameSize(CBytes sampleDescription);

}  // namespace kt::adapt
