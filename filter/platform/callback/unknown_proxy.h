/* What the platform's libraries have and generated code uses, but the headers of MinGW declare for C++ alone. */
#include <objbase.h>

HRESULT STDMETHODCALLTYPE IUnknown_QueryInterface_Proxy(IUnknown* object, REFIID iid, void** face);
ULONG STDMETHODCALLTYPE IUnknown_AddRef_Proxy(IUnknown* object);
ULONG STDMETHODCALLTYPE IUnknown_Release_Proxy(IUnknown* object);
