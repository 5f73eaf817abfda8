#!/usr/bin/env python3
"""Has the program copy real files, and compares what other programs read from a file and from its copy.

usage: compare_copies.py KTMP4 FILE_OR_FOLDER...

Each file is copied as mp4, 3gp and m4a. ffprobe has to find the same packets (times, key frames, bytes) and the same
decoder set-up in the copy, and ffmpeg and, where it is installed, mediainfo must find nothing wrong with it. Times
count from the first decoding time, which a copy does not keep. A long file of thousands of chunks is made by ffmpeg
from one of the files, and captions are added to another. Where GStreamer is installed, it has to play all copies.
"""

import hashlib
import os
import shutil
import subprocess
import sys
import tempfile
from fractions import Fraction
from functools import partial

from compare_with_ffprobe import plain_files, readable, run, run_jobs, streams_of, tracks_of

WRITABLE = ["mpeg4", "aac", "h263", "amr_nb", "amr_wb"]
TYPES = ["mp4", "3gp", "m4a"]
SETUP = "codec_type codec_name codec_tag_string width height sample_rate time_base extradata_hash".split()


def from_first(packets):
    first = packets[0]["dts"]
    return [
        (packet["dts"] - first, packet["pts"] - first, packet["size"], packet["flags"][0], packet["data_hash"])
        for packet in packets
    ]


def all_bytes(file, index):
    data = run("ffmpeg", "-v", "error", "-i", file, "-map", f"0:{index}", "-c", "copy", "-f", "data", "-")
    return len(data), hashlib.md5(data).hexdigest()


def compare_streams(file, copy, added=0):
    """The number of packets that agree in the tracks that can be copied."""
    theirs = [stream for stream in streams_of(file) if stream.get("codec_name") in WRITABLE]
    ours = streams_of(copy)
    if not theirs or len(ours) != len(theirs) + added:
        raise AssertionError(f"{len(ours)} tracks, {len(theirs)} can be copied")
    count = 0
    for before, after in zip(theirs, ours):
        what = f"track {before['index'] + 1}"
        for key in SETUP:
            if before.get(key) != after.get(key):
                raise AssertionError(f"{what}: {key} {after.get(key)} was {before.get(key)}")
        wanted, found = from_first(before["packets"]), from_first(after["packets"])
        if after["codec_name"] == "amr_nb" and len(wanted) != len(found):
            # ffprobe puts short samples of constant size together, chunk by chunk, and the copy has other chunks.
            wanted, found = [all_bytes(file, before["index"])], [all_bytes(copy, after["index"])]
        if len(wanted) != len(found):
            raise AssertionError(f"{what}: {len(found)} packets, there were {len(wanted)}")
        for number, (packet, copied) in enumerate(zip(wanted, found), 1):
            if packet != copied:
                raise AssertionError(f"{what}, packet {number}: {copied} was {packet}")
        count += len(found)
    return count


def complaints(*command, timeout=None):
    command = [str(part) for part in command]
    done = subprocess.run(command, capture_output=True, text=True, errors="replace", timeout=timeout)
    return done.stderr.strip() or (f"exit code {done.returncode}" if done.returncode else "")


def expect_no_complaints(file, copy):
    """A copy must not make ffmpeg complain unless the file does: some streams are broken where they come from."""
    decode = ["ffmpeg", "-v", "error", "-xerror", "-i"]
    problem = complaints(*decode, copy, "-f", "null", "-")
    if problem and not complaints(*decode, file, "-f", "null", "-"):
        raise AssertionError(f"ffmpeg: {problem}")
    if shutil.which("mediainfo") is None:
        return
    report = run("mediainfo", "--Full", "--Output=JSON", copy).decode()
    for word in ("ConformanceErrors", "IsTruncated"):
        if word in report:
            raise AssertionError(f"mediainfo reports {word}: {report}")


def expect_played(ktmp4, copy, folder):
    """GStreamer has to play each track of sound or pictures without a complaint."""
    if shutil.which("gst-launch-1.0") is None:
        return
    kinds = [track["kind"] for track in tracks_of(ktmp4, copy)]
    pads = [f"video_{number}" for number in range(kinds.count(1))] + [f"audio_{number}" for number in range(kinds.count(2))]
    command = ["gst-launch-1.0", "-q", "filesrc", f"location={copy}", "!", "qtdemux", "name=demux"]
    for pad in pads:
        command += [f"demux.{pad}", "!", "queue", "!", "filesink", f"location={folder / pad}"]
    problem = complaints(*command, timeout=60)
    silent = [pad for pad in pads if not (folder / pad).stat().st_size]
    if problem or silent:
        raise AssertionError(f"GStreamer: {problem}, nothing from {silent}")


def compare_captioned_file(ktmp4, file, folder):
    captions, copy = folder / "captions.scc", folder / "copy.mp4"
    captions.write_text("Scenarist_SCC V1.0\n\n00:00:01:00\t9420 9470 c8e9 942f\n\n00:00:03:00\t942c\n")
    run(ktmp4, "add-captions", file, captions, copy)
    count = compare_streams(file, copy, added=1)
    captioned = streams_of(copy)[-1]
    times = [packet["pts"] * Fraction(captioned["time_base"]) for packet in captioned["packets"]]
    if times != [Fraction(1001 * frame, 30_000) for frame in (0, 30, 31, 32, 33, 90, 91)]:
        raise AssertionError(f"the captions come at {times}")
    expect_no_complaints(file, copy)
    expect_played(ktmp4, copy, folder)
    return count + len(times)


def compare_file(ktmp4, file, folder):
    """The number of packets that agree, in copies of all types."""
    original, count = readable(file, folder), 0
    for kind in TYPES:
        copy = folder / f"copy.{kind}"
        run(ktmp4, "remux", "--type", kind, file, copy)
        count += compare_streams(original, copy)
        expect_no_complaints(original, copy)
        expect_played(ktmp4, copy, folder)
    return count


def compare_long_file(ktmp4, file, folder):
    """A sound track of so many samples that they take thousands of chunks."""
    long_file, copy = folder / "long.mp4", folder / "copy.mp4"
    run("ffmpeg", "-v", "error", "-stream_loop", 3299, "-i", file, "-map", "0:a", "-c", "copy", "-write_btrt", 0, long_file)
    run(ktmp4, "remux", long_file, copy)
    count = compare_streams(long_file, copy)
    if count < 200_000:
        raise AssertionError(f"the long file has {count} packets only")
    return count


def main():
    ktmp4, *names = sys.argv[1:]
    files = plain_files(names)
    jobs = [(file.name, partial(compare_file, ktmp4, file)) for file in files]
    jobs += [("long file", partial(compare_long_file, ktmp4, file)) for file in files if file.name == "aac.m4a"]
    jobs += [
        ("captions", partial(compare_captioned_file, ktmp4, file)) for file in files if file.name == "bframes-aac.mp4"
    ]
    registry = tempfile.TemporaryDirectory()
    os.environ["GST_REGISTRY"] = registry.name + "/registry"
    return run_jobs(jobs, "packets")


if __name__ == "__main__":
    sys.exit(main())
