#pragma once

#include "filter/formats/media_type.h"
#include "filter/platform/platform_guid.h"
#include "module/graph/media_type.h"

namespace kt {

/// Stores a media type as the platform has it. E_OUTOFMEMORY leaves it without a format block.
inline HRESULT StoreMediaType(const MediaType& type, CMediaType* stored) {
  stored->majortype = ToPlatform(type.majorType);
  stored->subtype = ToPlatform(type.subtype);
  stored->formattype = ToPlatform(type.formatType);
  stored->bFixedSizeSamples = type.fixedSizeSamples;
  stored->bTemporalCompression = type.temporalCompression;
  stored->lSampleSize = type.sampleSize;
  return stored->SetFormat(type.format.data(), static_cast<ULONG>(type.format.size()));
}

/// The same as plain values.
inline MediaType PlainMediaType(const CMediaType& type) {
  return {FromPlatform(type.majortype),
          FromPlatform(type.subtype),
          FromPlatform(type.formattype),
          type.bFixedSizeSamples != FALSE,
          type.bTemporalCompression != FALSE,
          type.lSampleSize,
          {type.pbFormat, type.pbFormat + type.cbFormat}};
}

}  // namespace kt
