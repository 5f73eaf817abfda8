#include "tools/command.h"

#include <CLI/CLI.hpp>
#include <algorithm>

namespace kt {
namespace {

CLI::Validator CheckOf(NumberRange range) {
  return CLI::Range(range.least, range.most).description("");
}

}  // namespace

Command::Command(CLI::App& program, const std::string& name, const std::string& text)
    : m_app(*program.add_subcommand(name, text)) {}

void Command::AddFlag(const std::string& name, bool* flag, const std::string& text) {
  m_app.add_flag(name, *flag, text);
}

void Command::AddText(const std::string& name, const std::string& value, const std::string& text,
                      const std::function<void(const std::string&)>& take, const ValueCheck& check) {
  CLI::Option* const option = m_app.add_option_function<std::string>(name, take, text)->type_name(value);
  if (check) option->check(CLI::Validator(check, ""));
}

void Command::AddNumber(const std::string& name, const std::string& value, const std::string& text,
                        NumberRange range, const std::function<void(u32)>& take) {
  m_app.add_option_function<u32>(name, take, text)->type_name(value)->check(CheckOf(range));
}

void Command::AddNumbers(const std::string& name, const std::string& value, const std::string& text,
                         NumberRange range, std::vector<u32>* numbers) {
  m_app.add_option(name, *numbers, text)->type_name(value)->allow_extra_args(false)->check(CheckOf(range));
}

void Command::AddWord(const std::string& name, const std::string& value, const std::string& text,
                      const std::vector<std::string>& words,
                      const std::function<void(const std::string&)>& take) {
  const std::string list = CLI::detail::generate_set(words);
  const auto refuse = [words, list](const std::string& word) {
    return std::ranges::count(words, word) == 0 ? word + " not in " + list : "";
  };
  m_app.add_option_function<std::string>(name, take, text)
      ->type_name(value)
      ->check(CLI::Validator(refuse, "").name(list));
}

void Command::AddShownWord(const std::string& name, const std::string& value, const std::string& text,
                           const std::vector<std::string>& words, std::string* taken) {
  m_app.add_option(name, *taken, text)
      ->type_name(value)
      ->check(CLI::IsMember(words, CLI::ignore_case))
      ->capture_default_str();
}

void Command::AddPlace(const std::string& name, std::string* taken, const std::string& text) {
  m_app.add_option(name, *taken, text)->required()->type_name("");
}

void Command::AddPlaces(const std::string& name, std::vector<std::string>* taken, const std::string& text) {
  m_app.add_option(name, *taken, text)->required()->type_name("");
}

void Command::Exclude(const std::string& one, const std::string& other) {
  m_app.get_option(one)->excludes(m_app.get_option(other));
}

void Command::Require(const std::string& name, const std::string& other) {
  m_app.get_option(name)->needs(m_app.get_option(other));
}

void Command::Finish(const std::string& more, const std::function<void()>& act) {
  m_app.footer(more);
  m_app.callback(act);
}

void RefuseUse(const std::string& argument, const std::string& why) {
  if (argument.empty()) throw CLI::ValidationError(why);
  throw CLI::ValidationError(argument, why);
}

}  // namespace kt
