#pragma once

#include <vector>

#include "filter/formats/media_type.h"

namespace kt {

/// The types, in the order of preference, under which installed decoders take what a pin delivers under one
/// of the eight private subtypes: by subtype and format block of `input`. None for any other type, for a
/// format block that is cut short, and for sound of a kind that no decoder knows.
std::vector<MediaType> StandardTypes(const MediaType& input);

}  // namespace kt
