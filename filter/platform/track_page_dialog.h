#pragma once

#include <ktmp4/ktmp4source.h>
#include "filter/logic/track_page.h"
#include "module/com/property_page.h"

namespace kt {

/// The facts of a file as the filter's interface tells them, for whoever is handed one.
class CReaderFacts final : public FileFacts {
 public:
  /// Takes the interface of `object`: E_NOINTERFACE when it has none.
  HRESULT Connect(IUnknown* object);
  /// E_UNEXPECTED when nothing is connected.
  HRESULT Disconnect();

  // Each fails with Pointer when nothing is connected.
  FilterResult GetTrackCount(u32* count) const override;
  FilterResult GetMovieTimeScale(u32* timeScale) const override;
  FilterResult GetTrackId(i32 index, u32* id) const override;
  FilterResult GetTrackType(i32 index, u32* type) const override;
  FilterResult GetSampleCount(i32 index, u32* count) const override;
  FilterResult GetTimeScale(i32 index, u32* timeScale) const override;
  FilterResult GetDuration(i32 index, u64* duration) const override;

 private:
  template <class... Expected, class... Arguments>
  FilterResult Ask(HRESULT (STDMETHODCALLTYPE IMP4FileReader::*get)(Expected...),
                   Arguments... arguments) const;

  ComPointer<IMP4FileReader> m_reader;
};

/// The property page that shows the facts of the loaded file and of one of its tracks.
class CMP4FileReaderPropertyPage final : public CBasePropertyPage {
 public:
  explicit CMP4FileReaderPropertyPage(IUnknown* owner);

  /// For the class table of the module. Throws `std::bad_alloc`.
  static CUnknown* CreateInstance(IUnknown* owner, HRESULT* result);

 protected:
  HRESULT OnConnect(IUnknown* object) override;
  HRESULT OnDisconnect() override;
  HRESULT OnActivate() override;
  INT_PTR OnReceiveMessage(HWND dialog, UINT message, WPARAM wide, LPARAM extra) override;

 private:
  void Show(const TrackPage::Labels& labels);
  using CBasePropertyPage::Show;

  CReaderFacts m_reader;
  TrackPage m_page{m_reader};
};

}  // namespace kt
