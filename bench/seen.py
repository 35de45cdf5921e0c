#!/usr/bin/env python3
"""seen.py TOOL FOLDER [each]: what can be seen of the PDF files of a folder in a page of `sheaf browse`, in qpdf's JSON and in
mutool's listing of objects: files, objects, earlier versions, streams as text, pictures, problems. Files that need a
password are left out. The files that each of them shows are counted first; the found are over those that all show."""
import collections
import glob
import json
import os
import re
import subprocess
import sys
import tempfile

TOOL, FOLDER = os.path.abspath(sys.argv[1]), sys.argv[2]
seen = collections.defaultdict(collections.Counter)


def run(*command):
    try:
        return subprocess.run(command, capture_output=True, timeout=60)
    except subprocess.TimeoutExpired:
        return None


def data(page, name):
    return [json.loads(text) for text in re.findall(f'<script type="application/json" class="{name}">(.*?)</script>', page, re.S)]


def look_at_page(path, out):
    done = run(TOOL, "browse", path, "-o", out)
    if done is None or done.returncode > 1:
        return
    with open(out, encoding="utf-8") as page:
        text = page.read()
    index, found = data(text, "index")[0], seen["sheaf browse"]
    found["files"] += 1
    found["problems and repairs"] += index["told"] + index["repaired"]
    for body in [body for piece in data(text, "objects") for body in piece]:
        current = body["versions"][-1]
        found["objects"] += current["current"] and current["text"] != "null"
        found["earlier versions, objects no longer listed"] += len(body["versions"]) - current["current"] + body["hidden"]
        found["who refers to an object"] += body["from_count"]
        found["streams"] += bool(body.get("views"))
        for view in body.get("views", []):
            kind = {"picture": "as pictures", "hex": "as bytes", "entries": "as tables",
                    "members": "as tables"}.get(view["type"], "as content or text")
            found[kind] += 1


def look_by_qpdf(path):
    done = run("qpdf", "--json", "--json-stream-data=inline", "--decode-level=all", path)
    try:
        listing = json.loads(done.stdout)["qpdf"][1] if done and done.returncode in (0, 3) else None
    except (ValueError, KeyError):
        listing = None
    if listing is None:
        return
    found = seen["qpdf --json"]
    found["files"] += 1
    found["problems and repairs"] += len(re.findall(rb"^WARNING", done.stderr, re.M))
    for name, value in listing.items():
        found["objects"] += name != "trailer" and value.get("value", 0) is not None
        found["streams"] += "stream" in value


def look_by_mutool(path):
    done = run("mutool", "show", "-g", path, "grep")
    if done is None or done.returncode or not done.stdout:
        return
    found = seen["mutool show"]
    found["files"] += 1
    found["problems and repairs"] += len(re.findall(rb"^(?:warning|error)", done.stderr, re.M))
    for line in done.stdout.split(b"\n"):
        found["objects"] += bool(re.match(rb"\d", line)) and not line.endswith(b" null")
        found["streams"] += line.endswith(b">> stream")


names = ["sheaf browse", "qpdf --json", "mutool show"]
files, sums = collections.Counter(), collections.defaultdict(collections.Counter)
with tempfile.TemporaryDirectory() as folder:
    for path in sorted(glob.glob(os.path.join(FOLDER, "*.pdf"))):
        seen.clear()
        look_at_page(path, os.path.join(folder, "page.html"))
        look_by_qpdf(path)
        look_by_mutool(path)
        for name in names:
            files[name] += seen[name]["files"]
        if all(seen[name]["files"] for name in names):
            for name in names:
                sums[name] += seen[name]
        if len(sys.argv) > 3:
            print(os.path.basename(path), [seen[name]["objects"] for name in names])
print("| | " + " | ".join(names) + " |\n|---|" + "---|" * len(names))
print("| files | " + " | ".join(f"{files[name]}" for name in names) + " |")
for row in ("objects", "earlier versions, objects no longer listed", "who refers to an object", "streams",
            "as content or text", "as pictures", "as tables", "problems and repairs"):
    print(f"| {row} | " + " | ".join(f"{sums[name][row]:,}" for name in names) + " |")
