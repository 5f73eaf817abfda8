#include "hint/session_text.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <tuple>
#include <vector>

#include "hint/base64.h"

namespace kt {
namespace {

constexpr StreamFacts kFacts = {97, 1000000, 44100, 5, 2, 10.00004};

// Every line, in the order that servers and players have met so far.
TEST(SessionText, WholeBlocks) {
  const std::vector<u8> aac = {0x12, 0x10};
  const std::vector<u8> visual = {0x00, 0x00, 0x01, 0xB0, 0xF3, 0xAB};
  SessionText text;
  ASSERT_EQ(FormatAacBlock(kFacts, aac, &text), MP4_OK);
  EXPECT_STREQ(text.get(),
               "m=audio 0 RTP/AVP 97\r\nb=AS:976\r\na=rtpmap:97 mpeg4-generic/44100/2\r\n"
               "a=control:trackID=5\r\na=mpeg4-esid:2\r\na=fmtp:97 profile-level-id=15;mode=AAC-hbr;"
               "sizelength=13;indexlength=3;indexdeltalength=3;config=1210\r\n");
  ASSERT_EQ(FormatLatmBlock(kFacts, 3, aac, &text), MP4_OK);
  EXPECT_STREQ(text.get(),
               "m=audio 0 RTP/AVP 97\r\nb=AS:976\r\na=rtpmap:97 MP4A-LATM/44100/1\r\n"
               "a=range:npt=0-10.0000\r\na=control:trackID=5\r\na=mpeg4-esid:2\r\n"
               "a=fmtp:97 profile-level-id=15;object=2;cpresent=0;config=420024203FC0\r\n");
  ASSERT_EQ(FormatVideoBlock(kFacts, 320, -240, visual, &text), MP4_OK);
  EXPECT_STREQ(text.get(),
               "m=video 0 RTP/AVP 97\r\nb=AS:976\r\na=rtpmap:97 MP4V-ES/44100\r\n"
               "a=range:npt=0-10.0000\r\na=control:trackID=5\r\na=cliprect:0,0,-240,320\r\n"
               "a=fmtp:97 profile-level-id=243;config=000001B0F3AB\r\na=mpeg4-esid:2\r\n");
  ASSERT_EQ(FormatCaptionBlock(kFacts, &text), MP4_OK);
  EXPECT_STREQ(text.get(),
               "m=text 0 RTP/AVP 97\r\nb=AS:976\r\na=rtpmap:97 608B/44100\r\n"
               "a=control:trackID=5\r\na=fmtp:97 AUP=2;config=0\r\n");
}

/// A function that makes a block with this info of the decoder.
using Block = std::function<Mp4Result(SessionText*)>;
Block Aac(std::vector<u8> info) {
  return [=](SessionText* text) { return FormatAacBlock(kFacts, info, text); };
}
Block Latm(u32 samples, std::vector<u8> info) {
  return [=](SessionText* text) { return FormatLatmBlock(kFacts, samples, info, text); };
}
Block Video(std::vector<u8> info, double seconds = 0) {
  const StreamFacts facts = {97, 1000000, 44100, 5, 2, seconds};
  return [=](SessionText* text) { return FormatVideoBlock(facts, 1, 1, info, text); };
}

TEST(SessionText, SaysWhatTheDecoderInfoTells) {
  const Block noInfo = [](SessionText* text) { return FormatLatmBlock(kFacts, 3, std::nullopt, text); };
  const std::string channels = "mpeg4-generic/44100/", profile = "profile-level-id=", config = "config=";
  // What follows on the second, up to the end of the line or a semicolon.
  const std::tuple<Block, std::string, std::string> cases[] = {
      {Aac({0x12, 0x10}), channels, "2"},
      {Aac({0x11, 0x88}), channels, "1"},                    // 48 kHz: looks escaped, and has no byte 4
      {Aac({0x0F, 0x88, 0x00, 0x00, 0x10}), channels, "2"},  // escaped
      {Aac({0x09, 0x80, 0x00, 0x00, 0x30}), channels, "6"},  // one low bit is enough
      {Aac({0xF8, 0x88, 0x00, 0x00, 0x10}), channels, "1"},  // none is not
      {Aac({0x12}), channels, "2"},
      {Aac({}), channels, "2"},
      {Video({0, 0, 1, 0xB0, 0xF5}), profile, "245"},
      {Video({0, 0, 1, 0xB0}), profile, "1"},
      {Video({0, 0, 1, 0xB5, 0xF5}), profile, "1"},
      // No info, an empty one, one sample; 64 samples fill the field, and one more wraps.
      {noInfo, config, ""},
      {Latm(3, {}), config, "42003FC0"},
      {Latm(1, {0x12, 0x10}), config, "400024203FC0"},
      {Latm(65, {0x12, 0x10}), config, "400024203FC0"},
      // Cut: 15 bits, fourteen bytes and the one bit that still fits of what follows.
      {Latm(3, std::vector<u8>(20, 0x22)), config, "4200" + std::string(28, '4')},
      // Nothing is too long.
      {Video({}, 18446744073709551615.0), "npt=0-", "18446744073709551616.0000"},
      {Video(std::vector<u8>(5000, 0xAA)), config, std::string(10000, 'A')},
  };
  for (const auto& [block, before, expected] : cases) {
    SessionText text;
    ASSERT_EQ(block(&text), MP4_OK);
    const std::string whole = text.get();
    const std::size_t begin = whole.find(before) + before.size();
    EXPECT_EQ(whole.substr(begin, whole.find_first_of("\r;", begin) - begin), expected) << whole;
  }
}

// The vectors of RFC 4648, clause 10, which cover each padding, and bytes that need the last two letters.
TEST(Base64, EncodesEveryRemainder) {
  const std::pair<std::vector<u8>, std::string_view> cases[] = {
      {{}, ""},
      {{'f', 'o'}, "Zm8="},
      {{'f', 'o', 'o', 'b'}, "Zm9vYg=="},
      {{0xFB, 0xFF, 0xBE}, "+/++"},
      {{0xFF, 0xFF, 0xFF, 0xFF}, "/////w=="},
  };
  std::unique_ptr<char[]> text;
  u32 size = 99;
  for (const auto& [bytes, expected] : cases) {
    ASSERT_EQ(Base64Encode(bytes.data(), static_cast<u32>(bytes.size()), &text, &size), MP4_OK);
    EXPECT_EQ(std::string_view(text.get()), expected);
    EXPECT_EQ(size, expected.size()) << "the terminator does not count";
  }
  EXPECT_EQ(Base64Encode(nullptr, 0, nullptr, &size), MP4_BAD_ARGUMENT);
  EXPECT_EQ(Base64Encode(nullptr, 0, &text, nullptr), MP4_BAD_ARGUMENT);
}

}  // namespace
}  // namespace kt
