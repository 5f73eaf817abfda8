#pragma once

#include <strmif.h>

#include "module/com/unknown.h"

namespace kt {

/// What the filter mapper is told of a filter.
struct AMOVIESETUP_FILTER {
  const CLSID* clsID;
  const WCHAR* strName;
  DWORD dwMerit;
  ULONG nPins;
  const REGFILTERPINS* lpPin;
};

/// A class that the module can make.
struct CFactoryTemplate {
  /// Its name in the registry.
  const WCHAR* m_Name;
  const CLSID* m_ClsID;
  /// Makes the object, with a count of 0. A failure is left in `result`; the object, if any, is then deleted.
  CUnknown* (*m_lpfnNew)(IUnknown* owner, HRESULT* result);
  /// For filters; null for other classes.
  const AMOVIESETUP_FILTER* m_pAMovieSetup_Filter;
};

/// The classes of the module: each module defines its own table.
extern const CFactoryTemplate g_Templates[];
extern const int g_cTemplates;

/// Makes the factory for a class of the table. CLASS_E_CLASSNOTAVAILABLE for any other, E_NOINTERFACE,
/// E_POINTER, E_OUTOFMEMORY.
HRESULT GetClassFactory(REFCLSID clsid, REFIID iid, void** object);

}  // namespace kt
