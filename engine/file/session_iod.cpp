#include "engine/file/session_iod.h"

#include <cstring>
#include <new>

#include <ktmp4/mp4_file.h>
#include "boxes/containers/track_reference_box.h"
#include "descriptors/es_descriptor.h"
#include "descriptors/initial_object_descriptor.h"
#include "descriptors/object_descriptor.h"
#include "descriptors/object_descriptor_update.h"
#include "engine/storage/memory_storage.h"
#include "engine/track/track_impl.h"
#include "hint/base64.h"
#include "hint/session_text.h"

namespace kt {
namespace {

// The scene commands below speak of these objects.
constexpr u16 kVideoObjectId = 20;
constexpr u16 kAudioObjectId = 10;

// The header of packets in a session description; what stands in a file has 2.
constexpr u8 kSlPredefinedNull = 1;

// A BIFS command frame that replaces the scene by the objects of the presentation. ISO/IEC 14496-11.
constexpr u8 kVideoScene[] = {0xC0, 0x10, 0x12, 0x61, 0x04, 0x88, 0x50, 0x45, 0x05, 0x3F, 0x00};
constexpr u8 kAudioScene[] = {0xC0, 0x10, 0x12, 0x81, 0x30, 0x2A, 0x05, 0x7C};
constexpr u8 kVideoAndAudioScene[] = {0xC0, 0x10, 0x12, 0x81, 0x30, 0x2A, 0x05, 0x72,
                                      0x61, 0x04, 0x88, 0x50, 0x45, 0x05, 0x3F, 0x00};

// A descriptor or command as it stands in a stream, header and body.
template <class Written>
Mp4Result SerializeWhole(Written* written, ByteBlock* block, u32* headerSize) {
  KT_TRY(written->CalculateSize());
  u32 bodySize = 0;
  KT_TRY(written->GetSize(&bodySize, headerSize));
  const u64 wholeSize = u64{bodySize} + *headerSize;
  block->size = static_cast<u32>(wholeSize);
  if (block->size != wholeSize) return MP4_NO_MEMORY;
  block->bytes.reset(new (std::nothrow) u8[block->size]);
  if (!block->bytes) return MP4_NO_MEMORY;
  CMemoryStorage storage;
  KT_TRY(storage.Open(block->bytes.get(), block->size, MP4_MODE_WRITE));
  KT_TRY(written->Serialize(&storage));
  return storage.Close();
}

Mp4Result CloneEsDescriptorOf(CTrackImpl* track, std::unique_ptr<CESDescriptor>* copy) {
  CESDescriptor* descriptor = nullptr;
  KT_TRY(track->GetEsDescriptor(1, &descriptor));
  return CloneEsDescriptor(descriptor, copy);
}

Mp4Result CopyProfiles(const CInitialObjectDescriptor& from, CInitialObjectDescriptor* to) {
  u8 level = 0;
  KT_TRY(from.GetOdProfileLevel(&level));
  KT_TRY(to->SetOdProfileLevel(level));
  KT_TRY(from.GetSceneProfileLevel(&level));
  KT_TRY(to->SetSceneProfileLevel(level));
  KT_TRY(from.GetAudioProfileLevel(&level));
  KT_TRY(to->SetAudioProfileLevel(level));
  KT_TRY(from.GetVisualProfileLevel(&level));
  KT_TRY(to->SetVisualProfileLevel(level));
  KT_TRY(from.GetGraphicsProfileLevel(&level));
  return to->SetGraphicsProfileLevel(level);
}

// The track object of a file is always of the one class that there is.
Mp4Result OpenTrackOf(CMp4File* file, u32 trackIndex, std::unique_ptr<CTrackImpl>* track) {
  CMp4Track* opened = nullptr;
  KT_TRY(file->OpenTrack(trackIndex, &opened));
  track->reset(static_cast<CTrackImpl*>(opened));
  return MP4_OK;
}

// A stream of the presentation together with what it carries, so that a receiver need not open it.
Mp4Result AddStreamWithContent(CInitialObjectDescriptor* descriptor, CTrackImpl* track, const char* mediaType,
                               const char* content) {
  std::unique_ptr<CESDescriptor> stream;
  KT_TRY(CloneEsDescriptorOf(track, &stream));
  KT_TRY(stream->SetSlPredefined(kSlPredefinedNull));
  SessionText url;
  KT_TRY(FormatDataUrl(mediaType, content, &url));
  KT_TRY(stream->SetUrl(url.get(), static_cast<u32>(std::strlen(url.get()))));
  return descriptor->AddEsDescriptor(std::move(stream));
}

Mp4Result EncodeBlock(const ByteBlock& block, SessionText* text) {
  u32 length = 0;
  return Base64Encode(block.bytes.get(), block.size, text, &length);
}

// The number of a track among the "mpod" references, counted from 1. MP4_NOT_READY when it is not there.
Mp4Result FindReferenceIndex(CTrackReferenceBox* references, u32 trackId, u32* index) {
  u32 count = 0;
  KT_TRY(references->GetReferenceCount(MP4_REFERENCE_OD, &count));
  for (*index = 1; *index <= count; ++*index) {
    u32 referred = 0;
    KT_TRY(references->GetReference(MP4_REFERENCE_OD, *index, &referred));
    if (referred == trackId) return MP4_OK;
  }
  return MP4_NOT_READY;
}

// The tracks of a presentation, as far as they stand in a file.
struct Presentation {
  u32 videoIndex = 0;  // 0 for none
  u32 audioIndex = 0;
  std::unique_ptr<CTrackImpl> objectDescriptors;
  std::unique_ptr<CTrackImpl> scene;
};

Mp4Result FindPresentation(CMp4File* file, Presentation* presentation) {
  u32 trackCount = 0;
  KT_TRY(file->GetTrackCount(&trackCount));
  for (u32 index = 1; index <= trackCount; ++index) {
    std::unique_ptr<CTrackImpl> track;
    KT_TRY(OpenTrackOf(file, index, &track));
    u32 kind = MP4_KIND_UNKNOWN;
    KT_TRY(track->GetTrackType(&kind));
    if (kind == MP4_KIND_VIDEO && presentation->videoIndex == 0) presentation->videoIndex = index;
    if (kind == MP4_KIND_AUDIO && presentation->audioIndex == 0) presentation->audioIndex = index;
    if (kind == MP4_KIND_OBJECT_DESCRIPTOR && !presentation->objectDescriptors) {
      presentation->objectDescriptors = std::move(track);
    } else if (kind == MP4_KIND_SCENE_DESCRIPTION && !presentation->scene) {
      presentation->scene = std::move(track);
    }
  }
  return presentation->objectDescriptors && presentation->scene ? MP4_OK : MP4_NO_SCENE_TRACKS;
}

// Points at the track by its reference or, without references, embeds its ES descriptor.
Mp4Result AddStream(CMp4File* file, CTrackReferenceBox* references, u32 track,
                    CObjectDescriptor* descriptor) {
  if (references != nullptr) {
    u32 index = 0;
    KT_TRY(FindReferenceIndex(references, track, &index));
    return descriptor->AddEsIdRef(index);
  }
  KT_TRY(descriptor->SetFileForm(0));
  std::unique_ptr<CTrackImpl> media;
  std::unique_ptr<CESDescriptor> stream;
  KT_TRY(OpenTrackOf(file, track, &media));
  KT_TRY(CloneEsDescriptorOf(media.get(), &stream));
  return descriptor->AddEsDescriptor(std::move(stream));
}

}  // namespace

Mp4Result CloneEsDescriptor(CESDescriptor* source, std::unique_ptr<CESDescriptor>* copy) {
  ByteBlock block;
  u32 headerSize = 0;
  KT_TRY(SerializeWhole(source, &block, &headerSize));
  CMemoryStorage storage;
  CBaseDescriptor header;
  KT_TRY(storage.Open(block.bytes.get(), headerSize, MP4_MODE_READ));
  KT_TRY(header.Deserialize(&storage));
  KT_TRY(storage.Close());
  std::unique_ptr<CESDescriptor> made(new (std::nothrow) CESDescriptor(&header));
  if (!made) return MP4_NO_MEMORY;
  KT_TRY(storage.Open(block.bytes.get() + headerSize, block.size - headerSize, MP4_MODE_READ));
  KT_TRY(made->Deserialize(&storage));
  *copy = std::move(made);
  return storage.Close();
}

Mp4Result BuildOdUpdate(CMp4File* file, CTrackReferenceBox* references, u32 videoTrack, u32 audioTrack,
                        u32* videoOdId, u32* audioOdId, ByteBlock* block) {
  if (videoTrack == 0 && audioTrack == 0) return MP4_NOT_FOUND;
  const struct {
    u32 track;
    u16 objectId;
    u32* storedId;
  } objects[] = {{videoTrack, kVideoObjectId, videoOdId}, {audioTrack, kAudioObjectId, audioOdId}};
  CObjectDescriptorUpdate update;
  for (const auto& object : objects) {
    if (object.track == 0) continue;
    std::unique_ptr<CObjectDescriptor> descriptor(new (std::nothrow) CObjectDescriptor);
    if (!descriptor) return MP4_NO_MEMORY;
    KT_TRY(descriptor->SetObjectDescriptorId(object.objectId));
    *object.storedId = object.objectId;
    KT_TRY(AddStream(file, references, object.track, descriptor.get()));
    KT_TRY(update.AddDescriptor(std::move(descriptor)));
  }
  u32 headerSize = 0;
  return SerializeWhole(&update, block, &headerSize);
}

Mp4Result BuildSceneCommand(u32 hasVideo, u32 hasAudio, ByteBlock* block) {
  if (hasVideo == 0 && hasAudio == 0) return MP4_NOT_FOUND;
  const auto copy = [block](const auto& command) {
    block->size = sizeof command;
    block->bytes.reset(new (std::nothrow) u8[sizeof command]);
    if (!block->bytes) return MP4_NO_MEMORY;
    std::memcpy(block->bytes.get(), command, sizeof command);
    return MP4_OK;
  };
  if (hasVideo == 0) return copy(kAudioScene);
  return hasAudio == 0 ? copy(kVideoScene) : copy(kVideoAndAudioScene);
}

Mp4Result BuildSessionIod(CMp4File* file, const CInitialObjectDescriptor& ofFile, ByteBlock* block) {
  Presentation presentation;
  KT_TRY(FindPresentation(file, &presentation));

  ByteBlock content;
  SessionText update;
  SessionText scene;
  u32 videoOdId = 0;
  u32 audioOdId = 0;
  KT_TRY(BuildOdUpdate(file, nullptr, presentation.videoIndex, presentation.audioIndex, &videoOdId,
                       &audioOdId, &content));
  KT_TRY(EncodeBlock(content, &update));
  KT_TRY(BuildSceneCommand(videoOdId, presentation.audioIndex, &content));
  KT_TRY(EncodeBlock(content, &scene));

  CInitialObjectDescriptor descriptor;
  KT_TRY(descriptor.SetFileForm(0));
  KT_TRY(descriptor.SetObjectDescriptorId(0));
  KT_TRY(descriptor.SetUrlFlag(0));
  KT_TRY(CopyProfiles(ofFile, &descriptor));
  KT_TRY(
      AddStreamWithContent(&descriptor, presentation.objectDescriptors.get(), "mpeg4-od-au", update.get()));
  KT_TRY(AddStreamWithContent(&descriptor, presentation.scene.get(), "mpeg4-bifs-au", scene.get()));
  u32 headerSize = 0;
  return SerializeWhole(&descriptor, block, &headerSize);
}

}  // namespace kt
