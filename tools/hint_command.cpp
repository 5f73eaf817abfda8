#include <map>
#include <memory>
#include <string>
#include <vector>

#include "tools/arguments.h"
#include "tools/commands.h"
#include "tools/copy/movie_copy.h"
#include "tools/copy/track_hinting.h"
#include "tools/terminal/failure.h"

namespace kt {
namespace {

struct HintArguments {
  InputChoice input;
  CopyTarget target;
  HintWishes wishes;
};

// The tracks that the scene of an MPEG-4 file shows, by index; 0 for none.
struct Scene {
  u32 video = 0;
  u32 audio = 0;
  u32 text = 0;
};

// The first track of each kind, which is the one that the file's description speaks of.
Scene SceneOf(const MovieCopy& copy) {
  Scene scene;
  u32 index = 0;
  for (const auto& track : copy.Copies()) {
    u32* const place = track->Kind() == MP4_KIND_VIDEO   ? &scene.video
                       : track->Kind() == MP4_KIND_AUDIO ? &scene.audio
                                                         : &scene.text;
    if (++index, *place == 0) *place = index;
  }
  return scene;
}

void RequireScene(const MovieCopy& copy, const Scene& scene, const std::string& operation) {
  const std::string remedy = "; --type 3gp makes a file that does without";
  if (scene.video == 0 && scene.audio == 0) {
    throw Failure(operation + ": a file of type mp4 needs video or sound for its scene" + remedy);
  }
  for (const u32 index : {scene.video, scene.audio}) {
    if (index == 0) continue;
    const TrackCopy& track = *copy.Copies()[index - 1];
    if (track.Format() == MP4_FORMAT_MP4V || track.Format() == MP4_FORMAT_MP4A) continue;
    std::string complaint = operation;
    complaint += ": " + track.Name();
    complaint += " (H.263 or AMR) has no ES descriptor, which the scene of a file of type mp4 needs";
    throw Failure(complaint + remedy);
  }
}

std::vector<TrackHinting> PlanHints(const MovieCopy& copy, const HintWishes& wishes,
                                    const std::string& operation, const Notes& notes) {
  constexpr std::size_t kPayloadNumbers = 128 - 96;  // the dynamic ones
  std::vector<TrackHinting> plan;
  u32 index = 0;
  for (const auto& track : copy.Copies()) {
    TrackHinting hinting(*track, ++index, wishes);
    std::string obstacle = hinting.Obstacle();
    if (plan.size() == kPayloadNumbers) obstacle = "there are no payload numbers left";
    if (!obstacle.empty()) {
      notes(track->Name() + " is copied and not hinted: " + obstacle);
      continue;
    }
    if (const std::string loss = hinting.Loss(); !loss.empty()) notes(loss);
    plan.push_back(std::move(hinting));
  }
  if (plan.empty()) throw Failure(operation + ": there is no track that can be hinted");
  return plan;
}

void Hint(const HintArguments& arguments) {
  const Notes notes = NotesOf("hint");
  MovieCopy copy(arguments.input, arguments.target, notes);
  copy.Choose({});
  copy.Examine();
  const std::string operation = "cannot hint " + Quoted(arguments.input.name);
  const std::vector<TrackHinting> plan = PlanHints(copy, arguments.wishes, operation, notes);
  const bool hasScene = copy.Type() == MP4_TYPE_MP4;
  const Scene scene = SceneOf(copy);
  if (hasScene) RequireScene(copy, scene, operation);
  copy.Write([&](CMp4File& output, std::string* part) {
    *part = "the tracks of its scene";
    if (hasScene) KT_TRY(output.AddSceneTracks(scene.video, scene.audio, scene.text));
    for (const TrackHinting& hinting : plan) {
      *part = hinting.Name();
      KT_TRY(hinting.Add(output));
    }
    return MP4_OK;
  });
}

}  // namespace

void AddHintCommand(CLI::App& program) {
  Command command(program, "hint", "Copy a file and add hint tracks, by which servers stream it");
  const auto arguments = std::make_shared<HintArguments>();
  const std::map<std::string, bool> framings = {{"generic", false}, {"latm", true}};
  command.AddChoice("--aac", "FRAMING", "How AAC is packed: generic (AAC-hbr) or latm", framings,
                    &arguments->wishes.latm);
  command.AddNumber("--packet-size", "N", "Bytes of payload in a packet [500]", {16, 65535},
                    [arguments](u32 bytes) { arguments->wishes.packetSize = static_cast<u16>(bytes); });
  command.AddNumber("--samples-per-packet", "N", "Frames of sound in a packet at most [generic 1, latm 3]",
                    {1, 64}, [arguments](u32 number) { arguments->wishes.samplesPerPacket = number; });
  AddTypeOption(command, &arguments->target.type);
  AddInputArgument(command, &arguments->input, "IN");
  AddOutputArguments(command, &arguments->target.name, &arguments->target.force);
  command.Finish(
      "Tracks are copied as by \"ktmp4 remux\"; those of MPEG-4 visual, AAC and Line 21 get a hint track\n"
      "each, and standard error says which others do not and why. A file of type mp4 also gets the object\n"
      "descriptor and scene tracks that its session description needs. The samples that still gather for a\n"
      "packet at the end of a track are not hinted: the last one, up to two of captions, up to three of\n"
      "LATM; a track that has no more gets no hints. Packets tell when samples are decoded, so that\n"
      "players show B-frames out of order. Captions go as \"608B\", a payload format of this program's own.\n"
      "\"ktmp4 sdp\" prints the session description.",
      [arguments] { Hint(*arguments); });
}

}  // namespace kt
