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
from functools import partial

ROOT = pathlib.Path(__file__).resolve().parents[2]
MEDIA = {".mp4", ".3gp", ".m4a"}


def run(*command, timeout=None):
    done = subprocess.run([str(part) for part in command], capture_output=True, timeout=timeout)
    if done.returncode != 0:
        raise RuntimeError(f"{command[0]}: exit code {done.returncode}: {done.stderr.decode(errors='replace').strip()}")
    return done.stdout


def ffprobe(file, *wishes):
    return json.loads(run("ffprobe", "-v", "error", "-ignore_editlist", "1", "-of", "json", *wishes, file))


def readable_copy(file, folder):
    """A copy that ffprobe reads: it refuses a decoder specific info of no bytes, so the first one behind the last
    "esds" becomes a descriptor that it does not know. Media data and tables stay as they are."""
    data = bytearray(file.read_bytes())
    info = data.find(b"\x05\x00", data.rfind(b"esds"))
    if info < 0:
        raise RuntimeError("ffprobe refuses the file")
    data[info] = 0x14
    copy = folder / file.name
    copy.write_bytes(data)
    return copy


def packets_of(file):
    """The packets of each stream, in the order of decoding, by stream index."""
    wishes = ["-show_data_hash", "md5", "-show_entries", "packet=codec_type,stream_index,pts,dts,size,flags,data_hash"]
    streams = {}
    for packet in ffprobe(file, *wishes)["packets"]:
        streams.setdefault(packet["stream_index"], []).append(packet)
    return streams


def samples_of(ktmp4, file, track, *options):
    rows = csv.DictReader(io.StringIO(run(ktmp4, "samples", *options, "--track", track, file).decode()))
    return [{key: int(value) for key, value in row.items()} for row in rows]


def samples_in_packet(samples, size):
    """How many of the samples the packet holds: ffprobe puts short samples of constant size together."""
    total = count = 0
    while count == 0 or (total < size and count < len(samples)):
        total += samples[count]["size"]
        count += 1
    if total != size:
        raise AssertionError(f"sample {samples[0]['sample']}: {total} bytes, ffprobe says {size}")
    return count


def compare_track(samples, data, packets):
    offset = 0
    rest = samples
    for packet in packets:
        if not rest:
            raise AssertionError(f"ffprobe finds more than {len(samples)} samples")
        size = int(packet["size"])
        count = samples_in_packet(rest, size)
        first = rest[0]
        ours = {
            "dts": first["dts"],
            "pts": first["cts"],
            "sync": all(sample["sync"] for sample in rest[:count]),
            "hash": "MD5:" + hashlib.md5(data[offset : offset + size]).hexdigest(),
        }
        theirs = {
            "dts": packet["dts"],
            "pts": packet["pts"],
            "sync": packet["flags"].startswith("K"),
            "hash": packet["data_hash"],
        }
        if packet["codec_type"] == "data":
            theirs["sync"] = ours["sync"]  # of tracks that are neither sound nor picture it says that all are
        if ours != theirs:
            raise AssertionError(f"sample {first['sample']}: {ours}, ffprobe says {theirs}")
        offset += size
        rest = rest[count:]
    if rest or offset != len(data):
        raise AssertionError(f"sample {len(samples) - len(rest) + 1} is none that ffprobe finds")


def compare_file(ktmp4, file, folder):
    """The number of samples that agree."""
    tracks = json.loads(run(ktmp4, "info", "--json", file))["tracks"]
    try:
        streams = packets_of(file)
    except RuntimeError:
        streams = packets_of(readable_copy(file, folder))
    if not tracks or len(tracks) != len(streams):
        raise AssertionError(f"{len(tracks)} tracks, ffprobe says {len(streams)}")
    count = 0
    for track in tracks:
        index = track["index"]
        samples = samples_of(ktmp4, file, index)
        if len(samples) != track["samples"]:
            raise AssertionError(f"track {index}: {len(samples)} samples listed, {track['samples']} counted")
        extracted = folder / "samples"
        run(ktmp4, "extract", "--force", "--track", index, file, extracted)
        try:
            compare_track(samples, extracted.read_bytes(), streams[index - 1])
        except AssertionError as difference:
            raise AssertionError(f"track {index}, {difference}") from None
        count += len(samples)
    return count


def media_files(names):
    corpus = pathlib.Path(os.environ.get("KTMP4_CORPUS") or ROOT.parent / "shared" / "corpus")
    for path in [*map(pathlib.Path, names), *([corpus] if corpus.is_dir() else [])]:
        files = sorted(file for file in path.iterdir() if file.suffix in MEDIA) if path.is_dir() else [path]
        # What has to be refused is the matter of other tests.
        yield from (file for file in files if not file.name.startswith("refused"))


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
    return run_jobs([(file.name, partial(compare_file, ktmp4, file)) for file in media_files(names)], "samples")


if __name__ == "__main__":
    sys.exit(main())
