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

from running_out_of_memory import COMMANDS, OLD, Commands


def kill_once(words, after):
    process = subprocess.Popen(words, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    time.sleep(after)
    process.kill()
    return process.wait() == 0


def try_command(commands, line, runs, chance):
    words, out = commands.words(line), commands.out
    start = time.monotonic()
    subprocess.run(words, check=True, capture_output=True)
    duration = time.monotonic() - start
    new = out.read_bytes()
    interrupted = 0
    for _ in range(runs):
        out.write_bytes(OLD)
        finished = kill_once(words, chance.uniform(0, 1.2 * duration))
        content = out.read_bytes()
        if content not in ([new] if finished else [OLD, new]):
            raise AssertionError(f"{line}: OUT has {len(content)} bytes of neither the old file nor the new one")
        interrupted += content == OLD
    if not all(part.startswith(".ktmp4-") and part.endswith(".part") for part in commands.left()):
        raise AssertionError(f"{line} leaves {commands.left()}")
    subprocess.run(words, check=True, capture_output=True)
    if out.read_bytes() != new:
        raise AssertionError(f"{line}: the run behind the killed ones gives something else")
    if interrupted == 0:
        raise AssertionError(f"{line} was never killed ahead of its end")
    print(f"{line}: killed {runs} times within {duration * 1200:.0f} ms, {interrupted} times ahead of its end, "
          f"{len(commands.left())} unfinished files beside OUT")


def main():
    program, file = sys.argv[1:3]
    runs = int(sys.argv[3]) if len(sys.argv) > 3 else 100
    seed = int(sys.argv[4]) if len(sys.argv) > 4 else random.randrange(1 << 32)
    print(f"seed {seed}")
    chance = random.Random(seed)
    with tempfile.TemporaryDirectory() as name:
        long, film = pathlib.Path(name) / "long.mp4", pathlib.Path(name) / "film.mp4"
        loop = ["-stream_loop", "12", "-i", file, "-c", "copy", long]
        subprocess.run(["ffmpeg", "-v", "error", *loop], check=True)
        subprocess.run([program, "remux", "--adapt", long, film], check=True, capture_output=True)
        commands = Commands(program, film, None, pathlib.Path(name))
        for line in COMMANDS:
            if "FILM OUT" in line or "SCC OUT" in line:
                try_command(commands, line, runs, chance)


main()
