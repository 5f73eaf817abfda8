#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include <ktmp4/types.h>

namespace kt::test {

using Line21Pair = std::array<u8, 2>;

inline u8 WithParity(u32 value) {
  const u8 low = static_cast<u8>(value & 0x7F);
  return std::popcount(low) % 2 == 1 ? low : static_cast<u8>(low | 0x80);
}

/// Byte pairs of a text with commands in braces: "{RCL}Hi{EOC}". A command is a name below, with "2:" ahead
/// of it for channel 2; four digits for any other control pair; "-" for a pair without data; "#" and four
/// digits for two bytes as they stand, parity and all. Text goes two characters to a pair, a last single one
/// with an empty byte.
inline std::vector<Line21Pair> Line21Pairs(std::string_view script) {
  static const std::map<std::string_view, u32> kCommands = {
      {"RCL", 0x1420}, {"BS", 0x1421},  {"RU2", 0x1425}, {"RU3", 0x1426}, {"RU4", 0x1427}, {"RDC", 0x1429},
      {"TR", 0x142A},  {"RTD", 0x142B}, {"EDM", 0x142C}, {"CR", 0x142D},  {"ENM", 0x142E}, {"EOC", 0x142F},
      {"TO1", 0x1721}, {"TO2", 0x1722}, {"TO3", 0x1723}, {"PAC", 0x1470}, {"-", 0x0000}};
  std::vector<Line21Pair> pairs;
  const auto add = [&](u32 pair) { pairs.push_back({WithParity(pair >> 8), WithParity(pair)}); };
  const auto number = [](std::string_view digits) {
    return static_cast<u32>(std::stoul(std::string(digits), nullptr, 16));
  };
  while (!script.empty()) {
    if (script[0] != '{') {
      const std::size_t length = std::min<std::size_t>({2, script.size(), script.find('{')});
      add(static_cast<u32>(script[0]) << 8 | (length == 2 ? static_cast<u32>(script[1]) : 0));
      script.remove_prefix(length);
      continue;
    }
    std::string_view command = script.substr(1, script.find('}') - 1);
    script.remove_prefix(command.size() + 2);
    u32 channel = 0;
    if (command.starts_with("2:")) {
      channel = 0x0800;
      command.remove_prefix(2);
    }
    if (command[0] == '#') {
      const u32 bytes = number(command.substr(1));
      pairs.push_back({static_cast<u8>(bytes >> 8), static_cast<u8>(bytes)});
    } else {
      const auto named = kCommands.find(command);
      add((named == kCommands.end() ? number(command) : named->second) | channel);
    }
  }
  return pairs;
}

}  // namespace kt::test
