#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <ktmp4/types.h>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace kt {

/// What is wrong with the value of an argument; empty when it can be taken.
using ValueCheck = std::function<std::string(const std::string&)>;

/// The numbers that an option takes.
struct NumberRange {
  u32 least = 0;
  u32 most = 0;
};

/// A command of the program, whose arguments go to where they are said to while the program's are parsed.
/// `value` is what help calls the value of an option, `text` what it says of it.
class Command {
 public:
  Command(CLI::App& program, const std::string& name, const std::string& text);

  void AddFlag(const std::string& name, bool* flag, const std::string& text);
  void AddText(const std::string& name, const std::string& value, const std::string& text,
               const std::function<void(const std::string&)>& take, const ValueCheck& check = nullptr);
  void AddNumber(const std::string& name, const std::string& value, const std::string& text,
                 NumberRange range, const std::function<void(u32)>& take);
  /// One that can be repeated.
  void AddNumbers(const std::string& name, const std::string& value, const std::string& text,
                  NumberRange range, std::vector<u32>* numbers);
  /// One that takes one of a few words, each of which stands for a choice.
  template <class Choice, class Taken>
  void AddChoice(const std::string& name, const std::string& value, const std::string& text,
                 const std::map<std::string, Choice>& choices, Taken* taken) {
    std::vector<std::string> words;
    words.reserve(choices.size());
    for (const auto& [word, choice] : choices) words.push_back(word);
    AddWord(name, value, text, words, [=](const std::string& word) { *taken = choices.at(word); });
  }
  /// One that takes one of a few words in any case, and has one of them by itself, as help shows.
  void AddShownWord(const std::string& name, const std::string& value, const std::string& text,
                    const std::vector<std::string>& words, std::string* taken);

  /// Arguments that are not optional, by their places.
  void AddPlace(const std::string& name, std::string* taken, const std::string& text);
  void AddPlaces(const std::string& name, std::vector<std::string>* taken, const std::string& text);

  void Exclude(const std::string& one, const std::string& other);
  /// The first option is of use with the second alone.
  void Require(const std::string& name, const std::string& other);

  /// Closes its help with a text and says what it does.
  void Finish(const std::string& more, const std::function<void()>& act);

 private:
  void AddWord(const std::string& name, const std::string& value, const std::string& text,
               const std::vector<std::string>& words, const std::function<void(const std::string&)>& take);

  CLI::App& m_app;
};

/// Ends a command as one that was used wrongly: what is wrong, ahead of it the argument if one is.
[[noreturn]] void RefuseUse(const std::string& argument, const std::string& why);

}  // namespace kt
