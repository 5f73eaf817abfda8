#!/usr/bin/env python3
"""Compares what the program reads from adapted files with what ffprobe reads from them.

usage: compare_adapted.py KTMP4 WRITE_ADAPTED FILE_OR_FOLDER...

WRITE_ADAPTED makes a file that the strict reader takes: the bytes of the file inside of a "free" box and the image
behind it. Every sample of every track: size, sync flag and bytes, and times that differ from those of ffprobe by one
constant over all tracks. ffmpeg makes files of its own, with its defaults and with each odd option that it has; files
of the folder that KTMP4_ADAPT_CORPUS names are compared too.
"""

import hashlib
import json
import os
import pathlib
import subprocess
import sys
from fractions import Fraction
from functools import partial

from compare_with_ffprobe import readable_copy, run, run_jobs, samples_in_packet, samples_of

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
        if not rest:
            raise AssertionError(f"ffprobe finds more than {len(samples)} samples: {len(packets)}")
        size = int(packet["size"])
        if data is None and packet is packets[-1]:
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
    if rest and data is not None:
        raise AssertionError(f"sample {len(samples) - len(rest) + 1} is none that ffprobe finds")
    return distances


def bytes_of(ktmp4, file, track, place):
    """The bytes of all samples; None where the file ends ahead of the last one."""
    try:
        run(ktmp4, "extract", "--track", track, file, place)
        return place.read_bytes()
    except RuntimeError as failure:
        if "MP4_FILE_IO" not in str(failure):
            raise
        return None


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
        samples = samples_of(ktmp4, adapted, track["index"])
        data = b""
        if samples:
            data = bytes_of(ktmp4, adapted, track["index"], folder / "samples")
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


def main():
    ktmp4, write_adapted, *names = sys.argv[1:]
    jobs = [(file.name, partial(compare_file, ktmp4, write_adapted, file)) for file in media_files(names)]
    return run_jobs(jobs, "samples")


def media_files(names):
    corpus = os.environ.get("KTMP4_ADAPT_CORPUS")
    for path in map(pathlib.Path, [*names, *([corpus] if corpus else [])]):
        yield from sorted(file for file in path.iterdir() if file.suffix in MEDIA) if path.is_dir() else [path]


if __name__ == "__main__":
    sys.exit(main())
