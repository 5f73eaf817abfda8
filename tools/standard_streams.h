#pragma once

#include <cstdio>
#include <string_view>

namespace kt {

/// Whether a person looks at what is written on `stream`.
bool IsTerminal(std::FILE* stream);

/// Writes on standard output; throws a `Failure` when that cannot take it.
void Print(std::string_view text);

/// Hands on everything that standard output still holds back; throws a `Failure` when something was lost.
void FlushOutput();

}  // namespace kt
