#pragma once

#include <ktmp4/types.h>

namespace kt {

/// The answer of every operation of the library; 0 is success.
enum [[nodiscard]] Mp4Result : u32;
enum Mp4Result : u32 {
  MP4_OK = 0,
  MP4_NO_MEMORY = 1,
  MP4_BAD_ARGUMENT = 2,
  MP4_NOT_FOUND = 3,
  MP4_FILE_IO = 4,
  MP4_NOT_READY = 5,
  MP4_CORRUPT = 6,
  MP4_BUFFER_TOO_SMALL = 7,
  MP4_BAD_BOX = 8,
  MP4_BAD_DESCRIPTOR = 9,
  MP4_DESCRIPTOR_OVERRUN = 10,
  MP4_END_OF_FILE = 11,
  MP4_BAD_VALUE = 12,
  MP4_BAD_TIMING = 13,
  MP4_ALREADY_SET_UP = 14,
  MP4_BAD_COMMAND = 15,
  MP4_COMMAND_OVERRUN = 16,
  MP4_ZERO_INDEX = 17,
  MP4_OUT_OF_RANGE = 18,
  MP4_NO_SCENE_TRACKS = 19,
};

/// The name of a result as it stands in the code ("MP4_CORRUPT"); "MP4_UNKNOWN" for a number that is none.
KT_API const char* Mp4ResultName(Mp4Result result);

/// One sentence on what a result means, without a full stop, for a person to read.
KT_API const char* Mp4ResultText(Mp4Result result);

}  // namespace kt

/// Returns from the enclosing function with the result of `expression` unless that is MP4_OK.
#define KT_TRY(expression)                                                        \
  do {                                                                            \
    if (const ::kt::Mp4Result ktResult = (expression); ktResult) return ktResult; \
  } while (false)
