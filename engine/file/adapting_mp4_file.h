#pragma once

#include <memory>

#include "adapt/adapted_file.h"
#include "engine/file/mp4_file_impl.h"
#include "engine/storage/memory_storage.h"

namespace kt {

/// The file object that reads its tree from the image of an adapted file, and all else as its base does.
class CAdaptingMp4File final : public CMp4FileImpl {
 public:
  using CMp4FileImpl::CMp4FileImpl;

  Mp4Result Open(const char* fileName, u32 mode, u32 fileType) override;
  /// What adapting told; null unless a file is open that was adapted. Borrowed.
  const CAdaptedFile* Adapted() const { return IsOpenToRead() ? m_adapted.get() : nullptr; }

 protected:
  Mp4Result OpenTree(CStorage* file, CStorage** tree, u64* size) override;

 private:
  std::unique_ptr<CAdaptedFile> m_adapted;
  std::unique_ptr<CMemoryStorage> m_image;  // over its image while the tree is read
  bool m_isStrict = false;                  // the file is read as it stands
};

}  // namespace kt
