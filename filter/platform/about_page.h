#pragma once

#include "module/com/property_page.h"

namespace kt {

/// The property page that says what the filter is.
class CMP4FileReaderAboutPage final : public CBasePropertyPage {
 public:
  explicit CMP4FileReaderAboutPage(IUnknown* owner);

  /// For the class table of the module. Throws `std::bad_alloc`.
  static CUnknown* CreateInstance(IUnknown* owner, HRESULT* result);
};

}  // namespace kt
