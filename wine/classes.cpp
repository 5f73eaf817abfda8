// The class of the module, and what the filter mapper is told of the filter.

#include <strmif.h>

#include <uuids.h>

#include <vector>

#include "module/com/class_factory.h"
#include "wine/class_id.h"
#include "wine/decoding_filter.h"

namespace kt {
namespace {

std::vector<REGPINTYPES> TakenPinTypes() {
  std::vector<REGPINTYPES> types;
  for (const DecodedType& type : DecodedTypes()) types.push_back({&type.majorType, &type.subtype});
  return types;
}

WCHAR g_inputName[] = L"Input";
WCHAR g_outputName[] = L"Output";
const std::vector<REGPINTYPES> kInputTypes = TakenPinTypes();
const REGPINTYPES kOutputTypes[] = {{&::MEDIATYPE_Video, &::GUID_NULL}, {&::MEDIATYPE_Audio, &::GUID_NULL}};
const REGFILTERPINS kPins[] = {
    {g_inputName, FALSE /*rendered*/, FALSE /*output*/, FALSE /*may be missing*/, FALSE /*may be many*/,
     &::GUID_NULL, nullptr, static_cast<UINT>(kInputTypes.size()), kInputTypes.data()},
    {g_outputName, FALSE, TRUE, FALSE, FALSE, &::GUID_NULL, nullptr, 2, kOutputTypes}};
const WCHAR kFilterName[] = L"Decoder beside Wine";
const AMOVIESETUP_FILTER kSetup = {&CLSID_WineDecoder, kFilterName, MERIT_NORMAL, 2, kPins};

}  // namespace

const CFactoryTemplate g_Templates[] = {
    {kFilterName, &CLSID_WineDecoder, CDecodingFilter::CreateInstance, &kSetup}};
const int g_cTemplates = 1;

}  // namespace kt
