#include "boxes/tables/chunk_large_offset_box.h"

#include "boxes/tables/chunk_offset_box.h"

namespace kt {

Mp4Result CChunkLargeOffsetBox::CopyFrom(CChunkOffsetBox* box) {
  for (u32 chunk = 1;; ++chunk) {
    u32 offset = 0;
    const Mp4Result result = box->GetChunkOffset(chunk, &offset);
    if (result == MP4_NOT_FOUND) return MP4_OK;
    KT_TRY(result);
    KT_TRY(AddChunkOffset(chunk, offset));
  }
}

}  // namespace kt
