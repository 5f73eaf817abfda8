#pragma once

#include <vector>

#include "tools/captions/scc_file.h"
#include "tools/captions/srt_file.h"
#include "tools/terminal/notes.h"

namespace kt {

/// Makes pop-on captions of subtitles (CEA-608): each is sent ahead of its time, two characters to a frame,
/// then shown at once, and erased at its end. Rows of more than 32 characters are broken between words, or
/// where there are none, and at most four rows stand at the bottom of the screen. `note` is told of what does
/// not fit, comes late for want of time to send it, or has characters that captions do not have.
///
/// The cues are such as `LayOut` takes; the line of each is that of its subtitle.
SccFile PopOnCaptions(const std::vector<Subtitle>& subtitles, FrameCount count, const Notes& note);

}  // namespace kt
