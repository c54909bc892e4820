#!/usr/bin/env python3
"""Makes one table of the benchmark's results.

Usage: report.py [--check] [--no-targets] [--write DOCUMENT] [--file-system NAME] RESULT.json...
--check: fails if a target is missed. --write: puts the table into the document, between its two marks.
"""

import argparse
import json
import platform
import re
import subprocess
import sys

BEGIN, END = "<!-- table: begin -->", "<!-- table: end -->"
OF_THE_FRAMEWORK = {
    "name", "family_index", "per_family_instance_index", "run_name", "run_type", "repetitions", "repetition_index",
    "threads", "aggregate_name", "aggregate_unit", "iterations", "real_time", "cpu_time", "time_unit"}
PACKAGES = {"Qt": "libqt5core5a", "GLib": "libglib2.0-0", "KIO": "kio", "MPD": "mpd", "nginx": "nginx",
            "Chromium": "chromium", "findutils": "findutils",
            "TagLib": "libtag1v5", "log4cplus": "liblog4cplus-2.0.5"}


class Value:
    """One measured value: its median, its quartiles, and its target, if it has one."""

    def __init__(self, name, aggregates, has_target):
        self.subject, _, self.rival = name.rpartition(" / ")
        self.median, self.first, self.third = (aggregates[kind][name] for kind in ("median", "q1", "q3"))
        self.target = aggregates["median"].get(name + " max") if has_target else None

    @property
    def missed(self):
        return self.target is not None and self.median > self.target

    def __str__(self):
        text = f"{number(self.median)} ({number(self.first)} – {number(self.third)})"
        if self.target is None:
            return text
        return f"{text}, target {self.target:g}: " + ("**missed**" if self.missed else "met")


def number(value):
    return f"{value:.3g}" if value < 100 else f"{value:.0f}"


def races(files, have_targets):
    """Yields for each race, in order, its title, its values, and the reason if it was skipped."""
    found = {}
    for file in files:
        with open(file, encoding="utf-8") as stream:
            for entry in json.load(stream)["benchmarks"]:
                title = entry["run_name"].split("/iterations:")[0]
                kind = "skipped" if entry.get("error_occurred") else entry["aggregate_name"]
                found.setdefault(title, {})[kind] = entry
    for title, entries in found.items():
        if "skipped" in entries:
            yield title, [], entries["skipped"]["error_message"]
            continue
        names = [name for name in entries["median"] if name not in OF_THE_FRAMEWORK and not name.endswith(" max")]
        yield title, [Value(name, entries, have_targets) for name in names], None


def rows(title, values, obstacle):
    """Yields a row of the table for each subject of a race."""
    work, _, entries = title.partition("/")
    if obstacle:
        yield f"| {work} | {entries} | **not measured**: {obstacle} |  |  |"
    for subject in dict.fromkeys(value.subject for value in values):
        of_subject = [value for value in values if value.subject == subject]
        floor = "; ".join(str(value) for value in of_subject if value.rival == "floor")
        others = "; ".join(f"{value.rival}: {value}" for value in of_subject if value.rival != "floor")
        yield f"| {work} | {entries} | {subject} | {floor} | {others} |"


def version(package):
    shown = subprocess.run(["dpkg-query", "--show", "--showformat=${Version}", package], capture_output=True, text=True)
    upstream = re.match(r"(?:\d+:)?([\d.]+)", shown.stdout)
    return upstream.group(1) if upstream else None


def processor():
    with open("/proc/cpuinfo", encoding="utf-8") as stream:
        lines = [line.split(":", 1)[1].strip() for line in stream if line.startswith("model name")]
    return f"{len(lines)} × {lines[0]}" if lines else platform.machine()


def conditions(file_system):
    compiler = subprocess.run(["c++", "-dumpfullversion"], capture_output=True, text=True, check=True).stdout.strip()
    versions = {"g++": compiler, **{name: version(package) for name, package in PACKAGES.items()}}
    kernel = ".".join(platform.release().split(".")[:2])
    return (f"Measured on {processor()}, Linux {kernel}, files on {file_system}; "
            + ", ".join(f"{name} {known}" for name, known in versions.items() if known) + ".")


def insert(document, text):
    with open(document, encoding="utf-8") as stream:
        before, mark, rest = stream.read().partition(BEGIN)
    if not mark or END not in rest:
        sys.exit(f"report: {document} has no place for the table")
    with open(document, "w", encoding="utf-8") as stream:
        stream.write(before + BEGIN + "\n" + text + "\n" + END + rest.partition(END)[2])


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--check", action="store_true")
    parser.add_argument("--no-targets", action="store_true")
    parser.add_argument("--write", metavar="DOCUMENT")
    parser.add_argument("--file-system", default="an unknown file system")
    parser.add_argument("results", nargs="+")
    options = parser.parse_args()

    measured = list(races(options.results, not options.no_targets))
    table = ["| work | n | subject | by the floor | by others |", "|---|---|---|---|---|"]
    table += [row for race in measured for row in rows(*race)]
    text = conditions(options.file_system) + "\n\n" + "\n".join(table)
    print(text)
    if options.write:
        insert(options.write, text)
    missed = [f"{title}: {value.subject} by {value.rival}: {value}"
              for title, values, _ in measured for value in values if value.missed]
    missed += [f"{title}: not measured: {obstacle}" for title, _, obstacle in measured if obstacle]
    if options.check and missed:
        sys.exit("report: targets are missed\n" + "\n".join(missed))


if __name__ == "__main__":
    main()
