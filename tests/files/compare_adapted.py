#!/usr/bin/env python3
"""Compares what the program reads from adapted files with what ffprobe reads from them.

usage: compare_adapted.py KTMP4 FILE_OR_FOLDER...

Every sample of every track: size, sync flag and bytes, and times that differ from those of ffprobe by one constant over
all tracks. What `remux --adapt` writes has to be plain: the strict reader finds the same samples in it at the same
times, and ffprobe the same bytes, with pictures and sound as far apart. ffmpeg makes files of its own, with its
defaults and with each odd option that it has; files of other programs in the folder corpus-today beside the one that
KTMP4_CORPUS names are compared too where they stand.
"""

import shutil
import subprocess
import sys
from fractions import Fraction
from functools import partial

from compare_copies import WRITABLE
from compare_with_ffprobe import (
    CORPUS, bytes_of, compare_track, media_files, readable, run, run_jobs, samples_of, streams_of, tracks_of
)


def by_number(streams):
    return {int(stream["id"], 16): stream for stream in streams}


def without_hidden_end(packets, count):
    """Packets behind the end of an edit, which ffprobe lists up to the next key frame and marks to be thrown away."""
    while len(packets) > count and "D" in packets[-1]["flags"]:
        packets = packets[:-1]
    return packets


def whole_bytes_of(ktmp4, file, track, folder):
    """The bytes of all samples; None where the file ends ahead of the last one."""
    try:
        return bytes_of(ktmp4, file, track, folder, "--adapt")
    except RuntimeError as failure:
        if "MP4_FILE_IO" not in str(failure) and "and the file has" not in str(failure):
            raise
        return None


def require_near(distances, what):
    """All of these distances in seconds, by track, have to be the same."""
    if distances and max(distances) - min(distances) > Fraction(1, 10000):
        told = ", ".join(f"{float(distance):.6f} s in track {number}" for distance, number in sorted(distances.items()))
        raise AssertionError(f"{what} differ by {told}")


def compare_copy(ktmp4, file, tracks, folder):
    """Copies the tracks that can be, and reads the copy without adapting it."""
    copy = folder / "copy.mp4"
    run(ktmp4, "remux", "--adapt", *(part for track in tracks for part in ("--track", track["index"])), file, copy)
    copied, streams = tracks_of(ktmp4, copy), by_number(streams_of(copy, edits=""))
    distances = {}
    for before, after in zip(tracks, copied, strict=True):
        ours = samples_of(ktmp4, copy, after["index"])
        theirs = samples_of(ktmp4, file, before["index"], "--adapt")
        theirs[0]["dts"] = 0
        if ours != theirs:
            raise AssertionError(f"track {before['id']}: its copy has other samples")
        packets = streams[after["id"]]["packets"]
        if sum(int(packet["size"]) for packet in packets) != sum(sample["size"] for sample in theirs):
            raise AssertionError(f"track {before['id']}: ffprobe finds other bytes in its copy")
        first = Fraction(packets[0]["pts"]) * Fraction(streams[after["id"]]["time_base"])
        distances[first - Fraction(theirs[0]["cts"], before["timeScale"])] = before["id"]
    require_near(distances, "times of the copy")


def compare_file(ktmp4, file, folder):
    tracks = {track["id"]: track for track in tracks_of(ktmp4, file, "--adapt")}
    streams = by_number(streams_of(readable(file, folder), edits=""))
    if tracks.keys() != streams.keys():
        raise AssertionError(f"tracks {sorted(tracks)}, ffprobe says {sorted(streams)}")
    total, distances, whole = 0, {}, []
    for number, track in tracks.items():
        stream, scale = streams[number], track["timeScale"]
        samples = samples_of(ktmp4, file, track["index"], "--adapt")
        data = whole_bytes_of(ktmp4, file, track["index"], folder) if samples else b""
        if track["format"] and stream.get("codec_name") in ("aac", "amr_nb", "amr_wb"):
            heard = [str(track["sampleRate"]), track["channels"]]
            if heard != [stream["sample_rate"], stream["channels"]]:
                raise AssertionError(f"track {number}: sound of {heard}")
        if data and track["format"] and stream.get("codec_name") in WRITABLE:
            whole.append(track)
        tick = Fraction(stream["time_base"])
        packets = without_hidden_end(stream["packets"], len(samples))
        try:
            for distance in compare_track(samples, data, packets, stream["codec_type"],
                                          lambda ours, theirs: Fraction(ours, scale) - theirs * tick, busy=True):
                distances.setdefault(distance, number)
        except AssertionError as difference:
            raise AssertionError(f"track {number}, {difference}") from None
        total += len(samples)
    require_near(distances, "times")
    if whole:
        compare_copy(ktmp4, file, whole, folder)
    return total


PICTURES = "-f lavfi -i testsrc2=size=64x48:rate=25:duration=2"
SOUND = "-f lavfi -i sine=sample_rate=44100:duration=2"
VIDEO, AAC = "-g 12 -bf 2 -c:v {video}", "-c:a aac"
BOTH = f"{PICTURES} {SOUND} {VIDEO} {AAC}"

# What ffmpeg makes: the name, and how. Encoders that are not there leave their files out.
RECIPES = {
    "defaults.mp4": BOTH,
    "mpeg4.mp4": f"{PICTURES} {SOUND} -c:v mpeg4 -bf 2 {AAC}",
    "mp3.mp4": f"{PICTURES} {SOUND} {VIDEO} -c:a libmp3lame",
    "opus.mp4": f"{PICTURES} -f lavfi -i sine=sample_rate=48000:duration=2 {VIDEO} -c:a libopus -strict -2",
    "sound.m4a": f"{SOUND} {AAC}",
    "six.m4a": f"{SOUND} {AAC} -ac 6",
    "high.m4a": f"{SOUND} {AAC} -ar 96000 -ac 2",
    "faststart.mp4": f"{BOTH} -movflags faststart",
    "negative.mp4": f"{BOTH} -movflags negative_cts_offsets",
    "no-edits.mp4": f"{BOTH} -use_editlist 0",
    "odd-scale.mp4": f"{BOTH} -video_track_timescale 30001",
    "late-sound.mp4": f"{PICTURES} -itsoffset 0.513 {SOUND} {VIDEO} {AAC}",
    "late-pictures.mp4": f"-itsoffset 0.7 {PICTURES} {SOUND} {VIDEO} {AAC}",
    "short.mp4": f"{BOTH} -t 1.51",
    "encrypted.mp4": f"{BOTH} -encryption_scheme cenc-aes-ctr -encryption_key {'5c' * 16} -encryption_kid {'a7' * 16}",
    "hinted.mp4": f"{BOTH} -movflags rtphint",
    "defaults.mov": BOTH,
    "frames.mov": f"{PICTURES} {SOUND} {VIDEO} -c:a pcm_s16le",
    "packets.mov": f"{PICTURES} {SOUND} {VIDEO} -c:a adpcm_ima_qt",
    "time-code.mov": f"{BOTH} -timecode 01:00:00:00",
    "fragments.mov": f"{BOTH} -movflags frag_keyframe+empty_moov",
    "fragments.mp4": f"{BOTH} -movflags frag_keyframe",
    "empty.mp4": f"{BOTH} -movflags frag_keyframe+empty_moov",
    "default-base.mp4": f"{BOTH} -movflags frag_keyframe+empty_moov+default_base_moof",
    "separate.mp4": f"{BOTH} -movflags frag_keyframe+empty_moov+separate_moof",
    "implied-base.mp4": f"{BOTH} -movflags frag_keyframe+empty_moov+omit_tfhd_offset",
    "delayed.mp4": f"{BOTH} -movflags frag_keyframe+delay_moov",
    "each-frame.mp4": f"{BOTH} -movflags frag_every_frame+empty_moov+default_base_moof",
    "timed.mp4": f"{BOTH} -movflags empty_moov -frag_duration 300000",
    "cmaf.mp4": f"{PICTURES} {VIDEO} -movflags cmaf+frag_keyframe+empty_moov",
}
MUXERS = ["mp4mux", "mp4mux fragment-duration=500", "qtmux", "qtmux fragment-duration=300", "3gppmux"]


def ffmpeg_makes(recipe, file):
    encoders = run("ffmpeg", "-v", "error", "-encoders").decode()
    video = "libx264 -pix_fmt yuv420p" if "libx264" in encoders else "mpeg4"
    command = recipe.format(video=video).split()
    for encoder in ("libmp3lame", "libopus"):
        if encoder in command and encoder not in encoders:
            return False
    run("ffmpeg", "-v", "error", "-y", *command, file)
    return True


def compare_made(ktmp4, name, folder):
    file = folder / name
    return compare_file(ktmp4, file, folder) if ffmpeg_makes(RECIPES[name], file) else 0


def compare_muxed(ktmp4, muxer, folder):
    """The same samples once more, through a muxer of GStreamer."""
    source, file = folder / "source.mp4", folder / "muxed.mp4"
    ffmpeg_makes(RECIPES["defaults.mp4"], source)
    queue = "queue max-size-time=0 max-size-buffers=0 max-size-bytes=0"
    pipeline = (f"filesrc location={source} ! qtdemux name=d {muxer} name=m ! filesink location={file} "
                f"d.video_0 ! {queue} ! m.video_0 d.audio_0 ! {queue} ! m.audio_0")
    run("gst-launch-1.0", "-q", "-e", *pipeline.split(), timeout=60)
    return compare_file(ktmp4, file, folder)


def main():
    ktmp4, *names = sys.argv[1:]
    today = CORPUS.parent / "corpus-today"
    jobs = [(file.name, partial(compare_file, ktmp4, file)) for file in media_files(names, today)]
    jobs += [(name, partial(compare_made, ktmp4, name)) for name in RECIPES]
    if shutil.which("gst-launch-1.0") and shutil.which("gst-inspect-1.0"):
        there = subprocess.run(["gst-inspect-1.0", "isomp4"], capture_output=True).returncode == 0
        jobs += [(muxer, partial(compare_muxed, ktmp4, muxer)) for muxer in MUXERS if there]
    return run_jobs(jobs, "samples")


if __name__ == "__main__":
    sys.exit(main())
