#pragma once

#include <memory>
#include <vector>

#include "filter/platform/stand_in.h"
#include "wine/library_decoder.h"

namespace kt::test {

/// What has gone through a stand-in decoder.
struct DecodedStream {
  DecoderSetUp setUp;
  std::vector<Decoded> decoded;
};

/// A decoder filter for pictures or sound that knows none but standard types, of each coding those taken. Its
/// output is what the platform's renderers take; what is due before the begin is not shown.
StandInScript DecodingStandIn(const GUID& majorType, TakenTypes taken, std::shared_ptr<DecodedStream> stream);

}  // namespace kt::test
