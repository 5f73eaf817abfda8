#include "module/graph/media_type.h"

#include <objbase.h>

#include <cstring>
#include <new>
#include <utility>

#include "module/com/com_edge.h"

namespace kt {
namespace {

bool SameFormat(const AM_MEDIA_TYPE& one, const AM_MEDIA_TYPE& other) {
  if (one.formattype != other.formattype || one.cbFormat != other.cbFormat) return false;
  return one.cbFormat == 0 || std::memcmp(one.pbFormat, other.pbFormat, one.cbFormat) == 0;
}

}  // namespace

HRESULT CopyMediaType(AM_MEDIA_TYPE* target, const AM_MEDIA_TYPE& source) {
  *target = source;
  target->cbFormat = 0;
  target->pbFormat = nullptr;
  if (target->pUnk != nullptr) target->pUnk->AddRef();
  if (source.cbFormat == 0 || source.pbFormat == nullptr) return S_OK;
  target->pbFormat = static_cast<BYTE*>(CoTaskMemAlloc(source.cbFormat));
  if (target->pbFormat == nullptr) return E_OUTOFMEMORY;
  target->cbFormat = source.cbFormat;
  std::memcpy(target->pbFormat, source.pbFormat, source.cbFormat);
  return S_OK;
}

void FreeMediaType(AM_MEDIA_TYPE& type) {
  CoTaskMemFree(type.pbFormat);
  type.cbFormat = 0;
  type.pbFormat = nullptr;
  if (IUnknown* object = std::exchange(type.pUnk, nullptr)) object->Release();
}

AM_MEDIA_TYPE* CreateMediaType(const AM_MEDIA_TYPE& source) {
  AM_MEDIA_TYPE* type = static_cast<AM_MEDIA_TYPE*>(CoTaskMemAlloc(sizeof(AM_MEDIA_TYPE)));
  if (type == nullptr) return nullptr;
  if (SUCCEEDED(CopyMediaType(type, source))) return type;
  DeleteMediaType(type);
  return nullptr;
}

void DeleteMediaType(AM_MEDIA_TYPE* type) {
  if (type == nullptr) return;
  FreeMediaType(*type);
  CoTaskMemFree(type);
}

CMediaType::CMediaType() : AM_MEDIA_TYPE{} {
  bFixedSizeSamples = TRUE;
  lSampleSize = 1;
}

CMediaType::CMediaType(const AM_MEDIA_TYPE& source) : AM_MEDIA_TYPE{} {
  const HRESULT copied = CopyMediaType(this, source);
  if (SUCCEEDED(copied)) return;
  // No destructor comes after a constructor that throws.
  FreeMediaType(*this);
  throw std::bad_alloc();
}

CMediaType::CMediaType(const CMediaType& source) : CMediaType(static_cast<const AM_MEDIA_TYPE&>(source)) {}

CMediaType& CMediaType::operator=(const CMediaType& source) {
  ThrowIfFailed(Set(source));
  return *this;
}

CMediaType::~CMediaType() {
  FreeMediaType(*this);
}

HRESULT CMediaType::Set(const AM_MEDIA_TYPE& source) {
  if (&source == this) return S_OK;
  // The copy first: `source` may live in what this type holds.
  AM_MEDIA_TYPE copy;
  const HRESULT copied = CopyMediaType(&copy, source);
  FreeMediaType(*this);
  static_cast<AM_MEDIA_TYPE&>(*this) = copy;
  return copied;
}

HRESULT CMediaType::SetFormat(const void* format, ULONG size) {
  BYTE* block = size == 0 ? nullptr : static_cast<BYTE*>(CoTaskMemAlloc(size));
  if (block != nullptr) std::memcpy(block, format, size);
  CoTaskMemFree(pbFormat);
  pbFormat = block;
  cbFormat = block != nullptr ? size : 0;
  return block != nullptr || size == 0 ? S_OK : E_OUTOFMEMORY;
}

void CMediaType::Swap(CMediaType& other) noexcept {
  std::swap(static_cast<AM_MEDIA_TYPE&>(*this), static_cast<AM_MEDIA_TYPE&>(other));
}

bool CMediaType::operator==(const AM_MEDIA_TYPE& other) const {
  return majortype == other.majortype && subtype == other.subtype && SameFormat(*this, other);
}

bool CMediaType::IsPartiallySpecified() const {
  return majortype == GUID_NULL || formattype == GUID_NULL;
}

bool CMediaType::MatchesPartial(const AM_MEDIA_TYPE& partial) const {
  if (partial.majortype != GUID_NULL && partial.majortype != majortype) return false;
  if (partial.subtype != GUID_NULL && partial.subtype != subtype) return false;
  return partial.formattype == GUID_NULL || SameFormat(*this, partial);
}

}  // namespace kt
