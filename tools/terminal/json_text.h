#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <ktmp4/types.h>

namespace kt {

// JSON as text. It is made at once: a tree of JSON values cannot be given back without memory.

/// With up to so many places, and none that say nothing: "29.97".
std::string ShortNumber(double number, int places = 3);

/// In quotes. A text of a file need not be UTF-8, JSON has to be: what is none becomes U+FFFD.
std::string JsonText(std::string_view text);
/// With up to six places, and as few as tell it; null for what is no number.
std::string JsonNumber(double number);

/// An object on one line.
class JsonObject {
 public:
  JsonObject& Add(const char* name, const std::string& json);
  JsonObject& Add(const char* name, u64 number) { return Add(name, std::to_string(number)); }
  JsonObject& AddText(const char* name, std::string_view text) { return Add(name, JsonText(text)); }
  /// null for an empty one.
  JsonObject& AddTextOrNull(const char* name, std::string_view text) {
    return Add(name, text.empty() ? "null" : JsonText(text));
  }
  JsonObject& AddFlag(const char* name, bool flag) { return Add(name, flag ? "true" : "false"); }
  template <class Value>
  JsonObject& Add(const char* name, const std::optional<Value>& number) {
    return Add(name, number ? std::to_string(*number) : "null");
  }
  JsonObject& Add(const char* name, const std::optional<double>& number) {
    return Add(name, number ? JsonNumber(*number) : "null");
  }
  std::string Finish() const { return m_text.empty() ? "{}" : m_text + "}"; }

 private:
  std::string m_text;
};

/// `text` makes the JSON of a value.
template <class Values, class Text>
std::string JsonArray(const Values& values, Text&& text) {
  std::string array;
  for (const auto& value : values) array += (array.empty() ? "" : ",") + text(value);
  return "[" + array + "]";
}

}  // namespace kt
