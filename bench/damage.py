#!/usr/bin/env python3
"""The damage matrix: sound files damaged in one way each, and the share that comes back whole.

usage: bench/damage.py TOOL [FOLDER] [--files 40]

Files are made here and, when FOLDER is given, taken from it (those that every program at hand opens clean).
A row is one kind of damage; a file counts as healed when a program finds as many pages as in the sound file.
For the tool a second figure counts those whose streams also decode to as many bytes as before. qpdf and
mutool stand beside it when they are installed. Damage that does not apply to a file is left out of its row.
"""
import argparse
import json
import os
import re
import shutil
import subprocess
import tempfile

LIMIT = 20


def output(command):
    try:
        return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, timeout=LIMIT, check=False).stdout
    except subprocess.TimeoutExpired:
        return b""


def by_tool(tool, path):
    """Pages and decoded bytes."""
    try:
        found = json.loads(output([tool, "check", "--json", path]))
        return found["pages"], found["decoded_bytes"]
    except (ValueError, KeyError):
        return -1, -1


def by_qpdf(path):
    text = output(["qpdf", "--warning-exit-0", "--show-npages", path]).split()
    return int(text[-1]) if text and text[-1].isdigit() else -1


def by_mutool(path):
    text = output(["mutool", "info", path])
    found = re.search(rb"\nPages: (\d+)", text)
    return int(found.group(1)) if found else -1


# ---- sound files ----


def classic(count, updates=0):
    out = bytearray(b"%PDF-1.4\n%\xe2\xe3\xcf\xd3\n")
    offsets = {}

    def add(num, body):
        offsets[num] = len(out)
        out.extend(b"%d 0 obj\n" % num + body + b"\nendobj\n")

    def section(extra):
        start = len(out)
        out.extend(b"xref\n")
        if not extra:
            out.extend(b"0 1\n0000000000 65535 f \n")
        for num in sorted(offsets):
            out.extend(b"%d 1\n%010d 00000 n \n" % (num, offsets[num]))
        out.extend(b"trailer\n<</Size %d/Root 1 0 R%s>>\nstartxref\n%d\n%%%%EOF\n" % (3 + 2 * count, extra, start))
        offsets.clear()
        return start

    add(1, b"<</Type/Catalog/Pages 2 0 R>>")
    add(2, b"<</Type/Pages/Count %d/Kids[%s]/MediaBox[0 0 612 792]>>"
        % (count, b" ".join(b"%d 0 R" % (3 + 2 * i) for i in range(count))))
    for i in range(count):
        add(3 + 2 * i, b"<</Type/Page/Parent 2 0 R/Contents %d 0 R>>" % (4 + 2 * i))
        data = b"BT (page %d) Tj ET" % i
        add(4 + 2 * i, b"<</Length %d>>\nstream\n" % len(data) + data + b"\nendstream")
    last = section(b"")
    for turn in range(updates):
        add(3, b"<</Type/Page/Parent 2 0 R/Contents 4 0 R/Rotate %d>>" % (90 * turn))
        last = section(b"/Prev %d" % last)
    return bytes(out)


def made_files(folder):
    made = {"classic": classic(5), "updated": classic(4, 3), "long": classic(60)}
    paths = []
    for name, data in made.items():
        path = os.path.join(folder, name + ".pdf")
        with open(path, "wb") as out:
            out.write(data)
        paths.append(path)
        if not shutil.which("qpdf"):
            continue
        for kind, options in (("streams", ["--object-streams=generate"]), ("linear", ["--linearize"]),
                              ("linear-streams", ["--linearize", "--object-streams=generate"])):
            other = os.path.join(folder, f"{name}-{kind}.pdf")
            subprocess.run(["qpdf", *options, path, other], check=False)
            paths.append(other)
    return paths


# ---- damage: bytes to bytes, or None when it does not apply ----


def replace_last(data, old, new):
    at = data.rfind(old)
    return None if at < 0 else data[:at] + new + data[at + len(old):]


def number_behind(data, word, change, last=True):
    found = list(re.finditer(word + rb"\s*(\d+)", data))
    if not found:
        return None
    hit = found[-1] if last else found[0]
    text = b"%d" % max(change(int(hit.group(1))), 0)
    if len(text) < len(hit.group(1)):
        text = text.rjust(len(hit.group(1)), b"0")
    return data[: hit.start(1)] + text + data[hit.end(1):]


def shift_entries(by):
    def damage(data):
        if not re.search(rb"\d{10} \d{5} n", data):
            return None
        return re.sub(rb"(\d{10})( \d{5} n)", lambda m: b"%010d" % max(int(m.group(1)) + by, 0) + m.group(2), data)
    return damage


def cut(share):
    return lambda data: data[: int(len(data) * share)]


def loop(data):
    at = re.search(rb"startxref\s+(\d+)", data[data.rfind(b"startxref"):] if b"startxref" in data else b"")
    trailers = [m.start() for m in re.finditer(rb"trailer\s*<<", data)]
    if not at or not trailers:
        return None
    end = data.index(b"<<", trailers[-1]) + 2
    return data[:end] + b"/Prev " + at.group(1) + b" " + data[end:]


def break_object_stream(data):
    at = data.find(b"/ObjStm")
    start = data.find(b"stream", at + 7) if at >= 0 else -1
    return None if start < 0 else data[: start + 12] + b"\xff" * 4 + data[start + 16:]


DAMAGE = [
    ("startxref wrong", lambda d: number_behind(d, rb"startxref", lambda n: n + 7000)),
    ("startxref off by 3", lambda d: number_behind(d, rb"startxref", lambda n: n + 3)),
    ("startxref lost", lambda d: d.replace(b"startxref", b"startxxxx")),
    ("offsets 1 too high", shift_entries(1)),
    ("offsets 1 too low", shift_entries(-1)),
    ("offsets 20 too high", shift_entries(20)),
    ("offsets 20 too low", shift_entries(-20)),
    ("junk in front of the header", lambda d: b"From: somebody\r\n\r\n" + d),
    ("header lost", lambda d: b"%ABC-" + d[5:]),
    ("cut by 20 bytes", lambda d: d[:-20]),
    ("cut behind the last object", lambda d: d[: d.rfind(b"endobj") + 6]),
    ("zeros behind the end", lambda d: d + bytes(3000)),
    ("trailers gone", lambda d: d.replace(b"trailer", b"xxxxxxx") if b"trailer" in d else None),
    ("root lost", lambda d: re.sub(rb"/Root \d+ 0 R", lambda m: b"/Rxxx" + m.group(0)[5:], d) if b"/Root" in d else None),
    ("catalogue's type lost", lambda d: d.replace(b"/Catalog", b"/Cxxxxxx") if b"/Catalog" in d else None),
    ("endobj missing", lambda d: d.replace(b"endobj", b"      ")),
    ("endstream missing", lambda d: replace_last(d, b"endstream", b"         ")),
    ("Length too small", lambda d: number_behind(d, rb"/Length", lambda n: n // 2, last=False)),
    ("Length too large", lambda d: number_behind(d, rb"/Length", lambda n: 9 * n + 90, last=False)),
    ("Size too small", lambda d: number_behind(d, rb"/Size", lambda n: 2)),
    ("Size too large", lambda d: number_behind(d, rb"/Size", lambda n: 99999999)),
    ("Count wrong", lambda d: number_behind(d, rb"/Count", lambda n: n + 3, last=False)),
    ("W wrong", lambda d: re.sub(rb"/W ?\[ ?1 \d", b"/W [ 1 9", d) if b"/W" in d else None),
    ("Prev loops", loop),
    ("Prev wrong", lambda d: number_behind(d, rb"/Prev", lambda n: n + 99)),
    ("object stream broken", break_object_stream),
    ("false linearization", lambda d: re.sub(rb"/O \d+", b"/O 1", d, count=1) if b"/Linearized" in d else None),
    ("line ends to CR LF", lambda d: d.replace(b"\n", b"\r\n")),
    ("line ends to CR", lambda d: d.replace(b"\r\n", b"\r").replace(b"\n", b"\r")),
]


def sound(path, programs):
    """Page count when all programs agree and there is a page."""
    counts = {count(path) for count in programs.values()}
    return counts.pop() if len(counts) == 1 and max(counts) > 0 else None


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("tool")
    parser.add_argument("folder", nargs="?")
    parser.add_argument("--files", type=int, default=40, help="at most so many files of the folder")
    options = parser.parse_args()
    programs = {"tool": lambda path: by_tool(options.tool, path)[0]}
    if shutil.which("qpdf"):
        programs["qpdf"] = by_qpdf
    if shutil.which("mutool"):
        programs["mutool"] = by_mutool
    with tempfile.TemporaryDirectory() as folder:
        files = made_files(folder)
        if options.folder:
            found = sorted(os.path.join(options.folder, n) for n in os.listdir(options.folder) if n.endswith(".pdf"))
            clean = [p for p in found if os.path.getsize(p) < 300_000
                     and subprocess.run([options.tool, "check", p], stdout=subprocess.DEVNULL,
                                        stderr=subprocess.DEVNULL, check=False).returncode == 0]
            files += clean[:: max(len(clean) // options.files, 1)][: options.files]
        files = [(path, sound(path, programs)) for path in files]
        files = [(path, pages, by_tool(options.tool, path)[1]) for path, pages in files if pages]
        print(f"{len(files)} sound files\n")
        print("| damage | files | tool | and all data | " + " | ".join(list(programs)[1:]) + " |")
        print("|---|---|---|---|" + "---|" * (len(programs) - 1))
        target = os.path.join(folder, "damaged.pdf")
        totals = [0] * (2 + len(programs))
        for label, damage in DAMAGE:
            row = [0] * (2 + len(programs))
            for path, pages, decoded in files:
                with open(path, "rb") as source:
                    data = source.read()
                damaged = damage(data)
                if damaged is None or damaged == data:
                    continue
                with open(target, "wb") as out:
                    out.write(damaged)
                row[0] += 1
                found, bytes_found = by_tool(options.tool, target)
                row[1] += found == pages
                row[2] += found == pages and bytes_found >= decoded
                for i, name in enumerate(list(programs)[1:]):
                    row[3 + i] += programs[name](target) == pages
            totals = [a + b for a, b in zip(totals, row)]
            if row[0]:
                print(f"| {label} | {row[0]} | " + " | ".join(f"{100 * n // row[0]} %" for n in row[1:]) + " |", flush=True)
        print(f"| all | {totals[0]} | " + " | ".join(f"{100 * n / totals[0]:.1f} %" for n in totals[1:]) + " |")


main()
