// The MPEG-4 systems side of the file object: the tracks of the object descriptors and of the scene.
// ISO/IEC 14496-1 and -14.

#include "boxes/containers/movie_box.h"
#include "boxes/containers/track_box.h"
#include "boxes/containers/track_reference_box.h"
#include "boxes/headers/movie_header_box.h"
#include "boxes/object_descriptor_box.h"
#include "engine/box/child_boxes.h"
#include "engine/file/mp4_file_impl.h"
#include "engine/file/session_iod.h"
#include "engine/track/track_impl.h"

namespace kt {
namespace {

// What the decoder of the scene is told: a BIFS configuration. ISO/IEC 14496-11.
constexpr u8 kSceneDecoderInfo[] = {0x00, 0x00, 0x40};

// A media track of the presentation, and how long it lasts.
struct NamedTrack {
  u32 id = 0;         // 0 for none
  u64 duration = 0;   // in movie ticks
  u32 timeScale = 0;  // media ticks per second
};

// A track that cannot be found, or is not complete yet, is none.
Mp4Result LookAtTrack(CMp4File* file, u32 trackIndex, NamedTrack* named) {
  CMp4Track* opened = nullptr;
  const Mp4Result result = file->OpenTrack(trackIndex, &opened);
  if (result == MP4_NOT_FOUND) return MP4_OK;
  KT_TRY(result);
  const std::unique_ptr<CMp4Track> track(opened);
  KT_TRY(track->GetTrackId(&named->id));
  KT_TRY(track->GetDuration(&named->duration));
  return track->GetTimeScale(&named->timeScale);
}

Mp4Result ReferToTrack(CTrackReferenceBox* references, u32 trackId) {
  u32 index = 0;
  return trackId == 0 ? MP4_OK : references->AddTrackReference(MP4_REFERENCE_OD, trackId, &index);
}

// The only sample of a track, which is complete with it.
Mp4Result WriteOnlySample(const ByteBlock& block, CTrackImpl* track) {
  KT_TRY(track->WriteSample(block.bytes.get(), block.size, 0, 0, 1));
  return track->Finish();
}

}  // namespace

Mp4Result CMp4FileImpl::AddSystemsTrack(u32 kind, std::span<const u8> decoderInfo, u64 duration,
                                        u32 timeScale, std::unique_ptr<CTrackImpl>* track) {
  CMp4Track* added = nullptr;
  KT_TRY(AddTrack(&added));
  track->reset(static_cast<CTrackImpl*>(added));
  KT_TRY(added->SetTrackType(kind));
  KT_TRY((*track)->SetMpeg4SystemsFormat(decoderInfo.data(), static_cast<u32>(decoderInfo.size())));
  KT_TRY((*track)->SetDuration(duration));
  return added->SetTimeScale(timeScale);
}

Mp4Result CMp4FileImpl::FindTrackReferences(u32 trackIndex, CTrackReferenceBox** references) {
  CTrackBox* track = nullptr;
  KT_TRY(GetTrackBox(trackIndex, &track));
  return EnsureChild(track, references);
}

Mp4Result CMp4FileImpl::AddSceneTracks(u32 videoTrack, u32 audioTrack, u32 thirdTrack) {
  // Ahead of everything, so that a file that cannot hold a presentation gets no tracks of one.
  CMovieBox* movie = nullptr;
  CObjectDescriptorBox* descriptor = nullptr;
  KT_TRY(FindMovie(&movie));
  KT_TRY(RequireChild(movie, &descriptor));

  NamedTrack video;
  NamedTrack audio;
  NamedTrack third;  // its failure counts, and it has no part in the presentation
  KT_TRY(LookAtTrack(this, videoTrack, &video));
  KT_TRY(LookAtTrack(this, audioTrack, &audio));
  KT_TRY(LookAtTrack(this, thirdTrack, &third));
  if (video.id == 0 && audio.id == 0) return MP4_NOT_FOUND;
  u32 movieTimeScale = 0;
  KT_TRY(GetMovieTimeScale(&movieTimeScale));  // for its failure alone
  const NamedTrack& first = video.id != 0 ? video : audio;

  std::unique_ptr<CTrackImpl> objectDescriptors;
  CTrackReferenceBox* references = nullptr;
  ByteBlock block;
  u32 videoOdId = 0;
  u32 audioOdId = 0;
  u32 odTrackId = 0;
  KT_TRY(
      AddSystemsTrack(MP4_KIND_OBJECT_DESCRIPTOR, {}, first.duration, first.timeScale, &objectDescriptors));
  KT_TRY(objectDescriptors->GetTrackId(&odTrackId));  // which is the index of a track that is written
  KT_TRY(FindTrackReferences(odTrackId, &references));
  KT_TRY(ReferToTrack(references, video.id));
  KT_TRY(ReferToTrack(references, audio.id));
  KT_TRY(BuildOdUpdate(this, references, video.id, audio.id, &videoOdId, &audioOdId, &block));
  KT_TRY(WriteOnlySample(block, objectDescriptors.get()));

  std::unique_ptr<CTrackImpl> scene;
  u32 sceneTrackId = 0;
  KT_TRY(AddSystemsTrack(MP4_KIND_SCENE_DESCRIPTION, kSceneDecoderInfo, first.duration, first.timeScale,
                         &scene));
  KT_TRY(scene->GetTrackId(&sceneTrackId));
  KT_TRY(BuildSceneCommand(videoOdId, audioOdId, &block));
  KT_TRY(WriteOnlySample(block, scene.get()));

  KT_TRY(descriptor->AddEsId(sceneTrackId));
  KT_TRY(descriptor->AddEsId(odTrackId));
  CMovieHeaderBox* header = nullptr;
  KT_TRY(FindMovieHeader(&header));
  return header->SetDuration(first.duration);
}

}  // namespace kt
