#pragma once

#include <ktmp4/mp4_file.h>
#include "engine/track/track_host.h"

namespace kt {

/// What a hint track sees of its file: the file as applications have it, which makes and closes tracks, and
/// the host that tells when it goes.
class CHintTrackHost : public CMp4File, public CTrackHost {};

}  // namespace kt
