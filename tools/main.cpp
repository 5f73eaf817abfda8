#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <span>
#include <string>
#include <string_view>

#include "tools/commands.h"
#include "tools/description.h"
#include "tools/terminal/failure.h"
#include "tools/terminal/interrupts.h"
#include "tools/terminal/memory_lack.h"
#include "tools/terminal/standard_streams.h"

namespace {

enum ExitCode { kDone = 0, kFailed = 1, kWrongUse = 2 };

// "ktmp4 info", or "ktmp4" when it did not come to a command.
std::string CommandName(const CLI::App& program) {
  const auto commands = program.get_subcommands();
  return commands.empty() ? "ktmp4" : "ktmp4 " + commands.front()->get_name();
}

using Arguments = std::span<char* const>;  // those behind the program's name

// The first one that looks like options of one letter each, which would have acted; empty when there is none.
std::string DashedName(Arguments arguments) {
  for (const std::string_view argument : arguments) {
    if (argument == "--") break;
    const bool isNumber = argument.find_first_not_of("-0123456789.") == argument.npos;
    if (argument.size() > 1 && argument[0] == '-' && argument[1] != '-' && !isNumber) {
      return std::string(argument);
    }
  }
  return {};
}

// What is wrong with the arguments. Of a command that does not exist the parser only says that one is
// missing, and a name that begins with a dash it takes apart.
std::string WrongUse(const CLI::App& program, const std::string& message, Arguments arguments) {
  const bool isCommand = program.get_subcommands().empty() && !arguments.empty() && arguments[0][0] != '-';
  const std::string dashed = DashedName(arguments);
  const std::string text =
      isCommand ? "there is no command " + kt::Quoted(arguments[0])
      : dashed.empty()
          ? kt::OneLine(message)
          : kt::Quoted(dashed) + " is no option; a file name that begins with a dash goes behind \"--\"";
  return text + " (see " + CommandName(program) + " --help)";
}

int Report(const CLI::App& program, const std::string& text, ExitCode code) {
  // What went to standard output belongs before the line that ends it.
  std::fflush(stdout);
  kt::PrintMessage(CommandName(program), text, kt::Style::kRed);
  return code;
}

void SetUp(CLI::App& program) {
  program.name("ktmp4");
  program.require_subcommand(1);
  program.allow_windows_style_options(false);  // "/media/clip.mp4" is a file everywhere
  program.set_version_flag("-V,--version", "ktmp4 " KTMP4_VERSION, "Print the version and exit");
  program.set_help_flag("-h,--help", "Print this help and exit");
  program.footer(
      "\"ktmp4 COMMAND --help\" tells more about a command. The exit code is 0, 1 when the work could not\n"
      "be done, 2 for wrong use. A file name that begins with a dash goes behind \"--\".");
  kt::AddDumpCommand(program);
  kt::AddInfoCommand(program);
  kt::AddSamplesCommand(program);
  kt::AddExtractCommand(program);
  kt::AddPlayCommand(program);
  kt::AddRemuxCommand(program);
  kt::AddAddCaptionsCommand(program);
  kt::AddCaptionsCommand(program);
  kt::AddHintCommand(program);
  kt::AddSdpCommand(program);
  kt::AddHintsCommand(program);
  kt::AddReportCommand(program);
  kt::AddDescription(program);
}

int Run(int argc, char** argv) {
  const Arguments arguments = Arguments(argv, static_cast<std::size_t>(argc)).subspan(argc > 0 ? 1 : 0);
  CLI::App program("Reads and writes ISO base media files (.mp4, .3gp, .m4a).");
  try {
    SetUp(program);
    program.parse(argc, argv);
    kt::FlushOutput();
    return kDone;
  } catch (const CLI::Success& wish) {
    program.exit(wish);
    return kDone;
  } catch (const CLI::ParseError& error) {
    return Report(program, WrongUse(program, error.what(), arguments), kWrongUse);
  } catch (const kt::Interrupted& interrupted) {
    Report(program, "interrupted", kFailed);
    kt::EndBySignal(interrupted.signalNumber);
  } catch (const kt::FailureTold&) {
    return kFailed;
  } catch (const std::bad_alloc&) {
    return Report(program, "there is not enough memory", kFailed);
  } catch (const std::exception& failure) {
    return Report(program, failure.what(), kFailed);
  }
}

}  // namespace

int main(int argc, char** argv) {
  try {
    kt::WatchMemory();
    kt::TakeSizeLimitAsFailure();
    kt::KeepOutputAsWritten();
    return Run(argc, argv);
  } catch (...) {
    // Even the telling of what went wrong has failed.
    std::fputs("ktmp4: there is not enough memory\n", stderr);
    return kFailed;
  }
}
