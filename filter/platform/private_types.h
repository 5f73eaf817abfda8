#pragma once

#include <strmif.h>
#include <uuids.h>

#include <ktmp4/ktmp4source.h>
#include "filter/platform/platform_guid.h"

namespace kt {

// Those of the public header and those that the logic delivers under must not drift apart.
static_assert(FromPlatform(::MEDIASUBTYPE_KtMp4Video) == MEDIASUBTYPE_KtMp4Video &&
              FromPlatform(::MEDIASUBTYPE_KtMp4VideoStamped) == MEDIASUBTYPE_KtMp4VideoStamped &&
              FromPlatform(::MEDIASUBTYPE_KtMp4Audio) == MEDIASUBTYPE_KtMp4Audio &&
              FromPlatform(::MEDIASUBTYPE_KtMp4AudioStamped) == MEDIASUBTYPE_KtMp4AudioStamped &&
              FromPlatform(::MEDIASUBTYPE_KtH263) == MEDIASUBTYPE_KtH263 &&
              FromPlatform(::MEDIASUBTYPE_KtH263Stamped) == MEDIASUBTYPE_KtH263Stamped &&
              FromPlatform(::MEDIASUBTYPE_KtAmr) == MEDIASUBTYPE_KtAmr &&
              FromPlatform(::MEDIASUBTYPE_KtAmrStamped) == MEDIASUBTYPE_KtAmrStamped &&
              FromPlatform(::FORMAT_KtMp4Video) == FORMAT_KtMp4Video);

/// The types between our source and our decoder, as the filter mapper is told them.
constexpr REGPINTYPES kPrivateTypes[] = {
    {&::MEDIATYPE_Video, &::MEDIASUBTYPE_KtMp4Video},
    {&::MEDIATYPE_Audio, &::MEDIASUBTYPE_KtMp4Audio},
    {&::MEDIATYPE_Video, &::MEDIASUBTYPE_KtH263},
    {&::MEDIATYPE_Audio, &::MEDIASUBTYPE_KtAmr},
    {&::MEDIATYPE_Video, &::MEDIASUBTYPE_KtMp4VideoStamped},
    {&::MEDIATYPE_Audio, &::MEDIASUBTYPE_KtMp4AudioStamped},
    {&::MEDIATYPE_Video, &::MEDIASUBTYPE_KtH263Stamped},
    {&::MEDIATYPE_Audio, &::MEDIASUBTYPE_KtAmrStamped},
};

}  // namespace kt
