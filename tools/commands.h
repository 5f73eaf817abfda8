#pragma once

namespace CLI {
class App;
}

namespace kt {

/// Each adds one command to the program: its arguments, its help and what it does. A command runs while the
/// program's arguments are parsed; it throws `Failure` or `Interrupted`.
void AddDumpCommand(CLI::App& program);
void AddInfoCommand(CLI::App& program);
void AddSamplesCommand(CLI::App& program);
void AddExtractCommand(CLI::App& program);
void AddPlayCommand(CLI::App& program);
void AddRemuxCommand(CLI::App& program);
void AddHintCommand(CLI::App& program);
void AddSdpCommand(CLI::App& program);
void AddHintsCommand(CLI::App& program);
void AddAddCaptionsCommand(CLI::App& program);
void AddCaptionsCommand(CLI::App& program);
void AddReportCommand(CLI::App& program);

}  // namespace kt
