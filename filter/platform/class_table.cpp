// The classes of the module, and what the filter mapper is told of the filter.

#include <strmif.h>
#include <uuids.h>

#include <iterator>

#include "filter/platform/about_page.h"
#include "filter/platform/file_reader_filter.h"
#include "filter/platform/platform_guid.h"
#include "filter/platform/track_page_dialog.h"
#include "module/com/class_factory.h"

namespace kt {
namespace {

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

WCHAR g_pinName[] = L"MP4 Output";

const REGPINTYPES kTypes[] = {
    {&::MEDIATYPE_Video, &::MEDIASUBTYPE_KtMp4Video},
    {&::MEDIATYPE_Audio, &::MEDIASUBTYPE_KtMp4Audio},
    {&::MEDIATYPE_Video, &::MEDIASUBTYPE_KtH263},
    {&::MEDIATYPE_Audio, &::MEDIASUBTYPE_KtAmr},
    {&::MEDIATYPE_Video, &::MEDIASUBTYPE_KtMp4VideoStamped},
    {&::MEDIATYPE_Audio, &::MEDIASUBTYPE_KtMp4AudioStamped},
    {&::MEDIATYPE_Video, &::MEDIASUBTYPE_KtH263Stamped},
    {&::MEDIATYPE_Audio, &::MEDIASUBTYPE_KtAmrStamped},
};
// The mapper has only ever been told of the first two, and connects by them.
constexpr UINT kToldTypes = 2;

const REGFILTERPINS kPins[] = {{g_pinName, FALSE /*rendered*/, TRUE /*output*/, TRUE /*may be missing*/,
                                TRUE /*may be many*/, &::GUID_NULL, nullptr, kToldTypes, kTypes}};

const WCHAR kFilterName[] = L"Ketral MPEG-4 File Reader";

const AMOVIESETUP_FILTER kSetup = {&::CLSID_KtMp4FileReader, kFilterName, MERIT_DO_NOT_USE,
                                   static_cast<ULONG>(std::size(kPins)), kPins};

}  // namespace

const CFactoryTemplate g_Templates[] = {
    {kFilterName, &::CLSID_KtMp4FileReader, CMP4FileReaderFilter::CreateInstance, &kSetup},
    {L"Ketral MPEG-4 File Reader About Page", &::CLSID_KtMp4FileReaderAboutPage,
     CMP4FileReaderAboutPage::CreateInstance, nullptr},
    {L"Ketral MPEG-4 File Reader Property Page", &::CLSID_KtMp4FileReaderPropertyPage,
     CMP4FileReaderPropertyPage::CreateInstance, nullptr},
};
const int g_cTemplates = static_cast<int>(std::size(g_Templates));

}  // namespace kt
