#include "hint/session_text.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

namespace kt {
namespace {

constexpr StreamFacts kFacts = {97, 1000000, 44100, 5, 2, 10.00004};

DecoderInfo Info(const std::vector<u8>& bytes) {
  return std::span<const u8>(bytes);
}

// What stands between `before` and the next character of `stops`.
std::string Between(const SessionText& text, const std::string& before, const char* stops) {
  const std::string whole = text.get();
  const std::size_t at = whole.find(before);
  if (at == std::string::npos) return "no " + before;
  const std::size_t begin = at + before.size();
  return whole.substr(begin, whole.find_first_of(stops, begin) - begin);
}

// Every line, in the order that servers and players have met so far.
TEST(SessionText, WholeBlocks) {
  const std::vector<u8> aac = {0x12, 0x10};
  const std::vector<u8> visual = {0x00, 0x00, 0x01, 0xB0, 0xF3, 0xAB};
  SessionText text;
  ASSERT_EQ(FormatAacBlock(kFacts, Info(aac), &text), MP4_OK);
  EXPECT_STREQ(text.get(),
               "m=audio 0 RTP/AVP 97\r\nb=AS:976\r\na=rtpmap:97 mpeg4-generic/44100/2\r\n"
               "a=control:trackID=5\r\na=mpeg4-esid:2\r\na=fmtp:97 profile-level-id=15;mode=AAC-hbr;"
               "sizelength=13;indexlength=3;indexdeltalength=3;config=1210\r\n");
  ASSERT_EQ(FormatLatmBlock(kFacts, 3, Info(aac), &text), MP4_OK);
  EXPECT_STREQ(text.get(),
               "m=audio 0 RTP/AVP 97\r\nb=AS:976\r\na=rtpmap:97 MP4A-LATM/44100/1\r\n"
               "a=range:npt=0-10.0000\r\na=control:trackID=5\r\na=mpeg4-esid:2\r\n"
               "a=fmtp:97 profile-level-id=15;object=2;cpresent=0;config=420024203FC0\r\n");
  ASSERT_EQ(FormatVideoBlock(kFacts, 320, -240, Info(visual), &text), MP4_OK);
  EXPECT_STREQ(text.get(),
               "m=video 0 RTP/AVP 97\r\nb=AS:976\r\na=rtpmap:97 MP4V-ES/44100\r\n"
               "a=range:npt=0-10.0000\r\na=control:trackID=5\r\na=cliprect:0,0,-240,320\r\n"
               "a=fmtp:97 profile-level-id=243;config=000001B0F3AB\r\na=mpeg4-esid:2\r\n");
  ASSERT_EQ(FormatCaptionBlock(kFacts, &text), MP4_OK);
  EXPECT_STREQ(text.get(),
               "m=text 0 RTP/AVP 97\r\nb=AS:976\r\na=rtpmap:97 608B/44100\r\n"
               "a=control:trackID=5\r\na=fmtp:97 AUP=2;config=0\r\n");
  ASSERT_EQ(FormatMovieBlock("QQ==", &text), MP4_OK);
  EXPECT_STREQ(text.get(),
               "a=control:*\r\na=isma-compliance:1,1.0,1\r\n"
               "a=mpeg4-iod: \"data:application/mpeg4-iod;base64,QQ==\"\r\n");
}

TEST(SessionText, AacChannels) {
  const std::pair<std::vector<u8>, const char*> cases[] = {
      {{0x12, 0x10}, "2"},
      {{0x11, 0x88}, "1"},                    // 48 kHz: looks escaped, and has no byte 4
      {{0x0F, 0x88, 0x00, 0x00, 0x10}, "2"},  // escaped
      {{0x09, 0x80, 0x00, 0x00, 0x30}, "6"},  // one low bit is enough
      {{0xF8, 0x88, 0x00, 0x00, 0x10}, "1"},  // none is not
      {{0x12}, "2"},
      {{}, "2"},
  };
  for (const auto& [config, channels] : cases) {
    SessionText text;
    ASSERT_EQ(FormatAacBlock(kFacts, Info(config), &text), MP4_OK);
    EXPECT_EQ(Between(text, "mpeg4-generic/44100/", "\r"), channels) << testing::PrintToString(config);
  }
}

TEST(SessionText, VisualProfileLevel) {
  const std::pair<std::vector<u8>, const char*> cases[] = {
      {{0, 0, 1, 0xB0, 0xF5}, "245"}, {{0, 0, 1, 0xB0}, "1"}, {{0, 0, 1, 0xB5, 0xF5}, "1"}};
  for (const auto& [config, level] : cases) {
    SessionText text;
    ASSERT_EQ(FormatVideoBlock(kFacts, 1, 1, Info(config), &text), MP4_OK);
    EXPECT_EQ(Between(text, "profile-level-id=", ";"), level) << testing::PrintToString(config);
  }
}

TEST(SessionText, StreamMuxConfig) {
  const std::string fours(28, '4');
  const std::tuple<const char*, u32, std::vector<u8>, std::string> cases[] = {
      {"no info of the decoder, but an empty one", 3, {}, "42003FC0"},
      {"one sample", 1, {0x12, 0x10}, "400024203FC0"},
      {"64 samples fill the field, and one more wraps", 65, {0x12, 0x10}, "400024203FC0"},
      // 15 bits, fourteen bytes and the one bit that still fits of what follows.
      {"cut", 3, std::vector<u8>(20, 0x22), std::string("4200") + fours},
  };
  for (const auto& [what, samples, info, config] : cases) {
    SessionText text;
    ASSERT_EQ(FormatLatmBlock(kFacts, samples, Info(info), &text), MP4_OK);
    EXPECT_EQ(Between(text, "config=", "\r"), config) << what;
  }
}

TEST(SessionText, NothingIsTooLongOrTooShort) {
  StreamFacts facts = kFacts;
  facts.durationSeconds = 18446744073709551615.0;
  SessionText text;
  ASSERT_EQ(FormatVideoBlock(facts, 1, 1, Info(std::vector<u8>(5000, 0xAB)), &text), MP4_OK);
  EXPECT_EQ(Between(text, "npt=0-", "\r"), "18446744073709551616.0000");
  EXPECT_EQ(Between(text, "config=", "\r").size(), 10000u);
  ASSERT_EQ(FormatLatmBlock(kFacts, 3, std::nullopt, &text), MP4_OK);
  EXPECT_EQ(Between(text, "config=", "\r"), "");
}

}  // namespace
}  // namespace kt
