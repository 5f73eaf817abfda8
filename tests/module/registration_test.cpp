// A module of the frame as Windows meets it: a file with four functions, and what they write.

#include "module/registration.h"

#include <gtest/gtest.h>
#include <objbase.h>
#include <strmif.h>
#include <uuids.h>

#include <filesystem>

#include "module/com_pointer.h"
#include "module/counting_source.h"
#include "module/module_state.h"

namespace kt::test {
namespace {

const std::wstring kClass = L"CLSID\\" + GuidText(CLSID_CountingSource);
const std::wstring kMapper =
    L"CLSID\\{083863F1-70DE-11D0-BD40-00A0C911CE86}\\Instance\\" + GuidText(CLSID_CountingSource);

/// The text of a value; "(none)" when it does not exist.
std::wstring Text(const std::wstring& key, const wchar_t* name) {
  wchar_t text[512] = {};
  DWORD size = sizeof text;
  const LSTATUS result =
      RegGetValueW(HKEY_CLASSES_ROOT, key.c_str(), name, RRF_RT_REG_SZ, nullptr, text, &size);
  return result == ERROR_SUCCESS ? text : L"(none)";
}

class RegistrationTest : public testing::Test {
 protected:
  using Function = HRESULT(WINAPI*)();

  void SetUp() override {
    m_path = std::filesystem::path(ModulePath()).replace_filename(L"ktmp4_test_source.ax");
    m_module = LoadLibraryW(m_path.c_str());
    ASSERT_NE(m_module, nullptr);
    m_register = Named("DllRegisterServer");
    m_unregister = Named("DllUnregisterServer");
    m_canUnload = Named("DllCanUnloadNow");
    ASSERT_TRUE(m_register && m_unregister && m_canUnload && Named("DllGetClassObject"));
  }
  void TearDown() override {
    if (m_unregister != nullptr) m_unregister();
    if (m_module != nullptr) FreeLibrary(m_module);
  }
  Function Named(const char* name) const {
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(m_module, name)));
  }

  std::filesystem::path m_path;
  HMODULE m_module = nullptr;
  Function m_register = nullptr;
  Function m_unregister = nullptr;
  Function m_canUnload = nullptr;
};

TEST_F(RegistrationTest, UnregistersWhatWasNeverRegistered) {
  EXPECT_EQ(m_unregister(), S_OK);
  EXPECT_EQ(m_unregister(), S_OK);
}

TEST_F(RegistrationTest, RegistersTwiceAndLeavesNothingOnTheWayOut) {
  for (int i = 0; i < 2; ++i) {
    ASSERT_EQ(m_register(), S_OK);
    EXPECT_EQ(Text(kClass, nullptr), L"Counting Source");
    EXPECT_EQ(Text(kClass + L"\\InprocServer32", nullptr), m_path.wstring());
    EXPECT_EQ(Text(kClass + L"\\InprocServer32", L"ThreadingModel"), L"Both");
    EXPECT_EQ(Text(kMapper, L"FriendlyName"), L"Counting Source");
  }
  ASSERT_EQ(m_unregister(), S_OK);
  EXPECT_EQ(Text(kClass, nullptr), L"(none)");
  EXPECT_EQ(Text(kMapper, L"FriendlyName"), L"(none)");
}

// Something of an older version under the key goes with it.
TEST_F(RegistrationTest, UnregistersBeforeItRegisters) {
  const std::wstring old = kClass + L"\\Old";
  ASSERT_EQ(RegSetKeyValueW(HKEY_CLASSES_ROOT, old.c_str(), L"Value", REG_SZ, L"x", 4), ERROR_SUCCESS);
  ASSERT_EQ(m_register(), S_OK);
  EXPECT_EQ(Text(old, L"Value"), L"(none)");
}

// Registering runs on threads of any apartment, and must leave their COM as it was.
TEST_F(RegistrationTest, RunsInEveryApartment) {
  for (const DWORD kind : {COINIT_APARTMENTTHREADED, COINIT_MULTITHREADED}) {
    std::thread([&] {
      ASSERT_TRUE(SUCCEEDED(CoInitializeEx(nullptr, kind)));
      EXPECT_EQ(m_register(), S_OK);
      EXPECT_EQ(CoInitializeEx(nullptr, kind), S_FALSE) << "its own COM is gone";
      CoUninitialize();
      CoUninitialize();
    }).join();
  }
}

TEST_F(RegistrationTest, MakesItsFilterAndCanBeUnloadedAfterwards) {
  ASSERT_EQ(m_register(), S_OK);
  ComPointer<IBaseFilter> filter;
  ASSERT_EQ(CoCreateInstance(CLSID_CountingSource, nullptr, CLSCTX_INPROC_SERVER, IID_IBaseFilter,
                             filter.PutVoid()),
            S_OK);
  EXPECT_EQ(m_canUnload(), S_FALSE);
  ComPointer<IPin> pin;
  EXPECT_EQ(filter->FindPin(L"1", pin.Put()), S_OK);
  filter.Reset();
  EXPECT_EQ(m_canUnload(), S_FALSE) << "a pin holds the module by its filter";
  pin.Reset();
  EXPECT_EQ(m_canUnload(), S_OK);
}

}  // namespace
}  // namespace kt::test
