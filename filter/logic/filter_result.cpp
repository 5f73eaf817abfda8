#include "filter/logic/filter_result.h"

namespace kt {

const char* FilterResultName(FilterResult result) {
  switch (result) {
    case FilterResult::Ok:
      return "S_OK";
    case FilterResult::False:
      return "S_FALSE";
    case FilterResult::NoMoreItems:
      return "VFW_S_NO_MORE_ITEMS";
    case FilterResult::NotImplemented:
      return "E_NOTIMPL";
    case FilterResult::Pointer:
      return "E_POINTER";
    case FilterResult::Fail:
      return "E_FAIL";
    case FilterResult::OutOfMemory:
      return "E_OUTOFMEMORY";
    case FilterResult::InvalidArgument:
      return "E_INVALIDARG";
    case FilterResult::WrongState:
      return "VFW_E_WRONG_STATE";
  }
  return "unknown result";
}

}  // namespace kt
