#!/usr/bin/env python3
"""Measures what the fuzz targets reach of the code, with what they have gathered so far.

usage: fuzz_coverage.py [CORPUS]

Builds the targets with clang's coverage (build/coverage), hands each of them every input of its seeds and of its folder
below CORPUS (build/fuzz-corpus, which ./test fills), and prints how much of each room they came to. The functions that
none of them enters are then in build/coverage/holes.txt. Run it in the root of the checkout.
"""

import collections
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys

BUILD = pathlib.Path("build/coverage")
# Rooms whose code bytes of strangers come to.
ROOMS = re.compile(r"(adapt|engine/\w+|boxes/\w+(?=/)|boxes|descriptors|hint|filter/formats|filter/logic|include/ktmp4)/")
WHOLE_FILES = ("file", "play", "hinting", "adapt")


def tool(name):
    """Debian numbers them: the newest one, unless there is one without a number."""
    numbered = sorted(pathlib.Path("/usr/bin").glob(f"{name}-[0-9]*"), key=lambda path: int(path.name.rsplit("-", 1)[1]))
    return shutil.which(name) or (numbered[-1] if numbered else sys.exit(f"{name} is missing: Debian has it in llvm"))


def build():
    subprocess.run(["cmake", "--preset", "coverage"], check=True, stdout=subprocess.DEVNULL)
    subprocess.run(["ninja", "-C", BUILD, "fuzz/all"], check=True, stdout=subprocess.DEVNULL)
    return sorted(path for path in (BUILD / "fuzz").glob("ktmp4_fuzz_*") if path.is_file())


def replay(target, corpus):
    name = target.name.removeprefix("ktmp4_fuzz_")
    folders = [corpus / name, pathlib.Path("fuzz/seeds") / name]
    if name in WHOLE_FILES:
        folders.append(pathlib.Path("tests/media"))
    inputs = sorted(path for folder in folders if folder.is_dir() for path in folder.iterdir() if path.is_file())
    profile = str((BUILD / f"{name}-%m.profraw").absolute())
    # In portions that a command line takes; all of them add to one profile, which %m asks for.
    for begin in range(0, len(inputs), 500):
        done = subprocess.run([target, *inputs[begin:begin + 500]], env={"LLVM_PROFILE_FILE": profile},
                              stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, check=False)
        if done.returncode != 0:
            sys.exit(f"{target.name} fails:\n{done.stderr.decode(errors='replace')[-2000:]}")
    return len(inputs)


def measure(targets):
    profile = BUILD / "all.profdata"
    subprocess.run([tool("llvm-profdata"), "merge", "-sparse", "-o", profile, *BUILD.glob("*.profraw")], check=True)
    objects = [word for target in targets[1:] for word in ("-object", target)]
    told = subprocess.run([tool("llvm-cov"), "export", f"-instr-profile={profile}", targets[0], *objects],
                          check=True, capture_output=True)
    return json.loads(told.stdout)["data"][0]


def in_checkout(file):
    """ccache has the compiler see names from the build folder on."""
    return os.path.relpath(BUILD / file)


def room_of(file):
    found = ROOMS.match(file)
    return found[1] if found else None


def print_rooms(files):
    sums = collections.defaultdict(lambda: collections.defaultdict(lambda: [0, 0]))
    for entry in files:
        room = room_of(entry["filename"])
        for kind in ("lines", "regions", "functions") if room else ():
            for name in (room, "all"):
                sums[name][kind][0] += entry["summary"][kind]["covered"]
                sums[name][kind][1] += entry["summary"][kind]["count"]
    print(f"{'room':20} {'lines':>16} {'regions':>16} {'functions':>16}")
    for room, kinds in sorted(sums.items(), key=lambda row: (row[0] == "all", row[0])):
        cells = (f"{done:6}/{count:<5}{100 * done // count:3}%" for done, count in kinds.values())
        print(f"{room:20} " + " ".join(f"{cell:>16}" for cell in cells))


def write_holes(functions):
    """What a template is made into counts as one function: where it stands."""
    reached, names = collections.Counter(), {}
    for function in functions:
        file = in_checkout(function["filenames"][0])
        if room_of(file):
            place = file, function["regions"][0][0], function["regions"][0][2]
            reached[place] += function["count"]
            names[place] = function["name"].rsplit(":", 1)[-1]
    holes = sorted(place for place, count in reached.items() if count == 0)
    spelled = subprocess.run(["c++filt"], input="\n".join(names[place] for place in holes), text=True,
                             capture_output=True, check=True).stdout.splitlines()
    lines = [f"{file}:{begin}: {end - begin + 1:3} lines  {name}" for (file, begin, end), name in zip(holes, spelled)]
    (BUILD / "holes.txt").write_text("\n".join(lines) + "\n", encoding="utf-8")
    print(f"{len(lines)} of {len(reached)} functions are entered by nothing: {BUILD / 'holes.txt'}")


def main():
    corpus = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else "build/fuzz-corpus")
    targets = build()
    for old in BUILD.glob("*.profraw"):
        old.unlink()
    print("inputs:", ", ".join(f"{target.name.removeprefix('ktmp4_fuzz_')} {replay(target, corpus)}" for target in targets))
    data = measure(targets)
    for entry in data["files"]:
        entry["filename"] = in_checkout(entry["filename"])
    print_rooms(data["files"])
    write_holes(data["functions"])


main()
