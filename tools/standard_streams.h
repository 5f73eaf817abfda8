#pragma once

#include <cstdio>
#include <string_view>

namespace kt {

/// Whether a person looks at what is written on `stream`.
bool IsTerminal(std::FILE* stream);

/// What is written on standard output is what arrives, on Windows too: a session description is told to end
/// its lines in its own way, and the other texts are the same bytes everywhere.
void KeepOutputAsWritten();

/// Writes on standard output; throws a `Failure` when that cannot take it.
void Print(std::string_view text);

/// Hands on everything that standard output still holds back; throws a `Failure` when something was lost.
void FlushOutput();

}  // namespace kt
