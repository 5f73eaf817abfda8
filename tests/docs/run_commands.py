#!/usr/bin/env python3
"""Runs the commands of a page: run_commands.py PAGE CHECKOUT BUILD

The blocks marked as sh are run in their order by one shell, in a new folder with the files that docs/README.md names, and
those marked as cpp lie there as well, under the names by which the page calls them. A command that fails, fails all.
"""
import glob
import os
import re
import shutil
import subprocess
import sys
import tempfile


def main():
    page, checkout, build = sys.argv[1:]
    with open(page, encoding="utf-8") as file:
        text = file.read()
    commands = "".join(re.findall(r"^```sh\n(.*?)^```$", text, re.M | re.S))
    programs = re.findall(r"^```cpp\n(.*?)^```$\s*Saved as `(\w+\.cpp)`", text, re.M | re.S)
    if not commands:
        sys.exit(f"{page} has no commands")
    with tempfile.TemporaryDirectory() as folder:
        for name, media in [("film.mp4", "bframes-aac.mp4"), ("camera.mp4", "refused-btrt.mp4")]:
            shutil.copy(os.path.join(checkout, "tests/media", media), os.path.join(folder, name))
        shutil.copy(os.path.join(checkout, "examples/watch_texts.cpp"), folder)
        os.symlink(os.path.join(checkout, "include"), os.path.join(folder, "include"))
        for program, name in programs:
            with open(os.path.join(folder, name), "w", encoding="utf-8") as file:
                file.write(program)
        environment = dict(os.environ, PATH=f"{build}/tools:{build}/examples:{os.environ['PATH']}")
        if "pkg-config" in commands:
            prefix = os.path.join(folder, "prefix")
            subprocess.run(["cmake", "--install", build, "--component", "library", "--prefix", prefix], check=True,
                           stdout=subprocess.DEVNULL)
            environment["PKG_CONFIG_PATH"] = os.path.dirname(glob.glob(f"{prefix}/**/ktmp4.pc", recursive=True)[0])
        return subprocess.run(["bash", "-euxo", "pipefail", "-c", commands], cwd=folder, env=environment, timeout=100,
                              stdin=subprocess.DEVNULL, check=False).returncode


sys.exit(main())
