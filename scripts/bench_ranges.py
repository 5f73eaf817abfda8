#!/usr/bin/env python3
"""Prints the tables of several runs of `ktmp4_bench --json=FILE` as one in Markdown: from the least to the most that a
row came to. Rows that a run has not measured are left out.

    scripts/bench_ranges.py RUN.json RUN.json...
"""

import json
import sys


def between(values, unit=""):
    def text(value):
        digits = 0 if value >= 99.5 else 1 if value >= 9.95 else 2 if value >= 0.0995 else 3
        return f"{value:.{digits}f}"

    least, most = text(min(values)), text(max(values))
    return (least if least == most else f"{least} to {most}") + (f" {unit}" if unit else "")


def rows_of(run):
    """Every row under its table and name: the table with its columns, the unit, and the two figures."""
    return {(table["table"], *table["columns"], row["row"], row["unit"]): row["values"] for table in run for row in table["rows"]}


def main(names):
    if not names:
        sys.exit(__doc__.strip())
    runs = []
    for name in names:
        with open(name, encoding="utf-8") as file:
            runs.append(rows_of(json.load(file)))
    last = None
    for key in runs[0]:
        if not all(key in run for run in runs):
            continue
        table, ours, theirs, row, unit = key
        if (table, ours, theirs) != last:
            print(f"\n| {table} | {ours} | {theirs} | ratio |\n|---|---|---|---|")
            last = (table, ours, theirs)
        values = [run[key] for run in runs]
        ratios = between([value[0] / value[1] for value in values])
        print(f"| {row} | {between([v[0] for v in values], unit)} | {between([v[1] for v in values], unit)} | {ratios} |")


if __name__ == "__main__":
    main(sys.argv[1:])
