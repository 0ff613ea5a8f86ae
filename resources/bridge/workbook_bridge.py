#!/usr/bin/python3
# Corvane's responses workbook bridge: keeps one workbook open in a private, headless spreadsheet
# process and answers Corvane's requests over standard input and output, one line each.
#
# Usage: workbook_bridge.py PROFILE_FOLDER
#
# Lines are fields separated by tabs; in a field a backslash, tab, line feed and carriage return
# are written \\, \t, \n and \r, and a cell whose formula gives an error is written \e.
#   open PATH                   -> ok | fail REASON
#   rows                        -> ok N, then N lines "A<tab>B<tab>C": row 1 down to and
#                                  including the first row whose column A is empty
#   update N (ROW KIND VALUE)*N ROW* -> ok C...: writes column B of each ROW (KIND n for a number,
#                                  s for a text), lets the formulas compute, and reads column C
#                                  of the rows listed after the values
#   quit                        -> ok, and the bridge ends; the workbook is never saved
# Any request that fails answers "fail REASON" and the bridge goes on.

import os
import signal
import subprocess
import sys
import tempfile
import time

import uno
from com.sun.star.beans import PropertyValue
from com.sun.star.connection import NoConnectException
from com.sun.star.sheet.CellFlags import FORMULA
from com.sun.star.sheet.FormulaResult import ERROR

OFFICE_PROGRAM = "/usr/lib/libreoffice/program/soffice.bin"
START_TIMEOUT_S = 60
MAX_ROWS = 32767  # row numbers are 16-bit; a longer table is cut there
ERROR_FIELD = "\\e"


def escape(text):
    return (text.replace("\\", "\\\\").replace("\t", "\\t").replace("\n", "\\n")
            .replace("\r", "\\r"))


def unescape(field):
    out = []
    i = 0
    while i < len(field):
        c = field[i]
        if c == "\\" and i + 1 < len(field):
            i += 1
            out.append({"t": "\t", "n": "\n", "r": "\r"}.get(field[i], field[i]))
        else:
            out.append(c)
        i += 1
    return "".join(out)


def cell_text(value):
    """A cell's value as the run shows it: whole numbers without a point."""
    if isinstance(value, float):
        if value == int(value) and abs(value) < 1e15:
            return str(int(value))
        return "%.15g" % value
    return str(value)


def prop(name, value):
    p = PropertyValue()
    p.Name = name
    p.Value = value
    return p


def die_with_parent():
    # The spreadsheet process must not outlive the bridge, whatever ends the bridge.
    try:
        import ctypes
        ctypes.CDLL("libc.so.6").prctl(1, signal.SIGKILL)  # PR_SET_PDEATHSIG
    except OSError:
        pass
    os.setsid()


class Office:
    def __init__(self, profile):
        self.profile = profile
        self.pipe = "corvane_workbook_%d_%d" % (os.getpid(), int(time.time() * 1000) % 100000)
        self.process = None
        self.desktop = None
        self.document = None

    def start(self):
        program = OFFICE_PROGRAM if os.path.exists(OFFICE_PROGRAM) else "soffice"
        args = [program, "--headless", "--invisible", "--nologo", "--norestore",
                "--nodefault", "--nolockcheck",
                "-env:UserInstallation=" + uno.systemPathToFileUrl(self.profile),
                "--accept=pipe,name=%s;urp;StarOffice.ComponentContext" % self.pipe]
        local = uno.getComponentContext()
        resolver = local.ServiceManager.createInstanceWithContext(
            "com.sun.star.bridge.UnoUrlResolver", local)
        url = "uno:pipe,name=%s;urp;StarOffice.ComponentContext" % self.pipe
        deadline = time.monotonic() + START_TIMEOUT_S
        self.process = subprocess.Popen(args, stdin=subprocess.DEVNULL,
                                        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                        preexec_fn=die_with_parent)
        while time.monotonic() < deadline:
            try:
                context = resolver.resolve(url)
                self.desktop = context.ServiceManager.createInstanceWithContext(
                    "com.sun.star.frame.Desktop", context)
                return
            except NoConnectException:
                code = self.process.poll()
                if code == 81:  # a new profile asks for a restart once it is made
                    self.process = subprocess.Popen(args, stdin=subprocess.DEVNULL,
                                                    stdout=subprocess.DEVNULL,
                                                    stderr=subprocess.DEVNULL,
                                                    preexec_fn=die_with_parent)
                elif code is not None:
                    raise RuntimeError("the spreadsheet program ended at its start (code %d)"
                                       % code)
                time.sleep(0.05)
        raise RuntimeError("the spreadsheet program did not answer within %d s"
                           % START_TIMEOUT_S)

    def open(self, path):
        # Read-only: the workbook is the experimenter's and is never saved, and no lock file
        # is left beside it. Macros never run.
        args = (prop("Hidden", True), prop("ReadOnly", True), prop("MacroExecutionMode", 0),
                prop("UpdateDocMode", 0))
        document = self.desktop.loadComponentFromURL(uno.systemPathToFileUrl(path), "_blank", 0,
                                                     args)
        if document is None:
            raise RuntimeError("it is damaged, protected by a password or not a workbook")
        # A file that no workbook filter can read is taken in as plain text: that is damage.
        filter_name = ""
        for arg in document.getArgs():
            if arg.Name == "FilterName":
                filter_name = arg.Value
        if (not document.supportsService("com.sun.star.sheet.SpreadsheetDocument")
                or any(word in filter_name for word in ("Text", "CSV", "HTML", "csv"))):
            document.close(True)
            raise RuntimeError("it is damaged or not a workbook (it could be read only as %s)"
                               % (filter_name or "something else than a workbook"))
        self.document = document
        self.sheet = document.getCurrentController().getActiveSheet()

    def used_end_row(self):
        cursor = self.sheet.createCursor()
        cursor.gotoEndOfUsedArea(False)
        return cursor.getRangeAddress().EndRow  # 0-based

    def error_cells(self, last_row):
        """The (row, column) of cells in A1:C(last_row) whose formula gives an error."""
        found = set()
        block = self.sheet.getCellRangeByName("A1:C%d" % last_row)
        ranges = block.queryFormulaCells(ERROR)
        for address in ranges.getRangeAddresses():
            for row in range(address.StartRow, address.EndRow + 1):
                for column in range(address.StartColumn, address.EndColumn + 1):
                    found.add((row + 1, column))
        return found

    def rows(self):
        if self.document is None:
            return [("", "", "")]
        last = min(self.used_end_row() + 2, MAX_ROWS)  # one row past the used area is empty
        data = self.sheet.getCellRangeByName("A1:C%d" % last).getDataArray()
        errors = self.error_cells(last)
        table = []
        for index, values in enumerate(data):
            row = index + 1
            fields = []
            for column in range(3):
                if (row, column) in errors:
                    fields.append(None)
                else:
                    fields.append(cell_text(values[column]))
            table.append(fields)
            if fields[0] is not None and fields[0] == "":
                break
        return table

    def update(self, values, target_rows):
        if self.document is None:
            return ["" for _ in target_rows]
        for row, kind, text in values:
            cell = self.sheet.getCellByPosition(1, row - 1)
            if kind == "n":
                cell.setValue(float(text))
            else:
                cell.setString(text)
        if not target_rows:
            return []
        self.document.calculate()
        low, high = min(target_rows), max(target_rows)
        data = self.sheet.getCellRangeByName("C%d:C%d" % (low, high)).getDataArray()
        errors = self.error_cells(high)
        out = []
        for row in target_rows:
            if (row, 2) in errors:
                out.append(None)
            else:
                out.append(cell_text(data[row - low][0]))
        return out

    def close(self):
        try:
            if self.document is not None:
                self.document.close(True)
                self.document = None
            if self.desktop is not None:
                self.desktop.terminate()
        except Exception:
            pass
        if self.process is not None:
            try:
                self.process.wait(timeout=5)
            except subprocess.TimeoutExpired:
                self.process.kill()


def field(value):
    return ERROR_FIELD if value is None else escape(value)


def answer(line):
    sys.stdout.write(line + "\n")
    sys.stdout.flush()


def serve(office):
    for raw in sys.stdin:
        fields = raw.rstrip("\n").split("\t")
        command = fields[0]
        try:
            if command == "open":
                office.open(unescape(fields[1]))
                answer("ok")
            elif command == "rows":
                table = office.rows()
                lines = ["ok\t%d" % len(table)]
                lines += ["\t".join(field(v) for v in row) for row in table]
                answer("\n".join(lines))
            elif command == "update":
                count = int(fields[1])
                values = []
                for n in range(count):
                    base = 2 + 3 * n
                    values.append((int(fields[base]), fields[base + 1], unescape(fields[base + 2])))
                targets = [int(f) for f in fields[2 + 3 * count:] if f]
                answer("\t".join(["ok"] + [field(v) for v in office.update(values, targets)]))
            elif command == "quit":
                answer("ok")
                return
            else:
                answer("fail\tunknown request " + escape(command))
        except Exception as error:  # the run goes on whatever the workbook does
            answer("fail\t" + escape(str(error) or type(error).__name__))


def main():
    if len(sys.argv) != 2:
        sys.stderr.write("usage: workbook_bridge.py PROFILE_FOLDER\n")
        return 2
    office = Office(sys.argv[1])
    try:
        office.start()
    except Exception as error:
        answer("fail\t" + escape(str(error)))
        return 1
    answer("ready")
    try:
        serve(office)
    finally:
        office.close()
    return 0


if __name__ == "__main__":
    sys.exit(main())
