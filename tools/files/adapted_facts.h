#pragma once

#include <string>
#include <vector>

#include <ktmp4/adapting_file.h>
#include "tools/terminal/shown_text.h"

namespace kt {

// What adapting told of a file, for people. Of a file that was read as it stands there is nothing.

/// All tracks of the file, those included that were left out.
std::vector<AdaptedTrack> AdaptedTracks(CMp4File& file);
/// The sample entries of a track, by its index. What they point to is good until the file is closed.
std::vector<AdaptedEntry> AdaptedEntries(CMp4File& file, u32 index);

/// One clause for each of these notes of a track, as `AdaptNoteText` gives them.
std::vector<std::string> NoteTexts(const AdaptedTrack& track, u32 wanted = ~u32{0});
/// The notes that speak of what sets a decoder up, and not of samples and times.
inline constexpr u32 kNotesOfEntries = ADAPT_ENTRY_BOXES | ADAPT_NO_DECODER_SET_UP | ADAPT_ENTRY_REPLACED;

/// What a well-known sample entry code stands for; empty for any other.
std::string CodingName(const std::string& code);

}  // namespace kt
