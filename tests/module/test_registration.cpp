#include "module/registration.h"

extern "C" {

HRESULT WINAPI DllRegisterServer() {
  return kt::AMovieDllRegisterServer2(TRUE);
}

HRESULT WINAPI DllUnregisterServer() {
  return kt::AMovieDllRegisterServer2(FALSE);
}

}  // extern "C"
