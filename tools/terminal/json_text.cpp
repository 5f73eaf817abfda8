#include "tools/terminal/json_text.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <nlohmann/json.hpp>

namespace kt {

std::string JsonText(std::string_view text) {
  // Nearly all texts are names and codes, of which there can be millions.
  const auto isPlain = [](char letter) {
    return letter >= ' ' && letter <= '~' && letter != '"' && letter != '\\';
  };
  if (std::ranges::all_of(text, isPlain)) return std::string(1, '"').append(text).append(1, '"');
  using Json = nlohmann::json;
  return Json(text).dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string ShortNumber(double number, int places) {
  char text[400];
  std::snprintf(text, sizeof text, "%.*f", places, number);
  std::string shortest = text;
  shortest.erase(shortest.find_last_not_of('0') + 1);
  if (shortest.ends_with('.')) shortest.pop_back();
  return shortest;
}

std::string JsonNumber(double number) {
  return std::isfinite(number) ? ShortNumber(number, 6) : "null";
}

JsonObject& JsonObject::Add(const char* name, const std::string& json) {
  m_text += std::string(m_text.empty() ? "{" : ",") + "\"" + name + "\":" + json;
  return *this;
}

}  // namespace kt
