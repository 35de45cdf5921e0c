#!/usr/bin/env python3
"""Writes the inputs that compare.sh measures on: make_inputs.py FOLDER [OBJECTS]

  classic.pdf   OBJECTS (default 1,000,000) small objects under one classic table, 1 % of them pages
  objstm.pdf    the same objects, 100 to a compressed object stream, under a cross-reference stream
  streams.pdf   300 pages with an incompressible image of 1 MiB each
  chain.pdf     an outline of OBJECTS / 5 items linked by /Next
"""
import os
import random
import sys
import zlib

folder = sys.argv[1]
objects = int(sys.argv[2]) if len(sys.argv) > 2 else 1000000


class Out:
    def __init__(self, name):
        self.f = open(os.path.join(folder, name), "wb", buffering=1 << 20)
        self.at, self.places = 0, {}
        self.put(b"%PDF-1.7\n%\xe2\xe3\xcf\xd3\n")

    def put(self, data):
        self.f.write(data)
        self.at += len(data)

    def obj(self, num, body):
        self.places[num] = self.at
        self.put(b"%d 0 obj\n%b\nendobj\n" % (num, body))

    def classic(self, size):
        at = self.at
        lines = [b"%010d 00000 n \n" % self.places[i] if i in self.places else b"0000000000 65535 f \n"
                 for i in range(size)]
        self.put(b"xref\n0 %d\n" % size + b"".join(lines) + b"trailer\n<</Size %d/Root 1 0 R/ID[<00><00>]>>\n" % size)
        self.end(at)

    def end(self, at):
        self.put(b"startxref\n%d\n%%%%EOF\n" % at)
        self.f.close()


def bodies(total):
    """Number and body of every object: a tree of pages, and items that the pages refer to."""
    pages = max(1, total // 100)
    nodes = (pages + 99) // 100
    yield 1, b"<</Type/Catalog/Pages 2 0 R>>"
    yield 2, b"<</Type/Pages/Count %d/Kids[%b]>>" % (pages, b" ".join(b"%d 0 R" % (3 + i) for i in range(nodes)))
    first = 3 + nodes
    for n in range(nodes):
        mine = range(n * 100, min(pages, n * 100 + 100))
        kids = b" ".join(b"%d 0 R" % (first + 90 * p) for p in mine)
        yield 3 + n, b"<</Type/Pages/Parent 2 0 R/Count %d/Kids[%b]>>" % (len(mine), kids)
    for p in range(pages):
        at = first + 90 * p
        items = b" ".join(b"%d 0 R" % (at + i) for i in range(1, 90))
        yield at, b"<</Type/Page/Parent %d 0 R/MediaBox[0 0 612 792]/Items[%b]>>" % (3 + p // 100, items)
        for i in range(1, 90):
            yield at + i, b"<</Index %d/Label(Item number %d)/Box[0 0 %d 100.5]/Next %d 0 R>>" % (i, i, i, at + i % 89 + 1)


def classic():
    out, last = Out("classic.pdf"), 0
    for last, body in bodies(objects):
        out.obj(last, body)
    out.classic(last + 1)


def object_streams():
    out, batch, entries = Out("objstm.pdf"), [], {}
    number = objects + 1000

    def flush():
        nonlocal batch, number
        heads, data = b"", b""
        for index, (num, body) in enumerate(batch):
            heads += b"%d %d " % (num, len(data))
            data += body + b"\n"
            entries[num] = b"\x02" + number.to_bytes(4, "big") + bytes([index])
        packed = zlib.compress(heads + data)
        out.obj(number, b"<</Type/ObjStm/N %d/First %d/Filter/FlateDecode/Length %d>>\nstream\n%b\nendstream" %
                (len(batch), len(heads), len(packed), packed))
        entries[number] = b"\x01" + out.places[number].to_bytes(4, "big") + b"\0"
        number, batch = number + 1, []

    for item in bodies(objects):
        batch.append(item)
        if len(batch) == 100:
            flush()
    flush()
    entries[number] = b"\x01" + out.at.to_bytes(4, "big") + b"\0"
    rows = zlib.compress(b"".join(entries.get(i, b"\0" * 6) for i in range(number + 1)))
    at = out.at
    out.obj(number, b"<</Type/XRef/Size %d/W[1 4 1]/Root 1 0 R/ID[<00><00>]/Filter/FlateDecode/Length %d>>\nstream\n%b\n"
                    b"endstream" % (number + 1, len(rows), rows))
    out.end(at)


def streams():
    out, noise = Out("streams.pdf"), random.Random(1)
    out.obj(1, b"<</Type/Catalog/Pages 2 0 R>>")
    out.obj(2, b"<</Type/Pages/Count 300/Kids[%b]>>" % b" ".join(b"%d 0 R" % (3 + 2 * i) for i in range(300)))
    for i in range(300):
        data = noise.randbytes(1 << 20)
        out.obj(3 + 2 * i, b"<</Type/Page/Parent 2 0 R/MediaBox[0 0 612 792]/Resources<</XObject<</I %d 0 R>>>>>>" % (4 + 2 * i))
        out.obj(4 + 2 * i, b"<</Subtype/Image/Width 1024/Height 1024/ColorSpace/DeviceGray/BitsPerComponent 8/Length %d>>\n"
                           b"stream\n%b\nendstream" % (len(data), data))
    out.classic(603)


def chain():
    out, links = Out("chain.pdf"), objects // 5
    out.obj(1, b"<</Type/Catalog/Pages 2 0 R/Outlines 4 0 R>>")
    out.obj(2, b"<</Type/Pages/Count 1/Kids[3 0 R]>>")
    out.obj(3, b"<</Type/Page/Parent 2 0 R/MediaBox[0 0 612 792]>>")
    out.obj(4, b"<</Type/Outlines/Count %d/First 5 0 R/Last %d 0 R>>" % (links, 4 + links))
    for i in range(links):
        after = b"/Next %d 0 R" % (6 + i) if i + 1 < links else b""
        before = b"/Prev %d 0 R" % (4 + i) if i else b""
        out.obj(5 + i, b"<</Title(Item %d)/Parent 4 0 R%b%b/Dest[3 0 R/Fit]>>" % (i, before, after))
    out.classic(5 + links)


for make in (classic, object_streams, streams, chain):
    make()
