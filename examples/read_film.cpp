// Reads every sample of a film: when it is shown, and how many bytes it has.
#include <cstdio>

#include <ktmp4/ktmp4.hpp>

int main(int argc, char** argv) try {
  if (argc != 2) return std::fprintf(stderr, "read_film FILE\n"), 2;
  const auto movie = ktmp4::Movie::Open(argv[1]).value();
  for (const ktmp4::Track& track : movie.Tracks()) {
    std::printf("kind %u, %u samples\n", track.Kind(), track.SampleCount());
    for (const ktmp4::Sample sample : track.Samples()) {
      const auto bytes = sample.Bytes().value();
      std::printf("%10.3f s %8zu bytes\n", sample.CompositionTime().value().Seconds(), bytes.size());
    }
  }
} catch (const ktmp4::Error& error) {
  std::fprintf(stderr, "read_film: cannot read %s: %s\n", argv[1], error.what());
  return 1;
}
