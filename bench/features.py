#!/usr/bin/env python3
"""Prints what merge, split, fill and flatten keep, beside the peers: features.py SHEAF [FOLDER]

Two made documents of two pages with one of everything go through each program that is installed (qpdf, mutool,
pdftk, python3-pikepdf); the results are read back through qpdf --json, pdfinfo, pdftotext and pdftoppm. A cell is
yes, partly (of one document only, or not all of it), no, or - where the program has no such command.
"""
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile

SHEAF = os.path.abspath(sys.argv[1])
os.chdir(sys.argv[2] if len(sys.argv) > 2 else tempfile.mkdtemp())
try:
    import pikepdf
except ImportError:
    pikepdf = None
TOOLS = ["sheaf"] + [t for t in ("qpdf", "mutool") if shutil.which(t)] + ["pikepdf"] * bool(pikepdf) + \
        ["pdftk"] * bool(shutil.which("pdftk"))


def run(*args, **more):
    done = subprocess.run(args, capture_output=True, text=True, errors="replace", **more)
    return done.stdout


# ---- the documents

def stream(entries, data):
    return f"<<{entries}/Length {len(data)}>>\nstream\n{data}\nendstream"


def make(x, claims, font):
    xmp = ('<?xpacket begin="" id="W5M0MpCehiHzreSzNTczkc9d"?><x:xmpmeta xmlns:x="adobe:ns:meta/"><rdf:RDF '
           'xmlns:rdf="http://www.w3.org/1999/02/22-rdf-syntax-ns#"><rdf:Description rdf:about="" '
           'xmlns:pdfaid="http://www.aiim.org/pdfa/ns/id/">' + claims +
           '</rdf:Description></rdf:RDF></x:xmpmeta><?xpacket end="w"?>')
    text = "/%s <</MCID 0>> BDC BT /F1 12 Tf 20 %d Td (%s) Tj ET EMC /Im Do"
    o = {
        1: "<</Type/Catalog/Pages 2 0 R/StructTreeRoot 10 0 R/MarkInfo<</Marked true>>/Lang(en-%s)/Outlines 20 0 R"
           "/Names<</Dests<</Names[(target)[4 0 R/XYZ 0 99 0]]>>/EmbeddedFiles<</Names[(data.txt)23 0 R]>>"
           "/JavaScript<</Names[(init)<</S/JavaScript/JS(var %s;)>>]>>>>/PageLabels<</Nums[0<</S/r/P(%s-)>>]>>"
           "/AcroForm<</Fields[30 0 R 31 0 R 32 0 R]/DA(/F1 12 Tf 0 g)/CO[30 0 R]/DR<</Font<</F1 5 0 R>>>>>>"
           "/OCProperties<</OCGs[40 0 R]/D<</OFF[40 0 R]/Order[40 0 R]>>>>/Metadata 41 0 R"
           "/ViewerPreferences<</DisplayDocTitle true>>/PageMode/UseOutlines/PageLayout/TwoColumnLeft"
           "/OpenAction[4 0 R/Fit]>>" % (x, x, x),
        2: "<</Type/Pages/Count 2/Kids[3 0 R 4 0 R]/MediaBox[0 0 300 400]/CropBox[5 5 295 395]/Rotate 90"
           "/Resources<</Font<</F1 5 0 R>>/XObject<</Im 7 0 R>>/Properties<</L 40 0 R>>>>>>",
        3: "<</Type/Page/Parent 2 0 R/Contents 8 0 R/StructParents 0/Annots[24 0 R 25 0 R 30 0 R]>>",
        4: "<</Type/Page/Parent 2 0 R/Contents 9 0 R/StructParents 1/Rotate 0/Annots[26 0 R 31 0 R 32 0 R]>>",
        5: "<</Type/Font/Subtype/Type1/BaseFont/%s/Encoding/WinAnsiEncoding>>" % font,
        7: stream("/Type/XObject/Subtype/Image/Width 16/Height 16/BitsPerComponent 8/ColorSpace/DeviceGray", "0" * 256),
        8: stream("", text % ("Head", 300, x + " one")),
        9: stream("", text % ("P", 300, x + " two")),
        10: "<</Type/StructTreeRoot/K 11 0 R/ParentTree<</Nums[0[12 0 R]1[13 0 R]]>>/ParentTreeNextKey 2"
            "/RoleMap<</Head/%s>>>>" % ("H1" if x == "A" else "H2"),
        11: "<</Type/StructElem/S/Document/P 10 0 R/K[12 0 R 13 0 R]>>",
        12: "<</Type/StructElem/S/Head/P 11 0 R/Pg 3 0 R/K 0/ID(one)>>",
        13: "<</Type/StructElem/S/P/P 11 0 R/Pg 4 0 R/K 0>>",
        20: "<</Type/Outlines/First 21 0 R/Last 22 0 R/Count 2>>",
        21: "<</Title(%s first)/Parent 20 0 R/Next 22 0 R/Dest[3 0 R/Fit]>>" % x,
        22: "<</Title(%s second)/Parent 20 0 R/Prev 21 0 R/A<</S/GoTo/D(target)>>>>" % x,
        23: "<</Type/Filespec/F(data.txt)/UF(data.txt)/EF<</F 27 0 R>>>>",
        24: "<</Type/Annot/Subtype/Link/Rect[0 0 9 9]/Border[0 0 0]/Dest[4 0 R/Fit]>>",
        25: "<</Type/Annot/Subtype/Link/Rect[9 0 18 9]/Border[0 0 0]/A<</S/GoTo/D(target)>>>>",
        26: "<</Type/Annot/Subtype/FileAttachment/Rect[200 200 210 210]/F 2/FS 28 0 R>>",
        27: stream("/Type/EmbeddedFile", x + " data"),
        28: "<</Type/Filespec/F(page.txt)/UF(page.txt)/EF<</F 29 0 R>>>>",
        29: stream("/Type/EmbeddedFile", x + " page"),
        30: "<</Type/Annot/Subtype/Widget/FT/Tx/T(name)/V(%s value)/Rect[20 200 200 220]/DA(/F1 12 Tf 0 g)/P 3 0 R/F 4"
            "/AA<</K<</S/ResetForm/Fields[(name)]>>>>/AP<</N 33 0 R>>>>" % x,
        31: "<</Type/Annot/Subtype/Widget/FT/Btn/T(box)/Rect[20 100 40 120]/P 4 0 R/F 4/AS/Off/V/Off"
            "/AP<</N<</On 34 0 R/Off 35 0 R>>>>>>",
        32: "<</Type/Annot/Subtype/Widget/FT/Ch/Ff 131072/T(pick)/Opt[(red)(blue)]/Rect[60 100 160 120]/P 4 0 R/F 4"
            "/DA(/F1 12 Tf 0 g)>>",
        33: stream("/Type/XObject/Subtype/Form/BBox[0 0 180 20]/Resources<</Font<</F1 5 0 R>>>>",
                   "/Tx BMC BT /F1 12 Tf 2 5 Td (%s value) Tj ET EMC" % x),
        34: stream("/Type/XObject/Subtype/Form/BBox[0 0 20 20]", "0 g 2 2 16 16 re f"),
        35: stream("/Type/XObject/Subtype/Form/BBox[0 0 20 20]", "0 G 2 2 16 16 re S"),
        40: "<</Type/OCG/Name(Layer %s)>>" % x,
        41: stream("/Type/Metadata/Subtype/XML", xmp),
        42: "<</Title(%s title)>>" % x,
    }
    out, places = b"%PDF-1.7\n%\xe2\xe3\xcf\xd3\n", {}
    for num, body in sorted(o.items()):
        places[num] = len(out)
        out += f"{num} 0 obj\n{body}\nendobj\n".encode("latin-1")
    table = "".join(f"{places[n]:010d} 00000 n \n" if n in places else "0000000000 65535 f \n" for n in range(43))
    out += f"xref\n0 43\n{table}trailer\n<</Size 43/Root 1 0 R/Info 42 0 R>>\nstartxref\n{len(out)}\n%%EOF\n".encode()
    open(x.lower() + ".pdf", "wb").write(out)


# ---- reading results

class Result:
    def __init__(self, path):
        self.path = path
        self.all = {"qpdf": [{}, {}], "pages": []}
        for key in ("qpdf", "pages", "pagelabels"):  # one by one: qpdf 11.3 forgets a comma behind an empty list
            self.all.update(json.loads(run("qpdf", "--json=2", "--json-key=" + key, path) or "{}"))
        self.objects = self.all["qpdf"][1]
        self.root = self.get(self.get(self.objects.get("trailer", {}).get("value", {})).get("/Root")) or {}
        self.pages = [p["object"] for p in self.all["pages"]]

    def get(self, value):
        if isinstance(value, str) and re.fullmatch(r"\d+ \d+ R", value):
            found = self.objects.get("obj:" + value, {})
            return found.get("value", found.get("stream", {}).get("dict"))
        return value

    def at(self, value, *keys):
        value = self.get(value)
        for key in keys:
            value = self.get(value.get(key)) if isinstance(value, dict) else None
        return value

    def data(self, ref):
        num = str(ref).split(" ")[0]
        return run("qpdf", "--show-object=" + num, "--filtered-stream-data", self.path).encode() if num.isdigit() else b""

    def tree(self, node, values="/Names"):
        node = self.get(node) or {}
        found = []
        for kid in self.get(node.get("/Kids")) or []:
            found += self.tree(kid, values)
        pairs = self.get(node.get(values)) or []
        return found + list(zip(pairs[::2], pairs[1::2]))

    def inherited(self, page, key):
        node = self.get(page)
        while node is not None and key not in node:
            node = self.get(node.get("/Parent"))
        return self.get(node[key]) if node else None

    def page_of(self, place):
        if isinstance(place, str) and not re.fullmatch(r"\d+ \d+ R", place):
            names = dict(self.tree(self.at(self.root, "/Names", "/Dests")))
            old = self.at(self.root, "/Dests") or {}
            place = names.get(place, old.get("/" + place[2:]))
        place = self.get(place)
        if isinstance(place, dict):
            place = self.get(place.get("/D"))
        return self.pages.index(place[0]) + 1 if isinstance(place, list) and place[0] in self.pages else 0

    def target(self, item):
        return self.page_of(item.get("/Dest", self.at(item, "/A", "/D")))

    def annotations(self, kind):
        found = [self.get(a) for p in self.pages for a in self.get(self.get(p).get("/Annots")) or []]
        return [a for a in found if a and a.get("/Subtype") == kind]

    def outline(self):
        found, waiting = [], [self.at(self.root, "/Outlines", "/First")]
        while waiting:
            item = waiting.pop()
            if item:
                found.append((str(item.get("/Title"))[2:], self.target(item)))
                waiting += [self.at(item, "/Next"), self.at(item, "/First")]
        return found

    def fields(self):
        found = {}
        for ref in self.at(self.root, "/AcroForm", "/Fields") or []:
            found[str(self.get(ref).get("/T"))[2:]] = self.get(ref)
        return found


def some(*good):
    return "yes" if all(good) else "partly" if any(good) else "no"


def font_of(result, field):
    name = re.match(r"u:(/\S+)", str(field.get("/DA", "")))
    return result.at(result.root, "/AcroForm", "/DR", "/Font", name.group(1), "/BaseFont") if name else None


def struct_text(path):
    return [line.strip(' "') for line in run("pdfinfo", "-struct-text", path).splitlines() if '"' in line]


def claims_pdfa(result):
    return b"pdfaid:part" in result.data((result.root or {}).get("/Metadata"))


def merged(path):
    r = Result(path)
    boxes = [(r.inherited(p, "/MediaBox"), r.inherited(p, "/CropBox"), r.inherited(p, "/Rotate") or 0) for p in r.pages]
    whole = ([0, 0, 300, 400], [5, 5, 295, 395])
    links = [r.target(a) for a in r.annotations("/Link")]
    outline, fields = r.outline(), r.fields()
    names = r.at(r.root, "/Names") or {}
    files = [r.data(r.at(f, "/EF", "/F") and r.at(f, "/EF")["/F"]) for _, f in r.tree(names.get("/EmbeddedFiles"))]
    scripts = [r.at(s, "/JS") for _, s in r.tree(names.get("/JavaScript"))]
    off = [r.at(g, "/Name") for g in r.at(r.root, "/OCProperties", "/D", "/OFF") or []]
    labels = str(r.all.get("pagelabels"))
    texts = [f for f in fields.values() if f.get("/FT") == "/Tx"]
    resets = {name: (r.at(f, "/AA", "/K", "/Fields") or [""])[0][2:] == name
              for name, f in fields.items() if f.get("/FT") == "/Tx"}
    tags = struct_text(path)
    images = [o for o in r.objects.values() if o.get("stream", {}).get("dict", {}).get("/Subtype") == "/Image"]
    roles = r.at(r.root, "/StructTreeRoot", "/RoleMap") or {}
    return {
        "boxes, rotation, inherited resources": some(boxes == [(*whole, 90), (*whole, 0)] * 2),
        "links to pages": some(*(x in links for x in (2, 4))) if r.pages else "no",
        "named destinations, renamed on a clash": some(links == [2, 2, 4, 4]) if 2 in links[1::2] else "no",
        "outline": some(("A first", 1) in outline and ("A second", 2) in outline,
                        ("B first", 3) in outline and ("B second", 4) in outline),
        "page labels": some("A-" in labels, "B-" in labels),
        "attachments": some(b"A data" in files, b"B data" in files),
        "document scripts": some("u:var A;" in scripts, "u:var B;" in scripts),
        "form fields, renamed on a clash": some(len(fields) == 6, any(f.get("/V") == "u:B value" for f in texts)),
        "field names in actions": some(len(resets) == 2 and all(resets.values())),
        "fonts of fields on a clash": some([font_of(r, f) for f in texts] == ["/Helvetica", "/Courier"]),
        "layers, and which are hidden": some("u:Layer A" in off, "u:Layer B" in off),
        "structure tree": some("A one" in tags and "A two" in tags, "B one" in tags and "B two" in tags),
        "roles that mean different things": some({"/H1", "/H2"} <= set(roles.values())),
        "document information, XMP, language": some(
            "A title" in run("pdfinfo", path), "/Metadata" in r.root, r.root.get("/Lang") == "u:en-A"),
        "page mode and layout, viewer preferences": some(*(k in r.root for k in
                                                           ("/PageMode", "/PageLayout", "/ViewerPreferences"))),
        "opening action": some(r.page_of(r.root.get("/OpenAction")) == 2),
        "no claim to PDF/A that is broken": some(not claims_pdfa(r)),
        "equal images once": some(len(images) == 1),
    }


def taken_twice(path):
    tags = struct_text(path)
    return {"tags of a page taken twice": some(tags.count("A one") == 2) if "A one" in tags else "no"}


def part(path):
    """The second page of the first document."""
    r = Result(path)
    names = r.at(r.root, "/Names") or {}
    outline, tags, fields = r.outline(), struct_text(path), r.fields()
    size = len(open(path, "rb").read()) if os.path.exists(path) else 0
    files = [a for a in r.annotations("/FileAttachment") if r.data(r.at(a, "/FS", "/EF")["/F"]) == b"A page"]
    return {
        "structure tree of the part": some("A two" in tags and "A one" not in tags) if tags else "no",
        "outline of the part": some(outline == [("A second", 1)]) if outline else "no",
        "named destinations of the part": some([r.page_of(n) for n, _ in r.tree(names.get("/Dests"))] == [1]),
        "its page label": some("A-" in str(r.all.get("pagelabels")) and "'/St': 2" in str(r.all.get("pagelabels"))),
        "form fields of the part": some(sorted(fields) == ["box", "pick"]) if fields else "no",
        "files of its annotations": some(bool(files)),
        "layers": some("/OCProperties" in r.root),
        "information, XMP, language": some("A title" in run("pdfinfo", path), "/Metadata" in r.root,
                                           r.root.get("/Lang") == "u:en-A"),
        "nothing of the other pages": some(size > 0 and not any("A one" in str(o) or "u:A first" in str(o)
                                                                for o in r.objects.values())),
    }


def pixels(path):
    subprocess.run(["pdftoppm", "-r", "60", path, "px"], capture_output=True)
    found = [open(f, "rb").read() for f in sorted(os.listdir(".")) if f.startswith("px-")]
    for f in [f for f in os.listdir(".") if f.startswith("px-")]:
        os.remove(f)
    return found


def filled(path):
    r = Result(path)
    shown = run("pdftotext", path, "-") + run("mutool", "draw", "-F", "txt", path)
    f = r.fields()
    value = {k: f.get(k, {}).get("/V") for k in ("name", "box", "pick")}
    old, new = open("a.pdf", "rb").read(), open(path, "rb").read()
    return {
        "values set": some(value["name"] not in (None, "u:A value"), value["box"] == "/On", value["pick"] == "u:blue"),
        "shown without the viewer's help": some("blue" in shown and "Ann" in shown),
        "Greek shown": some("Ωmega" in shown),
        "check box shown": some(f.get("box", {}).get("/AS") == "/On"),
        "written behind the old content": some(new.startswith(old)),
    }


def flattened(path):
    r = Result(path)
    before, after = pixels("a.pdf"), pixels(path)
    return {
        "pages look as before": some(before == after),
        "widgets gone": some(not r.annotations("/Widget") and len(r.pages) == 2),
        "form gone": some(not (r.at(r.root, "/AcroForm", "/Fields") or [])),
        "links, tags and outline stay": some(len(r.annotations("/Link")) == 2, len(r.outline()) == 2,
                                             "A one" in struct_text(path)),
    }


# ---- the commands

def by_pikepdf(job, out):
    pdf = pikepdf.Pdf.open("a.pdf")
    if job == "fill":
        f = {str(x.T): x for x in pdf.Root.AcroForm.Fields}
        f["name"].V, f["box"].V, f["box"].AS, f["pick"].V = "Ann Ωmega", pikepdf.Name.On, pikepdf.Name.On, "blue"
        pdf.Root.AcroForm.NeedAppearances = True
        pdf.generate_appearance_streams()
    elif job == "flatten":
        pdf.generate_appearance_streams()
        pdf.flatten_annotations("all")
    else:
        new = pikepdf.Pdf.new()
        if job == "merge":
            other = pikepdf.Pdf.open("b.pdf")
            new.pages.extend(pdf.pages)
            new.pages.extend(other.pages)
        else:
            new.pages.extend([pdf.pages[i] for i in ([0, 0, 1] if job == "twice" else [1])])
        pdf = new
    pdf.save(out)


COMMANDS = {
    "merge": {"sheaf": [SHEAF, "merge", "OUT", "a.pdf", "b.pdf"], "qpdf": ["qpdf", "--empty", "--pages", "a.pdf",
              "b.pdf", "--", "OUT"], "mutool": ["mutool", "merge", "-o", "OUT", "a.pdf", "b.pdf"],
              "pdftk": ["pdftk", "a.pdf", "b.pdf", "cat", "output", "OUT"]},
    "twice": {"sheaf": [SHEAF, "merge", "OUT", "a.pdf:1,1,2"], "qpdf": ["qpdf", "--empty", "--pages", "a.pdf",
              "1,1,2", "--", "OUT"], "mutool": ["mutool", "merge", "-o", "OUT", "a.pdf", "1,1,2"],
              "pdftk": ["pdftk", "a.pdf", "cat", "1", "1", "2", "output", "OUT"]},
    "split": {"sheaf": [SHEAF, "merge", "OUT", "a.pdf:2", "--no-file-outline"], "qpdf": ["qpdf", "--empty", "--pages",
              "a.pdf", "2", "--", "OUT"], "mutool": ["mutool", "merge", "-o", "OUT", "a.pdf", "2"],
              "pdftk": ["pdftk", "a.pdf", "cat", "2", "output", "OUT"]},
    "fill": {"sheaf": [SHEAF, "fill", "a.pdf", "OUT", "--set", "name=Ann Ωmega", "--set", "box=On", "--set",
             "pick=blue"], "pdftk": ["pdftk", "a.pdf", "fill_form", "fill.xfdf", "output", "OUT"]},
    "flatten": {"sheaf": [SHEAF, "flatten", "a.pdf", "OUT"], "qpdf": ["qpdf", "--generate-appearances",
                "--flatten-annotations=all", "a.pdf", "OUT"], "pdftk": ["pdftk", "a.pdf", "output", "OUT", "flatten"]},
}
CHECKS = {"merge": merged, "twice": taken_twice, "split": part, "fill": filled, "flatten": flattened}

make("A", "<pdfaid:part>2</pdfaid:part><pdfaid:conformance>U</pdfaid:conformance>", "Helvetica")
make("B", "", "Courier")
open("fill.xfdf", "w").write('<?xml version="1.0" encoding="UTF-8"?><xfdf xmlns="http://ns.adobe.com/xfdf/"><fields>'
                             '<field name="name"><value>Ann Ωmega</value></field><field name="box"><value>On</value>'
                             '</field><field name="pick"><value>blue</value></field></fields></xfdf>')
for job, check in CHECKS.items():
    columns = {}
    for tool in TOOLS:
        out = f"{job}-{tool}.pdf"
        if tool == "pikepdf":
            by_pikepdf(job, out)
        elif tool in COMMANDS[job]:
            run(*[out if a == "OUT" else a for a in COMMANDS[job][tool]])
        columns[tool] = check(out) if os.path.exists(out) else {}
    print(f"\n| {job} | " + " | ".join(TOOLS) + " |\n|---" + "|---" * len(TOOLS) + "|")
    for row in columns["sheaf"]:
        print(f"| {row} | " + " | ".join(columns[t].get(row, "-") for t in TOOLS) + " |")
