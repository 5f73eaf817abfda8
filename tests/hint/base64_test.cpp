#include "hint/base64.h"

#include <gtest/gtest.h>

#include <string_view>

namespace kt {
namespace {

// The vectors of RFC 4648, clause 10, which cover each padding, and bytes that need the last two letters.
TEST(Base64, EncodesEveryRemainder) {
  constexpr struct {
    std::string_view bytes, expected;
  } cases[] = {
      {"", ""},
      {"fo", "Zm8="},
      {"foob", "Zm9vYg=="},
      {"\xfb\xff\xbe", "+/++"},
      {"\xff\xff\xff\xff", "/////w=="},
  };
  for (const auto& row : cases) {
    std::unique_ptr<char[]> text;
    u32 size = 99;
    ASSERT_EQ(Base64Encode(reinterpret_cast<const u8*>(row.bytes.data()), static_cast<u32>(row.bytes.size()),
                           &text, &size),
              MP4_OK);
    EXPECT_EQ(std::string_view(text.get()), row.expected);
    EXPECT_EQ(size, row.expected.size()) << "the terminator does not count";
    EXPECT_EQ(Base64Encode(nullptr, 0, nullptr, &size), MP4_BAD_ARGUMENT);
    EXPECT_EQ(Base64Encode(nullptr, 0, &text, nullptr), MP4_BAD_ARGUMENT);
  }
}

}  // namespace
}  // namespace kt
