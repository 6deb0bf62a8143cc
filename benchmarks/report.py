"""Makes the table of ./bench out of Google Benchmark's results, and measures what a waiting
question costs.

    report.py RESULTS.json MACHINE_TOOL UNINSTALL

Everything is a ratio or a share; the exit status is 1 if a limit is exceeded.
"""
import json
import os
import pty
import select
import signal
import subprocess
import sys
import tempfile
import time

GROWTH_LIMIT = 1.2  # time per key at 100,000 to that at 1,000
WAITING_LIMIT = 0.01  # of one core
WAITING_SECONDS = 5


class Results:
    """The least time of each benchmark: what else the machine does only adds to it."""

    def __init__(self, path):
        with open(path, encoding="utf-8") as file:
            runs = json.load(file)["benchmarks"]
        errors = [run["error_message"] for run in runs if run.get("error_occurred")]
        if errors:
            sys.exit(f"bench: {errors[0]}")
        self.runs = [run for run in runs if run.get("aggregate_name") == "least"]

    def time(self, name, argument=None, which="cpu_time"):
        wanted = name if argument is None else f"{name}/{argument}"
        for run in self.runs:
            if run["run_name"] == wanted or run["run_name"].startswith(wanted + "/"):
                return run[which]
        raise KeyError(wanted)

    def each(self, name, count):
        """Time per item, without what a run without items takes."""
        return (self.time(name, count) - self.time(name, 0)) / count


def cpu_seconds(pid):
    with open(f"/proc/{pid}/schedstat", encoding="ascii") as file:
        return int(file.read().split()[0]) / 1e9


def read_all(terminal, seconds):
    """Plays the terminal for a while: a full one would stop the program."""
    shown = b""
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        if select.select([terminal], [], [], 0.1)[0]:
            try:
                shown += os.read(terminal, 65536)
            except OSError:  # the program has ended
                break
    return shown


def waiting_share(program, arguments, expected):
    """CPU share of one core while the program asks in a terminal."""
    pid, terminal = pty.fork()
    if pid == 0:
        os.execv(program, [program, *arguments])
    try:
        if expected not in read_all(terminal, 2):
            sys.exit(f"bench: {os.path.basename(program)} does not ask what it should")
        before = cpu_seconds(pid)
        start = time.monotonic()
        read_all(terminal, WAITING_SECONDS)
        return (cpu_seconds(pid) - before) / (time.monotonic() - start)
    finally:
        os.kill(pid, signal.SIGKILL)
        os.waitpid(pid, 0)
        os.close(terminal)


def measure_waiting(machine_tool, uninstall):
    with tempfile.TemporaryDirectory() as machine:
        subprocess.run([machine_tool, "stage", machine, "tests/stage", uninstall], check=True)
        folder = os.path.join(machine, "drives/C/Programme/Büro Tessorin")
        question = waiting_share(os.path.join(folder, "UnInstall.exe"), [], "deinstalliert".encode())
        # A read-only program file stays, so that the run ends with the list of problems.
        with open(os.path.join(machine, "attributes.txt"), "a", encoding="utf-8") as file:
            file.write("R C:\\Programme\\Büro Tessorin\\Tessorin.exe\n")
        with open(os.path.join(machine, "answers.txt"), "w", encoding="utf-8") as file:
            file.write("yes\nyes\n")
        copy = os.path.join(machine, "drives/C/windows/Temp/UnInstall.exe")
        subprocess.run(["cp", uninstall, copy], check=True)
        problems = waiting_share(copy, ["/u=C:\\Programme\\Büro Tessorin"], b"Tessorin.exe")
    return question, problems


def main():
    results = Results(sys.argv[1])
    rows = []
    failed = []

    def row(what, ratio, limit=None, unit=""):
        shown = f"{ratio * 100:.2f} %" if unit == "%" else f"{ratio:.2f}"
        allowed = "" if limit is None else f"{limit * 100:g} %" if unit == "%" else f"{limit:g}"
        rows.append((what, shown, allowed))
        if limit is not None and ratio > limit:
            failed.append(what)

    for name, what in (("VerbPass", "verb pass, time per extension"),
                       ("KeyDeletion", "key deletion, time per key")):
        base = results.each(name, 1000)
        row(f"{what}: 10,000 to 1,000", results.each(name, 10000) / base)
        row(f"{what}: 100,000 to 1,000", results.each(name, 100000) / base, GROWTH_LIMIT)
    row("file deletion, time per file: 10,000 to 1,000",
        results.each("FileDeletion", 10000) / results.each("FileDeletion", 1000), GROWTH_LIMIT)
    row("file deletion, 10,000 files: to Linux's own remove_all",
        results.time("FileDeletion", 10000) / results.time("FileDeletionByLibrary", 10000))
    row("script building: folder of 250 to one of 20 characters",
        results.time("ScriptBuilding", 250) / results.time("ScriptBuilding", 20))
    row("start-up and refusal: to a process that does nothing",
        results.time("StartUp", None, "real_time") / results.time("StartUpOfTrue", None, "real_time"))
    question, problems = measure_waiting(sys.argv[2], sys.argv[3])
    row("CPU while a question waits, of one core", question, WAITING_LIMIT, "%")
    row("CPU while the list of problems waits, of one core", problems, WAITING_LIMIT, "%")

    print(f"{'measured':<58} {'ratio':>8}  limit")
    for what, shown, allowed in rows:
        print(f"{what:<58} {shown:>8}  {allowed}{'  EXCEEDED' if what in failed else ''}")
    sys.exit(1 if failed else 0)


main()
