#pragma once

#include <strmif.h>

namespace kt {

/// Makes `target`, whose content is not looked at, a deep copy: the format block is copied into memory from
/// `CoTaskMemAlloc`, the object in `pUnk` counted. E_OUTOFMEMORY leaves a copy without a format.
HRESULT CopyMediaType(AM_MEDIA_TYPE* target, const AM_MEDIA_TYPE& source);
/// Frees what a media type holds, and leaves it without a format.
void FreeMediaType(AM_MEDIA_TYPE& type);
/// A deep copy in memory from `CoTaskMemAlloc`, as enumerators hand out; null without memory.
AM_MEDIA_TYPE* CreateMediaType(const AM_MEDIA_TYPE& source);
/// Frees what `CreateMediaType` or an enumerator made; null is allowed.
void DeleteMediaType(AM_MEDIA_TYPE* type);

/// A media type that owns its format block. Copying throws `std::bad_alloc` without memory; the target then
/// has no format.
class CMediaType : public AM_MEDIA_TYPE {
 public:
  /// No types, no format, samples of one byte.
  CMediaType();
  explicit CMediaType(const AM_MEDIA_TYPE& source);
  CMediaType(const CMediaType& source);
  CMediaType& operator=(const CMediaType& source);
  ~CMediaType();

  /// A deep copy without exceptions; E_OUTOFMEMORY leaves this type without a format. A type may be copied
  /// onto itself.
  HRESULT Set(const AM_MEDIA_TYPE& source);

  /// Replaces the format block. E_OUTOFMEMORY leaves none.
  HRESULT SetFormat(const void* format, ULONG size);
  void Swap(CMediaType& other) noexcept;

  /// The three identifiers and the bytes of the format are the same.
  bool operator==(const AM_MEDIA_TYPE& other) const;
  /// The major type or the format type is left open.
  bool IsPartiallySpecified() const;
  /// Agrees with `partial` in all that it names: GUID_NULL in it stands for anything.
  bool MatchesPartial(const AM_MEDIA_TYPE& partial) const;
};

}  // namespace kt
