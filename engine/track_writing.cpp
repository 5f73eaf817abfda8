// The writing half of a track, which is not available yet: no file can be opened to write, so no track is
// ever set up for it. What is answered here is what a track that is read answers for good, but for
// `SetTrackType`.

#include "engine/track_impl.h"

namespace kt {

Mp4Result CTrackImpl::RefuseWriting() const {
  return m_bound ? MP4_NOT_FOUND : MP4_NOT_READY;
}

Mp4Result CTrackImpl::Finish() {
  return MP4_OK;
}

Mp4Result CTrackImpl::SetTrackType(u32 /*kind*/) {
  return MP4_NOT_READY;  // not available yet
}

Mp4Result CTrackImpl::SetTimeScale(u32 /*scale*/) {
  return RefuseWriting();
}

Mp4Result CTrackImpl::SetDimensions(u32 /*width*/, u32 /*height*/) {
  return RefuseWriting();
}

Mp4Result CTrackImpl::SetVideoFormat(u32 /*width*/, u32 /*height*/, const void* /*info*/, u32 /*infoSize*/,
                                     u32 /*format*/) {
  return RefuseWriting();
}

Mp4Result CTrackImpl::SetAudioFormat(i16 /*volume*/, u16 /*balance*/, const void* /*info*/, u32 /*infoSize*/,
                                     u32 /*format*/) {
  return RefuseWriting();
}

Mp4Result CTrackImpl::SetLine21Format(u32 /*reserved1*/, u32 /*reserved2*/, u32 /*reserved3*/) {
  return RefuseWriting();
}

Mp4Result CTrackImpl::WriteSample(const void* /*data*/, u32 /*size*/, u64 /*decodingTime*/,
                                  u64 /*compositionTime*/, u32 /*isSync*/) {
  return RefuseWriting();
}

}  // namespace kt
