#pragma once

#include <string>

#include "filter/formats/media_type.h"

namespace kt {

/// A media type for a person: "vids / KtMp4Video / KtMp4Video, format block of 133 bytes".
std::string MediaTypeText(const MediaType& type);

}  // namespace kt
