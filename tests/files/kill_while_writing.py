#!/usr/bin/env python3
"""Kills the program at random moments of every command that writes, and looks at what is left of OUT.

usage: kill_while_writing.py KTMP4 FILE [RUNS [SEED]]

OUT has to be what it was or complete, and nothing else beside it but files in the making, whose names tell so. The
same command then works past them. The seed is printed, so that a run can be repeated.
"""

import pathlib
import random
import subprocess
import sys
import tempfile
import time

OLD = b"what stood here before"
CAPTIONS = "Scenarist_SCC V1.0\n\n00:00:00:00\t9425 9425 94ad 94ad 9470 9470 c8e5 ecec ef80\n"


# Behind the name of the command.
COMMANDS = {
    "remux": ["FILM", "OUT"],
    "hint": ["FILM", "OUT"],
    "extract": ["FILM", "OUT", "--track", "1"],
    "add-captions": ["FILM", "CAPTIONS", "OUT"],
}


def command_line(program, name, film, out):
    captions = film.parent / "captions.scc"
    captions.write_text(CAPTIONS)
    files = {"FILM": film, "CAPTIONS": captions, "OUT": out}
    return [program, name, *(files.get(word, word) for word in COMMANDS[name]), "--adapt", "--force"]


def kill_once(line, after):
    process = subprocess.Popen(line, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    time.sleep(after)
    process.kill()
    return process.wait() == 0


def try_command(name, line, out, runs, random_moment):
    start = time.monotonic()
    subprocess.run(line, check=True, capture_output=True)
    duration = time.monotonic() - start
    new = out.read_bytes()
    interrupted = 0
    for _ in range(runs):
        out.write_bytes(OLD)
        finished = kill_once(line, random_moment(0, 1.2 * duration))
        content = out.read_bytes()
        if content not in ([new] if finished else [OLD, new]):
            raise AssertionError(f"{name}: OUT has {len(content)} bytes of neither the old file nor the new one")
        interrupted += content == OLD
    left = [path.name for path in out.parent.iterdir() if path != out]
    if not all(part.startswith(".ktmp4-") and part.endswith(".part") for part in left):
        raise AssertionError(f"{name} leaves {left}")
    subprocess.run(line, check=True, capture_output=True)
    if out.read_bytes() != new:
        raise AssertionError(f"{name}: the run behind the killed ones gives something else")
    if not 0 < interrupted:
        raise AssertionError(f"{name} was never killed ahead of its end")
    print(f"{name}: killed {runs} times within {duration * 1200:.0f} ms, {interrupted} times ahead of its end, "
          f"{len(left)} unfinished files beside OUT")


def main():
    program, file = sys.argv[1:3]
    runs = int(sys.argv[3]) if len(sys.argv) > 3 else 100
    seed = int(sys.argv[4]) if len(sys.argv) > 4 else random.randrange(1 << 32)
    print(f"seed {seed}")
    chance = random.Random(seed)
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        film = folder / "film.mp4"
        loop = ["-stream_loop", "12", "-i", file, "-c", "copy", film]
        subprocess.run(["ffmpeg", "-v", "error", *loop], check=True)
        for name in COMMANDS:
            out = folder / name / "out.mp4"
            out.parent.mkdir()
            try_command(name, command_line(program, name, film, out), out, runs, chance.uniform)


main()
