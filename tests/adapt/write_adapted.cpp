// write_adapted IN OUT: OUT is a file that the strict reader takes, with the samples of IN.
#include <algorithm>
#include <cstdio>
#include <fstream>

#include "adapt/adapted_file.h"
#include "support/temp_file.h"

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  kt::CStorage storage;
  kt::CAdaptedFile adapted;
  kt::Mp4Result result = storage.Open(argv[1], kt::MP4_MODE_READ);
  if (!result) result = adapted.Read(&storage);
  if (result) {
    std::fprintf(stderr, "%s: %s\n", argv[1], kt::Mp4ResultName(result));
    return 1;
  }
  // The file goes into a "free" box: its samples stay where they are.
  std::vector<kt::u8> file = kt::test::ReadFile(argv[1]);
  const kt::u32 size = static_cast<kt::u32>(file.size());
  const kt::u8 header[] = {static_cast<kt::u8>(size >> 24),
                           static_cast<kt::u8>(size >> 16),
                           static_cast<kt::u8>(size >> 8),
                           static_cast<kt::u8>(size),
                           'f',
                           'r',
                           'e',
                           'e'};
  std::copy_n(header, sizeof(header), file.begin());
  file.insert(file.end(), adapted.Image(), adapted.Image() + adapted.ImageSize());
  std::ofstream(argv[2], std::ios::binary)
      .write(reinterpret_cast<const char*>(file.data()), static_cast<std::streamsize>(file.size()));
  return 0;
}
