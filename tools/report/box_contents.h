#pragma once

#include <string>
#include <vector>

#include "tools/diagnosis/box_place.h"

namespace kt {

/// A value in a box: a text, or a number in decimal digits. Counts are easier to read in groups.
struct BoxValue {
  enum class Form { kText, kNumber, kCount };
  Form form = Form::kText;
  std::string text;
};

/// What a box says, in words: its fields, and the records of a table.
struct BoxContents {
  struct Field {
    std::string name;
    BoxValue value;
  };
  std::vector<Field> fields;
  std::vector<std::string> columns;
  std::vector<std::vector<BoxValue>> rows;  // the first ones
  u64 rowCount = 0;                         // that the table has
};

/// Reads them. Of a box that is not known there is nothing. `owner` is the code of the box that holds this
/// one.
BoxContents ReadBoxContents(FileBytes& file, const BoxPlace& box, u32 owner);

}  // namespace kt
