#!/usr/bin/env python3
"""Reliability benchmark: unattended runs cut short in every way we can make happen, then the
next start, and a check of every response of every run in all four data files.

Cases (each in folders of its own):

  random-kill   runs on the real clock sent SIGKILL at a random moment between their start and a
                little past the time an uninterrupted run takes; all in one data folder, so that
                every record lands after the ones before it.
  kill-at-call  one run per write and per sync (write, fdatasync, fsync) of the journal, of the
                four data files and of their folders, as a reference run makes them: strace
                injects SIGKILL on entering exactly that call, so the call never happens.
  eio-sync      one run per sync of those files: every fdatasync and fsync from that one on fails
                with EIO (strace), and the run goes on as it can.
  full-disk     runs into a tmpfs of 64 KB until the disk is full and beyond; afterwards the
                tmpfs grows and one more start recovers what it can. Needs root for the mount.

After each run cut short, the next start of the experiment (another participant, an empty
script) finds what was left; it is given --recover when the program knows that option.

What a run must not lose: every response and reaction time that reached its journal (or, for a
run that ended normally, every answer of its script). For kill-at-call the reference run tells
which stores had been written before the kill, whatever is left on the disk. The check reads
the four data files (by questionnaire and by variable name, .txt and .csv) and counts per file:

  lost          a response that must be there and is not (no record, or 99 in its place)
  wrong         a response that is there with another value
  duplicated    answered responses in second and later records of the same participant
  broken rows   .txt lines and .csv rows without the fields of their kind, or a file that does
                not end with CR LF
  blank lines   empty lines in a data file

Usage:
  bench/kill_recovery.py [--build DIR] [--quick] [--cases random-kill,kill-at-call,...]
                         [--kills 300] [--items 10] [--wait-ms 120] [--seed 1] [--keep DIR]
Needs strace (kill-at-call, eio-sync) and root (full-disk). Not a ctest: it takes minutes.
"""

import argparse
import os
import random
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time
from collections import Counter
from pathlib import Path

KINDS = ("byquestionnaire", "byvariablename")
DATA_FILES = [f"{kind}/study.{ext}" for kind in KINDS for ext in ("txt", "csv")]
FIGURES = ("lost", "wrong", "times_lost", "duplicated", "broken_rows", "blank_lines")


# ---------------------------------------------------------------------------------------------
# The journal, read as the program writes it

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
    """The header, the responses and times by item (later stores replace earlier ones) and the
    number of lines cut off or damaged."""
    header, responses, times, bad = None, {}, {}, 0
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
            header = dict(f.split("=", 1) for f in fields[2:] if "=" in f)
        elif fields[0] == "R":
            responses[int(fields[2])] = fields[6]
        elif fields[0] == "T":
            times[int(fields[2])] = fields[5]
    return header, responses, times, bad


# ---------------------------------------------------------------------------------------------
# The data files

def parse_txt(data: bytes, kind: str, items: int, figures: Counter):
    """Records of a .txt data file by subject: (values, times) of each well-formed record."""
    records = {}
    if data and not data.endswith(b"\r\n"):
        figures["broken_rows"] += 1
    lines = data.split(b"\r\n")
    if lines and lines[-1] == b"":
        lines.pop()
    shape = [1, items, items] if kind == "byquestionnaire" else [items, items]
    group = None

    def close(group):
        if group is None:
            return
        head, rest = group
        good = len(rest) == len(shape) and all(
            len(line.split(",")) == count for line, count in zip(rest, shape))
        if not good:
            figures["broken_rows"] += max(1, abs(len(rest) - len(shape)) + sum(
                1 for line, count in zip(rest, shape) if len(line.split(",")) != count))
            return
        values, times = rest[-2].split(","), rest[-1].split(",")
        records.setdefault(head[0].strip("'"), []).append((values, times))

    for raw in lines:
        if b"\r" in raw or b"\n" in raw:
            figures["broken_rows"] += 1
            continue
        if raw == b"":
            figures["blank_lines"] += 1
            continue
        line = raw.decode("utf-8", "replace")
        fields = line.split(",")
        if len(fields) == 6 and all(f.startswith("'") and f.endswith("'") for f in fields):
            close(group)
            group = (fields, [])
        elif group is None:
            figures["broken_rows"] += 1
        else:
            group[1].append(line)
    close(group)
    return records


def parse_csv(data: bytes, items: int, figures: Counter):
    # The last row of a .csv has no line end until the next load of the experiment adds one.
    records = {}
    lines = data.split(b"\r\n")
    if lines and lines[-1] == b"":
        lines.pop()
    if not lines:
        return records
    names = lines[0].decode("utf-8", "replace").split(",")
    value_columns = [names.index(f"v{j:02d}") if f"v{j:02d}" in names else None
                     for j in range(1, items + 1)]
    time_columns = [names.index(f"v{j:02d}t") if f"v{j:02d}t" in names else None
                    for j in range(1, items + 1)]
    if None in value_columns or None in time_columns:
        figures["broken_rows"] += 1
        return records
    for raw in lines[1:]:
        if b"\r" in raw or b"\n" in raw:
            figures["broken_rows"] += 1
            continue
        if raw == b"":
            figures["blank_lines"] += 1
            continue
        fields = raw.decode("utf-8", "replace").split(",")
        if len(fields) != len(names):
            figures["broken_rows"] += 1
            continue
        records.setdefault(fields[0], []).append(([fields[c] for c in value_columns],
                                                  [fields[c] for c in time_columns]))
    return records


def check_data(folder: Path, items: int, expected: dict, figures: Counter):
    """Adds to `figures` what the four data files of `folder` hold against `expected`:
    subject -> (values by item, times by item) that must be in every data file."""
    for name in DATA_FILES:
        path = folder / "data" / name
        data = path.read_bytes() if path.exists() else b""
        if name.endswith(".txt"):
            records = parse_txt(data, name.split("/")[0], items, figures)
        else:
            records = parse_csv(data, items, figures)
        for subject, found in records.items():
            for values, _ in found[1:]:
                figures["duplicated"] += sum(1 for v in values if v != "99")
            if subject not in expected:
                figures["unexpected_records"] += 1
        for subject, (values, times) in expected.items():
            got_values, got_times = records[subject][0] if subject in records else (None, None)
            for item, value in values.items():
                got = got_values[item - 1] if got_values else "99"
                if got == "99":
                    figures["lost"] += 1
                    figures[f"lost in {name}"] += 1
                elif got != value:
                    figures["wrong"] += 1
            for item, ms in times.items():
                if not got_times or got_times[item - 1] != ms:
                    figures["times_lost"] += 1
        figures["responses_checked"] += sum(len(v) for v, _ in expected.values())


# ---------------------------------------------------------------------------------------------
# Runs

class Bench:
    def __init__(self, args):
        self.args = args
        build = Path(args.build)
        self.corvane = build / "src/app/corvane"
        self.corvane_def = build / "src/tools/corvane-def"
        for program in (self.corvane, self.corvane_def):
            if not program.exists():
                sys.exit(f"{program} is missing: build first")
        self.work = Path(args.keep) if args.keep else Path(tempfile.mkdtemp(prefix="corvane-rel-"))
        self.work.mkdir(parents=True, exist_ok=True)
        self.study = self.work / "study"
        self.make_study(self.study, args.items)
        self.small_study = self.work / "small-study"
        self.make_study(self.small_study, args.call_items)
        help_text = subprocess.run([str(self.corvane), "--help"], capture_output=True, text=True,
                                   env=dict(os.environ, QT_QPA_PLATFORM="offscreen")).stdout
        self.recover_option = "--recover" in help_text
        self.strace = shutil.which("strace")

    def make_study(self, folder: Path, items: int):
        folder.mkdir(parents=True, exist_ok=True)
        rows = "".join(f"{j},scale response,v{j:02d},Item {j}?,(p5),yes,yes\n"
                       for j in range(1, items + 1))
        for name, text in (("items.que", "questionnumber,QuestionType,VariableName,"
                            "QuestionWording,Parameters,WriteData,WriteRT\n" + rows),
                           ("study.exp", "Condition,position,file\na,1,items.que\n")):
            csv = folder / (name + ".csv")
            csv.write_text(text)
            subprocess.run([str(self.corvane_def), "create", str(folder / name), str(csv)],
                           check=True, stdout=subprocess.DEVNULL)
            csv.unlink()

    def env(self, home: Path):
        runtime = home / "runtime"
        runtime.mkdir(parents=True, mode=0o700, exist_ok=True)
        return dict(os.environ, XDG_DATA_HOME=str(home / "xdg"),
                    XDG_CONFIG_HOME=str(home / "xdg-config"), XDG_RUNTIME_DIR=str(runtime),
                    QT_QPA_PLATFORM="offscreen")

    @staticmethod
    def answers(subject_number: int, items: int):
        return [(subject_number + j) % 5 + 1 for j in range(items)]

    def command(self, folder: Path, subject: str, script_text: str, virtual: bool,
                recover=False, logs=None):
        logs = logs or folder / "logs"
        logs.mkdir(exist_ok=True)
        script = logs / f"script-{subject}.txt"
        script.write_text(script_text)
        cmd = [str(self.corvane), "--run", str(folder / "study.exp"), "--subject", subject,
               "--condition", "a", "--script", str(script),
               "--message-log", str(logs / f"log-{subject}.txt"), "--timeout", "120"]
        if virtual:
            cmd.append("--virtual-clock")
        if recover and self.recover_option:
            cmd.append("--recover")
        return cmd

    def script(self, subject_number: int, items: int, wait_ms: int):
        return "".join(f"wait {wait_ms}\nkey {v}\n" for v in self.answers(subject_number, items))

    @staticmethod
    def answered_all(status: int):
        """A run that went through its script holds every answer, even when it ended with a
        status that says its record could not be written; one not started or stopped by the
        time limit holds only what its journal kept."""
        return status not in (1, 3)

    def next_start(self, folder: Path, home: Path, subject: str, logs=None):
        """The start after a run cut short: another participant, whose run ends at once."""
        result = subprocess.run(self.command(folder, subject, "", True, True, logs),
                                env=self.env(home), stdout=subprocess.DEVNULL,
                                stderr=subprocess.DEVNULL)
        return result.returncode

    def journals(self, folder: Path, home: Path):
        places = [folder / "data" / ".journal", home / "xdg" / "corvane" / "journal"]
        return sorted(p for place in places if place.exists() for p in place.glob("*.journal"))

    def journal_of(self, folder: Path, home: Path, subject: str):
        """The journal that a participant's run left, read; None when there is none."""
        for path in self.journals(folder, home):
            journal = read_journal(path.read_bytes())
            if journal[0] and journal[0].get("subject") == subject:
                return journal
        return None

    def fresh(self, study: Path, folder: Path):
        if folder.exists():
            shutil.rmtree(folder)
        folder.mkdir(parents=True)
        for name in ("items.que", "study.exp"):
            shutil.copy(study / name, folder / name)

    def warm_up(self, home: Path, study: Path):
        """One run that puts the program's own files in place, so that the runs after it make
        the same calls."""
        folder = home / "warm-up"
        self.fresh(study, folder)
        subprocess.run(self.command(folder, "w", "", True), env=self.env(home),
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    # -----------------------------------------------------------------------------------------

    def random_kills(self):
        args, items = self.args, self.args.items
        home = self.work / "random-kill"
        folder = home / "study"
        self.fresh(self.study, folder)
        env = self.env(home)
        rng = random.Random(args.seed)
        figures = Counter()
        # How long an uninterrupted run takes, start-up included.
        started = time.monotonic()
        subprocess.run(self.command(folder, "ref", self.script(0, items, args.wait_ms), False),
                       env=env, check=True)
        full = time.monotonic() - started
        shutil.rmtree(folder / "data")
        expected = {}
        n = 0
        # Runs until the kills are counted in full: a run may end before its kill moment.
        while figures["kills"] < args.kills and n < 2 * args.kills:
            n += 1
            subject = f"k{n}"
            figures["runs"] += 1
            process = subprocess.Popen(
                self.command(folder, subject, self.script(n, items, args.wait_ms), False), env=env)
            try:
                process.wait(timeout=rng.uniform(0.0, full * 1.1))
                figures["ended_before_kill"] += 1
            except subprocess.TimeoutExpired:
                process.send_signal(signal.SIGKILL)
                process.wait()
                figures["kills"] += 1
            killed = process.returncode == -signal.SIGKILL
            journal = self.journal_of(folder, home, subject)
            truth = self.answers(n, items)
            if journal:
                figures["journals_left"] += 1
                header, values, times, bad = journal
                figures["cut_journal_lines"] += bad
                expected[subject] = (values, {i: str(t) for i, t in times.items()})
                figures["stored_not_as_scripted"] += sum(
                    1 for i, v in values.items() if v != str(truth[i - 1]))
            elif not killed or self.has_record(folder, subject):
                # Its records were written and its journal removed before the kill.
                expected[subject] = ({i + 1: str(v) for i, v in enumerate(truth)}, {})
            else:
                figures["killed_before_journal"] += 1
            recovery = f"r{n}"
            status = self.next_start(folder, home, recovery)
            if status not in (0, 2):
                figures["next_start_failed"] += 1
            expected[recovery] = ({}, {})
            if self.journal_of(folder, home, subject):
                figures["journals_still_there"] += 1
            if n % 50 == 0:
                print(f"  ... {n} random kills", flush=True)
        # A participant with no record at all (killed before its journal) must have none.
        check_data(folder, items, {s: e for s, e in expected.items()}, figures)
        figures["injection_points"] = 0
        return figures, f"uninterrupted run {full:.2f} s, kills at uniform moments in 0 to " \
                        f"{full * 1.1:.2f} s"

    def has_record(self, folder: Path, subject: str):
        path = folder / "data" / "byquestionnaire" / "study.txt"
        return path.exists() and f"'{subject}','a','".encode() in path.read_bytes()

    # -----------------------------------------------------------------------------------------

    CALL = re.compile(r'^(\w+)\((\d+)<([^>]*)>(.*)$')

    def normalise(self, folder: Path, path: str):
        """A file's place in the data folder, the same from run to run; None for other files."""
        data = str(folder / "data")
        if not path.startswith(data):
            return None
        rest = path[len(data):]
        if rest.startswith("/.journal/") and rest.endswith(".journal"):
            return "journal"
        if rest in ("", "/.journal"):
            return "folder " + (rest or "/")
        rest = rest.lstrip("/")
        return rest if rest in DATA_FILES else None

    def reference_calls(self, home: Path, subject: str, script: str):
        """The calls of an uninterrupted run, in order: (syscall, its number among the calls of
        that name, file, journal line written)."""
        folder = home / "reference"
        self.fresh(self.small_study, folder)
        trace = home / "reference.strace"
        subprocess.run([self.strace, "-qq", "-y", "-s", "512", "-o", str(trace),
                        "-e", "trace=write,fdatasync,fsync"]
                       + self.command(folder, subject, script, True),
                       env=self.env(home), stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                       check=True)
        calls, numbers = [], Counter()
        for line in trace.read_text(errors="replace").splitlines():
            match = self.CALL.match(line)
            if not match:
                continue
            name, path = match.group(1), match.group(3)
            numbers[name] += 1
            place = self.normalise(folder, path)
            if place:
                text = match.group(4)
                calls.append((name, numbers[name], place,
                              text.split('"')[1] if name == "write" and '"' in text else ""))
        return calls

    @staticmethod
    def journalled(calls, before: int):
        """Responses and times whose journal lines were written by the calls before index
        `before`."""
        values, times = {}, {}
        for name, _, place, text in calls[:before]:
            if name == "write" and place == "journal":
                fields = text.split("\\t")
                if fields[0] == "R":
                    values[int(fields[2])] = fields[6]
                elif fields[0] == "T":
                    times[int(fields[2])] = fields[5]
        return values, times

    def calls_cut(self, mode: str):
        """kill-at-call (mode "kill") or eio-sync (mode "eio")."""
        items = self.args.call_items
        home = self.work / ("kill-at-call" if mode == "kill" else "eio-sync")
        home.mkdir(parents=True, exist_ok=True)
        figures = Counter()
        if not self.strace:
            return None, "strace is not installed"
        self.warm_up(home, self.small_study)
        script = self.script(7, items, 150)
        truth = {i + 1: str(v) for i, v in enumerate(self.answers(7, items))}
        calls = self.reference_calls(home, "c", script)
        points = [(index, call) for index, call in enumerate(calls)
                  if mode == "kill" or call[0] in ("fdatasync", "fsync")]
        if self.args.quick:
            points = points[::3]
        for index, (name, number, place, _) in points:
            folder = home / "run"
            self.fresh(self.small_study, folder)
            figures["runs"] += 1
            figures[f"points {name}"] += 1
            if mode == "kill":
                status, tries = self.kill_at(home, folder, script, calls, index)
                figures["tries"] += tries
            else:
                # Every sync from this one on fails: the fdatasyncs and the fsyncs after it.
                later = [c for c in calls[index:] if c[0] != "write"]
                first = {n: min((c[1] for c in later if c[0] == n), default=None)
                         for n in ("fdatasync", "fsync")}
                injects = [f"inject={n}:error=EIO:when={first[n]}+" for n in first if first[n]]
                status, _ = self.traced_run(home, folder, "c", script, injects)
            if mode == "kill":
                if status is None:
                    figures["points missed"] += 1
                    with open(self.work / "faults.txt", "a") as out:
                        out.write(f"kill at {name} #{number} ({place}) missed\n")
                    continue
                figures["kills"] += 1
                expected = {"c": self.journalled(calls, index)}
            else:
                figures[f"status {status}"] += 1
                if self.answered_all(status):
                    expected = {"c": (truth, {})}
                else:
                    # A run that stopped early owes only what it had taken.
                    journal = self.journal_of(folder, home, "c")
                    expected = {"c": journal[1:3] if journal else ({}, {})}
            status = self.next_start(folder, home, "r")
            if status not in (0, 2):
                figures["next_start_failed"] += 1
            expected["r"] = ({}, {})
            if self.journals(folder, home):
                figures["journals_still_there"] += 1
            before = Counter(figures)
            check_data(folder, items, expected, figures)
            self.note_faults(f"{mode} at {name} #{number} ({place})", before, figures)
        figures["injection_points"] = len(points)
        return figures, f"{len(calls)} calls on the journal, the data files and their folders " \
                        f"in a run of {items} items"

    def kill_at(self, home: Path, folder: Path, script: str, calls, index: int):
        """Kills a run on entering calls[index]. Writes are counted with the wakeups of the event
        loop, whose number may change a little from run to run: the count is moved until the
        kill lands on the call. The run's status (None when it never landed) and the tries."""
        name, number, place, _ = calls[index]
        for tries in range(1, 16):
            self.fresh(self.small_study, folder)
            status, trace = self.traced_run(
                home, folder, "c", script, [f"inject={name}:signal=SIGKILL:when={number}"])
            done, last = 0, None
            for line in trace:
                match = self.CALL.match(line)
                if match:
                    last = (match.group(1), self.normalise(folder, match.group(3)))
                    done += last[1] is not None
            if not trace or "killed by SIGKILL" not in trace[-1]:
                return None, tries
            if last and last[1] is not None:
                done -= 1  # the call killed on entering never happened
            if done == index and last == (name, place):
                return status, tries
            number += 1 if done <= index else -1
            if number < 1:
                break
        return None, tries

    def traced_run(self, home, folder, subject, script, injects):
        trace = folder / "run.strace"
        cmd = [self.strace, "-qq", "-y", "-o", str(trace), "-e", "trace=write,fdatasync,fsync"]
        for inject in injects:
            cmd += ["-e", inject]
        result = subprocess.run(cmd + self.command(folder, subject, script, True),
                                env=self.env(home), stdout=subprocess.DEVNULL,
                                stderr=subprocess.DEVNULL)
        return result.returncode, trace.read_text(errors="replace").splitlines()

    def note_faults(self, what: str, before: Counter, after: Counter):
        """Writes what one run cost to faults.txt of the work folder."""
        faults = {k: after[k] - before[k] for k in after
                  if (k in FIGURES or k.startswith("lost in ")) and after[k] != before[k]}
        if faults:
            with open(self.work / "faults.txt", "a") as out:
                out.write(what + ": " + ", ".join(f"{k} {v}" for k, v in faults.items()) + "\n")

    def killed_at(self, folder: Path, trace):
        """The call on which the run was killed: (syscall, file)."""
        if not trace or "killed by SIGKILL" not in trace[-1]:
            return None
        for line in reversed(trace[:-1]):
            match = self.CALL.match(line)
            if match:
                return match.group(1), self.normalise(folder, match.group(3))
        return None

    # -----------------------------------------------------------------------------------------

    def full_disk(self):
        if os.geteuid() != 0:
            return None, "not root: a tmpfs of 64 KB can't be mounted"
        items = self.args.items
        home = self.work / "full-disk"
        mount = home / "disk"
        mount.mkdir(parents=True, exist_ok=True)
        self.warm_up(home, self.study)
        if subprocess.run(["mount", "-t", "tmpfs", "-o", "size=64k", "tmpfs", str(mount)]).returncode:
            return None, "the tmpfs of 64 KB could not be mounted"
        figures = Counter()
        try:
            for name in ("items.que", "study.exp"):
                shutil.copy(self.study / name, mount / name)
            expected = {}
            for n in range(1, self.args.full_disk_runs + 1):
                subject = f"f{n}"
                figures["runs"] += 1
                result = subprocess.run(
                    self.command(mount, subject, self.script(n, items, 150), True,
                                 logs=home / "logs"),
                    env=self.env(home), stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
                figures[f"status {result.returncode}"] += 1
                if self.answered_all(result.returncode):
                    expected[subject] = ({i + 1: str(v) for i, v in
                                          enumerate(self.answers(n, items))}, {})
                else:
                    journal = self.journal_of(mount, home, subject)
                    expected[subject] = journal[1:3] if journal else ({}, {})
            used = shutil.disk_usage(mount)
            figures["bytes free at the end"] = used.free
            # Room again: the next start writes what the journals kept.
            subprocess.run(["mount", "-o", "remount,size=8m", str(mount)], check=True)
            status = self.next_start(mount, home, "r", home / "logs")
            if status not in (0, 2):
                figures["next_start_failed"] += 1
            expected["r"] = ({}, {})
            if self.journals(mount, home):
                figures["journals_still_there"] += 1
            check_data(mount, items, expected, figures)
            if self.args.keep:
                shutil.copytree(mount, home / "disk-copy", dirs_exist_ok=True)
        finally:
            subprocess.run(["umount", str(mount)])
        figures["injection_points"] = 0
        return figures, f"{self.args.full_disk_runs} runs of {items} items into 64 KB"


def main():
    here = Path(__file__).resolve().parent
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--build", default=str(here.parent / "build"),
                        help="build folder holding src/app/corvane and src/tools/corvane-def")
    parser.add_argument("--cases", default="random-kill,kill-at-call,eio-sync,full-disk")
    parser.add_argument("--quick", action="store_true",
                        help="40 random kills and every third injection point")
    parser.add_argument("--kills", type=int, default=300, help="runs of the random-kill case")
    parser.add_argument("--items", type=int, default=10)
    parser.add_argument("--call-items", type=int, default=4,
                        help="items of the run whose calls are cut one by one")
    parser.add_argument("--full-disk-runs", type=int, default=40,
                        help="runs into the 64 KB disk; some 25 fill it")
    parser.add_argument("--wait-ms", type=int, default=120,
                        help="real wait before each key (a scale item takes keys after 100 ms)")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--keep", help="leave the experiments and their data in this folder")
    args = parser.parse_args()
    if args.quick:
        args.kills = min(args.kills, 40)

    bench = Bench(args)
    print(f"command: {' '.join(sys.argv)}")
    print(f"folder: {bench.work}")
    print(f"next starts recover with --recover: {'yes' if bench.recover_option else 'no (the program has no such option; it asks, and the script answers yes)'}")
    cases = {"random-kill": bench.random_kills,
             "kill-at-call": lambda: bench.calls_cut("kill"),
             "eio-sync": lambda: bench.calls_cut("eio"),
             "full-disk": bench.full_disk}
    total = Counter()
    failed = False
    for name in args.cases.split(","):
        started = time.monotonic()
        figures, note = cases[name]()
        seconds = time.monotonic() - started
        if figures is None:
            print(f"{name}: skipped, {note}")
            continue
        total.update({k: figures[k] for k in ("runs", "kills", "responses_checked") + FIGURES})
        print(f"{name}: {note}; {seconds:.0f} s")
        per_point = ", one run per point" if figures["injection_points"] else ""
        print(f"  runs {figures['runs']}, kills {figures['kills']}, injection points "
              f"{figures['injection_points']}{per_point}" + "".join(
                  f", {k} {v}" for k, v in sorted(figures.items()) if k.startswith("points ")
                  or k.startswith("status ")))
        print(f"  responses checked (each in each of the four files) "
              f"{figures['responses_checked']}: lost {figures['lost']}, "
              f"wrong {figures['wrong']}, duplicated {figures['duplicated']}, reaction times "
              f"lost {figures['times_lost']}, broken rows {figures['broken_rows']}, blank lines "
              f"{figures['blank_lines']}")
        others = {k: v for k, v in figures.items() if k not in FIGURES and k not in
                  ("runs", "kills", "injection_points", "responses_checked")
                  and not k.startswith(("points ", "status "))}
        if others:
            print("  " + ", ".join(f"{k.replace('_', ' ')} {v}" for k, v in sorted(others.items())))
        failed |= any(figures[k] for k in FIGURES) or figures["points missed"] > 0
    print(f"TOTAL: runs {total['runs']}, kills {total['kills']}, responses checked "
          f"{total['responses_checked']}, lost {total['lost']}, wrong {total['wrong']}, "
          f"duplicated {total['duplicated']}, reaction times lost {total['times_lost']}, "
          f"broken rows {total['broken_rows']}, blank lines {total['blank_lines']}")
    print("RESULT: " + ("FAILED" if failed else "nothing lost, duplicated or broken"))
    if not args.keep and not failed:
        shutil.rmtree(bench.work)
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
