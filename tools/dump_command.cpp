#include <memory>
#include <string>

#include "tools/arguments.h"
#include "tools/commands.h"
#include "tools/files/input_file.h"
#include "tools/terminal/failure.h"
#include "tools/terminal/standard_streams.h"

namespace kt {
namespace {

void Dump(const InputChoice& choice) {
  InputFile input(choice);
  // Of a refused file the whole boxes ahead of the bad one are there.
  const Mp4Result result = [&] {
    const ShownLibraryOutput shown;
    return input.File().Dump();
  }();
  input.RequireOpen();
  if (result) throw ResultFailure("cannot dump " + Quoted(choice.name), result);
}

}  // namespace

void AddDumpCommand(CLI::App& program) {
  CLI::App* command = program.add_subcommand("dump", "Print the tree of boxes of a file");
  const auto input = std::make_shared<InputChoice>();
  AddInputArgument(*command, input.get());
  command->footer(
      "Of a refused file the boxes ahead of the fault are printed, and the exit code is 1. With --adapt it "
      "is\n"
      "the tree of the plain file that the file is read as.");
  command->callback([input] { Dump(*input); });
}

}  // namespace kt
