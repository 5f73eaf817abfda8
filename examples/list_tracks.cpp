// Opens a file, lists its tracks and reads the first sample of each: the library's reading half in one page.
#include <cstdio>
#include <memory>
#include <vector>

#include "engine/mp4_file.h"

namespace {

kt::Mp4Result ListTrack(kt::CMp4File& file, kt::u32 index) {
  kt::CMp4Track* track = nullptr;
  KT_TRY(file.OpenTrack(index, &track));
  kt::u32 kind = 0, samples = 0, timeScale = 0, size = 0;
  kt::Mp4Result result = track->GetTrackType(&kind);
  if (!result) result = track->GetSampleCount(&samples);
  if (!result) result = track->GetTimeScale(&timeScale);
  if (!result)
    std::printf("track %u: kind %u, %u samples, %u ticks per second\n", index, kind, samples, timeScale);
  if (!result && samples > 0) result = track->GetSampleSize(1, &size);
  std::vector<kt::u8> sample(size);
  if (!result && size > 0) {
    result = track->ReadSample(1, size, &size, sample.data());
    if (!result) std::printf("  sample 1: %u bytes, the first is %02x\n", size, sample[0]);
  }
  const kt::Mp4Result closed = file.CloseTrack(track);
  return result ? result : closed;
}

kt::Mp4Result ListTracks(kt::CMp4File& file, const char* name) {
  KT_TRY(file.Open(name, kt::MP4_MODE_READ, kt::MP4_TYPE_MP4));
  kt::u32 count = 0;
  KT_TRY(file.GetTrackCount(&count));
  for (kt::u32 index = 1; index <= count; ++index) KT_TRY(ListTrack(file, index));
  return file.Close();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "list_tracks FILE\n");
    return 2;
  }
  kt::CMp4File* made = nullptr;
  kt::Mp4Result result = kt::CreateMp4File(&made);
  const std::unique_ptr<kt::CMp4File> file(made);
  if (!result) result = ListTracks(*file, argv[1]);
  if (!result) return 0;
  std::fprintf(stderr, "%s: %s (%u): %s\n", argv[1], kt::Mp4ResultName(result), result,
               kt::Mp4ResultText(result));
  return 1;
}
