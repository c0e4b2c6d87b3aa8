#!/usr/bin/env python3
"""Prints a summary of gcovr (--json-summary) as a table: lines and branches of each folder, least covered files last."""
import collections
import json
import os
import sys

LEAST_LINES = 20  # of a file that is worth naming
FILES_NAMED = 12


def share(covered, total):
    return f"{100.0 * covered / total:5.1f} % of {total:5d}" if total else "    -           "


def main():
    with open(sys.argv[1], encoding="utf-8") as file:
        files = json.load(file)["files"]
    kinds = ("line_covered", "line_total", "branch_covered", "branch_total")
    folders = collections.defaultdict(collections.Counter)
    for entry in files:
        for folder in (os.path.dirname(entry["filename"]), "all"):
            folders[folder].update({kind: entry[kind] for kind in kinds})
    print(f"{'':16}  {'lines':16}  branches")
    for folder in sorted(folders, key=lambda name: (name == "all", name)):
        counts = folders[folder]
        print(f"{folder:16}  {share(counts['line_covered'], counts['line_total'])}  "
              f"{share(counts['branch_covered'], counts['branch_total'])}")
    print("\nLines that no test reaches:")
    files.sort(key=lambda entry: entry["line_covered"] - entry["line_total"])
    for entry in [entry for entry in files if entry["line_total"] >= LEAST_LINES][:FILES_NAMED]:
        print(f"{entry['line_total'] - entry['line_covered']:5d}  {entry['filename']}")


if __name__ == "__main__":
    main()
