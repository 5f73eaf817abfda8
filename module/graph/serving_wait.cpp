#include "module/graph/serving_wait.h"

#include <objbase.h>

namespace kt {
namespace {

bool IsSingleThreadedApartment() {
  APTTYPE type = APTTYPE_CURRENT;
  APTTYPEQUALIFIER qualifier = APTTYPEQUALIFIER_NONE;
  if (FAILED(CoGetApartmentType(&type, &qualifier))) return false;
  return type == APTTYPE_STA || type == APTTYPE_MAINSTA ||
         (type == APTTYPE_NA &&
          (qualifier == APTTYPEQUALIFIER_NA_ON_STA || qualifier == APTTYPEQUALIFIER_NA_ON_MAINSTA));
}

// A mutex whose owner died counts as taken.
DWORD IndexOf(DWORD answer, DWORD count) {
  return answer >= WAIT_ABANDONED_0 && answer < WAIT_ABANDONED_0 + count ? answer - WAIT_ABANDONED_0 : answer;
}

}  // namespace

DWORD WaitServingCalls(std::span<const HANDLE> handles) {
  const DWORD count = static_cast<DWORD>(handles.size());
  const DWORD atOnce = WaitForMultipleObjects(count, handles.data(), FALSE, 0);
  if (atOnce != WAIT_TIMEOUT) return IndexOf(atOnce, count);
  if (IsSingleThreadedApartment()) {
    DWORD index = 0;
    HANDLE own[MAXIMUM_WAIT_OBJECTS];
    for (DWORD i = 0; i < count; ++i) own[i] = handles[i];
    if (CoWaitForMultipleHandles(0, INFINITE, count, own, &index) == S_OK) return IndexOf(index, count);
  }
  return IndexOf(WaitForMultipleObjects(count, handles.data(), FALSE, INFINITE), count);
}

}  // namespace kt
