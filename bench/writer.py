#!/usr/bin/env python3
"""Compares the writer with its peers: writer.py FOLDER [COUNT]

Takes the COUNT (default 30) largest files of FOLDER that `qpdf --check` calls sound, writes each anew with each program,
and prints, for each job and program, the size of all files together and the processor time (user and system) and the
peak of memory that it took: the best of three runs. SHEAF names the tool; programs that are not there are left out."""
import os
import shutil
import subprocess
import sys
import tempfile

SHEAF = os.environ.get("SHEAF", "sheaf")
RUNS = 3
JOBS = {
    "object streams": {
        "sheaf": [SHEAF, "rewrite", "--object-streams", "generate", "--renumber", "--compress", "IN", "OUT"],
        "qpdf": ["qpdf", "--object-streams=generate", "IN", "OUT"],
    },
    "object streams, streams as they are": {
        "sheaf": [SHEAF, "rewrite", "--object-streams", "generate", "--renumber", "IN", "OUT"],
        "qpdf": ["qpdf", "--object-streams=generate", "--stream-data=preserve", "IN", "OUT"],
    },
    "linearized": {
        "sheaf": [SHEAF, "rewrite", "--linearize", "IN", "OUT"],
        "qpdf": ["qpdf", "--linearize", "IN", "OUT"],
    },
    "linearized, object streams": {
        "sheaf": [SHEAF, "rewrite", "--linearize", "--object-streams", "generate", "--compress", "IN", "OUT"],
        "qpdf": ["qpdf", "--linearize", "--object-streams=generate", "IN", "OUT"],
    },
    "as small as without loss": {
        "sheaf": [SHEAF, "rewrite", "--object-streams", "generate", "--renumber", "--compress", "--recompress", "9",
                  "--dedupe", "--remove-unreferenced-resources", "--optimise-images", "IN", "OUT"],
        "qpdf": ["qpdf", "--object-streams=generate", "--recompress-flate", "--compression-level=9",
                 "--remove-unreferenced-resources=yes", "IN", "OUT"],
        "mutool clean -gggz": ["mutool", "clean", "-gggz", "IN", "OUT"],
        "gs pdfwrite (draws anew)": ["gs", "-q", "-dNOPAUSE", "-dBATCH", "-sDEVICE=pdfwrite", "-sOutputFile=OUT", "IN"],
    },
    "uncompressed": {
        "sheaf": [SHEAF, "rewrite", "--uncompress", "IN", "OUT"],
        "qpdf": ["qpdf", "--qdf", "IN", "OUT"],
        "mutool clean -d": ["mutool", "clean", "-d", "IN", "OUT"],
    },
}


def run(command):
    pid = os.posix_spawnp(command[0], command, os.environ,
                          file_actions=[(os.POSIX_SPAWN_OPEN, 1, "/dev/null", os.O_WRONLY, 0),
                                        (os.POSIX_SPAWN_OPEN, 2, "/dev/null", os.O_WRONLY, 0)])
    _, status, usage = os.wait4(pid, 0)
    return os.waitstatus_to_exitcode(status), usage.ru_utime + usage.ru_stime, usage.ru_maxrss


def sound(folder, count):
    names = sorted((os.path.join(folder, name) for name in os.listdir(folder) if name.endswith(".pdf")),
                   key=os.path.getsize, reverse=True)
    found = []
    for name in names:
        if len(found) < count and subprocess.run(["qpdf", "--check", name], capture_output=True).returncode == 0:
            found.append(name)
    return found


def measure(command, files, out):
    size, seconds, peak, failed = 0, 0.0, 0, 0
    for name in files:
        words = [word.replace("IN", name) if word == "IN" else word.replace("OUT", out) for word in command]
        best = None
        for _ in range(RUNS):
            if os.path.exists(out):
                os.remove(out)
            code, took, memory = run(words)
            best = took if best is None else min(best, took)
            peak = max(peak, memory)
        failed += 0 if os.path.exists(out) else 1
        size += os.path.getsize(out) if os.path.exists(out) else os.path.getsize(name)
        seconds += best
    return size, seconds, peak, failed


def main():
    files = sound(sys.argv[1], int(sys.argv[2]) if len(sys.argv) > 2 else 30)
    print(f"{len(files)} files, {sum(map(os.path.getsize, files)):,} bytes\n")
    print("| job | program | bytes | processor time | peak memory |\n|---|---|---|---|---|")
    with tempfile.TemporaryDirectory() as work:
        out = os.path.join(work, "out.pdf")
        for job, programs in JOBS.items():
            for program, command in programs.items():
                if not shutil.which(command[0]):
                    continue
                size, seconds, peak, failed = measure(command, files, out)
                note = f", {failed} files failed" if failed else ""
                print(f"| {job} | {program}{note} | {size:,} | {seconds:.2f} s | {peak / 1024:.0f} MiB |", flush=True)


main()
