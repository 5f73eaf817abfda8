#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <ktmp4/types.h>

namespace kt {

/// The parameters of a URL. They stand behind its first "&" and are separated by "&"; each is a name, an
/// equals sign and a value. Names are compared letter by letter, case included. A name without an equals sign
/// has an empty value; of a name that occurs twice the first counts. Nothing is decoded: a value is the text
/// as it stands and can hold anything but "&".
class UrlParameterStore {
 public:
  /// Takes the whole URL and forgets the one before. 0 on success, also without parameters; 1 for null.
  u32 Parse(const char* url);
  /// True when the parameter has a value that is not empty; `*value` then takes the number that the value
  /// begins with, 0 when it begins with none, the nearest 32-bit number when it does not fit.
  bool GetInt(std::string_view name, i32* value) const;
  /// The text of the parameter, empty when absent.
  std::string GetString(std::string_view name) const;

 private:
  std::vector<std::pair<std::string, std::string>> m_parameters;
};

}  // namespace kt
