#!/usr/bin/env python3
"""The long-run benchmark: a questionnaire of many scale items answered by script.

    bench/long_run/long_run_benchmark.py [BUILD_DIR] [--items N]

Corvane runs the questionnaire unattended (offscreen, virtual clock, one "wait 150" and one
"key 1" per item). While it runs, the journal of the run is read every few milliseconds: each
reaction-time line in it marks an item answered, so the pace of the items over the run is seen
from outside. Prints the peak resident memory of the process (from /usr/bin/time -v), the time
per item over the first and the last tenth of the items, and the growth between them."""
import argparse
import os
import re
import subprocess
import sys
import tempfile
import time

TARGET_GROWTH = 5.0  # percent
TARGET_RSS_MB = 100.0


def make_study(folder, items, corvane_def):
    header = ("questionnumber,QuestionType,QuestionWording,VariableName,Parameters,WriteData,"
              "WriteRT,pointlabel1,pointlabel2,pointlabel3,pointlabel4,pointlabel5\n")
    rows = [f"{i},scale response,How much do you agree with statement {i}?,v{i},(p5),yes,yes,"
            f"1,2,3,4,5\n" for i in range(1, items + 1)]
    csv = os.path.join(folder, "long.csv")
    with open(csv, "w") as f:
        f.write(header + "".join(rows))
    subprocess.run([corvane_def, "create", os.path.join(folder, "long.que"), csv], check=True,
                   stdout=subprocess.DEVNULL)
    exp_csv = os.path.join(folder, "long_exp.csv")
    with open(exp_csv, "w") as f:
        f.write("Condition,position,file\n1,1,long.que\n")
    subprocess.run([corvane_def, "create", os.path.join(folder, "long.exp"), exp_csv], check=True,
                   stdout=subprocess.DEVNULL)
    script = os.path.join(folder, "script.txt")
    with open(script, "w") as f:
        f.write("wait 150\nkey 1\n" * items)
    return script


def follow_journal(journal_folder, proc):
    """(seconds since start, items answered) each time the count moves, until the run ends."""
    marks = []
    start = time.monotonic()
    path, handle, answered, rest = None, None, 0, b""
    while proc.poll() is None:
        if handle is None and os.path.isdir(journal_folder):
            names = [n for n in os.listdir(journal_folder) if n.endswith(".journal")]
            if names:
                path = os.path.join(journal_folder, names[0])
                try:
                    handle = open(path, "rb")
                except FileNotFoundError:
                    handle = None
        if handle is not None:
            chunk = handle.read()
            if chunk:
                lines = (rest + chunk).split(b"\n")
                rest = lines.pop()
                answered += sum(1 for line in lines if line.startswith(b"T\t"))
                marks.append((time.monotonic() - start, answered))
        time.sleep(0.005)
    return marks


def time_at(marks, count):
    for t, n in marks:
        if n >= count:
            return t
    return None


def main():
    ap = argparse.ArgumentParser(description=__doc__,
                                 formatter_class=argparse.RawDescriptionHelpFormatter)
    here = os.path.dirname(os.path.abspath(__file__))
    ap.add_argument("build", nargs="?", default=os.path.join(here, "..", "..", "build"))
    ap.add_argument("--items", type=int, default=20000)
    a = ap.parse_args()
    build = os.path.abspath(a.build)
    corvane = os.path.join(build, "src", "app", "corvane")
    corvane_def = os.path.join(build, "src", "tools", "corvane-def")
    with tempfile.TemporaryDirectory() as work:
        study = os.path.join(work, "study")
        os.makedirs(study)
        script = make_study(study, a.items, corvane_def)
        env = dict(os.environ, QT_QPA_PLATFORM="offscreen",
                   XDG_DATA_HOME=os.path.join(work, "xdg"),
                   XDG_CONFIG_HOME=os.path.join(work, "config"))
        timing = os.path.join(work, "time.txt")
        started = time.monotonic()
        proc = subprocess.Popen(
            ["/usr/bin/time", "-v", "-o", timing, corvane, "--run",
             os.path.join(study, "long.exp"), "--subject", "bench", "--condition", "1",
             "--script", script, "--virtual-clock", "--message-log",
             os.path.join(work, "messages.log"), "--timeout", "3600"], env=env)
        marks = follow_journal(os.path.join(study, "data", ".journal"), proc)
        wall = time.monotonic() - started
        with open(timing) as f:
            rss_kb = int(re.search(r"Maximum resident set size \(kbytes\): (\d+)", f.read()).group(1))
        with open(os.path.join(study, "data", "byquestionnaire", "long.txt"), newline="") as f:
            recorded = f.read().count("\r\n")
    tenth = a.items // 10
    t1, t2 = time_at(marks, 1), time_at(marks, 1 + tenth)
    t3, t4 = time_at(marks, a.items - tenth), time_at(marks, a.items)
    if None in (t1, t2, t3, t4) or proc.returncode != 0:
        sys.exit(f"the run did not answer all {a.items} items (exit status {proc.returncode})")
    first = (t2 - t1) / tenth * 1000
    last = (t4 - t3) / tenth * 1000
    growth = (last - first) / first * 100
    rss = rss_kb / 1024
    print(f"items: {a.items}, run {wall:.1f} s in all, data file lines: {recorded}")
    print(f"time per item, first tenth: {first:.3f} ms, last tenth: {last:.3f} ms, "
          f"growth {growth:+.1f}% (target within +-{TARGET_GROWTH:.0f}%)")
    print(f"peak RSS: {rss:.1f} MB (target <= {TARGET_RSS_MB:.0f} MB)")


if __name__ == "__main__":
    main()
