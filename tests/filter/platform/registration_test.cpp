// What registering writes and what it leaves behind, as the platform's own regsvr32 does it and by hand.

#include <process.h>
#include <vfwmsgs.h>

#include <algorithm>
#include <cstring>

#include "filter/platform/source_host.h"
#include "filter/platform/stand_in.h"

namespace kt::test {
namespace {

#define PLAYER_KEY L"SOFTWARE\\Microsoft\\MediaPlayer\\Player\\Extensions\\"
#define MAPPER_KEY L"CLSID\\{083863F1-70DE-11D0-BD40-00A0C911CE86}\\Instance\\"
#define EXTENSION_KEY L"Media Type\\Extensions\\"

std::wstring InBraces(REFGUID guid) {
  wchar_t text[40] = {};
  StringFromGUID2(guid, text, 40);
  return text;
}

/// The bytes of a value as they lie in the registry; none when it is not there.
std::vector<u8> Bytes(HKEY root, const std::wstring& key, const wchar_t* name, DWORD* type) {
  BYTE data[1024];
  DWORD size = sizeof data;
  const LSTATUS result = RegGetValueW(root, key.c_str(), name, RRF_RT_ANY | RRF_NOEXPAND, type, data, &size);
  return result == ERROR_SUCCESS ? std::vector<u8>(data, data + size) : std::vector<u8>();
}

/// A text, or a number behind a "#"; nothing when it is not there.
std::wstring Stored(HKEY root, const std::wstring& key, const wchar_t* name) {
  DWORD type = REG_NONE;
  std::vector<u8> bytes = Bytes(root, key, name, &type);
  if (bytes.empty()) return L"";
  if (type == REG_DWORD) return L"#" + std::to_wstring(bytes[0]);
  EXPECT_EQ(type, DWORD{REG_SZ});
  return reinterpret_cast<const wchar_t*>(bytes.data());
}

class RegistrationTest : public testing::Test {
 protected:
  struct Row {
    HKEY root;
    std::wstring key;
    const wchar_t* name;
    std::wstring value;
    bool isLeftBehind;
  };

  void SetUp() override {
    for (const wchar_t* key : kPlayerKeys) {
      RegSetKeyValueW(HKEY_LOCAL_MACHINE, key, L"1", REG_SZ, L"x", 4);
      RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, key, L"9");
    }
    RegDeleteTreeW(HKEY_CLASSES_ROOT, L"ktmp4file");
    for (const wchar_t* ending : kEndings) {
      RegDeleteTreeW(HKEY_CLASSES_ROOT, (EXTENSION_KEY + std::wstring(ending)).c_str());
    }
  }
  void TearDown() override { m_module.Unregister(); }

  std::vector<Row> Rows() const {
    const std::wstring type = InBraces(::MEDIATYPE_KtMp4Stream), any = InBraces(GUID{});
    std::vector<Row> rows = {
        {HKEY_CLASSES_ROOT, L"ktmp4file", L"Source Filter", m_filter, true},
        {HKEY_LOCAL_MACHINE, L"SOFTWARE\\Microsoft\\Multimedia\\WMPlayer\\Schemes\\ktmp4file", L"Runtime",
         L"#7", true},
        {HKEY_LOCAL_MACHINE, kPlayerKeys[0], L"9", L"MPEG-4/3GP File (*.mp4;*.3gp;*.m4a)", true},
        {HKEY_LOCAL_MACHINE, kPlayerKeys[1], L"9", L"MPEG-4/3GP File", true},
        {HKEY_LOCAL_MACHINE, kPlayerKeys[2], L"9", L"*.mp4;*.3gp;*.m4a", true},
        {HKEY_CLASSES_ROOT, MAPPER_KEY + m_filter, L"FriendlyName", L"Ketral MPEG-4 File Reader", false},
    };
    for (const wchar_t* ending : kEndings) {
      const std::wstring key = EXTENSION_KEY + std::wstring(ending);
      const bool isLeftBehind = ending != kEndings[0];
      rows.push_back({HKEY_CLASSES_ROOT, key, L"Media Type", type, isLeftBehind});
      rows.push_back({HKEY_CLASSES_ROOT, key, L"SubType", any, isLeftBehind});
      rows.push_back({HKEY_CLASSES_ROOT, key, L"Source Filter", m_filter, isLeftBehind});
    }
    const std::pair<const GUID&, std::wstring> kClasses[] = {
        {::CLSID_KtMp4FileReader, L""},
        {::CLSID_KtMp4FileReaderAboutPage, L" About Page"},
        {::CLSID_KtMp4FileReaderPropertyPage, L" Property Page"}};
    for (const auto& [clsid, name] : kClasses) {
      const std::wstring key = L"CLSID\\" + InBraces(clsid);
      rows.push_back({HKEY_CLASSES_ROOT, key, nullptr, L"Ketral MPEG-4 File Reader" + name, false});
      rows.push_back({HKEY_CLASSES_ROOT, key + L"\\InprocServer32", nullptr, m_module.Path(), false});
      rows.push_back({HKEY_CLASSES_ROOT, key + L"\\InprocServer32", L"ThreadingModel", L"Both", false});
    }
    return rows;
  }

  /// All values stand as they have to, and those that `isThere` leaves out do not.
  template <class IsThere>
  void ExpectValues(IsThere isThere) const {
    for (const Row& row : Rows()) {
      EXPECT_EQ(Stored(row.root, row.key, row.name), isThere(row) ? row.value : L"")
          << std::filesystem::path(row.key).string();
    }
  }

  static constexpr const wchar_t* kPlayerKeys[] = {PLAYER_KEY L"Descriptions", PLAYER_KEY L"MUIDescriptions",
                                                   PLAYER_KEY L"Types"};
  static constexpr const wchar_t* kEndings[] = {L".mp4", L".3gp", L".m4a"};

  const std::wstring m_filter = InBraces(::CLSID_KtMp4FileReader);
  const ServerModule m_module{SourcePath()};
};

/// The exit code. `toUnregister` is "/u" or null.
intptr_t RunRegsvr32(const wchar_t* toUnregister) {
  const Deadline deadline("regsvr32");
  const std::wstring path = L"\"" + SourcePath() + L"\"";
  const wchar_t* const last = toUnregister != nullptr ? path.c_str() : nullptr;
  return _wspawnlp(_P_WAIT, L"regsvr32", L"regsvr32", L"/s", last ? toUnregister : path.c_str(), last,
                   nullptr);
}

// Something of an older version under its key goes with it.
TEST_F(RegistrationTest, Regsvr32WritesEveryKeyAndLeavesSomeBehind) {
  EXPECT_EQ(m_module.Unregister(), S_OK) << "what is not there";
  const std::wstring old = L"CLSID\\" + m_filter + L"\\Old";
  EXPECT_EQ(RegSetKeyValueW(HKEY_CLASSES_ROOT, old.c_str(), L"Value", REG_SZ, L"x", 4), ERROR_SUCCESS);
  for (int i = 0; i < 2; ++i) ASSERT_EQ(RunRegsvr32(nullptr), 0);
  EXPECT_EQ(Stored(HKEY_CLASSES_ROOT, old, L"Value"), L"");
  ExpectValues([](const Row&) { return true; });
  ASSERT_EQ(RunRegsvr32(L"/u"), 0);
  ExpectValues([](const Row& row) { return row.isLeftBehind; });
}

// Without the mapper the classes go all the same, and the failure is told.
TEST_F(RegistrationTest, UnregistersWhatItCan) {
  ASSERT_EQ(m_module.Register(), S_OK);
  const StandInClass noMapper(CLSID_FilterMapper2, std::nullopt);
  EXPECT_EQ(m_module.Unregister(), CLASS_E_CLASSNOTAVAILABLE);
  EXPECT_EQ(Stored(HKEY_CLASSES_ROOT, L"CLSID\\" + m_filter, nullptr), L"");
}

// A machine without the media player: nothing of it is made up, and the filter is registered all the same.
TEST_F(RegistrationTest, DoesWithoutTheKeysOfAMissingPlayer) {
  for (const wchar_t* key : kPlayerKeys) RegDeleteTreeW(HKEY_LOCAL_MACHINE, key);
  EXPECT_EQ(m_module.Register(), S_OK);
  ExpectValues([](const Row& row) { return std::ranges::count(kPlayerKeys, row.key) == 0; });
}

// With a higher merit graph managers would put the filter where nobody asked for it.
TEST_F(RegistrationTest, TellsTheFilterMapperOfOneUnusedPinWithTwoTypes) {
  ASSERT_EQ(m_module.Register(), S_OK);
  DWORD type = REG_NONE;
  const std::vector<u8> data = Bytes(HKEY_CLASSES_ROOT, MAPPER_KEY + m_filter, L"FilterData", &type);
  // The mapper's own form: version, merit, pins, 0; then for each pin a signature, flags, instances, types,
  // mediums, category; then for each type a signature, 0, and where its identifiers lie.
  DWORD numbers[18] = {};
  ASSERT_GE(data.size(), sizeof numbers);
  std::memcpy(numbers, data.data(), sizeof numbers);
  const auto guid = [&](std::size_t index) {
    GUID value = {};
    const std::size_t at = std::min<std::size_t>(numbers[index], data.size() - sizeof value);
    std::memcpy(&value, &data[at], sizeof value);
    return value;
  };
  EXPECT_EQ(numbers[1], 0x200000u);
  EXPECT_EQ(numbers[2], 1u);
  EXPECT_EQ(numbers[5], static_cast<DWORD>(REG_PINFLAG_B_ZERO | REG_PINFLAG_B_OUTPUT | REG_PINFLAG_B_MANY));
  ASSERT_EQ(numbers[7], 2u);
  EXPECT_EQ(guid(12), MEDIATYPE_Video);
  EXPECT_EQ(guid(13), ::MEDIASUBTYPE_KtMp4Video);
  EXPECT_EQ(guid(16), MEDIATYPE_Audio);
  EXPECT_EQ(guid(17), ::MEDIASUBTYPE_KtMp4Audio);
}

}  // namespace
}  // namespace kt::test
