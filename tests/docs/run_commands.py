#!/usr/bin/env python3
"""Runs the commands of a page: run_commands.py PAGE CHECKOUT BUILD

One shell runs the blocks marked as sh, in a new folder with the files that docs/README.md names and the blocks marked as
cpp, under the names by which the page calls them. A command that fails, fails all.
"""
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

page, checkout, build = map(pathlib.Path, sys.argv[1:])
text = page.read_text(encoding="utf-8")
commands = "".join(re.findall(r"^```sh\n(.*?)^```$", text, re.M | re.S))
if not commands:
    sys.exit(f"{page} has no commands")
with tempfile.TemporaryDirectory() as name:
    folder = pathlib.Path(name)
    for copy, original in [("film.mp4", "tests/media/bframes-aac.mp4"), ("camera.mp4", "tests/media/refused-btrt.mp4"),
                           ("watch_texts.cpp", "examples/watch_texts.cpp"),
                           ("graph_support.h", "examples/graph_support.h")]:
        shutil.copy(checkout / original, folder / copy)
    (folder / "include").symlink_to(checkout / "include")
    for program, saved in re.findall(r"^```cpp\n(.*?)^```$\s*Saved as `(\w+\.cpp)`", text, re.M | re.S):
        (folder / saved).write_text(program, encoding="utf-8")
    environment = dict(os.environ, PATH=f"{build}/tools:{build}/examples:{os.environ['PATH']}")
    if "pkg-config" in commands:
        subprocess.run(["cmake", "--install", build, "--component", "library", "--prefix", folder / "prefix"],
                       check=True, stdout=subprocess.DEVNULL)
        environment["PKG_CONFIG_PATH"] = str(next(folder.rglob("ktmp4.pc")).parent)
    sys.exit(subprocess.run(["bash", "-euxo", "pipefail", "-c", commands], cwd=folder, env=environment, timeout=100,
                            stdin=subprocess.DEVNULL, check=False).returncode)
