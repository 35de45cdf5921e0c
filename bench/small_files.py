#!/usr/bin/env python3
"""Many small files, as services have them: small_files.py FOLDER [ROUNDS]

Takes up to 300 PDFs of FOLDER below 1 MiB that all programs open without a password, has each program do one job
with all of them, and prints files per second of processor time: the best of the rounds, and the spread from the
slowest to the best. One process a file, as a shell loop starts them; "batch" and pikepdf take all files in one
process each. SHEAF names the tool. Programs that are missing are left out.
"""
import glob
import os
import shutil
import subprocess
import sys
import tempfile

MOST_FILES = 300
MOST_BYTES = 1 << 20
folder = sys.argv[1]
rounds = int(sys.argv[2]) if len(sys.argv) > 2 else 5
sheaf = os.environ.get("SHEAF", os.path.join(os.path.dirname(__file__), "../build/release/tools/sheaf"))
work = tempfile.mkdtemp()
out = os.path.join(work, "out.pdf")
PIKEPDF = """
import sys, pikepdf
job, out, files = sys.argv[1], sys.argv[2], sys.argv[3:]
whole = pikepdf.new() if job == "merge" else None
for name in files:
    with pikepdf.open(name) as pdf:
        if job == "info":
            len(pdf.pages)
        elif job == "check":
            pdf.check()
        elif job == "rewrite":
            pdf.save(out)
        else:
            whole.pages.extend(pdf.pages)
if whole is not None:
    whole.save(out)
"""


def has_pikepdf():
    return subprocess.run([sys.executable, "-c", "import pikepdf"], capture_output=True).returncode == 0


def spent(commands):
    """Processor time of the commands, one after the other; they print to nowhere."""
    total = 0.0
    for command in commands:
        if os.path.exists(out):
            os.unlink(out)
        pid = os.fork()
        if pid == 0:
            nowhere = os.open(os.devnull, os.O_WRONLY)
            os.dup2(nowhere, 1)
            os.dup2(nowhere, 2)
            os.execvp(command[0], command)
        usage = os.wait4(pid, 0)[2]
        total += usage.ru_utime + usage.ru_stime
    return total


def jobs(files):
    each = lambda *command: [[part.replace("{}", name) for part in command] for name in files]
    loop = lambda job: [[sys.executable, "-c", PIKEPDF, job, out, *files]]
    yield "info", {"sheaf": each(sheaf, "info", "{}"), "sheaf, batch": [[sheaf, "info", "--json", *files]],
                   "mutool": each("mutool", "show", "{}", "trailer/Root/Pages/Count"),
                   "qpdf": each("qpdf", "--show-npages", "{}"), "pikepdf": loop("info")}
    yield "check", {"sheaf": each(sheaf, "check", "{}"), "sheaf, batch": [[sheaf, "check", "--json", *files]],
                    "mutool": each("mutool", "clean", "-d", "{}", out), "qpdf": each("qpdf", "--check", "{}"),
                    "pikepdf": loop("check")}
    yield "rewrite", {"sheaf": each(sheaf, "rewrite", "{}", out), "mutool": each("mutool", "clean", "-g", "{}", out),
                      "qpdf": each("qpdf", "{}", out), "pikepdf": loop("rewrite")}
    yield "merge", {"sheaf": [[sheaf, "merge", out, *files]], "mutool": [["mutool", "merge", "-o", out, *files]],
                    "qpdf": [["qpdf", "--empty", "--pages", *files, "--", out]], "pikepdf": loop("merge")}


def opens(name):
    quiet = {"stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL}
    commands = [[sheaf, "info", name], ["qpdf", "--check", name], ["mutool", "info", name]]
    return all(subprocess.run(c, **quiet).returncode == 0 for c in commands if shutil.which(c[0]))


def main():
    small = [n for n in sorted(glob.glob(os.path.join(folder, "*.pdf"))) if os.path.getsize(n) < MOST_BYTES]
    files = [n for n in small if opens(n)][:MOST_FILES]
    programs = ["sheaf", "sheaf, batch", "mutool", "qpdf", "pikepdf"]
    print(f"{len(files)} files, {sum(map(os.path.getsize, files)) / 1e6:.1f} MB; files a second, slowest to best\n")
    print("| job |", " | ".join(programs), "|\n|---|" + "---|" * len(programs))
    for job, commands in jobs(files):
        row = []
        for program in programs:
            missing = not has_pikepdf() if program == "pikepdf" else program in ("mutool", "qpdf") and not shutil.which(program)
            if missing or program not in commands:
                row.append("-")
                continue
            times = [spent(commands[program]) for _ in range(rounds)]
            row.append(f"{len(files) / max(times):.0f} to {len(files) / min(times):.0f}")
        print(f"| {job} |", " | ".join(row), "|", flush=True)
    shutil.rmtree(work)


main()
