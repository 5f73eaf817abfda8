/* In the platform's libraries, used by generated code, but declared by the headers of MinGW for C++ alone. */
#include <objbase.h>

HRESULT STDMETHODCALLTYPE IUnknown_QueryInterface_Proxy(IUnknown* object, REFIID iid, void** face);
ULONG STDMETHODCALLTYPE IUnknown_AddRef_Proxy(IUnknown* object);
ULONG STDMETHODCALLTYPE IUnknown_Release_Proxy(IUnknown* object);
