// Copies the pictures and the sound of a film, into a file that is emptied first.
#include <cstdio>

#include <ktmp4/ktmp4.hpp>

namespace {

ktmp4::TrackWriter AddLike(ktmp4::Writer& writer, const ktmp4::Track& track) {
  const auto setUp = track.DecoderSetUp().value();
  const auto format = track.Format().value();
  if (track.Kind() == kt::MP4_KIND_AUDIO) {
    return writer.AddAudio({.sampleRate = track.TimeScale(), .setUp = setUp, .format = format}).value();
  }
  const auto [width, height] = track.VideoSize().value();
  return writer.AddVideo({width, height, setUp, track.TimeScale(), format}).value();
}

void Copy(const char* from, const char* to) {
  const auto movie = ktmp4::Movie::Open(from).value();
  auto writer = ktmp4::Writer::Create(to).value();
  for (const ktmp4::Track& track : movie.Tracks()) {
    if (track.Kind() != kt::MP4_KIND_VIDEO && track.Kind() != kt::MP4_KIND_AUDIO) continue;
    auto copy = AddLike(writer, track);
    for (const ktmp4::Sample sample : track.Samples()) {
      copy.Write(sample.Bytes().value(), sample.DecodingTime().value().count,
                 sample.CompositionTime().value().count, sample.IsSync().value())
          .value();
    }
    copy.Close().value();
  }
  writer.Close().value();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "copy_film FILE NEW_FILE\n");
    return 2;
  }
  try {
    Copy(argv[1], argv[2]);
    return 0;
  } catch (const ktmp4::Error& error) {
    std::fprintf(stderr, "copy_film: cannot copy %s to %s: %s\n", argv[1], argv[2], error.what());
    return 1;
  }
}
