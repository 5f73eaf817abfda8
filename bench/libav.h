#pragma once

// The peer's headers are C and not written to this project's warnings.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wold-style-cast"
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wsign-conversion"
#pragma GCC diagnostic ignored "-Wpedantic"
extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
}
#pragma GCC diagnostic pop
