#!/usr/bin/env python3
"""Compares what the program reads from adapted files with what ffprobe reads from them.

usage: compare_adapted.py KTMP4 WRITE_ADAPTED FILE_OR_FOLDER...

WRITE_ADAPTED makes a file that the strict reader takes: the bytes of the file inside of a "free" box and the image
behind it. Every sample of every track: size, sync flag and bytes, and times that differ from those of ffprobe by one
constant over all tracks. ffmpeg makes files of its own, with its defaults and with each odd option that it has; files
of the folder that KTMP4_ADAPT_CORPUS names are compared too.
"""

import csv
import hashlib
import io
import json
import os
import pathlib
import shutil
import subprocess
import sys
from fractions import Fraction
from functools import partial

from compare_with_ffprobe import readable_copy, run, run_jobs, samples_in_packet

PACKET = "packet=stream_index,pts,dts,size,flags,data_hash"
MEDIA = {".mp4", ".3gp", ".m4a", ".m4b", ".mov"}


def streams_of(file):
    """The streams that are tracks, by track number, each with its packets."""
    told = json.loads(run("ffprobe", "-v", "quiet", "-of", "json", "-show_data_hash", "md5", "-show_streams",
                          "-show_entries", PACKET, file))
    streams = {stream["index"]: stream for stream in told["streams"]}
    for stream in streams.values():
        stream["packets"] = []
    for packet in told["packets"]:
        streams[packet["stream_index"]]["packets"].append(packet)
    return {int(stream["id"], 16): stream for stream in streams.values()
            if not stream["disposition"]["attached_pic"]}


def without_hidden_end(packets, count):
    """Packets behind the end of an edit, which ffprobe lists up to the next key frame and marks to be thrown away."""
    while len(packets) > count and "D" in packets[-1]["flags"]:
        packets = packets[:-1]
    return packets


def compare_track(samples, data, stream, scale):
    """What the times of the track differ by, in seconds. Without `data` the file is cut: ffprobe ends earlier."""
    tick = Fraction(stream["time_base"])
    kind = stream["codec_type"]
    rest, offset, distances = samples, 0, set()
    packets = without_hidden_end(stream["packets"], len(samples))
    for packet in packets:
        if not rest and data is not None:
            raise AssertionError(f"ffprobe finds more than {len(samples)} samples: {len(packets)}")
        size = int(packet["size"])
        if data is None and (packet is packets[-1] or not rest):
            return distances
        count = samples_in_packet(rest, size)
        first = rest[0]
        if data is not None and "MD5:" + hashlib.md5(data[offset : offset + size]).hexdigest() != packet["data_hash"]:
            raise AssertionError(f"sample {first['sample']}: other bytes")
        if kind in ("video", "audio") and bool(first["sync"]) != packet["flags"].startswith("K"):
            raise AssertionError(f"sample {first['sample']}: sync {first['sync']}, ffprobe says {packet['flags']}")
        for ours, theirs in (("dts", "dts"), ("cts", "pts")):
            if theirs in packet:
                distances.add(Fraction(first[ours], scale) - packet[theirs] * tick)
        offset += size
        rest = rest[count:]
    if kind == "data" and len(rest) == 1:
        return distances  # it leaves out a last packet of no duration
    if rest and data is not None:
        raise AssertionError(f"sample {len(samples) - len(rest) + 1} is none that ffprobe finds")
    return distances


def samples_and_bytes(ktmp4, file, track, place):
    """The samples and the bytes of all of them. Where the file ends ahead of the last one: those up to there, and
    None."""
    listed = subprocess.run([ktmp4, "samples", "--track", str(track), file], capture_output=True)
    is_cut = listed.returncode == 1 and b"the file has" in listed.stderr
    if listed.returncode != 0 and not is_cut:
        raise RuntimeError(listed.stderr.decode())
    rows = csv.DictReader(io.StringIO(listed.stdout.decode()))
    samples = [{key: int(value) for key, value in row.items()} for row in rows]
    if is_cut or not samples:
        return samples, None if is_cut else b""
    run(ktmp4, "extract", "--track", track, file, place)
    return samples, place.read_bytes()


def compare_file(ktmp4, write_adapted, file, folder):
    adapted = folder / "adapted.mp4"
    run(write_adapted, file, adapted)
    tracks = {track["id"]: track for track in json.loads(run(ktmp4, "info", "--json", adapted))["tracks"]}
    try:
        streams = streams_of(file)
    except RuntimeError:
        streams = streams_of(readable_copy(file, folder))
    if tracks.keys() != streams.keys():
        raise AssertionError(f"tracks {sorted(tracks)}, ffprobe says {sorted(streams)}")
    total, distances = 0, {}
    for number, track in tracks.items():
        samples, data = samples_and_bytes(ktmp4, adapted, track["index"], folder / "samples")
        try:
            for distance in compare_track(samples, data, streams[number], track["timeScale"]):
                distances.setdefault(distance, number)
        except AssertionError as difference:
            raise AssertionError(f"track {number}, {difference}") from None
        total += len(samples)
    if distances and max(distances) - min(distances) > Fraction(1, 10000):
        told = ", ".join(f"{float(distance):.6f} s in track {number}" for distance, number in sorted(distances.items()))
        raise AssertionError(f"times differ by {told}")
    return total


def media_files(names):
    corpus = os.environ.get("KTMP4_ADAPT_CORPUS")
    for path in map(pathlib.Path, [*names, *([corpus] if corpus else [])]):
        yield from sorted(file for file in path.iterdir() if file.suffix in MEDIA) if path.is_dir() else [path]


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


def compare_made(ktmp4, write_adapted, name, folder):
    file = folder / name
    return compare_file(ktmp4, write_adapted, file, folder) if ffmpeg_makes(RECIPES[name], file) else 0


def compare_muxed(ktmp4, write_adapted, muxer, folder):
    """The same samples once more, through a muxer of GStreamer."""
    source, file = folder / "source.mp4", folder / "muxed.mp4"
    ffmpeg_makes(RECIPES["defaults.mp4"], source)
    queue = "queue max-size-time=0 max-size-buffers=0 max-size-bytes=0"
    pipeline = (f"filesrc location={source} ! qtdemux name=d {muxer} name=m ! filesink location={file} "
                f"d.video_0 ! {queue} ! m.video_0 d.audio_0 ! {queue} ! m.audio_0")
    run("gst-launch-1.0", "-q", "-e", *pipeline.split(), timeout=60)
    return compare_file(ktmp4, write_adapted, file, folder)


def main():
    programs = sys.argv[1:3]
    jobs = [(file.name, partial(compare_file, *programs, file)) for file in media_files(sys.argv[3:])]
    jobs += [(name, partial(compare_made, *programs, name)) for name in RECIPES]
    if shutil.which("gst-launch-1.0") and shutil.which("gst-inspect-1.0"):
        there = subprocess.run(["gst-inspect-1.0", "isomp4"], capture_output=True).returncode == 0
        jobs += [(muxer, partial(compare_muxed, *programs, muxer)) for muxer in MUXERS if there]
    return run_jobs(jobs, "samples")


if __name__ == "__main__":
    sys.exit(main())
