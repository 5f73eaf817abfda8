#include "module/test_classes.h"

#include <uuids.h>

#include <iterator>
#include <new>

#include "module/class_factory.h"
#include "module/counting_source.h"

namespace kt {
namespace {

CUnknown* MakeCountingSource(IUnknown* owner, HRESULT*) {
  return new test::CCountingSource(owner);
}

CUnknown* MakeRefused(IUnknown* owner, HRESULT* result) {
  *result = E_ACCESSDENIED;
  return new test::CCountingSource(owner);
}

CUnknown* ThrowNoMemory(IUnknown*, HRESULT*) {
  throw std::bad_alloc();
}

CUnknown* ThrowAnything(IUnknown*, HRESULT*) {
  throw 5;
}

WCHAR g_pinName[] = L"Numbers";
const REGPINTYPES kTypes[] = {{&MEDIATYPE_Stream, &test::kFirstSubtype}};
const REGFILTERPINS kPins[] = {
    {g_pinName, FALSE, TRUE, FALSE, FALSE, &GUID_NULL, nullptr, std::size(kTypes), kTypes}};
const AMOVIESETUP_FILTER kSetup = {&test::CLSID_CountingSource, L"Counting Source", 0x200000,
                                   std::size(kPins), kPins};

}  // namespace

const CFactoryTemplate g_Templates[] = {
    {L"Counting Source", &test::CLSID_CountingSource, MakeCountingSource, &kSetup},
    {L"Refused", &test::CLSID_Refused, MakeRefused, nullptr},
    {L"No Memory", &test::CLSID_NoMemory, ThrowNoMemory, nullptr},
    {L"Throwing", &test::CLSID_Throwing, ThrowAnything, nullptr},
};
const int g_cTemplates = static_cast<int>(std::size(g_Templates));

}  // namespace kt
