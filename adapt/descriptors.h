#pragma once

#include "adapt/image_writer.h"

namespace kt::adapt {

/// Writes the payload of "esds" with what the strict reader asks of it and no more: the ES descriptor with
/// the decoder's configuration, its set-up data where there is any, and the SL settings of files. `esds` is
/// the payload of the file's box; what it lacks has the value for `objectType` and `streamType`. False when
/// it had no decoder configuration. ISO/IEC 14496-1, 7.2.6.
bool WriteEsDescriptor(CBytes esds, u8 objectType, u8 streamType, CImageWriter* writer);

/// The payload of "iods" with its profiles, or its number, and the tracks that it names. False, with nothing
/// written, for one that is not in the form of files: systems descriptors are of no use here.
/// ISO/IEC 14496-1, 7.2.6.4.
bool WriteObjectDescriptor(CBytes iods, CImageWriter* writer);

}  // namespace kt::adapt
