#include <memory>
#include <string>

#include "tools/arguments.h"
#include "tools/commands.h"
#include "tools/files/input_file.h"
#include "tools/report/tree_json.h"
#include "tools/terminal/failure.h"
#include "tools/terminal/standard_streams.h"

namespace kt {
namespace {

struct DumpArguments {
  InputChoice input;
  bool json = false;
};

void DumpAsJson(const InputChoice& choice) {
  const InputFile input(choice);
  FileBytes file(choice.name);
  if (file.Size() == 0) input.RequireOpen();
  PrintTreeJson(file, choice.name);
  input.RequireOpen();
}

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
  Command command(program, "dump", "Print the tree of boxes of a file");
  const auto arguments = std::make_shared<DumpArguments>();
  command.AddFlag("--json", &arguments->json, "Print JSON: each box with its path, place, size and fields");
  AddInputArgument(command, &arguments->input);
  command.Finish(
      "Of a refused file the boxes ahead of the fault are printed, and the exit code is 1. With --adapt it "
      "is\n"
      "the tree of the plain file that the file is read as. JSON tells the boxes of the file as they stand "
      "in "
      "it,\n"
      "with or without --adapt, those behind a fault too, and of a table its first records.",
      [arguments] {
        if (arguments->json) {
          DumpAsJson(arguments->input);
        } else {
          Dump(arguments->input);
        }
      });
}

}  // namespace kt
