#!/usr/bin/env python3
"""Has memory run out at every allocation of every command, and looks at what comes of it.

usage: running_out_of_memory.py KTMP4 LIBRARY FOLDER [RUNS [SEED]]

LIBRARY is built of failing_allocations.cpp, FOLDER holds the films. Each allocation of a command fails alone, and with
all behind it; with RUNS only so many of them by chance, and the seed is printed. A command that fails says so in words
and leaves OUT as it was and nothing beside it; one that does not fail has done all of its work.
"""

import os
import pathlib
import random
import subprocess
import sys
import tempfile

OLD = b"what stood here before"
CAPTIONS = "Scenarist_SCC V1.0\n\n00:00:00:00\t9425 9425 94ad 94ad 9470 9470 c8e5 ecec ef80\n"
COMMANDS = [
    "dump FILM",
    "info FILM REFUSED",
    "info --json --adapt FILM",
    "samples --track 1 FILM",
    "play FILM",
    "extract --track 1 FILM OUT --force",
    "extract --track 1 --format m4v --adapt FILM OUT --force",
    "remux FILM OUT --force",
    "remux --adapt FILM OUT --force",
    "add-captions FILM SCC OUT --force",
    "captions --format scc CAPTIONED",
    "hint FILM OUT --force",
    "hints HINTED",
    "sdp --full HINTED",
    "report FILM -o OUT --force",
    "report REFUSED -o OUT --force",
]
LAST = (1 << 32) - 1


class Commands:
    def __init__(self, program, film, refused, folder):
        self.program, self.out, self.count = program, folder / "out" / "out.mp4", folder / "count"
        self.out.parent.mkdir()
        (folder / "captions.scc").write_text(CAPTIONS)
        self.files = {"FILM": film, "REFUSED": refused, "OUT": self.out, "SCC": folder / "captions.scc",
                      "CAPTIONED": folder / "captioned.mp4", "HINTED": folder / "hinted.mp4"}
        for line in ("hint FILM HINTED", "add-captions FILM SCC CAPTIONED"):
            subprocess.run(self.words(line), check=True, capture_output=True)

    def words(self, line):
        return [self.program, *(str(self.files.get(word, word)) for word in line.split())]

    def left(self):
        """What stands beside OUT."""
        return [path.name for path in self.out.parent.iterdir() if path != self.out]

    def run(self, line, library, first, last):
        """What is told and left behind: exit code, both streams, OUT."""
        self.out.write_bytes(OLD)
        environment = {**os.environ, "LD_PRELOAD": library, "FAIL_FROM": str(first), "FAIL_TO": str(last),
                       "COUNT_IN": str(self.count)}
        done = subprocess.run(self.words(line), env=environment, capture_output=True, timeout=60, check=False)
        return done.returncode, done.stdout, done.stderr, self.out.read_bytes()

    def fault(self, whole, result):
        if self.left():
            return f"leaves {self.left()}"
        code, printed, told, out = result
        if (code, printed, out) == (whole[0], whole[1], whole[3]):
            return ""
        if code != 1 or not told.startswith(b"ktmp4"):
            return f"ends with {code} and {told[-200:]!r}, with less or other output"
        # Of a refused file there is a page, and a failure all the same.
        return "" if out == OLD or out == whole[3] and whole[0] == 1 else "fails and changes OUT"


def try_command(commands, library, line, runs, chance):
    whole = commands.run(line, library, 0, 0)
    count = int(commands.count.read_text())
    if count < 10 or whole[0] != ("REFUSED" in line.split()) or ("OUT" in line.split()) != (whole[3] != OLD):
        sys.exit(f"{line}: {count} allocations, and it ends with {whole[0]}: {whole[2].decode()}")
    numbers = range(1, count + 1)
    failed = tried = faults = 0
    for number in numbers if runs is None else sorted(chance.sample(numbers, min(runs, count))):
        for last in (number, LAST):
            result = commands.run(line, library, number, last)
            if text := commands.fault(whole, result):
                print(f"{line}: with allocations {number} to {last} of {count} failing it {text}")
                faults += 1
            failed += result[0] == 1
            tried += 1
    if failed * 2 < tried and whole[0] == 0:
        sys.exit(f"{line}: only {failed} of {tried} runs noticed that memory ran out")
    print(f"{line}: {tried} runs, {count} allocations, {failed} times a message, {faults} faults")
    return tried, faults


def main():
    program, library, media = sys.argv[1], sys.argv[2], pathlib.Path(sys.argv[3])
    runs = int(sys.argv[4]) if len(sys.argv) > 4 else None
    seed = int(sys.argv[5]) if len(sys.argv) > 5 else random.randrange(1 << 32)
    print(f"seed {seed}")
    chance = random.Random(seed)
    with tempfile.TemporaryDirectory() as name:
        commands = Commands(program, media / "bframes-aac.mp4", media / "refused-btrt.mp4", pathlib.Path(name))
        told = [try_command(commands, library, line, runs, chance) for line in COMMANDS]
    print(f"{sum(tried for tried, _ in told)} runs in all")
    sys.exit(any(faults for _, faults in told))


if __name__ == "__main__":
    main()
