#include "tools/description.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace kt {
namespace {

using Json = nlohmann::ordered_json;

// The words that an option takes, out of the "{one,two}" by which its check calls itself; none for any other.
std::vector<std::string> WordsOf(CLI::Option& option) {
  std::string list;
  try {
    for (int index = 0; list.empty(); ++index) {
      const CLI::Validator& check = *option.get_validator(index);
      for (const std::string& text : {check.get_name(), check.get_description()}) {
        if (text.starts_with('{') && text.ends_with('}')) list = text.substr(1, text.size() - 2);
      }
    }
  } catch (const CLI::OptionNotFound&) {
    // Behind the last check.
  }
  return list.empty() ? std::vector<std::string>() : CLI::detail::split(list, ',');
}

Json Describe(CLI::Option& option) {
  Json names = Json::array();
  for (const std::string& letter : option.get_snames()) names.push_back("-" + letter);
  for (const std::string& word : option.get_lnames()) names.push_back("--" + word);
  const std::vector<std::string> words = WordsOf(option);
  std::string value = option.get_type_name();
  value = value.substr(0, value.find(":{"));
  const bool isArgument = option.get_positional();
  return {{"names", names},
          {"argument", isArgument ? option.get_name(true) : ""},
          {"value", isArgument || option.get_items_expected_max() == 0 ? "" : value},
          {"words", words},
          {"required", option.get_required()},
          {"repeats", option.get_items_expected_max() > 1},
          {"text", option.get_description()}};
}

Json Describe(CLI::App& app) {
  Json options = Json::array();
  Json commands = Json::array();
  for (CLI::Option* const option : app.get_options()) {
    if (!option->get_group().empty()) options.push_back(Describe(*option));
  }
  for (CLI::App* const command : app.get_subcommands({})) {
    if (!command->get_group().empty()) commands.push_back(Describe(*command));
  }
  return {{"name", app.get_name()},
          {"text", app.get_description()},
          {"options", options},
          {"commands", commands},
          {"more", app.get_footer()}};
}

}  // namespace

void AddDescription(CLI::App& program) {
  const auto describe = [&program] {
    Json description = Describe(program);
    description["version"] = KTMP4_VERSION;
    std::puts(description.dump(1).c_str());
    throw CLI::Success();
  };
  program.add_flag_callback("--describe", describe)->group("")->trigger_on_parse();
}

}  // namespace kt
