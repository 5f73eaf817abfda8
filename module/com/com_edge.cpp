#include "module/com/com_edge.h"

#include <exception>
#include <new>

namespace kt {

void ThrowIfFailed(HRESULT result) {
  if (FAILED(result)) throw CResultException{result};
}

HRESULT ResultOfException() noexcept {
  try {
    throw;
  } catch (const CResultException& failure) {
    return FAILED(failure.m_result) ? failure.m_result : E_FAIL;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  } catch (const std::exception&) {
    return E_FAIL;
  } catch (...) {
    return E_UNEXPECTED;
  }
}

}  // namespace kt
