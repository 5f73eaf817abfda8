#include "filter/platform/track_page_dialog.h"

#include <commctrl.h>

#include "filter/platform/page_resources.h"

namespace kt {

static_assert(PAGE_TRACK_COUNT == LABEL_TRACK_COUNT && PAGE_TRACK_ID == LABEL_TRACK_ID &&
              PAGE_MEDIA_TYPE == LABEL_MEDIA_TYPE && PAGE_SAMPLE_COUNT == LABEL_SAMPLE_COUNT &&
              PAGE_DURATION == LABEL_DURATION && PAGE_TIME_SCALE == LABEL_TIME_SCALE &&
              PAGE_MOVIE_TIME_SCALE == LABEL_MOVIE_TIME_SCALE);

HRESULT CReaderFacts::Connect(IUnknown* object) {
  return SUCCEEDED(object->QueryInterface(__uuidof(IMP4FileReader), m_reader.PutVoid())) ? S_OK
                                                                                         : E_NOINTERFACE;
}

HRESULT CReaderFacts::Disconnect() {
  if (!m_reader) return E_UNEXPECTED;
  m_reader.Reset();
  return S_OK;
}

template <class... Expected, class... Arguments>
FilterResult CReaderFacts::Ask(HRESULT (STDMETHODCALLTYPE IMP4FileReader::*get)(Expected...),
                               Arguments... arguments) const {
  if (!m_reader) return FilterResult::Pointer;
  return static_cast<FilterResult>((m_reader.Get()->*get)(arguments...));
}

FilterResult CReaderFacts::GetTrackCount(u32* count) const {
  return Ask(&IMP4FileReader::GetTrackCount, count);
}

FilterResult CReaderFacts::GetMovieTimeScale(u32* timeScale) const {
  return Ask(&IMP4FileReader::GetMovieTimeScale, timeScale);
}

FilterResult CReaderFacts::GetTrackId(i32 index, u32* id) const {
  return Ask(&IMP4FileReader::GetTrackId, index, id);
}

FilterResult CReaderFacts::GetTrackType(i32 index, u32* type) const {
  return Ask(&IMP4FileReader::GetTrackType, index, type);
}

FilterResult CReaderFacts::GetSampleCount(i32 index, u32* count) const {
  return Ask(&IMP4FileReader::GetSampleCount, index, count);
}

FilterResult CReaderFacts::GetTimeScale(i32 index, u32* timeScale) const {
  return Ask(&IMP4FileReader::GetTimeScale, index, timeScale);
}

FilterResult CReaderFacts::GetDuration(i32 index, u64* duration) const {
  return Ask(&IMP4FileReader::GetDuration, index, duration);
}

CMP4FileReaderPropertyPage::CMP4FileReaderPropertyPage(IUnknown* owner)
    : CBasePropertyPage(owner, DIALOG_TRACKS, TITLE_BASIC) {
  // The dialog is not made without the class of its spin control.
  const INITCOMMONCONTROLSEX controls = {sizeof controls, ICC_UPDOWN_CLASS};
  InitCommonControlsEx(&controls);
}

CUnknown* CMP4FileReaderPropertyPage::CreateInstance(IUnknown* owner, HRESULT*) {
  return new CMP4FileReaderPropertyPage(owner);
}

HRESULT CMP4FileReaderPropertyPage::OnConnect(IUnknown* object) {
  return m_reader.Connect(object);
}

HRESULT CMP4FileReaderPropertyPage::OnDisconnect() {
  return m_reader.Disconnect();
}

HRESULT CMP4FileReaderPropertyPage::OnActivate() {
  const TrackPage::Labels labels = m_page.Activate();
  SendDlgItemMessageW(Dialog(), SPIN_TRACK, UDM_SETRANGE32, 1, m_page.TrackCount());
  SetDlgItemInt(Dialog(), EDIT_TRACK, 1, FALSE);
  Show(labels);
  return S_OK;
}

INT_PTR CMP4FileReaderPropertyPage::OnReceiveMessage(HWND dialog, UINT message, WPARAM wide, LPARAM extra) {
  if (message != WM_COMMAND || LOWORD(wide) != EDIT_TRACK) {
    return CBasePropertyPage::OnReceiveMessage(dialog, message, wide, extra);
  }
  // Text that is no number selects track 0, of which there is nothing to show.
  const UINT number = GetDlgItemInt(dialog, EDIT_TRACK, nullptr, TRUE);
  Show(m_page.SelectTrack(static_cast<i32>(number)));
  return TRUE;
}

void CMP4FileReaderPropertyPage::Show(const TrackPage::Labels& labels) {
  for (const TrackPage::Label& label : labels) {
    SetDlgItemTextA(Dialog(), label.label, label.text.c_str());
  }
}

}  // namespace kt
