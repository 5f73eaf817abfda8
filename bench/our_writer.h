#pragma once

#include <memory>
#include <string>
#include <vector>

#include <ktmp4/mp4_file.h>
#include "bench/sound.h"

namespace kt {

/// A file of one sound track that is written through this library.
class COurWriter {
 public:
  explicit COurWriter(const std::string& path);

  void Write(const Sound& sound);
  void Finish();

 private:
  std::unique_ptr<CMp4File> m_file;
  CMp4Track* m_track = nullptr;
};

/// Copies both tracks of the film, always the sample that is decoded first, with its sync flag.
void OurRemux(const std::string& from, const std::string& to);
/// The same, and then a hint track for each, with packets of 1450 bytes, and the tracks of the scene.
void OurHintedRemux(const std::string& from, const std::string& to);

}  // namespace kt
