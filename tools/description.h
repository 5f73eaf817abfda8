#pragma once

namespace CLI {
class App;
}

namespace kt {

/// A hidden option, `--describe`, that prints the commands with their options and words as JSON: what manual
/// page and completions are made from. Comes behind all commands.
void AddDescription(CLI::App& program);

}  // namespace kt
