#include <cstdio>
#include <memory>
#include <string>

#include "tools/arguments.h"
#include "tools/commands.h"
#include "tools/files/input_file.h"
#include "tools/files/output_file.h"
#include "tools/report/report_page.h"
#include "tools/terminal/standard_streams.h"

namespace kt {
namespace {

struct ReportArguments {
  InputChoice input;
  std::string output;
  bool force = false;
};

void Report(const ReportArguments& arguments) {
  if (arguments.output.empty() && IsTerminal(stdout)) {
    RefuseUse("", "standard output is a terminal: -o OUT.html says where the page goes");
  }
  InputFile input(arguments.input);
  FileBytes file(arguments.input.name);
  if (file.Size() == 0) input.RequireOpen();
  const std::string page = ReportPage(GatherReport(input), file);
  if (arguments.output.empty()) {
    Print(page);
  } else {
    OutputFile output(arguments.output, arguments.input.name, arguments.force);
    output.Write(reinterpret_cast<const u8*>(page.data()), page.size());
    output.Finish();
  }
  input.RequireOpen();
}

}  // namespace

void AddReportCommand(CLI::App& program) {
  Command command(program, "report", "Show a file at a glance, as a page for the browser");
  const auto arguments = std::make_shared<ReportArguments>();
  command.AddText("-o", "OUT.html", "The page to write; standard output without it",
                  [arguments](const std::string& name) { arguments->output = name; });
  command.AddFlag("--force", &arguments->force, "Replace OUT.html when there is such a file already");
  AddInputArgument(command, &arguments->input);
  command.Finish(
      "The page is one file that needs nothing from outside. It shows the tracks, bit rates over the time, "
      "sync\n"
      "samples, sizes of samples, where the tracks lie in the file, edits, captions, hint packets, and all "
      "boxes\n"
      "with what they say. Of a file that is refused it shows the boxes and which of them broke it; the "
      "exit\n"
      "code is 1 then.",
      [arguments] { Report(*arguments); });
}

}  // namespace kt
