#!/usr/bin/env python3
"""Writes the reaction times of a timing run, item by item, as a CSV with the column rt_ms.

The by-questionnaire data file holds, per run, a record whose reaction-time line lists the
items' times in item order; the last record is the run just made."""
import sys

def main(data_txt, out_csv):
    with open(data_txt, newline="") as f:
        lines = f.read().split("\r\n")
    # A record: identification line, questionnaire name, answers line, times line.
    times_line = None
    for i, line in enumerate(lines):
        if line.startswith("'timing'") and i + 2 < len(lines):
            times_line = lines[i + 2]
    if times_line is None:
        sys.exit("no timing record in " + data_txt)
    with open(out_csv, "w") as out:
        out.write("trial,rt_ms\n")
        for n, value in enumerate(times_line.split(","), start=1):
            out.write(f"{n},{value}\n")

if __name__ == "__main__":
    main(sys.argv[1], sys.argv[2])
