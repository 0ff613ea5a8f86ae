#!/usr/bin/env python3
"""PSPP check: the statistics syntax files that a scripted run writes, read by GNU PSPP.

Makes an experiment of two questionnaires in two conditions (number and text columns, items
without a time column, one without any column), runs a few participants unattended, and then for
each of the two .sps files (by questionnaire, by variable name):

  1. runs it with pspp as it is written, and reports every error or warning with the line of
     the file that it names;
  2. runs it again inside a wrapper that saves the data PSPP read and lists them, and compares
     the number of variables and cases that PSPP reports, and every value it read, with what the
     experiment and the .txt data file say.

Installs nothing: without pspp (Debian package `pspp`) it says so and exits with 77.
Exit status: 0 all accepted and read as expected, 1 PSPP read something else, 3 PSPP read the
data as expected but reported errors in the files as written.

Usage: bench/pspp_check.py [--build DIR] [--keep DIR]
"""

import argparse
import csv
import io
import os
import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

ITEMS_HEADER = "questionnumber,QuestionType,VariableName,QuestionWording,Parameters,WriteData," \
               "WriteRT,WriteText\n"
# name, points, write data, write time, text
ALPHA = [("mood", 5, True, True, False), ("calm", 5, True, True, True),
         ("skipme", 5, False, False, False), ("sure", 7, True, False, False)]
BETA = [("energy", 5, True, True, False), ("focus", 5, True, True, False),
        ("note", 5, True, False, True)]
CONDITIONS = {"a": ["alpha.que", "beta.que"], "b": ["beta.que"]}
RUNS = [("1", "a"), ("2", "b"), ("3", "a"), ("4", "b")]


def make_definition(corvane_def, target, text):
    source = target.with_suffix(target.suffix + ".csv")
    source.write_text(text)
    subprocess.run([str(corvane_def), "create", str(target), str(source)], check=True,
                   stdout=subprocess.DEVNULL)


def items_csv(items):
    yes = lambda flag: "yes" if flag else "no"
    return ITEMS_HEADER + "".join(
        f"{n},scale response,{name},{name}?,(p{points}),{yes(data)},{yes(rt)},{yes(text)}\n"
        for n, (name, points, data, rt, text) in enumerate(items, 1))


def expected_variables():
    questionnaires = {"alpha.que": ALPHA, "beta.que": BETA}
    by_questionnaire = 6
    for name in sorted(questionnaires):
        items = questionnaires[name]
        by_questionnaire += 1 + sum(1 for i in items if i[2]) + sum(1 for i in items if i[3])
    every = [i for items in questionnaires.values() for i in items]
    by_variable = 6 + len({i[0] for i in every if i[2]}) + len({i[0] for i in every if i[3]})
    return {"byquestionnaire": by_questionnaire, "byvariablename": by_variable}


def free_format_values(txt: bytes):
    """The values of a free-format data file, in order: quoted text or bare numbers."""
    text = txt.decode("utf-8")
    return [m.group(1) if m.group(1) is not None else m.group(2)
            for m in re.finditer(r"'([^']*)'|([^,\r\n]+)", text)]


def pspp_tables(csv_text):
    """Tables of PSPP's CSV output by title: a list of rows each."""
    tables, title, rows = {}, None, []
    for line in csv_text.splitlines() + [""]:
        if line.startswith("Table: "):
            title, rows = line[len("Table: "):], []
        elif line == "" and title:
            tables[title] = list(csv.reader(io.StringIO("\n".join(rows))))
            title = None
        elif title:
            rows.append(line)
    return tables


def same_value(read, written):
    try:
        return float(read) == float(written)
    except ValueError:
        return read == written.strip()


def main():
    here = Path(__file__).resolve().parent
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--build", default=str(here.parent / "build"))
    parser.add_argument("--keep", help="leave the experiment, its data and PSPP's output here")
    args = parser.parse_args()
    pspp = shutil.which("pspp")
    if not pspp:
        print("pspp is not installed (Debian package pspp); nothing was checked")
        return 77
    version = subprocess.run([pspp, "--version"], capture_output=True, text=True).stdout
    build = Path(args.build)
    corvane, corvane_def = build / "src/app/corvane", build / "src/tools/corvane-def"
    work = Path(args.keep) if args.keep else Path(tempfile.mkdtemp(prefix="corvane-pspp-"))
    work.mkdir(parents=True, exist_ok=True)
    runtime = work / "runtime"
    runtime.mkdir(mode=0o700, exist_ok=True)
    env = dict(os.environ, XDG_DATA_HOME=str(work / "xdg"), XDG_CONFIG_HOME=str(work / "xdgc"),
               XDG_RUNTIME_DIR=str(runtime), QT_QPA_PLATFORM="offscreen")

    make_definition(corvane_def, work / "alpha.que", items_csv(ALPHA))
    make_definition(corvane_def, work / "beta.que", items_csv(BETA))
    make_definition(corvane_def, work / "study.exp", "Condition,position,file\n" + "".join(
        f"{c},{p},{f}\n" for c, files in CONDITIONS.items() for p, f in enumerate(files, 1)))
    for subject, condition in RUNS:
        count = sum(len(ALPHA if f == "alpha.que" else BETA) for f in CONDITIONS[condition])
        script = work / f"script-{subject}.txt"
        # The last participant leaves two items unanswered: the run is ended with the operator's
        # keys and those answers are 99.
        answered = count - (2 if subject == RUNS[-1][0] else 0)
        script.write_text("".join(f"wait 250\nkey {(int(subject) + n) % 5 + 1}\n"
                                  for n in range(answered)))
        result = subprocess.run([str(corvane), "--run", str(work / "study.exp"), "--subject",
                                 subject, "--condition", condition, "--script", str(script),
                                 "--virtual-clock", "--message-log",
                                 str(work / f"log-{subject}.txt")], env=env)
        if result.returncode not in (0, 2):
            print(f"the run of participant {subject} ended with status {result.returncode}")
            return 1

    print(f"command: {' '.join(sys.argv)}")
    print(f"pspp: {version.splitlines()[0] if version else '?'}")
    print(f"runs: {len(RUNS)} participants, conditions {', '.join(c for _, c in RUNS)}")
    expected = expected_variables()
    read_wrong = False
    errors_as_written = False
    for kind in ("byquestionnaire", "byvariablename"):
        sps = work / "data" / kind / "study.sps"
        txt = work / "data" / kind / "study.txt"
        lines = sps.read_text(encoding="utf-8").splitlines()
        print(f"\n{kind}/study.sps")

        # 1. As written.
        written = subprocess.run([pspp, "-O", "format=txt", "-o", str(work / f"{kind}.out"),
                                  str(sps)], capture_output=True, text=True)
        # A message starts with the file and line it names; pspp wraps it over lines.
        messages = []
        for line in (written.stderr or written.stdout).splitlines():
            if re.search(r": (error|warning):", line):
                messages.append(line)
            elif messages and line.strip():
                messages[-1] += " " + line.strip()
        print(f"  as written: pspp exit status {written.returncode}, "
              f"{len(messages)} error/warning message(s)")
        for message in messages:
            print(f"    {message}")
            at = re.match(re.escape(str(sps)) + r":(\d+)", message)
            if at:
                print(f"    line {at.group(1)}: {lines[int(at.group(1)) - 1]}")
        errors_as_written = errors_as_written or bool(messages) or written.returncode != 0

        # 2. What PSPP reads of the data.
        wrapper = work / f"{kind}-wrapper.sps"
        saved = work / f"{kind}.sav"
        wrapper.write_text(f"INSERT FILE='{sps}' SYNTAX=BATCH ERROR=CONTINUE.\n"
                           f"SAVE OUTFILE='{saved}'.\n"
                           f"SYSFILE INFO FILE='{saved}'.\n"
                           "LIST.\n")
        read = subprocess.run([pspp, "-O", "format=csv", "-o", "-", str(wrapper)],
                              capture_output=True, text=True)
        tables = pspp_tables(read.stdout)
        info = {row[0]: row[1] for row in tables.get("File Information", []) if len(row) > 1}
        variables, cases = info.get("Variables"), info.get("Cases")
        listed = tables.get("Data List", [])
        values = free_format_values(txt.read_bytes())
        flat = [value for row in listed[1:] for value in row]
        differences = [(n, a, b) for n, (a, b) in enumerate(zip(flat, values))
                       if not same_value(a, b)]
        ok = (variables == str(expected[kind]) and cases == str(len(RUNS))
              and len(flat) == len(values) and not differences)
        print(f"  PSPP reports {variables} variables (expected {expected[kind]}) and {cases} "
              f"cases (expected {len(RUNS)}); values read {len(flat)}, in the .txt "
              f"{len(values)}, differing {len(differences)}")
        for n, a, b in differences[:5]:
            print(f"    value {n}: PSPP read {a!r}, the file holds {b!r}")
        read_wrong = read_wrong or not ok

    if not args.keep:
        shutil.rmtree(work)
    if read_wrong:
        print("\nRESULT: PSPP did not read the data as the syntax files intend")
        return 1
    if errors_as_written:
        print("\nRESULT: PSPP reads the data as intended, but reports errors in the files as "
              "written (above)")
        return 3
    print("\nRESULT: both syntax files accepted; variables, cases and values as expected")
    return 0


if __name__ == "__main__":
    sys.exit(main())
