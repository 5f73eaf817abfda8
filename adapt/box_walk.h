#pragma once

#include <initializer_list>

#include "adapt/bytes.h"

namespace kt::adapt {

/// One box: its code and what stands behind its header, cut where the bytes around it end.
struct BoxView {
  u32 code = 0;
  CBytes payload;
  CBytes whole;
};

/// Goes through the boxes that lie one behind the other in `bytes`, by their sizes alone. ISO/IEC 14496-12,
/// 4.2. A size of 0 reaches to the end; a size below the header's own, as in the zero word by which QuickTime
/// ends a list, ends the walk.
class CBoxWalk {
 public:
  explicit CBoxWalk(CBytes bytes) : m_rest(bytes) {}
  /// False when there is no further box.
  bool Next(BoxView* box);

 private:
  CBytes m_rest;
};

/// A box that is looked for among its siblings.
struct WantedBox {
  u32 code;
  CBytes* payload;
};

/// Stores the payload of the first box of each wanted code; the others become empty. One pass.
void FindBoxes(CBytes within, std::initializer_list<WantedBox> wanted);

/// True with the payload of the first box of this code; an empty box counts.
bool FindBox(CBytes within, u32 code, CBytes* payload);

}  // namespace kt::adapt
