// Opens a file, lists its tracks and reads the first sample of each: the library's reading half in one page.
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <ktmp4/mp4_file.h>

namespace {

bool Report(const std::string& what, kt::Mp4Result result) {
  if (result) {
    std::fprintf(stderr, "%s: %s (%u): %s\n", what.c_str(), kt::Mp4ResultName(result), result,
                 kt::Mp4ResultText(result));
  }
  return result == kt::MP4_OK;
}

kt::Mp4Result ListTrack(kt::CMp4File& file, kt::u32 index, std::uintmax_t fileSize) {
  kt::CMp4Track* track = nullptr;
  KT_TRY(file.OpenTrack(index, &track));
  kt::u32 kind = 0, samples = 0, timeScale = 0, size = 0;
  kt::Mp4Result result = track->GetTrackType(&kind);
  if (!result) result = track->GetSampleCount(&samples);
  if (!result) result = track->GetTimeScale(&timeScale);
  if (!result)
    std::printf("track %u: kind %u, %u samples, %u ticks per second\n", index, kind, samples, timeScale);
  if (!result && samples > 0) result = track->GetSampleSize(1, &size);
  // A broken file may claim any size: no memory for what the file cannot hold.
  if (!result && size > fileSize) result = kt::MP4_FILE_IO;
  if (!result && size > 0) {
    std::vector<kt::u8> sample(size);
    result = track->ReadSample(1, size, &size, sample.data());
    if (!result) std::printf("  sample 1: %u bytes, the first is %02x\n", size, sample[0]);
  }
  const kt::Mp4Result closed = file.CloseTrack(track);
  return result ? result : closed;
}

bool ListTracks(kt::CMp4File& file, const std::string& name) {
  kt::u32 count = 0;
  kt::Mp4Result result = file.Open(name.c_str(), kt::MP4_MODE_READ, kt::MP4_TYPE_MP4);
  if (!result) result = file.GetTrackCount(&count);
  bool isWhole = Report(name, result);
  std::error_code unknown;  // the size is then the largest there is
  const std::uintmax_t fileSize = std::filesystem::file_size(name, unknown);
  for (kt::u32 index = 1; index <= count; ++index) {
    isWhole &= Report(name + ", track " + std::to_string(index), ListTrack(file, index, fileSize));
  }
  return isWhole;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "list_tracks FILE\n");
    return 2;
  }
  kt::CMp4File* made = nullptr;
  const kt::Mp4Result result = kt::CreateMp4File(&made);
  const std::unique_ptr<kt::CMp4File> file(made);
  return Report("a file object", result) && ListTracks(*file, argv[1]) ? 0 : 1;
}
