// The class of the module, and what the filter mapper is told of the filter.

#include <iterator>

#include "filter/decoder/decoder_filter.h"
#include "filter/platform/private_types.h"
#include "module/com/class_factory.h"

namespace kt {
namespace {

WCHAR g_inputName[] = L"Input";
WCHAR g_outputName[] = L"Output";

// What comes out goes by what comes in.
const REGPINTYPES kOutputTypes[] = {{&::MEDIATYPE_Video, &::GUID_NULL}, {&::MEDIATYPE_Audio, &::GUID_NULL}};

const REGFILTERPINS kPins[] = {
    {g_inputName, FALSE /*rendered*/, FALSE /*output*/, FALSE /*may be missing*/, FALSE /*may be many*/,
     &::GUID_NULL, nullptr, static_cast<UINT>(std::size(kPrivateTypes)), kPrivateTypes},
    {g_outputName, FALSE, TRUE, FALSE, FALSE, &::GUID_NULL, nullptr,
     static_cast<UINT>(std::size(kOutputTypes)), kOutputTypes}};

const WCHAR kFilterName[] = L"Ketral MPEG-4 Decoder";

// Graph managers go by the types of the input: no other filter's output has them.
const AMOVIESETUP_FILTER kSetup = {&::CLSID_KtMp4Decoder, kFilterName, MERIT_NORMAL,
                                   static_cast<ULONG>(std::size(kPins)), kPins};

}  // namespace

const CFactoryTemplate g_Templates[] = {
    {kFilterName, &::CLSID_KtMp4Decoder, CMp4DecoderFilter::CreateInstance, &kSetup}};
const int g_cTemplates = static_cast<int>(std::size(g_Templates));

}  // namespace kt
