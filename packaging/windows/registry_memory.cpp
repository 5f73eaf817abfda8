// registry_memory remember|own|restore 32|64...   what setup and uninstaller know the registry by, for each
// view:
//
//   remember  before the modules are registered: remembers what stands where they write. With something
//             remembered already, brings that up to date with what others have written since `own`.
//   own       after it: notes what they wrote, to tell it from what others write later.
//   restore   after they were unregistered: makes all stand as remembered, and forgets it.
//
// The memory is a copy of the keys below one of the product's own, so it outlives its folder. The exit code
// is 0, or 1 with the reason on the standard output.
#include <objbase.h>

#include <ktmp4/ktmp4source.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <string>
#include <string_view>
#include <vector>

#include "packaging/windows/registry_keys.h"

namespace kt {
namespace {

const std::wstring kProduct = L"HKLM\\SOFTWARE\\Ketral MP4";
const std::wstring kBefore = kProduct + L"\\Before", kOurs = kProduct + L"\\Ours";

std::wstring GuidText(REFGUID guid) {
  wchar_t text[40] = {};
  StringFromGUID2(guid, text, 40);
  return text;
}

/// The keys that the modules write into, or that go when they are unregistered.
std::vector<std::wstring> Watched() {
  std::vector<std::wstring> paths = {L"HKCR\\ktmp4file",
                                     L"HKLM\\SOFTWARE\\Microsoft\\Multimedia\\WMPlayer\\Schemes\\ktmp4file"};
  for (const wchar_t* ending : {L".mp4", L".3gp", L".m4a"}) {
    paths.push_back(std::wstring(L"HKCR\\Media Type\\Extensions\\") + ending);
  }
  for (const wchar_t* key : {L"Descriptions", L"MUIDescriptions", L"Types"}) {
    paths.push_back(std::wstring(L"HKLM\\SOFTWARE\\Microsoft\\MediaPlayer\\Player\\Extensions\\") + key);
  }
  for (const GUID& filter : {CLSID_KtMp4FileReader, CLSID_KtMp4Decoder}) {
    paths.push_back(L"HKCR\\CLSID\\{083863F1-70DE-11D0-BD40-00A0C911CE86}\\Instance\\" + GuidText(filter));
  }
  // The class of the callback's proxies has the identifier of the interface.
  for (const GUID& clsid : {CLSID_KtMp4FileReader, CLSID_KtMp4FileReaderAboutPage,
                            CLSID_KtMp4FileReaderPropertyPage, CLSID_KtMp4Decoder, IID_ICaptionCallback}) {
    paths.push_back(L"HKCR\\CLSID\\" + GuidText(clsid));
  }
  paths.push_back(L"HKCR\\Interface\\" + GuidText(IID_ICaptionCallback));
  return paths;
}

RegistryKeys ReadWatched(const RegistryView& view) {
  RegistryKeys keys;
  for (const std::wstring& path : Watched()) {
    view.ReadParents(path, keys);
    view.Read(path, keys);
  }
  return keys;
}

RegistryKeys ReadTree(const RegistryView& view, const std::wstring& path) {
  RegistryKeys keys;
  view.Read(path, keys);
  return keys;
}

/// What is remembered below one of the product's keys, under the paths that it was read from.
RegistryKeys Recall(const RegistryView& view, const std::wstring& store) {
  RegistryKeys keys;
  for (const auto& [path, values] : ReadTree(view, store)) {
    const std::wstring original = path.substr(std::min(path.size(), store.size() + 1));
    // Neither the store itself nor a root is a key that could be put back.
    if (original.find(L'\\') != std::wstring::npos) keys[original] = values;
  }
  return keys;
}

void Store(const RegistryView& view, const std::wstring& store, const RegistryKeys& keys) {
  RegistryKeys moved = {{kProduct, {}}, {store, {}}};
  for (const std::wstring root : {L"\\HKCR", L"\\HKLM"}) moved[store + root];
  const std::wstring below = store + L"\\";
  for (const auto& [path, values] : keys) moved[below + path] = values;
  view.Change(ReadTree(view, store), moved);
}

void Forget(const RegistryView& view, const std::wstring& store) {
  view.Change(ReadTree(view, store), {});
}

void Remember(const RegistryView& view) {
  const RegistryKeys now = ReadWatched(view), ours = Recall(view, kOurs), before = Recall(view, kBefore);
  if (before.empty()) {
    Store(view, kBefore, now);
  } else if (!ours.empty()) {
    Store(view, kBefore, WithoutOurs(before, ours, now));
    Forget(view, kOurs);
  }
}

void Own(const RegistryView& view) {
  Store(view, kOurs, ReadWatched(view));
}

void Restore(const RegistryView& view) {
  const RegistryKeys before = Recall(view, kBefore);
  // Nothing remembered says nothing of what stood there.
  if (!before.empty()) view.Change(ReadWatched(view), before);
  Forget(view, kOurs);
  Forget(view, kBefore);
  view.Change({{kProduct, {}}}, {});
}

int Run(int argc, char** argv) {
  const std::string_view command = argc > 2 ? argv[1] : "";
  const auto work = command == "remember"  ? Remember
                    : command == "own"     ? Own
                    : command == "restore" ? Restore
                                           : nullptr;
  if (work == nullptr) {
    std::printf("registry_memory remember|own|restore 32|64...\n");
    return 2;
  }
  for (int i = 2; i < argc; ++i) {
    work(RegistryView(argv[i] == std::string_view("64") ? KEY_WOW64_64KEY : KEY_WOW64_32KEY));
  }
  return 0;
}

}  // namespace
}  // namespace kt

int main(int argc, char** argv) {
  try {
    return kt::Run(argc, argv);
  } catch (const std::exception& failure) {
    std::printf("registry_memory: %s\n", failure.what());
    return 1;
  }
}
