#!/usr/bin/env python3
"""Compares what the program reads from real files with what ffprobe reads from them.

usage: compare_with_ffprobe.py KTMP4 FILE_OR_FOLDER...

Every sample of every track: size, decoding and composition time, sync flag and bytes. ffprobe is told to leave edits
alone, because it drops the samples that an edit hides and the reader keeps them. Files of other programs in the folder
that KTMP4_CORPUS names, by default ../shared/corpus beside the checkout, are compared too where they stand.
"""

import csv
import hashlib
import io
import json
import os
import pathlib
import subprocess
import sys
import tempfile
from collections import Counter
from functools import partial

ROOT = pathlib.Path(__file__).resolve().parents[2]
CORPUS = pathlib.Path(os.environ.get("KTMP4_CORPUS") or ROOT.parent / "shared" / "corpus")
MEDIA = {".mp4", ".3gp", ".m4a", ".m4b", ".mov"}
PACKET = "packet=stream_index,pts,dts,size,flags,data_hash"


def run(*command, timeout=None):
    done = subprocess.run([str(part) for part in command], capture_output=True, timeout=timeout)
    if done.returncode != 0:
        raise RuntimeError(f"{command[0]}: exit code {done.returncode}: {done.stderr.decode(errors='replace').strip()}")
    return done.stdout


def readable(file, folder):
    """The file, or a copy that ffprobe reads: it refuses a decoder specific info of no bytes, so the first one behind
    the last "esds" becomes a descriptor that it does not know. Media data and tables stay as they are."""
    if subprocess.run(["ffprobe", "-v", "quiet", str(file)]).returncode == 0:
        return file
    data = bytearray(file.read_bytes())
    info = data.find(b"\x05\x00", data.rfind(b"esds"))
    if info < 0:
        raise RuntimeError("ffprobe refuses the file")
    data[info] = 0x14
    copy = folder / file.name
    copy.write_bytes(data)
    return copy


def streams_of(file, edits="-ignore_editlist 1"):
    """The streams that are tracks, each with its packets in the order of decoding."""
    told = json.loads(run("ffprobe", "-v", "error", *edits.split(), "-of", "json", "-show_data_hash", "md5",
                          "-show_streams", "-show_entries", PACKET, file))
    streams = {stream["index"]: {**stream, "packets": []} for stream in told["streams"]}
    for packet in told["packets"]:
        streams[packet["stream_index"]]["packets"].append(packet)
    return [stream for stream in streams.values() if not stream["disposition"]["attached_pic"]]


def tracks_of(ktmp4, file, *options):
    return json.loads(run(ktmp4, "info", "--json", *options, file))["tracks"]


def samples_of(ktmp4, file, track, *options):
    rows = csv.DictReader(io.StringIO(run(ktmp4, "samples", *options, "--track", track, file).decode()))
    return [{key: int(value) for key, value in row.items()} for row in rows]


def bytes_of(ktmp4, file, track, folder, *options):
    run(ktmp4, "extract", *options, "--force", "--track", track, file, folder / "samples")
    return (folder / "samples").read_bytes()


def samples_in_packet(samples, size):
    """How many of the samples the packet holds: ffprobe puts short samples of constant size together."""
    total = count = 0
    while count == 0 or (total < size and count < len(samples)):
        total += samples[count]["size"]
        count += 1
    if total != size:
        raise AssertionError(f"sample {samples[0]['sample']}: {total} bytes, ffprobe says {size}")
    return count


def compare_track(samples, data, packets, kind, distance, busy=False):
    """What the times differ by, each time by way of `distance`. Without `data` the file is cut: ffprobe ends earlier.
    `busy` allows for what the muxer of a busy ffmpeg writes."""
    rest, offset, distances = samples, 0, set()
    shown = Counter(sample["cts"] for sample in samples)
    for packet in packets:
        if not rest:
            raise AssertionError(f"ffprobe finds more than {len(samples)} samples: {len(packets)}")
        size, first = int(packet["size"]), rest[0]
        if data is None and packet is packets[-1]:
            return distances
        count = samples_in_packet(rest, size)
        if data is not None and "MD5:" + hashlib.md5(data[offset : offset + size]).hexdigest() != packet["data_hash"]:
            raise AssertionError(f"sample {first['sample']}: other bytes")
        # A search by time finds one of two samples that are shown at the same time, as a busy ffmpeg has written them.
        # Of tracks that are neither sound nor picture ffprobe says that all are sync samples.
        alone = not busy or shown[first["cts"]] == 1
        sync = all(sample["sync"] for sample in rest[:count])
        if alone and kind in ("video", "audio") and sync != packet["flags"].startswith("K"):
            raise AssertionError(f"sample {first['sample']}: sync {sync}, ffprobe says {packet['flags']}")
        for ours, theirs in (("dts", "dts"), ("cts", "pts")):
            if theirs in packet:
                distances.add(distance(first[ours], packet[theirs]))
        offset += size
        rest = rest[count:]
    # It leaves out a last packet of no duration.
    if data is not None and (len(rest) > (busy and kind == "data") or offset + sum(one["size"] for one in rest) != len(data)):
        raise AssertionError(f"sample {len(samples) - len(rest) + 1} is none that ffprobe finds")
    return distances


def compare_file(ktmp4, file, folder):
    """The number of samples that agree."""
    tracks, streams = tracks_of(ktmp4, file), streams_of(readable(file, folder))
    if not tracks or len(tracks) != len(streams):
        raise AssertionError(f"{len(tracks)} tracks, ffprobe says {len(streams)}")
    for track, stream in zip(tracks, streams):
        index = track["index"]
        samples, data = samples_of(ktmp4, file, index), bytes_of(ktmp4, file, index, folder)
        if len(samples) != track["samples"]:
            raise AssertionError(f"track {index}: {len(samples)} samples listed, {track['samples']} counted")
        try:
            times = compare_track(samples, data, stream["packets"], stream["codec_type"], int.__sub__)
        except AssertionError as difference:
            raise AssertionError(f"track {index}, {difference}") from None
        if times != {0}:
            raise AssertionError(f"track {index}: times differ by {sorted(times)[:5]} ticks")
    return sum(track["samples"] for track in tracks)


def media_files(names, corpus=CORPUS):
    for path in [*map(pathlib.Path, names), *([corpus] if corpus.is_dir() else [])]:
        yield from sorted(file for file in path.iterdir() if file.suffix in MEDIA) if path.is_dir() else [path]


def plain_files(names):
    # What has to be refused is the matter of other tests.
    return [file for file in media_files(names) if not file.name.startswith("refused")]


def run_jobs(jobs, what):
    """Runs (name, job) pairs, each with a folder of its own; a job gives how many things agree. The exit code."""
    failures = total = 0
    for name, job in jobs:
        with tempfile.TemporaryDirectory() as folder:
            try:
                count = job(pathlib.Path(folder))
                print(f"{name}: {count} {what} agree")
                total += count
            except (AssertionError, RuntimeError, OSError, subprocess.TimeoutExpired) as problem:
                print(f"{name}: {problem}")
                failures += 1
    if total == 0:
        print("nothing was compared")
    return 1 if failures or total == 0 else 0


def main():
    ktmp4, *names = sys.argv[1:]
    return run_jobs([(file.name, partial(compare_file, ktmp4, file)) for file in plain_files(names)], "samples")


if __name__ == "__main__":
    sys.exit(main())
