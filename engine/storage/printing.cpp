#include "engine/storage/printing.h"

#include <cstdio>

namespace kt {

void PrintIndent(int indent) {
  for (; indent > 0; --indent) std::fputs("  ", stdout);
}

}  // namespace kt
