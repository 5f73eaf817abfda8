#!/usr/bin/env python3
"""Fuzzes each target until it has had so many hours of processor time, in as many runs of this script as it takes.

usage: long_run.py CORPUS HOURS

Needs the targets in build/fuzz/fuzz, and stands in the root of the checkout. What they find is added to a folder for
each below CORPUS, and CORPUS/times.csv counts a line for each portion of ten minutes: target, processor seconds, runs,
exit code. As many targets go beside each other as there are processors, those with the least time first. To interrupt
it loses nothing. It ends with what each target has had, and with exit code 1 when one found a fault: the input is then
in CORPUS/found.
"""

import csv
import os
import pathlib
import re
import signal
import subprocess
import sys
import threading

TARGETS = pathlib.Path("build/fuzz/fuzz")
WHOLE_FILES = ("file", "play", "hinting", "adapt")
PORTION = 600
INTERRUPTED = 72  # libFuzzer's


class LongRun:
    def __init__(self, corpus, seconds):
        self.corpus, self.seconds = corpus, seconds
        self.lock = threading.Lock()
        self.running = {}
        self.is_over = False
        self.times = corpus / "times.csv"
        self.spent = {path.name.removeprefix("ktmp4_fuzz_"): 0.0
                      for path in TARGETS.glob("ktmp4_fuzz_*") if path.is_file()}
        self.runs = dict.fromkeys(self.spent, 0)
        if not self.spent:
            sys.exit(f"There are no targets in {TARGETS}: cmake --preset fuzz && ninja -C build/fuzz")
        if self.times.exists():
            for name, spent, runs, _ in csv.reader(self.times.open()):
                self.spent[name] += float(spent)
                self.runs[name] += int(runs)

    def command(self, name, portion):
        folders = [self.corpus / name, pathlib.Path("fuzz/seeds") / name]
        if name in WHOLE_FILES:
            folders.append(pathlib.Path("tests/media"))
        folders[0].mkdir(parents=True, exist_ok=True)
        found = self.corpus / "found" / name
        found.mkdir(parents=True, exist_ok=True)
        return [TARGETS / f"ktmp4_fuzz_{name}", f"-max_total_time={portion}", "-timeout=20", "-max_len=65536",
                "-entropic=0", "-rss_limit_mb=2048", "-malloc_limit_mb=300", "-print_final_stats=1",
                "-dict=fuzz/codes.dict", f"-artifact_prefix={found}/", *folders]

    def begin(self):
        """The process of the target that is due and its name, or nothing when none is."""
        with self.lock:
            due = [name for name in self.spent if name not in self.running and self.spent[name] < self.seconds]
            if self.is_over or not due:
                return None
            name = min(due, key=self.spent.get)
            portion = int(min(PORTION, self.seconds - self.spent[name])) + 1
            self.running[name] = subprocess.Popen(self.command(name, portion), stdout=subprocess.DEVNULL,
                                                  stderr=(self.corpus / f"{name}.log").open("wb"))
            return name, self.running[name]

    def work(self):
        while begun := self.begin():
            name, process = begun
            _, status, use = os.wait4(process.pid, 0)
            log = (self.corpus / f"{name}.log").read_text(errors="replace")
            runs = re.search(r"number_of_executed_units: (\d+)", log)
            code = os.waitstatus_to_exitcode(status)
            with self.lock:
                del self.running[name]
                spent = use.ru_utime + use.ru_stime
                self.spent[name] += spent
                self.runs[name] += int(runs[1]) if runs else 0
                with self.times.open("a") as times:
                    times.write(f"{name},{spent:.0f},{runs[1] if runs else 0},{code}\n")
                if code not in (0, INTERRUPTED):
                    print(f"{name} ended with {code}:\n{log[-2000:]}", flush=True)
                    self.is_over = True
                    self.stop()

    def stop(self):
        for process in list(self.running.values()):
            os.kill(process.pid, signal.SIGINT)

    def interrupt(self, *_):
        self.is_over = True
        self.stop()


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    corpus = pathlib.Path(sys.argv[1])
    corpus.mkdir(parents=True, exist_ok=True)
    run = LongRun(corpus, float(sys.argv[2]) * 3600)
    signal.signal(signal.SIGINT, run.interrupt)
    signal.signal(signal.SIGTERM, run.interrupt)
    workers = [threading.Thread(target=run.work) for _ in range(os.cpu_count() or 1)]
    for worker in workers:
        worker.start()
    for worker in workers:
        worker.join()
    for name, spent in sorted(run.spent.items()):
        print(f"{name}: {spent / 3600:.2f} h, {run.runs[name]:,} inputs")
    return int(any((corpus / "found").glob("*/*")))


if __name__ == "__main__":
    sys.exit(main())
