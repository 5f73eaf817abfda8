#include "filter/logic/url_parameter_store.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

namespace kt {

u32 UrlParameterStore::Parse(const char* url) {
  m_parameters.clear();
  if (!url) return 1;
  std::string_view rest(url);
  std::size_t separator = rest.find('&');
  while (separator != std::string_view::npos) {
    rest.remove_prefix(separator + 1);
    separator = rest.find('&');
    const std::string_view parameter = rest.substr(0, separator);
    const std::size_t equals = parameter.find('=');
    const bool hasValue = equals != std::string_view::npos;
    m_parameters.emplace_back(parameter.substr(0, equals), hasValue ? parameter.substr(equals + 1) : "");
  }
  return 0;
}

bool UrlParameterStore::GetInt(std::string_view name, i32* value) const {
  const std::string text = GetString(name);
  if (text.empty()) return false;
  const long long number = std::strtoll(text.c_str(), nullptr, 10);
  *value = static_cast<i32>(
      std::clamp<long long>(number, std::numeric_limits<i32>::min(), std::numeric_limits<i32>::max()));
  return true;
}

std::string UrlParameterStore::GetString(std::string_view name) const {
  const auto found = std::ranges::find(m_parameters, name, &std::pair<std::string, std::string>::first);
  return found == m_parameters.end() ? std::string() : found->second;
}

}  // namespace kt
