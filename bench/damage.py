#!/usr/bin/env python3
"""The damage matrix: sound files damaged in one way each, and the share that comes back whole.

usage: bench/damage.py TOOL [FOLDER] [--files 40] [--only TEXT]

Files are made here, plain and encrypted with the empty password, and, when FOLDER is given, taken from it
(those that the tool calls clean and whose text mutool finds). A row is one kind of damage. A file counts as
healed when the text of its pages, as `mutool draw -F txt` gives it, is that of the sound file: for the tool
and qpdf the text of the file that they write, for mutool that of the damaged file itself. The column
"silent" counts the files of which text is missing although `check` calls them clean or `repair` returns 0.
Damage that does not apply to a file is left out of its row.
"""
import argparse
import os
import random
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


def text_of(path):
    """The text of all pages, white space made equal; None when there is none."""
    if not path or not os.path.exists(path):
        return None
    return b" ".join(output(["mutool", "draw", "-q", "-F", "txt", path]).split()) or None


def code_of(command):
    try:
        return subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=LIMIT, check=False).returncode
    except subprocess.TimeoutExpired:
        return -1


def written_by(command, target):
    if os.path.exists(target):
        os.remove(target)
    return code_of(command + [target])


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
    font = b"<</Font<</F<</Type/Font/Subtype/Type1/BaseFont/Helvetica>>>>>>"
    add(2, b"<</Type/Pages/Count %d/Kids[%s]/MediaBox[0 0 612 792]/Resources %s>>"
        % (count, b" ".join(b"%d 0 R" % (3 + 2 * i) for i in range(count)), font))
    for i in range(count):
        add(3 + 2 * i, b"<</Type/Page/Parent 2 0 R/Contents %d 0 R>>" % (4 + 2 * i))
        data = b"BT /F 12 Tf 40 700 Td (page %d) Tj 0 -20 Td (%s) Tj ET" % (i, b"some words " * (1 + i % 9))
        add(4 + 2 * i, b"<</Length %d>>\nstream\n" % len(data) + data + b"\nendstream")
    last = section(b"")
    for turn in range(updates):
        data = b"BT /F 12 Tf 40 700 Td (state %d) Tj ET" % turn
        add(4 + 2 * (turn % count), b"<</Length %d>>\nstream\n" % len(data) + data + b"\nendstream")
        last = section(b"/Prev %d" % last)
    return bytes(out)


CIPHERS = {"rc4": ["128", "--use-aes=n"], "aes128": ["128", "--use-aes=y"], "aes256": ["256"]}


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
        for kind, options in CIPHERS.items():
            for shape, more in (("", []), ("-streams", ["--object-streams=generate"])):
                other = os.path.join(folder, f"{name}-{kind}{shape}.pdf")
                subprocess.run(["qpdf", "--allow-weak-crypto", *more, "--encrypt", "", "owner", *options, "--", path, other], check=False)
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


def shift_some(by, every):
    """The entries of every `every`th object, or with 0 those of the second half."""
    def damage(data):
        lines = list(re.finditer(rb"(\d{10}) \d{5} n", data))
        chosen = lines[len(lines) // 2 :] if every == 0 else lines[::every]
        out = bytearray(data)
        for line in chosen:
            out[line.start(1) : line.end(1)] = b"%010d" % max(int(line.group(1)) + by, 0)
        return bytes(out) if chosen else None
    return damage


def cut_inside(size, turn):
    """`size` bytes taken out, at a place that follows from the file and `turn`."""
    def damage(data):
        if len(data) < 2 * size + 200:
            return None
        at = random.Random(f"{len(data)} {size} {turn}").randrange(100, len(data) - size - 60)
        return data[:at] + data[at + size:]
    return damage


def break_older(old, new):
    """Damage to the last but one of several places."""
    def damage(data):
        places = [m.start() for m in re.finditer(old, data)]
        if len(places) < 2:
            return None
        return data[: places[-2]] + new + data[places[-2] + len(new):]
    return damage


def change_stream_key(key, change):
    def damage(data):
        hit = re.search(rb"/%s (\d+)" % key, data) if b"/ObjStm" in data else None
        if not hit:
            return None
        return data[: hit.start(1)] + b"%d" % max(change(int(hit.group(1))), 0) + data[hit.end(1):]
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
    *[(f"offsets {by:+d}", shift_entries(by)) for by in (-300, -100, -20, -3, -1, 1, 3, 20, 100, 300)],
    *[(f"offsets of some {by:+d}", shift_some(by, 3)) for by in (-300, -20, -1, 1, 20, 300)],
    *[(f"offsets of the second half {by:+d}", shift_some(by, 0)) for by in (-300, -40, 40, 300)],
    *[(f"{size} bytes gone inside, {turn}", cut_inside(size, turn)) for size in (1, 7, 40, 300, 2000) for turn in (1, 2, 3)],
    ("older trailer broken", break_older(rb"trailer\n<<", b"trailer\n((")),
    ("older trailer's keyword broken", break_older(rb"trailer\n<<", b"xrailer")),
    ("older section broken", break_older(rb"\nxref\n", b"\nxxxx\n")),
    ("N of an object stream too small", change_stream_key(b"N", lambda n: n // 2)),
    ("N of an object stream too large", change_stream_key(b"N", lambda n: n + 5)),
    ("First of an object stream too small", change_stream_key(b"First", lambda n: n - 5)),
    ("First of an object stream too large", change_stream_key(b"First", lambda n: n + 5)),
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


class Row:
    """Files, healed by the tool, by qpdf, by mutool, and silent losses of the tool."""

    def __init__(self):
        self.counts = [0] * 5

    def add(self, damaged, sound, tool, folder):
        target = os.path.join(folder, "written.pdf")
        code = written_by([tool, "repair", damaged], target)
        healed = text_of(target) == sound
        silent = not healed and (code == 0 or code_of([tool, "check", damaged]) == 0)
        written_by(["qpdf", "--warning-exit-0", damaged], target)
        found = [1, healed, text_of(target) == sound, text_of(damaged) == sound, silent]
        self.counts = [a + int(b) for a, b in zip(self.counts, found)]
        return "silent" if silent else "behind" if any(found[2:4]) and not healed else ""

    def line(self, label):
        files = self.counts[0]
        shares = " | ".join(f"{100 * n / files:.0f} %" for n in self.counts[1:4])
        return f"| {label} | {files} | {shares} | {self.counts[4]} |"


def folder_files(options):
    found = sorted(os.path.join(options.folder, n) for n in os.listdir(options.folder) if n.endswith(".pdf"))
    clean = [p for p in found if os.path.getsize(p) < 300_000 and code_of([options.tool, "check", p]) == 0]
    return clean[:: max(len(clean) // options.files, 1)][: options.files]


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("tool")
    parser.add_argument("folder", nargs="?")
    parser.add_argument("--files", type=int, default=40, help="at most so many files of the folder")
    parser.add_argument("--only", default="", help="rows whose label holds this text")
    parser.add_argument("--verbose", action="store_true", help="name what is lost without a word, and what only the others heal")
    parser.add_argument("--keep", metavar="FOLDER", help="copies there of those files, damaged and sound")
    options = parser.parse_args()
    for program in ("qpdf", "mutool"):
        if not shutil.which(program):
            parser.error(f"{program} is not installed")
    with tempfile.TemporaryDirectory() as folder:
        paths = made_files(folder) + (folder_files(options) if options.folder else [])
        files = [(path, text) for path, text in ((path, text_of(path)) for path in paths) if text]
        print(f"{len(files)} sound files\n")
        print("| damage | files | tool | qpdf | mutool | silent |")
        print("|---|---|---|---|---|---|")
        damaged_path = os.path.join(folder, "damaged.pdf")
        total = Row()
        for label, damage in DAMAGE:
            row = Row()
            for path, text in files if options.only in label else []:
                with open(path, "rb") as source:
                    data = source.read()
                damaged = damage(data)
                if damaged is None or damaged == data:
                    continue
                with open(damaged_path, "wb") as out:
                    out.write(damaged)
                remark = row.add(damaged_path, text, options.tool, folder)
                if remark and options.verbose:
                    print(f"{remark}: {label}: {os.path.basename(path)}")
                if remark and options.keep:
                    name = re.sub(r"[^\w+-]+", "-", f"{remark} {label} {os.path.basename(path)[:-4]}")
                    shutil.copy(damaged_path, os.path.join(options.keep, name + ".pdf"))
                    shutil.copy(path, options.keep)
            total.counts = [a + b for a, b in zip(total.counts, row.counts)]
            if row.counts[0]:
                print(row.line(label), flush=True)
        if total.counts[0]:
            print(total.line("all"))


main()
