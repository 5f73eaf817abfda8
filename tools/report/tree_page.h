#pragma once

#include <optional>
#include <string>

#include "tools/report/box_tree.h"

namespace kt {

/// The tree of boxes as a list to open and close, with what each box says. The one at `broken` is shown as
/// broken, and all around it is open; a link leads to it by "#broken".
std::string TreeHtml(FileBytes& file, const TreeBox& root, std::optional<u64> broken);

}  // namespace kt
