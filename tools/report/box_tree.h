#pragma once

#include <string>
#include <vector>

#include "tools/diagnosis/box_place.h"

namespace kt {

/// A box of a file with those in it, as far as they are listed.
struct TreeBox {
  BoxPlace place;
  std::vector<TreeBox> children;
  u64 unlisted = 0;   // boxes that follow the children, and are left out
  std::string fault;  // why the list in this box ends where it does; empty when it is whole
};

/// The boxes of a file by their sizes, those of all writers among them. The root stands for the file and is
/// no box. Of a long list the beginning is kept, and of all lists together no more than a page can show.
TreeBox ReadBoxTree(FileBytes& file);

}  // namespace kt
