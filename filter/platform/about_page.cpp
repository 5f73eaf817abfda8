#include "filter/platform/about_page.h"

#include "filter/platform/page_resources.h"

namespace kt {

CMP4FileReaderAboutPage::CMP4FileReaderAboutPage(IUnknown* owner)
    : CBasePropertyPage(owner, DIALOG_ABOUT, TITLE_ABOUT) {}

CUnknown* CMP4FileReaderAboutPage::CreateInstance(IUnknown* owner, HRESULT*) {
  return new CMP4FileReaderAboutPage(owner);
}

}  // namespace kt
