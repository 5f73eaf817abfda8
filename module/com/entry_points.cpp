// The functions by which COM knows a module. The two that register it are each module's own.

#include <objbase.h>

#include "module/com/class_factory.h"
#include "module/com/module_state.h"

extern "C" {

BOOL WINAPI DllMain(HINSTANCE, DWORD, LPVOID) {
  // Nothing to set up: there is no state but counters.
  return TRUE;
}

HRESULT WINAPI DllCanUnloadNow() {
  return kt::IsModuleHeld() ? S_FALSE : S_OK;
}

HRESULT WINAPI DllGetClassObject(REFCLSID clsid, REFIID iid, LPVOID* object) {
  return kt::GetClassFactory(clsid, iid, object);
}

}  // extern "C"
