#include "filter/platform/marshall_object.h"

#include <algorithm>
#include <cstring>

#include <ktmp4/ktmp4source.h>

namespace kt {
namespace {

// What is mapped from `view` on, in whole pages, but no more than a mapping is to have: another program may
// have made it larger or smaller, or left it without memory.
SIZE_T UsableSize(const void* view) {
  MEMORY_BASIC_INFORMATION region = {};
  if (VirtualQuery(view, &region, sizeof region) == 0 || region.State != MEM_COMMIT) return 0;
  return std::min<SIZE_T>(region.RegionSize, KTMP4_CALLBACK_MAPPING_SIZE);
}

}  // namespace

CMarshallObject::CMarshallObject(const char* name, bool create, bool* ok) {
  *ok = false;
  if (name == nullptr) name = kDefaultName;
  m_mapping = create ? CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0,
                                          KTMP4_CALLBACK_MAPPING_SIZE, name)
                     : OpenFileMappingA(FILE_MAP_ALL_ACCESS, FALSE, name);
  if (m_mapping == nullptr) return;
  m_view = static_cast<char*>(MapViewOfFile(m_mapping, FILE_MAP_ALL_ACCESS, 0, 0, 0));
  if (m_view == nullptr) {
    CloseHandle(m_mapping);
    m_mapping = nullptr;
    return;
  }
  m_size = UsableSize(m_view);
  *ok = true;
}

CMarshallObject::~CMarshallObject() {
  if (m_view != nullptr) UnmapViewOfFile(m_view);
  if (m_mapping != nullptr) CloseHandle(m_mapping);
}

HRESULT CMarshallObject::QueryInterface(REFIID iid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  if (iid != IID_IUnknown && iid != IID_ISequentialStream && iid != IID_IStream) return E_NOINTERFACE;
  AddRef();
  *object = static_cast<IStream*>(this);
  return S_OK;
}

ULONG CMarshallObject::AddRef() {
  return ++m_references;
}

ULONG CMarshallObject::Release() {
  return --m_references;
}

char* CMarshallObject::Take(ULONG size, ULONG* done) {
  const bool there = m_view != nullptr && size <= m_size - m_position;
  if (done != nullptr) *done = there ? size : 0;
  if (!there) return nullptr;
  char* const bytes = m_view + m_position;
  m_position += size;
  return bytes;
}

HRESULT CMarshallObject::Read(void* buffer, ULONG size, ULONG* read) {
  const char* const bytes = Take(size, read);
  if (bytes == nullptr) return S_FALSE;
  if (size > 0) std::memcpy(buffer, bytes, size);
  return S_OK;
}

HRESULT CMarshallObject::Write(const void* buffer, ULONG size, ULONG* written) {
  char* const bytes = Take(size, written);
  if (bytes == nullptr) return S_FALSE;
  if (size > 0) std::memcpy(bytes, buffer, size);
  return S_OK;
}

HRESULT CMarshallObject::Seek(LARGE_INTEGER, DWORD, ULARGE_INTEGER*) {
  return STG_E_INVALIDFUNCTION;
}

HRESULT CMarshallObject::SetSize(ULARGE_INTEGER) {
  return E_FAIL;
}

HRESULT CMarshallObject::CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*) {
  return E_FAIL;
}

HRESULT CMarshallObject::Commit(DWORD) {
  return E_FAIL;
}

HRESULT CMarshallObject::Revert() {
  return E_FAIL;
}

HRESULT CMarshallObject::LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) {
  return E_FAIL;
}

HRESULT CMarshallObject::UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) {
  return E_FAIL;
}

HRESULT CMarshallObject::Stat(STATSTG*, DWORD) {
  return E_FAIL;
}

HRESULT CMarshallObject::Clone(IStream**) {
  return E_FAIL;
}

}  // namespace kt
