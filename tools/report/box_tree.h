#pragma once

#include <string>
#include <vector>

#include "tools/diagnosis/box_place.h"

namespace kt {

/// What to do with a box that a walk has come to.
enum class BoxStep { kEnter, kPass, kEndList };

/// Is told of the boxes of a file by their sizes, those of all writers among them, in their order.
class BoxVisitor {
 public:
  virtual ~BoxVisitor() = default;
  /// `owner` is the code of the box around it, 0 at the top.
  virtual BoxStep Enter(const BoxPlace& box, u32 owner) = 0;
  /// Behind what is in a box that was entered.
  virtual void Leave() = 0;
  /// Why the list at hand ends where it does.
  virtual void TellFault(const std::string& fault) = 0;
};
void WalkBoxes(FileBytes& file, BoxVisitor& visitor);

/// A box of a file with those in it, as far as they are listed.
struct TreeBox {
  BoxPlace place;
  std::vector<TreeBox> children;
  u64 unlisted = 0;   // boxes that follow the children, and are left out
  std::string fault;  // why the list in this box ends where it does; empty when it is whole
};

/// The boxes of a file as a tree. The root stands for the file and is no box. Of a long list the beginning is
/// kept, and of all lists together no more than a page can show.
TreeBox ReadBoxTree(FileBytes& file);

}  // namespace kt
