// The classes of the module, and what the filter mapper is told of the filter.

#include <iterator>

#include "filter/platform/about_page.h"
#include "filter/platform/file_reader_filter.h"
#include "filter/platform/private_types.h"
#include "filter/platform/track_page_dialog.h"
#include "module/com/class_factory.h"

namespace kt {
namespace {

WCHAR g_pinName[] = L"MP4 Output";

// The mapper has only ever been told of the first two, and connects by them.
constexpr UINT kToldTypes = 2;

const REGFILTERPINS kPins[] = {{g_pinName, FALSE /*rendered*/, TRUE /*output*/, TRUE /*may be missing*/,
                                TRUE /*may be many*/, &::GUID_NULL, nullptr, kToldTypes, kPrivateTypes}};

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
