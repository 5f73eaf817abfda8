#include <memory>
#include <string>

#include "tools/arguments.h"
#include "tools/commands.h"
#include "tools/files/input_file.h"
#include "tools/terminal/failure.h"
#include "tools/terminal/standard_streams.h"

namespace kt {
namespace {

void Dump(const std::string& name) {
  InputFile input(name);
  // Of a refused file the boxes up to the bad one are there; they show where it went wrong.
  const Mp4Result result = [&] {
    const ShownLibraryOutput shown;
    return input.File().Dump();
  }();
  input.RequireOpen();
  if (result) throw ResultFailure("cannot dump " + Quoted(name), result);
}

}  // namespace

void AddDumpCommand(CLI::App& program) {
  CLI::App* command = program.add_subcommand("dump", "Print the tree of boxes of a file");
  const auto file = std::make_shared<std::string>();
  AddFileArgument(*command, file.get());
  command->footer("Of a refused file the boxes ahead of the fault are printed, and the exit code is 1.");
  command->callback([file] { Dump(*file); });
}

}  // namespace kt
