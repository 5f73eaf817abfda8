// Of a module that has nothing to register but its classes, as `g_Templates` tells of them.

#include "module/com/registration.h"

extern "C" {

HRESULT WINAPI DllRegisterServer() {
  return kt::AMovieDllRegisterServer2(TRUE);
}

HRESULT WINAPI DllUnregisterServer() {
  return kt::AMovieDllRegisterServer2(FALSE);
}

}  // extern "C"
