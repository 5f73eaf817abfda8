#include <ktmp4/result.h>

#include <iterator>

namespace kt {
namespace {

struct ResultRow {
  const char* name;
  const char* text;
};

// Indexed by the result's number.
constexpr ResultRow kRows[] = {
    {"MP4_OK", "the operation succeeded"},
    {"MP4_NO_MEMORY", "memory could not be allocated"},
    {"MP4_BAD_ARGUMENT", "an argument is null or out of range"},
    {"MP4_NOT_FOUND", "the item is not there, or the object is in the wrong open state"},
    {"MP4_FILE_IO", "a file operation failed or fell short"},
    {"MP4_NOT_READY", "the object has not been bound or initialised"},
    {"MP4_CORRUPT", "the sizes of the boxes contradict each other"},
    {"MP4_BUFFER_TOO_SMALL", "the buffer is too small for the data"},
    {"MP4_BAD_BOX", "a required box is missing, doubled or misplaced"},
    {"MP4_BAD_DESCRIPTOR", "a descriptor is malformed"},
    {"MP4_DESCRIPTOR_OVERRUN", "a descriptor is larger than what holds it"},
    {"MP4_END_OF_FILE", "the end of the file has been reached"},
    {"MP4_BAD_VALUE", "a stored value is invalid"},
    {"MP4_BAD_TIMING", "the times are impossible"},
    {"MP4_ALREADY_SET_UP", "the track has already been set up for writing"},
    {"MP4_BAD_COMMAND", "a command is malformed"},
    {"MP4_COMMAND_OVERRUN", "a command is larger than can be coded"},
    {"MP4_ZERO_INDEX", "an index that counts from 1 was 0"},
    {"MP4_OUT_OF_RANGE", "an access lies beyond the memory buffer"},
    {"MP4_NO_SCENE_TRACKS", "a hinted file of type MP4 lacks its object descriptor and scene tracks"},
};
static_assert(std::size(kRows) == MP4_NO_SCENE_TRACKS + 1);

}  // namespace

const char* Mp4ResultName(Mp4Result result) {
  return result < std::size(kRows) ? kRows[result].name : "MP4_UNKNOWN";
}

const char* Mp4ResultText(Mp4Result result) {
  return result < std::size(kRows) ? kRows[result].text : "a number that is no result of this library";
}

}  // namespace kt
