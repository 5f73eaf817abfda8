#pragma once

#include <objidl.h>

#include <atomic>

namespace kt {

/// A stream over a named file mapping, as wide as COM needs it to write a marshalled interface there and to
/// read it back: it goes forward from the mapping's begin and can do nothing else. For one thread.
///
/// Its creator owns it: counting down to 0 does not delete it.
class CMarshallObject final : public IStream {
 public:
  /// The name of the mapping where none is given.
  static constexpr const char* kDefaultName = "KT-DEFAULT-MEMMAP";

  /// Makes (`create`) or opens the mapping `name` of KTMP4_CALLBACK_MAPPING_SIZE bytes. `*ok` tells whether
  /// that worked; otherwise nothing can be read or written.
  CMarshallObject(const char* name, bool create, bool* ok);
  CMarshallObject(const CMarshallObject&) = delete;
  CMarshallObject& operator=(const CMarshallObject&) = delete;
  virtual ~CMarshallObject();

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
  ULONG STDMETHODCALLTYPE AddRef() override;
  ULONG STDMETHODCALLTYPE Release() override;

  /// Whole or not at all: S_FALSE without a mapping and for what lies beyond it.
  HRESULT STDMETHODCALLTYPE Read(void* buffer, ULONG size, ULONG* read) override;
  HRESULT STDMETHODCALLTYPE Write(const void* buffer, ULONG size, ULONG* written) override;

  /// STG_E_INVALIDFUNCTION. What follows answers E_FAIL.
  HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) override;
  HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER size) override;
  HRESULT STDMETHODCALLTYPE CopyTo(IStream* target, ULARGE_INTEGER size, ULARGE_INTEGER* read,
                                   ULARGE_INTEGER* written) override;
  HRESULT STDMETHODCALLTYPE Commit(DWORD flags) override;
  HRESULT STDMETHODCALLTYPE Revert() override;
  HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER begin, ULARGE_INTEGER size, DWORD type) override;
  HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER begin, ULARGE_INTEGER size, DWORD type) override;
  HRESULT STDMETHODCALLTYPE Stat(STATSTG* facts, DWORD flags) override;
  HRESULT STDMETHODCALLTYPE Clone(IStream** clone) override;

 private:
  /// The next `size` bytes, behind which the position then stands; null when they are not there.
  char* Take(ULONG size, ULONG* done);

  std::atomic<ULONG> m_references{0};
  HANDLE m_mapping = nullptr;
  char* m_view = nullptr;
  SIZE_T m_size = 0;
  SIZE_T m_position = 0;
};

}  // namespace kt
