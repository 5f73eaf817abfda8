#pragma once

#include <memory>

#include <ktmp4/result.h>

namespace kt {

class CESDescriptor;
class CInitialObjectDescriptor;
class CMp4File;
class CTrackReferenceBox;

// The MPEG-4 systems presentation of a file, in the form in which it is streamed: what a receiver needs to
// find the object descriptors and the scene without opening their tracks. ISO/IEC 14496-1.

struct ByteBlock {
  std::unique_ptr<u8[]> bytes;
  u32 size = 0;
};

/// The initial object descriptor for a session description, in the systems form and with the profiles of
/// `ofFile`: the ES descriptors of the first object descriptor track and of the first scene track, each with
/// what it carries in a data URL, of which the descriptor keeps no more than its length field can count.
///
/// MP4_NO_SCENE_TRACKS without either of these tracks, MP4_NOT_FOUND without video and audio or when a track
/// cannot be opened or has no ES descriptor, MP4_NO_MEMORY.
Mp4Result BuildSessionIod(CMp4File* file, const CInitialObjectDescriptor& ofFile, ByteBlock* block);

/// An object descriptor update for a video and an audio track, 0 for none; `*videoOdId` and `*audioOdId` take
/// the ids of their objects and stay as they are for none. With `references` the two are track ids that stand
/// among its "mpod" references, by which the objects point at them; with null they are indices, and their ES
/// descriptors are embedded. MP4_NOT_FOUND for none of both, MP4_NOT_READY for an id without a reference,
/// MP4_NO_MEMORY; what opening a track answers. ISO/IEC 14496-1, 7.2.5.5.
Mp4Result BuildOdUpdate(CMp4File* file, CTrackReferenceBox* references, u32 videoTrack, u32 audioTrack,
                        u32* videoOdId, u32* audioOdId, ByteBlock* block);

/// The BIFS command that shows and plays these objects. MP4_NOT_FOUND for none of both, MP4_NO_MEMORY.
Mp4Result BuildSceneCommand(u32 hasVideo, u32 hasAudio, ByteBlock* block);

/// A deep copy by way of the form that the descriptor has in a file; what cannot be written cannot be copied.
Mp4Result CloneEsDescriptor(CESDescriptor* source, std::unique_ptr<CESDescriptor>* copy);

}  // namespace kt
