#include "filter/logic/source_name.h"

#include <gtest/gtest.h>

#include <tuple>

namespace kt {
namespace {

TEST(SourceName, NamesAndUrlsBecomePaths) {
  static constexpr std::tuple<const char*, const char*, bool, const char*> kRows[] = {
      {"/media/a.mp4", "/media/a.mp4", false, ""},
      {"", "", false, ""},
      // A plain name is not cut.
      {"tom&jerry.mp4&mdccid=X", "tom&jerry.mp4&mdccid=X", false, ""},
      // The scheme counts in small letters and at the start only.
      {"KTMP4FILE://c/x.mp4", "KTMP4FILE://c/x.mp4", false, ""},
      {"xktmp4file://c/x.mp4", "xktmp4file://c/x.mp4", false, ""},
      // With and without the colon of the drive.
      {"ktmp4file://c:/media/a.mp4", "c:/media/a.mp4", true, ""},
      {"ktmp4file://c/media/a.mp4", "c:/media/a.mp4", true, ""},
      {"ktmp4file://c", "c:", true, ""},
      // The first character is the drive, whatever it is, so here the path is cut to nothing.
      {"ktmp4file://&cc=on", "", true, ""},
      // The callback name stands a fixed distance behind the "&" and runs to the end.
      {"ktmp4file://c:/x.mp4&mdccid=NAME", "c:/x.mp4", true, "NAME"},
      {"ktmp4file://c/x.mp4&mdccid=NAME&cc=on", "c:/x.mp4", true, "NAME&cc=on"},
      {"ktmp4file://c:/x.mp4&cc=on&mdccid=NAME", "c:/x.mp4", true, "dccid=NAME"},
      {"ktmp4file://c:/x.mp4&mdccid=", "c:/x.mp4", true, ""},
      {"ktmp4file://c:/x.mp4&mdccid", "c:/x.mp4", true, ""},
      {"ktmp4file://c:/x.mp4&MDCCID=NAME", "c:/x.mp4", true, ""},
      {"ktmp4file://c:/mdccid.mp4&cc=on", "c:/mdccid.mp4", true, ""},
  };
  for (const auto& [name, path, isUrl, callbackName] : kRows) {
    SourceName parsed;
    ASSERT_EQ(ParseSourceName(name, &parsed), FilterResult::Ok) << name;
    EXPECT_EQ(std::tie(parsed.path, parsed.isUrl, parsed.callbackName), std::tuple(path, isUrl, callbackName))
        << name;
  }
}

// Each would otherwise run past the buffer or open a nameless file, with the settings already changed.
TEST(SourceName, RefusalsLeaveTheOutputAlone) {
  const std::string longest(kSourceNameRoom - 1, 'a'), tooLong = longest + "a";
  SourceName parsed;
  EXPECT_EQ(ParseSourceName(longest.c_str(), &parsed), FilterResult::Ok);
  for (const char* const name : {tooLong.c_str(), "ktmp4file://", static_cast<const char*>(nullptr)})
    EXPECT_EQ(ParseSourceName(name, &parsed), FilterResult::Fail);
  EXPECT_EQ(parsed.path, longest);
}

TEST(UrlParameterStore, AnswersByName) {
  UrlParameterStore store;
  ASSERT_EQ(store.Parse("ktmp4file://c:/a=1.mp4&a=2&A=3&b=&c&d=x=y&a=4&e=-7z&f=99999999999&g=word&"), 0u);
  EXPECT_EQ(store.GetString("a"), "2") << "the path is no parameter, the first of a name counts";
  EXPECT_EQ(store.GetString("d"), "x=y");
  EXPECT_EQ(store.GetString("none"), "");

  static constexpr std::tuple<const char*, bool, i32> kRows[] = {
      {"a", true, 2},  {"A", true, 3},          {"b", false, 55}, {"c", false, 55},
      {"e", true, -7}, {"f", true, 2147483647}, {"g", true, 0},   {"none", false, 55}};
  for (const auto& [name, found, number] : kRows) {
    i32 value = 55;
    EXPECT_EQ(store.GetInt(name, &value), found) << name;
    EXPECT_EQ(value, number) << name;
  }

  EXPECT_NE(store.Parse(nullptr), 0u);
  EXPECT_EQ(store.Parse("plain"), 0u);
  EXPECT_EQ(store.GetString("a"), "") << "the parameters of the URL before are gone";
}

// Every URL sets the switches of captions; a number that is not named keeps its value.
TEST(SourceSwitches, AreSetByUrls) {
  // The caption overlay, the caption text, use by an extractor, the VMR-9 dropped, adapting.
  static constexpr std::tuple<const char*, bool, bool, bool, bool, bool> kRows[] = {
      {"u", true, false, true, false, true},
      {"u&cc=", true, false, true, false, true},
      {"u&cc=OFF", false, false, true, false, true},
      {"u&cc=On", false, true, true, false, true},
      {"u&vmr9=0", true, false, true, true, true},
      {"u&vmr9=1", true, false, true, false, true},
      {"u&vmr9=word", true, false, true, true, true},
      {"u&forextractoruse=0", true, false, false, false, true},
      {"u&forextractoruse=", true, false, true, false, true},
      {"u&forextractoruse=-1", true, false, true, false, true},
      {"u&adapt=On", true, false, true, false, true},
      {"u&adapt=1", true, false, true, false, false}};
  for (const auto& [url, overlay, text, extractor, vmr9Dropped, adapt] : kRows) {
    UrlParameterStore store;
    ASSERT_EQ(store.Parse(url), 0u);
    SourceSwitches switches{!overlay, !text, std::string_view(url) != "u&forextractoruse=-1", false,
                            std::string_view(url) != "u&adapt=On"};
    ApplyUrlParameters(store, &switches);
    EXPECT_EQ(switches, (SourceSwitches{overlay, text, extractor, vmr9Dropped, adapt})) << url;
  }
}

}  // namespace
}  // namespace kt
