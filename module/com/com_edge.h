#pragma once

#include <windows.h>

namespace kt {

/// A failure of the platform on its way up through our own code: thrown anywhere below a COM method, turned
/// back into its HRESULT at the method's edge.
struct CResultException {
  HRESULT m_result;
};

/// Throws `CResultException` for a failure; a success passes.
void ThrowIfFailed(HRESULT result);

/// The HRESULT of the exception that is being handled: E_OUTOFMEMORY for `std::bad_alloc`, its own for a
/// `CResultException` (E_FAIL should it carry a success), E_FAIL for any other `std::exception`, E_UNEXPECTED
/// for anything else. To be called inside a catch block.
HRESULT ResultOfException() noexcept;

/// Runs `call`, which answers an HRESULT, and lets no exception out of it. Every method that the platform
/// calls and that can throw has its body in here: hosts are built with other compilers and die of foreign
/// exceptions.
template <class Call>
HRESULT AtEdge(Call&& call) noexcept {
  try {
    return call();
  } catch (...) {
    return ResultOfException();
  }
}

}  // namespace kt
