#!/usr/bin/env python3
"""Kill benchmark: unattended runs killed at random moments, then recovered at the next start.

Each run answers a questionnaire of scale items on the real clock (a wait before each key, so
that the run takes real time) and is sent SIGKILL at a random moment between its start and a
little past the time an uninterrupted run takes. The next start of the experiment (another
participant, on the virtual clock) finds the journal, is answered yes by default, and writes the
killed run's record. The script then checks, with its own reading of the journal and of the data
files:

  * every response and reaction time that the journal held when the run was killed is in the
    recovered record (by questionnaire and by variable name), with 99 for the items not reached;
  * what the journal held is what the script answered;
  * no participant has two records, and a run killed before it began has none;
  * no data file holds a broken row: every .txt line has the fields of its kind and ends with
    CR LF, every .csv row has the columns of its header.

Usage: bench/kill_recovery.py [--build DIR] [--runs 200] [--items 20] [--wait-ms 120] [--seed N]
Not a ctest: it takes minutes.
"""

import argparse
import os
import random
import shutil
import signal
import subprocess
import sys
import tempfile
import time
from pathlib import Path


def crc16_x25(data: bytes) -> int:
    """The check field of a journal line (CRC-16 as ISO 3309 gives it)."""
    crc = 0xFFFF
    for byte in data:
        crc ^= byte
        for _ in range(8):
            crc = (crc >> 1) ^ 0x8408 if crc & 1 else crc >> 1
    return crc ^ 0xFFFF


def unescape(text: str) -> str:
    out, i = [], 0
    while i < len(text):
        c = text[i]
        if c == "\\" and i + 1 < len(text):
            n = text[i + 1]
            out.append({"t": "\t", "n": "\n", "r": "\r"}.get(n, n))
            i += 2
        else:
            out.append(c)
            i += 1
    return "".join(out)


def read_journal(data: bytes):
    """Header fields, the stores and the records noted (P lines) of a journal: complete lines
    whose check field agrees."""
    header, responses, times, noted, bad = None, {}, {}, set(), 0
    lines = data.split(b"\n")
    if lines and lines[-1] != b"":
        bad += 1  # a line cut off at the end
    for raw in lines[:-1]:
        body, _, check = raw.rpartition(b"\t")
        if len(check) != 4 or int(check, 16) != crc16_x25(body):
            bad += 1
            continue
        fields = [unescape(f) for f in body.decode("utf-8").split("\t")]
        if header is None:
            header = dict(f.split("=", 1) for f in fields[2:])
        elif fields[0] == "R":
            responses[(int(fields[1]), int(fields[2]), int(fields[3]))] = fields[6]
        elif fields[0] == "T":
            times[(int(fields[1]), int(fields[2]), int(fields[3]))] = int(fields[5])
        elif fields[0] == "P":
            noted.add(fields[1])
    return header, responses, times, noted, bad


def run_def(corvane_def: Path, target: Path, csv_text: str):
    csv = target.with_suffix(target.suffix + ".csv")
    csv.write_text(csv_text)
    subprocess.run([str(corvane_def), "create", str(target), str(csv)], check=True,
                   stdout=subprocess.DEVNULL)


def main():
    here = Path(__file__).resolve().parent
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--build", default=str(here.parent / "build"),
                        help="build folder holding src/app/corvane and src/tools/corvane-def")
    parser.add_argument("--runs", type=int, default=200)
    parser.add_argument("--items", type=int, default=20)
    parser.add_argument("--wait-ms", type=int, default=120,
                        help="real wait before each key (a scale item takes keys after 100 ms)")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--kill-from", type=float, default=0.0,
                        help="earliest kill moment, as a fraction of an uninterrupted run")
    parser.add_argument("--kill-to", type=float, default=1.1,
                        help="latest kill moment, as a fraction of an uninterrupted run")
    parser.add_argument("--keep", help="leave the experiment and its data in this folder")
    args = parser.parse_args()

    build = Path(args.build)
    corvane = build / "src/app/corvane"
    corvane_def = build / "src/tools/corvane-def"
    for program in (corvane, corvane_def):
        if not program.exists():
            sys.exit(f"{program} is missing: build first")
    rng = random.Random(args.seed)

    work = Path(args.keep) if args.keep else Path(tempfile.mkdtemp(prefix="corvane-kill-"))
    work.mkdir(parents=True, exist_ok=True)
    items = args.items
    names = [f"v{j:02d}" for j in range(1, items + 1)]
    rows = "".join(f"{j},scale response,{names[j - 1]},Item {j}?,(p5),yes,yes\n"
                   for j in range(1, items + 1))
    run_def(corvane_def, work / "items.que",
            "questionnumber,QuestionType,VariableName,QuestionWording,Parameters,WriteData,"
            "WriteRT\n" + rows)
    run_def(corvane_def, work / "study.exp", "Condition,position,file\na,1,items.que\n")
    runtime = work / "runtime"
    runtime.mkdir(mode=0o700, exist_ok=True)
    env = dict(os.environ, XDG_DATA_HOME=str(work / "xdg"), XDG_CONFIG_HOME=str(work / "xdg-config"),
               XDG_RUNTIME_DIR=str(runtime), QT_QPA_PLATFORM="offscreen")
    logs = work / "logs"
    logs.mkdir(exist_ok=True)

    def answers_of(subject_number):
        return [(subject_number + j) % 5 + 1 for j in range(items)]

    def command(subject, script_text, virtual):
        script = logs / f"script-{subject}.txt"
        script.write_text(script_text)
        cmd = [str(corvane), "--run", str(work / "study.exp"), "--subject", subject,
               "--condition", "a", "--script", str(script),
               "--message-log", str(logs / f"log-{subject}.txt"), "--timeout", "120"]
        return cmd + (["--virtual-clock"] if virtual else [])

    def real_script(subject_number):
        return "".join(f"wait {args.wait_ms}\nkey {v}\n" for v in answers_of(subject_number))

    # How long an uninterrupted run takes, start-up included.
    started = time.monotonic()
    subprocess.run(command("ref", real_script(0), False), env=env, check=True)
    full = time.monotonic() - started
    shutil.rmtree(work / "data")

    journal_folder = work / "data" / ".journal"

    def has_record(subject):
        path = work / "data" / "byquestionnaire" / "study.txt"
        return path.exists() and f"'{subject}','a','".encode() in path.read_bytes()

    figures = dict(runs=0, killed=0, ended_before_kill=0, killed_before_journal=0,
                   killed_after_records=0,
                   journals_left=0, offered=0, recovered=0, responses_stored=0,
                   responses_recovered=0, times_stored=0, times_recovered=0,
                   stored_not_as_scripted=0, cut_journal_lines=0, killed_while_writing=0)
    expected = {}  # subject -> (responses by item, times by item) for the record it must have
    problems = []

    for n in range(1, args.runs + 1):
        subject = f"k{n}"
        figures["runs"] += 1
        process = subprocess.Popen(command(subject, real_script(n), False), env=env)
        try:
            process.wait(timeout=rng.uniform(full * args.kill_from, full * args.kill_to))
            figures["ended_before_kill"] += 1
        except subprocess.TimeoutExpired:
            process.send_signal(signal.SIGKILL)
            process.wait()
            figures["killed"] += 1
        killed = process.returncode == -signal.SIGKILL

        journals = sorted(journal_folder.glob("*.journal")) if journal_folder.exists() else []
        if len(journals) > 1:
            problems.append(f"{subject}: {len(journals)} journals left")
        stored_r, stored_t = {}, {}
        if journals:
            figures["journals_left"] += 1
            header, stored_r, stored_t, noted, bad = read_journal(journals[0].read_bytes())
            if noted:
                figures["killed_while_writing"] += 1
            figures["cut_journal_lines"] += bad
            if header is None or header.get("subject") != subject:
                problems.append(f"{subject}: journal header unreadable or of another run")
            figures["responses_stored"] += len(stored_r)
            figures["times_stored"] += len(stored_t)
            truth = answers_of(n)
            for (q, i, k), value in stored_r.items():
                if (q, k) != (1, 1) or value != str(truth[i - 1]):
                    figures["stored_not_as_scripted"] += 1
            # A record whose writing had begun may be the run's own, with the time it was
            # written; the others take the date and time of the journal.
            expected[subject] = ({i: v for (_, i, _), v in stored_r.items()},
                                 {i: t for (_, i, _), t in stored_t.items()},
                                 (header or {}).get("date"), (header or {}).get("time"), noted)
        elif not killed or has_record(subject):
            # Its records were written and its journal removed, before the kill or without one:
            # every item answered as scripted.
            if killed:
                figures["killed_after_records"] += 1
            expected[subject] = ({i + 1: str(v) for i, v in enumerate(answers_of(n))}, None,
                                 None, None, set())
        else:
            figures["killed_before_journal"] += 1
            expected[subject] = None

        # The next start: another participant, whose run ends at once (its script is empty).
        recovery = f"r{n}"
        result = subprocess.run(command(recovery, "", True) + ["--recover"], env=env)
        if result.returncode not in (0, 2):
            problems.append(f"{recovery}: exit status {result.returncode}")
        log = (logs / f"log-{recovery}.txt").read_text(encoding="utf-8").splitlines()
        asked = [line for line in log if "Corvane found the responses" in line]
        done = [line for line in log if f"The record of participant {subject} has been" in line]
        figures["offered"] += len(asked)
        figures["recovered"] += len(done)
        if bool(journals) != bool(asked) or bool(journals) != bool(done):
            problems.append(f"{recovery}: journal {bool(journals)}, asked {len(asked)}, "
                            f"recovered {len(done)}")
        expected[recovery] = ({}, {}, None, None, set())
        if journal_folder.exists() and list(journal_folder.glob("*.journal")):
            problems.append(f"{recovery}: a journal is still there after the start")
        if n % 20 == 0:
            print(f"... {n} runs", flush=True)

    # The data files: rows whole, and every participant's record as expected.
    broken = {}
    records = {"byquestionnaire": {}, "byvariablename": {}}
    txt_shape = {"byquestionnaire": [6, 1, items, items], "byvariablename": [6, items, items]}
    for folder, shape in txt_shape.items():
        path = work / "data" / folder / "study.txt"
        data = path.read_bytes()
        bad = 0
        if not data.endswith(b"\r\n"):
            bad += 1
        lines = data.split(b"\r\n")[:-1]
        bad += sum(1 for line in lines if b"\n" in line or b"\r" in line)
        if len(lines) % len(shape):
            bad += 1
        for start in range(0, len(lines) - len(shape) + 1, len(shape)):
            group = [line.decode("utf-8").split(",") for line in lines[start:start + len(shape)]]
            bad += sum(1 for fields, count in zip(group, shape) if len(fields) != count)
            subject = group[0][0].strip("'")
            records[folder].setdefault(subject, []).append(group)
        broken[f"{folder}/study.txt"] = bad
    empty_csv_lines = 0
    for folder, columns in (("byquestionnaire", 6 + 1 + 2 * items),
                            ("byvariablename", 6 + 2 * items)):
        data = (work / "data" / folder / "study.csv").read_bytes()
        rows = data.split(b"\r\n")
        bad = sum(1 for row in rows if b"\n" in row or b"\r" in row)
        width = len(rows[0].split(b","))
        bad += width != columns
        for row in rows[1:]:
            if row == b"":
                empty_csv_lines += 1  # a load whose run never came to write a record
            elif len(row.split(b",")) != width:
                bad += 1
        broken[f"{folder}/study.csv"] = bad

    missing = [s for s, e in expected.items() if e is not None and s not in
               records["byquestionnaire"]]
    unexpected = [s for s, e in expected.items() if e is None and s in records["byquestionnaire"]]
    duplicates = [s for folder in records.values() for s, r in folder.items() if len(r) > 1]
    mismatched = []
    for subject, wanted in expected.items():
        if wanted is None or subject not in records["byquestionnaire"]:
            continue
        values, times, date, clock, noted = wanted
        group = records["byquestionnaire"][subject][0]
        by_variable = records["byvariablename"].get(subject, [None])[0]
        want_values = [values.get(i, "99") for i in range(1, items + 1)]
        if group[2] != want_values or by_variable is None or by_variable[1] != want_values:
            mismatched.append(f"{subject} responses {group[2]} / "
                              f"{by_variable[1] if by_variable else None}, journal {want_values}")
            continue
        if subject.startswith("k") and times is not None:
            want_times = [str(times.get(i, 99)) for i in range(1, items + 1)]
            if group[3] != want_times or by_variable[2] != want_times:
                mismatched.append(f"{subject} times {group[3]} / {by_variable[2]}, journal "
                                  f"{want_times}")
                continue
            heads = (("byquestionnaire", group[0]), ("byvariablename", by_variable[0]))
            wrong = [kind for kind, head in heads if kind not in noted
                     and head[4:6] != [f"'{date}'", f"'{clock}'"]]
            if wrong:
                mismatched.append(f"{subject} date and time of {wrong}: {group[0][4:6]} / "
                                  f"{by_variable[0][4:6]}, journal {date} {clock}")
                continue
            figures["times_recovered"] += len(times)
            figures["responses_recovered"] += len(values)

    print(f"command: {' '.join(sys.argv)}")
    print(f"folder: {work}")
    print(f"uninterrupted run: {full:.2f} s ({items} items, {args.wait_ms} ms real wait each); "
          f"kills at uniform random moments in {full * args.kill_from:.2f} to "
          f"{full * args.kill_to:.2f} s")
    print(f"runs: {figures['runs']}")
    print(f"  killed while running: {figures['killed']}")
    print(f"  ended before their kill moment: {figures['ended_before_kill']}")
    print(f"  killed before their journal existed: {figures['killed_before_journal']}")
    print(f"  killed after their records were written: {figures['killed_after_records']}")
    print(f"  journals left behind: {figures['journals_left']}, of runs killed while writing "
          f"their records: {figures['killed_while_writing']}")
    print(f"recovery offered: {figures['offered']}, records recovered: {figures['recovered']}")
    print(f"responses stored in the journals: {figures['responses_stored']}, "
          f"recovered into the data files: {figures['responses_recovered']}")
    print(f"reaction times stored: {figures['times_stored']}, "
          f"recovered: {figures['times_recovered']}")
    print(f"journal lines cut off or damaged: {figures['cut_journal_lines']}")
    print(f"stores that are not what the script answered: {figures['stored_not_as_scripted']}")
    print(f"records missing: {len(missing)} {missing[:5]}")
    print(f"records that should not exist: {len(unexpected)} {unexpected[:5]}")
    print(f"participants with more than one record: {len(set(duplicates))} {duplicates[:5]}")
    print(f"records that differ from what was stored: {len(mismatched)}")
    for line in mismatched[:5]:
        print(f"  {line}")
    print("broken rows: " + ", ".join(f"{name} {count}" for name, count in broken.items()))
    print(f"empty .csv lines (a load not followed by a record, accepted): {empty_csv_lines}")
    for problem in problems[:20]:
        print(f"problem: {problem}")
    failed = (problems or missing or unexpected or duplicates or mismatched
              or any(broken.values()) or figures["stored_not_as_scripted"]
              or figures["responses_stored"] != figures["responses_recovered"]
              or figures["times_stored"] != figures["times_recovered"])
    if not args.keep and not failed:
        shutil.rmtree(work)
    print("RESULT: " + ("FAILED" if failed else "every stored response recovered, no broken row"))
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
