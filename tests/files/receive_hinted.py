#!/usr/bin/env python3
"""Hinted files on their way over loopback: what receivers get is what was hinted.

usage: receive_hinted.py KTMP4 RTP_SEND MEDIA_FOLDER

Real files are hinted in several ways. From the dump of the hints and the samples of the original the packets are put
together here once more, and the sender's packets have to equal them, byte for byte and with the numbers of the session
description. ffmpeg, given that description, has to hand back the hinted samples, but for captions and sound in
fragments, which it cannot receive. Files that another program has hinted, in the folder that KTMP4_CORPUS names, are
sent as well. Every wait has a deadline.
"""

import pathlib
import re
import socket
import struct
import subprocess
import sys
import tempfile
import time
from functools import partial

from compare_with_ffprobe import bytes_of, plain_files, run, run_jobs, samples_of, tracks_of

DEADLINE = 30  # seconds
VIDEO, SOUND, HINT, TEXT = 1, 2, 3, 6  # kinds of tracks

SCRIPT = "Scenarist_SCC V1.0\n\n00:00:00:00\t9420 94ae 9470 c845 4c4c 4f80 942f\n\n00:00:02:00\t942c"


def indexed_tracks(ktmp4, file):
    return {track["index"]: track for track in tracks_of(ktmp4, file)}


class Hints:
    """The hint samples of a file by its dump, each as the packets that it describes."""

    CONSTRUCTORS = re.compile(
        r"Data count = (\d+) Data:([ 0-9a-f]*)|"
        r"ref index = (\d+) Length = (\d+) Sample number (\d+)\s+Sample offset = (\d+)"
    )

    def __init__(self, ktmp4, file, original, left_out):
        """The media samples are taken from the file before it was hinted. `left_out` gives how many samples may still
        be gathering when a track ends, by the kind of track."""
        self.left_out = left_out
        self.kinds = {index: track["kind"] for index, track in indexed_tracks(ktmp4, original).items()}
        text = run(ktmp4, "hints", file).decode()
        self.samples = {}  # of the media tracks: and of hint tracks that hold payload: number to bytes
        self.tracks = {}  # hint track to its packets: (time, sequence, marker, payload type, payload, pieces)
        self.media = {}  # hint track to media track
        parts = re.split(r"^track (\d+), sample (\d+): time (\d+), from track (\d+)$", text, flags=re.M)
        for at in range(1, len(parts), 5):
            track, _, when, media = map(int, parts[at : at + 4])
            self.media[track] = media
            # By the index of a reference; 255 stands for the hint track itself.
            sources = {0: self.samples_of(ktmp4, original, media)}
            if "ref index = 255" in parts[at + 4]:
                sources[255] = self.samples_of(ktmp4, file, track)
            self.tracks.setdefault(track, []).extend(self.packets(parts[at + 4], when, sources))

    def samples_of(self, ktmp4, file, track):
        if track not in self.samples:
            with tempfile.TemporaryDirectory() as folder:
                data = bytes_of(ktmp4, file, track, pathlib.Path(folder))
            at, found = 0, {}
            for row in samples_of(ktmp4, file, track):
                found[row["sample"]] = data[at : at + row["size"]]
                at += row["size"]
            self.samples[track] = found
        return self.samples[track]

    def packets(self, text, when, sources):
        for packet in text.split("Relative time: ")[1:]:
            marker = int(re.search(r"M:(\d)", packet)[1])
            payload_type = int(re.search(r"Payload type: (\d+)", packet)[1])
            sequence = int(re.search(r"sequence seed: (\d+)", packet)[1])
            payload, pieces = b"", []
            for count, data, source, length, number, offset in self.CONSTRUCTORS.findall(packet):
                if count:
                    payload += bytes.fromhex(data)[: int(count)]
                else:
                    piece = sources[int(source)][int(number)][int(offset) :][: int(length)]
                    if len(piece) != int(length):
                        raise AssertionError(f"sample {number} has no {length} bytes behind {offset}")
                    payload += piece
                    pieces.append(int(number))
            yield when, sequence, marker, payload_type, payload, pieces

    def hinted(self, track):
        """The bytes of the samples that the packets of a track have to carry, in order: all but the last ones."""
        media = self.media[track]
        samples = self.samples[media]
        numbers = sorted({number for packet in self.tracks[track] for number in packet[5]})
        left_out = [number for number in samples if number not in numbers]
        most = self.left_out.get(self.kinds[media], 0)
        if left_out[most:] or left_out != list(samples)[len(numbers) :]:
            raise AssertionError(f"hint track {track} leaves out the samples {left_out[:10]} of {len(samples)}")
        return [samples[number] for number in numbers]


def media_of(text):
    """Of each media of a session description what its line says, and its attributes."""
    blocks = [block.split("\r\n") for block in text.split("\r\nm=")[1:]]
    return [(lines[0].split(), dict(line[2:].split(":", 1) for line in lines if line.startswith("a="))) for lines in blocks]


def check_numbers(ktmp4, file, hints):
    """The session description against the file and the packets."""
    tracks = indexed_tracks(ktmp4, file)
    media_blocks = media_of(run(ktmp4, "sdp", "--full", file).decode())
    if [track for track in tracks if tracks[track]["kind"] == HINT] != sorted(hints.tracks):
        raise AssertionError("not every hint track has hints")
    for (line, attributes), hint in zip(media_blocks, sorted(hints.tracks), strict=True):
        hints.hinted(hint)
        payload_type, media = line[3], hints.media[hint]
        encoding, clock, *channels = attributes["rtpmap"].split()[1].split("/")
        facts = {
            "control": (attributes["control"], f"trackID={hint}"),
            "esid": (attributes.get("mpeg4-esid", str(media)), str(media)),
            "clock": (int(clock), tracks[hint]["timeScale"]),
            "rtpmap": (attributes["rtpmap"].split()[0], payload_type),
            "fmtp": (attributes["fmtp"].split()[0], payload_type),
            "packets": ({packet[3] for packet in hints.tracks[hint]}, {int(payload_type)}),
            "first": (hints.tracks[hint][0][1], 0),
        }
        config = re.search(r"config=([0-9A-F]*)$", attributes["fmtp"])[1]
        info = bytes.fromhex(tracks[media]["decoderInfo"] or "")
        if encoding in ("mpeg4-generic", "MP4V-ES"):
            facts["config"] = (bytes.fromhex(config), info)
        elif encoding == "MP4A-LATM":  # the decoder's set-up stands 15 bits behind the start
            bits = int(config, 16) >> (4 * len(config) - 15 - 8 * len(info))
            facts["config"] = (bits & ((1 << 8 * len(info)) - 1), int.from_bytes(info, "big"))
        # Other first bytes may be taken for the mark of an escaped sampling frequency.
        if encoding == "mpeg4-generic" and info[0] & 7 == 0:
            facts["channels"] = (channels, [str(tracks[media]["channels"])])
        for name, (found, wanted) in facts.items():
            if found != wanted:
                raise AssertionError(f"hint track {hint}, {name}: {found}, not {wanted}")


# Packets as they come from the sender.


class Receiver:
    """The first so many pairs of ports that nobody holds: an even one for each stream and the odd one above it."""

    def __init__(self, count):
        for first in range(21000, 60000, 2 * count):
            self.first, self.sockets = first, []
            try:
                for port in range(first, first + 2 * count):
                    self.sockets.append(socket.socket(socket.AF_INET, socket.SOCK_DGRAM))
                    self.sockets[-1].setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 1 << 22)
                    self.sockets[-1].bind(("127.0.0.1", port))
                    self.sockets[-1].settimeout(DEADLINE)
                return
            except OSError:
                self.close()
        raise AssertionError("there are no free ports")

    def receive(self, stream, count):
        """So many packets of a stream, as the hints name them, and then its farewell."""
        sources, found = set(), []
        for _ in range(count):
            packet = self.sockets[2 * stream].recv(1 << 16)
            first, second, sequence, when, source = struct.unpack(">BBHII", packet[:12])
            if first != 0x80:
                raise AssertionError(f"an RTP header begins with {first:#x}")
            sources.add(source)
            found.append((when, sequence, second >> 7, second & 127, packet[12:]))
        farewell = self.sockets[2 * stream + 1].recv(1 << 16)
        (source,) = sources
        if farewell != struct.pack(">IIII", 0x80C90001, source, 0x81CB0001, source):
            raise AssertionError(f"the farewell is {farewell.hex()}")
        return found

    def close(self):
        for one in self.sockets:
            one.close()


def check_sender(rtp_send, file, hints):
    receiver = Receiver(len(hints.tracks))
    try:
        run(rtp_send, "--port", receiver.first, "--rate", 0, file, timeout=DEADLINE)
        for stream, (track, packets) in enumerate(sorted(hints.tracks.items())):
            received = receiver.receive(stream, len(packets))
            for number, (found, wanted) in enumerate(zip(received, packets), 1):
                if found != wanted[:5]:
                    raise AssertionError(f"hint track {track}, packet {number}: {found}, not {wanted}")
    finally:
        receiver.close()


def wait_for_ports(ports, process):
    """Until somebody holds all of these UDP ports."""
    wanted = {f"{port:04X}" for port in ports}
    end = time.monotonic() + DEADLINE
    while time.monotonic() < end and process.poll() is None:
        rows = pathlib.Path("/proc/net/udp").read_text().splitlines()[1:]
        if wanted <= {row.split()[1].split(":")[1] for row in rows}:
            return
        time.sleep(0.02)
    raise AssertionError("the receiver does not listen")


def receive_with_ffmpeg(ktmp4, rtp_send, file, hints, folder, rate):
    count = len(hints.tracks)
    free = Receiver(count)
    free.close()
    first = free.first
    description = folder / "session.sdp"
    description.write_bytes(run(ktmp4, "sdp", "--full", "--port", first, file))
    command = ["ffmpeg", "-nostdin", "-v", "error", "-y", "-protocol_whitelist", "file,udp,rtp", "-buffer_size", 1 << 20]
    command += ["-i", description]
    for stream in range(count):
        for muxer in ("data", "framemd5"):
            command += ["-map", f"0:{stream}", "-c", "copy", "-copyinkf", "-f", muxer, folder / f"{stream}.{muxer}"]
    ffmpeg = subprocess.Popen([str(part) for part in command], stderr=subprocess.PIPE)
    try:
        wait_for_ports(range(first, first + 2 * count), ffmpeg)
        run(rtp_send, "--port", first, "--rate", rate, file, timeout=DEADLINE)
        _, complaints = ffmpeg.communicate(timeout=DEADLINE)
    finally:
        if ffmpeg.poll() is None:
            ffmpeg.kill()
            ffmpeg.wait()
    for stream, track in enumerate(sorted(hints.tracks)):
        if track in hints.samples:
            continue  # its payload stands in the hints themselves
        wanted = hints.hinted(track)
        if (folder / f"{stream}.data").read_bytes() != b"".join(wanted):
            raise AssertionError(f"hint track {track}: ffmpeg receives other bytes: {complaints.decode()[:300]}")
        rows = [row.split(",") for row in (folder / f"{stream}.framemd5").read_text().splitlines() if row[0] != "#"]
        if [int(row[4]) for row in rows] != [len(sample) for sample in wanted]:
            raise AssertionError(f"hint track {track}: ffmpeg receives other packets")


# File, options, and whether ffmpeg receives it.
CASES = [
    ("aac.m4a", ["--packet-size", "1400"], True),
    ("aac.m4a", ["--packet-size", "1400", "--samples-per-packet", "3"], True),
    ("aac.m4a", ["--packet-size", "100"], False),
    ("aac.m4a", ["--aac", "latm", "--packet-size", "1000"], True),
    ("aac.m4a", ["--aac", "latm", "--packet-size", "1400", "--samples-per-packet", "1"], True),
    ("bframes-aac.mp4", ["--packet-size", "1400"], True),
    ("bframes-aac.mp4", ["--aac", "latm", "--packet-size", "700"], True),
    ("ntsc-faststart.mp4", ["--type", "3gp"], True),
    ("captions", ["--packet-size", "1400"], False),
]


def check_case(ktmp4, rtp_send, media, name, options, by_ffmpeg, folder):
    file, hinted = media / name, folder / "hinted.mp4"
    if name == "captions":
        file, script = folder / "captions.mp4", folder / "captions.scc"
        script.write_text(SCRIPT)
        run(ktmp4, "add-captions", media / "ntsc-faststart.mp4", script, file)
    run(ktmp4, "hint", *options, file, hinted)
    in_packet = 3 if "latm" in options else 1
    if "--samples-per-packet" in options:
        in_packet = int(options[options.index("--samples-per-packet") + 1])
    hints = Hints(ktmp4, hinted, file, {VIDEO: 1, SOUND: in_packet, TEXT: 2})
    check_numbers(ktmp4, hinted, hints)
    return check_packets(ktmp4, rtp_send, hinted, hints, by_ffmpeg, 5, folder)


def check_foreign(ktmp4, rtp_send, file, folder):
    """A file that another program has hinted."""
    hints = Hints(ktmp4, file, file, {})
    return check_packets(ktmp4, rtp_send, file, hints, True, 15, folder)


def check_broken(ktmp4, rtp_send, media, folder):
    """A track whose first sample claims to be larger than the file: the other one is sent and listed all the same."""
    hinted, broken = folder / "hinted.mp4", folder / "broken.mp4"
    run(ktmp4, "hint", "--packet-size", 1400, media / "bframes-aac.mp4", hinted)
    hints = Hints(ktmp4, hinted, media / "bframes-aac.mp4", {})
    spoiled, sound = sorted(hints.tracks)
    data = bytearray(hinted.read_bytes())
    at = data.index(b"stsz", data.rindex(b"moov")) + 16
    data[at : at + 4] = b"\xff\xff\xff\xf0"
    broken.write_bytes(data)
    receiver = Receiver(2)
    try:
        tell(1, f"hint track {spoiled}: a sample is larger", rtp_send, "--port", receiver.first, "--rate", 0, broken)
        received = receiver.receive(1, len(hints.tracks[sound]))
    finally:
        receiver.close()
    if received != [packet[:5] for packet in hints.tracks[sound]]:
        raise AssertionError(f"hint track {sound} is not sent as it was")
    listed = tell(1, "track 1: MP4_FILE_IO", pathlib.Path(rtp_send).with_name("list_tracks"), broken)
    if "track 2: kind 2" not in listed:
        raise AssertionError(f"list_tracks lists {listed}")
    return len(received)


def tell(exit_code, complaint, *command):
    """Runs a program that has to complain, and gives what it printed."""
    done = subprocess.run([str(part) for part in command], capture_output=True, timeout=DEADLINE, text=True)
    if done.returncode != exit_code or complaint not in done.stderr:
        raise AssertionError(f"exit code {done.returncode}, {done.stderr}")
    return done.stdout


def check_packets(ktmp4, rtp_send, file, hints, by_ffmpeg, rate, folder):
    check_sender(rtp_send, file, hints)
    # UDP may lose packets where a receiver does not get its turn in time.
    for attempts_left in (2, 1, 0) if by_ffmpeg else ():
        try:
            receive_with_ffmpeg(ktmp4, rtp_send, file, hints, folder, rate)
            break
        except AssertionError:
            if attempts_left == 0:
                raise
    return sum(len(packets) for packets in hints.tracks.values())


def main():
    ktmp4, rtp_send, media = sys.argv[1:]
    media = pathlib.Path(media)
    jobs = [(" ".join([case[0], *case[1]]), partial(check_case, ktmp4, rtp_send, media, *case)) for case in CASES]
    jobs.append(("a broken file", partial(check_broken, ktmp4, rtp_send, media)))
    foreign = [file for file in plain_files([]) if file.name.startswith("hinted-")]
    jobs += [(file.name, partial(check_foreign, ktmp4, rtp_send, file)) for file in foreign]
    return run_jobs(jobs, "packets")


if __name__ == "__main__":
    sys.exit(main())
