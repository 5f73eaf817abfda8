#pragma once

#include <string>
#include <vector>

#include "bench/our_reader.h"
#include "bench/sound.h"

namespace kt {

/// What the system and `memcpy` need for the same bytes without any tables to ask: the least that reading can
/// cost. A failing call ends the program.
class CRawReader {
 public:
  /// Takes the sizes of all samples from the file's tables beforehand; these are not measured.
  explicit CRawReader(const std::string& path);
  CRawReader(const CRawReader&) = delete;
  CRawReader& operator=(const CRawReader&) = delete;
  ~CRawReader();

  /// The file from its first byte on in reads of 64 KiB, and out of these as many bytes for each sample as it
  /// has; one pass, whatever the tracks. Answers the samples.
  u64 ReadAndCopy();
  /// One track after the other, of which half a second of each lies in turn: one read of the system for each
  /// of these. Answers the samples.
  u64 ReadTurnsAndCopy();
  /// As `ReadAndCopy`, and the samples one after the other into a file in writes of 64 KiB.
  u64 ReadAndWrite(const std::string& path);
  /// Bytes of one track's samples by one call of the system for each, at places spread over the file as the
  /// samples are over their track.
  u64 ReadEach(u32 track, const std::vector<u32>& samples);

 private:
  void LayOutTurns(COurReader& reader);
  template <typename Take>
  u64 ReadSamples(Take take);

  int m_file;
  struct Turn {
    u64 position;
    u32 size;  // bytes
    u32 samples;
  };

  u64 m_size = 0;
  std::vector<std::vector<u32>> m_sizes;   // by track
  std::vector<std::vector<Turn>> m_turns;  // by track
  std::vector<u8> m_block = std::vector<u8>(1 << 16);
  std::vector<u8> m_sample = std::vector<u8>(1 << 16);
};

/// The bytes of the samples into a file in writes of 64 KiB.
void WriteRaw(const Sound& sound, const std::string& path);

}  // namespace kt
