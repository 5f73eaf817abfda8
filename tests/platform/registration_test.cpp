// What registering writes and what it leaves behind, as the platform's own regsvr32 does it and by hand.

#include <process.h>
#include <vfwmsgs.h>

#include <algorithm>
#include <cstring>

#include "platform/source_host.h"

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

/// Type and bytes of a value as they lie in the registry.
using Value = std::pair<DWORD, std::vector<u8>>;

Value Stored(HKEY root, const std::wstring& key, const wchar_t* name) {
  BYTE data[1024];
  DWORD size = sizeof data;
  DWORD type = REG_NONE;
  const LSTATUS result = RegGetValueW(root, key.c_str(), name, RRF_RT_ANY | RRF_NOEXPAND, &type, data, &size);
  return result == ERROR_SUCCESS ? Value{type, {data, data + size}} : Value();
}

/// With its zero, which the system adds for those who leave it out.
Value Text(const std::wstring& text) {
  const auto* const bytes = reinterpret_cast<const u8*>(text.c_str());
  return {REG_SZ, {bytes, bytes + (text.size() + 1) * sizeof(wchar_t)}};
}

class RegistrationTest : public testing::Test {
 protected:
  struct Row {
    HKEY root;
    std::wstring key;
    const wchar_t* name;
    Value value;
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
    const std::wstring filter = InBraces(::CLSID_KtMp4FileReader);
    std::vector<Row> rows = {
        {HKEY_CLASSES_ROOT, L"ktmp4file", L"Source Filter", Text(filter), true},
        {HKEY_LOCAL_MACHINE,
         L"SOFTWARE\\Microsoft\\Multimedia\\WMPlayer\\Schemes\\ktmp4file",
         L"Runtime",
         {REG_DWORD, {7, 0, 0, 0}},
         true},
        {HKEY_LOCAL_MACHINE, kPlayerKeys[0], L"9", Text(L"MPEG-4/3GP File (*.mp4;*.3gp;*.m4a)"), true},
        {HKEY_LOCAL_MACHINE, kPlayerKeys[1], L"9", Text(L"MPEG-4/3GP File"), true},
        {HKEY_LOCAL_MACHINE, kPlayerKeys[2], L"9", Text(L"*.mp4;*.3gp;*.m4a"), true},
        {HKEY_CLASSES_ROOT, MAPPER_KEY + filter, L"FriendlyName", Text(L"Ketral MPEG-4 File Reader"), false},
    };
    for (const wchar_t* ending : kEndings) {
      const std::wstring key = EXTENSION_KEY + std::wstring(ending);
      const bool isLeftBehind = ending != kEndings[0];
      const std::wstring type = InBraces(::MEDIATYPE_KtMp4Stream), any = InBraces(GUID{});
      rows.push_back({HKEY_CLASSES_ROOT, key, L"Media Type", Text(type), isLeftBehind});
      rows.push_back({HKEY_CLASSES_ROOT, key, L"SubType", Text(any), isLeftBehind});
      rows.push_back({HKEY_CLASSES_ROOT, key, L"Source Filter", Text(filter), isLeftBehind});
    }
    const struct {
      const GUID& clsid;
      const wchar_t* name;
    } kClasses[] = {{::CLSID_KtMp4FileReader, L"Ketral MPEG-4 File Reader"},
                    {::CLSID_KtMp4FileReaderAboutPage, L"Ketral MPEG-4 File Reader About Page"},
                    {::CLSID_KtMp4FileReaderPropertyPage, L"Ketral MPEG-4 File Reader Property Page"}};
    for (const auto& entry : kClasses) {
      const std::wstring key = L"CLSID\\" + InBraces(entry.clsid);
      rows.push_back({HKEY_CLASSES_ROOT, key, nullptr, Text(entry.name), false});
      const std::wstring server = key + L"\\InprocServer32";
      rows.push_back({HKEY_CLASSES_ROOT, server, nullptr, Text(m_module.Path()), false});
      rows.push_back({HKEY_CLASSES_ROOT, server, L"ThreadingModel", Text(L"Both"), false});
    }
    return rows;
  }

  /// All values stand as they have to, and those that `isThere` leaves out do not.
  template <class IsThere>
  void ExpectValues(IsThere isThere) const {
    for (const Row& row : Rows()) {
      EXPECT_EQ(Stored(row.root, row.key, row.name), isThere(row) ? row.value : Value())
          << Narrow(row.key) << ": " << (row.name ? Narrow(row.name) : "");
    }
  }
  static bool IsAny(const Row&) { return true; }
  static std::string Narrow(const std::wstring& text) { return std::filesystem::path(text).string(); }

  static constexpr const wchar_t* kPlayerKeys[] = {PLAYER_KEY L"Descriptions", PLAYER_KEY L"MUIDescriptions",
                                                   PLAYER_KEY L"Types"};
  static constexpr const wchar_t* kEndings[] = {L".mp4", L".3gp", L".m4a"};

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

TEST_F(RegistrationTest, Regsvr32WritesEveryKeyAndLeavesSomeBehind) {
  ASSERT_EQ(RunRegsvr32(nullptr), 0);
  ExpectValues(IsAny);
  ASSERT_EQ(RunRegsvr32(L"/u"), 0);
  ExpectValues([](const Row& row) { return row.isLeftBehind; });
}

// Something of an older version under its key goes with it.
TEST_F(RegistrationTest, UnregistersFirstAndRegistersTwice) {
  EXPECT_EQ(m_module.Unregister(), S_OK);
  const std::wstring old = L"CLSID\\" + InBraces(::CLSID_KtMp4FileReader) + L"\\Old";
  EXPECT_EQ(RegSetKeyValueW(HKEY_CLASSES_ROOT, old.c_str(), L"Value", REG_SZ, L"x", 4), ERROR_SUCCESS);
  for (int i = 0; i < 2; ++i) EXPECT_EQ(m_module.Register(), S_OK);
  EXPECT_EQ(Stored(HKEY_CLASSES_ROOT, old, L"Value"), Value());
  ExpectValues(IsAny);
  EXPECT_EQ(m_module.CanUnload(), S_OK);
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
  const std::wstring filter = InBraces(::CLSID_KtMp4FileReader);
  const std::vector<u8> data = Stored(HKEY_CLASSES_ROOT, MAPPER_KEY + filter, L"FilterData").second;
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
