#!/usr/bin/env python3
"""browse_page_test TOOL: opens pages of `sheaf browse` in Chromium and uses them as people do. Ends with 77 where
Chromium is not installed."""
import atexit
import os
import shutil
import subprocess
import sys
import tempfile
import zlib

sys.dont_write_bytecode = True
sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import chromium  # noqa: E402

TOOL = os.path.abspath(sys.argv[1])
EVIL = "</script><script>window.ran=1</script><img src=x onerror=window.ran=1>\u2028"


class Pdf:
    """A file that grows by saves, with a classic table each."""

    def __init__(self):
        self.data, self.offsets, self.prev = bytearray(b"%PDF-1.7\n%\xe2\xe3\xcf\xd3\n"), {}, 0

    def add(self, num, body):
        self.offsets[num] = len(self.data)
        self.data += b"%d 0 obj\n%s\nendobj\n" % (num, body if isinstance(body, bytes) else body.encode())

    def stream(self, num, entries, data):
        self.add(num, b"<<%s/Length %d>>\nstream\n%s\nendstream" % (entries.encode(), len(data), data))

    def save(self, size, trailer="", false_entries=None):
        start = len(self.data)
        places = {**self.offsets, **(false_entries or {})}
        self.data += b"xref\n0 1\n0000000000 65535 f \n"
        for num, place in sorted(places.items()):
            self.data += b"%d 1\n%010d 00000 n \n" % (num, place)
        prev = f"/Prev {self.prev}" if self.prev else ""
        self.data += f"trailer\n<</Size {size}/Root 1 0 R{prev}{trailer}>>\nstartxref\n{start}\n%%EOF\n".encode()
        self.prev, self.offsets = start, {}


def literal(text):
    return b"<" + (b"\xfe\xff" + text.encode("utf-16-be")).hex().encode() + b">"


def make_document():
    """Two saves; a picture, content, a font with names; an object that is listed but nowhere; texts that are markup."""
    pdf = Pdf()
    name = "".join(f"#{byte:02x}" for byte in EVIL.encode())
    pdf.add(1, b"<</Type/Catalog/Pages 2 0 R/Evil/" + name.encode() + b"/Outlines 8 0 R/Lost 9 0 R/AcroForm<</Fields[11 0 R]>>"
            b"/Metadata 12 0 R/Names<</JavaScript<</Names[%s 13 0 R]>>/EmbeddedFiles<</Names[%s 14 0 R]>>>>>>"
            % (literal(EVIL), literal(EVIL)))
    pdf.add(2, "<</Type/Pages/Kids[3 0 R]/Count 1>>")
    pdf.add(3, "<</Type/Page/Parent 2 0 R/MediaBox[0 0 200 100]/Contents 4 0 R/Resources<</Font<</F 5 0 R>>"
               "/XObject<</I 6 0 R>>>>>>")
    pdf.stream(4, "", b"q BT /F 12 Tf 20 50 Td (First words) Tj ET Q\nq 40 0 0 40 100 20 cm /I Do Q % " + EVIL.encode())
    pdf.add(5, "<</Type/Font/Subtype/Type1/BaseFont/Helvetica/Encoding<</Differences[65/Aacute/eacute]>>>>")
    pixels = bytes(255 if x < 8 else 0 for y in range(16) for x in range(16) for c in range(3))
    pdf.stream(6, "/Type/XObject/Subtype/Image/Width 16/Height 16/BitsPerComponent 8/ColorSpace/DeviceRGB"
                  "/Filter/FlateDecode", zlib.compress(pixels))
    pdf.add(7, b"<</Title " + literal(EVIL) + b"/Author " + literal("Grüße") + b">>")
    pdf.add(8, b"<</Type/Outlines/First 10 0 R/Last 10 0 R/Count 1>>")
    pdf.add(10, b"<</Parent 8 0 R/Title " + literal(EVIL) + b"/Dest[3 0 R/Fit]>>")
    pdf.add(11, b"<</FT/Tx/T " + literal(EVIL) + b"/V " + literal(EVIL) + b">>")
    pdf.stream(12, "/Type/Metadata/Subtype/XML", b"<?xpacket begin=''?><x:xmpmeta>" + EVIL.encode() + b"</x:xmpmeta>")
    pdf.add(13, b"<</S/JavaScript/JS " + literal(EVIL) + b">>")
    pdf.add(14, b"<</Type/Filespec/F " + literal(EVIL) + b"/UF " + literal(EVIL) + b">>")
    pdf.save(15, "/Info 7 0 R", {9: 40})
    pdf.stream(4, "", b"q BT /F 12 Tf 20 50 Td (Second words) Tj ET Q\nq 40 0 0 40 100 20 cm /I Do Q % " + EVIL.encode())
    pdf.add(7, b"<</Title " + literal(EVIL) + b"/Author " + literal("Größe") + b">>")
    pdf.save(15, "/Info 7 0 R")
    return pdf.data


def make_large(count):
    """Many objects of little content."""
    pdf = Pdf()
    pdf.add(1, "<</Type/Catalog/Pages 2 0 R/All %s>>" % " ".join(["["] + [f"{i} 0 R" for i in range(4, count)] + ["]"]))
    pdf.add(2, "<</Type/Pages/Kids[3 0 R]/Count 1>>")
    pdf.add(3, "<</Type/Page/Parent 2 0 R/MediaBox[0 0 9 9]>>")
    for num in range(4, count):
        pdf.add(num, f"<</Number {num}/Word(w{num * 7919 % 100003})>>")
    pdf.save(count)
    return pdf.data


def browse(name, data, *options, code=0):
    with open(name, "wb") as out:
        out.write(data)
    done = subprocess.run([TOOL, "browse", name, "-o", "page.html", *options], capture_output=True)
    assert done.returncode == code, (done.returncode, done.stderr)
    return os.path.getsize("page.html")


def text_of(browser, selector="main"):
    return browser.value(f"document.querySelector('{selector}').innerText")


def look_around(browser):
    browser.open("page.html")
    # Follows references: trailer, catalogue, pages, page, its content.
    for num in (1, 2, 3, 4):
        browser.value(f"document.querySelector('main a[href=\"#{num}\"]').click()")
        browser.wait_for(f"document.querySelector('main h2').textContent === 'Object {num}'")
    content = text_of(browser, "[aria-label=Content]")
    assert "\n    (Second words) Tj\n" in content and "\nq\n  40 0 0 40 100 20 cm\n" in content, content
    assert "First words" not in content
    browser.value("history.back()")
    browser.wait_for("document.querySelector('main h2').textContent === 'Object 3'")
    assert browser.value("document.querySelector('#near [aria-current]').textContent").strip() == "3 Page 1"
    browser.value("document.querySelector('#near [aria-current]').nextSibling.click()")
    browser.wait_for("document.querySelector('main h2').textContent === 'Object 4'")
    assert "4 0 R" not in text_of(browser) and browser.value("!!document.querySelector('main a[href=\"#3\"]')")


def look_at_streams(browser):
    browser.value("location.hash = '#6'")
    browser.wait_for("document.querySelector('main img') && document.querySelector('main img').complete")
    assert browser.value("""(() => { const image = document.querySelector('main img'), canvas = document.createElement('canvas');
        canvas.width = image.naturalWidth; const pen = canvas.getContext('2d'); pen.drawImage(image, 0, 0);
        return [image.naturalWidth, ...pen.getImageData(7, 9, 2, 1).data].join(); })()""") == "16,255,255,255,255,0,0,0,255"
    browser.value("location.hash = '#5'")
    browser.wait_for("document.querySelector('.glyphs')")
    assert "42\neacute" in text_of(browser, ".glyphs")
    # What the first save had, beside what the second one put in its place; in the strings and in the content.
    browser.value("location.hash = '#4'")
    browser.wait_for("document.querySelector('.versions')")
    assert "−     (First words) Tj" in text_of(browser, ".versions") and "+     (Second words) Tj" in text_of(browser, ".versions")
    browser.value("location.hash = '#7'")
    browser.wait_for("document.querySelector('main h2').textContent === 'Object 7'")
    assert "Grüße" in text_of(browser, ".versions .gone") and "Größe" in text_of(browser, ".versions .fresh")


def search(browser):
    browser.value("document.body.focus()")
    browser.press("/", 191, "/")
    browser.type("größe")
    browser.wait_for("document.querySelector('#count').textContent.startsWith('1 of ')")
    browser.press("Enter", 13)
    browser.wait_for("document.querySelector('main h2').textContent === 'Object 7'")
    browser.value("document.querySelector('#search').value = ''")
    browser.value("document.querySelector('#troubled').click()")
    browser.wait_for("document.querySelector('#count').textContent.startsWith('1 of ')")
    # The problem leads to its object.
    assert "is referred to, but is not where its entry says" in text_of(browser, "footer")
    browser.value("document.querySelector('footer a[href=\"#9\"]').click()")
    browser.wait_for("document.querySelector('main h2').textContent === 'Object 9'")
    assert "cannot be read" in text_of(browser)


def use_keys(browser):
    browser.value("document.querySelector('#tree-tab').click(); document.querySelector('#tree [tabindex=\"0\"]').focus()")
    focused = "document.activeElement.querySelector('.row span').textContent"
    seen = []

    def press(*keys):
        for key in keys:
            browser.press(key)
            seen.append(browser.value(focused))

    press("End", "Home", "ArrowLeft", "ArrowDown", "ArrowRight", "ArrowRight", "ArrowLeft", "ArrowLeft", "ArrowDown",
          "ArrowDown", "ArrowRight", "ArrowDown")
    assert seen == ["Images", "Trailer", "Trailer", "Pages", "Pages", "1, 200 × 100", "Pages", "Pages", "Form fields", "Outline",
                    "Outline", EVIL], seen
    assert browser.value("getComputedStyle(document.activeElement.querySelector('.row')).outlineStyle") == "solid"


def every_place(browser):
    """Shows each object and each part once; nothing of the document may run."""
    for place in browser.value(
            "(list => list('rows').map(o => '' + o[0]).concat(list('parts').map((_, k) => 'part-' + k)))"
            "(name => [...document.querySelectorAll('script.' + name)].flatMap(e => JSON.parse(e.textContent)))"):
        browser.value(f"location.hash = '#{place}'; new Promise(done => setTimeout(done))")
    assert browser.value("window.ran") is None
    assert browser.value("document.querySelectorAll('script:not([type])').length") == 1
    assert browser.value("document.querySelectorAll('img').length") <= 1
    assert EVIL[:60] in browser.value("document.querySelector('#tree').textContent + document.title")


def main():
    if chromium.program() is None:
        print("browse_page_test: Chromium is not installed; nothing was checked")
        return 77
    folder = tempfile.mkdtemp(prefix="sheaf-browse-")
    atexit.register(shutil.rmtree, folder, True)
    os.chdir(folder)
    browser = chromium.Browser()
    try:
        browse("<script>window.ran=1<!--.pdf", make_document(), code=1)
        for step in (look_around, look_at_streams, search, use_keys, every_place):
            step(browser)
            assert browser.complaints() == [], (step.__name__, browser.complaints())
        # A foreign script in the page would have to get past the policy.
        browser.value("document.body.append(Object.assign(document.createElement('script'), {textContent: 'window.ran = 1'}))")
        assert browser.value("window.ran") is None
        # Many objects: few rows are in the page at a time. A small page says what it leaves out.
        browse("large.pdf", make_large(100000))
        browser.open("page.html")
        browser.value("document.querySelector('#list-tab').click()")
        assert browser.value("document.querySelectorAll('.object').length") < 100
        browser.value("document.querySelector('#list').scrollTop = 1e9")
        browser.wait_for("document.querySelector('#rows').textContent.includes('99999')")
        assert browse("large.pdf", make_large(100000), "--most", "1MiB") <= 1 << 20
        browser.open("page.html")
        assert "no room in this page" in text_of(browser, "footer") and browser.complaints() == []
    finally:
        browser.close()
    return 0


sys.exit(main())
