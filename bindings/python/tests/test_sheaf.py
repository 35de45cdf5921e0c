"""Journeys through the Python module, over documents that it makes itself."""
import io
import threading

import pytest

import sheaf


def make(letter="a", count=3):
    pdf = sheaf.new()
    font = pdf.add({"Type": sheaf.Name("Font"), "Subtype": sheaf.Name("/Type1"), "BaseFont": sheaf.Name("Courier")})
    for i in range(count):
        page = pdf.pages.add(300, 400)
        name = page.add_resource("Font", font)
        page.set_content([("BT", []), ("Tf", [sheaf.Name(name), 12]), ("Tj", [f"{letter}{i}"]), ("ET", [])])
    return pdf


def shown(pdf):
    return [op.operands[0].decode() for page in pdf.pages for op in page.content() if op.name == "Tj"]


def test_pages_are_edited_and_saved(tmp_path):
    path = tmp_path / "a.pdf"
    make().save(path)
    with sheaf.open(path) as pdf, sheaf.open(make("b", 6).save_bytes()) as other:
        other.pages[2].rotate(90)
        pdf.pages.extend(other.pages[2:5])
        pdf.pages.insert(0, other.pages[-1:])
        del pdf.pages[1]
        pdf.pages.move(0, 1)
        pdf.info["Title"] = "Päivä"
        pdf.root["/Extra"] = {"/List": [1, 2.5, None, True, sheaf.Name("N"), b"\x00\xff", "größe"], "Page": pdf.pages[0].object}
        before = path.read_bytes()
        pdf.save_update()
    assert path.read_bytes().startswith(before)
    with sheaf.open(str(path)) as pdf:
        assert shown(pdf) == ["a1", "b5", "a2", "b2", "b3", "b4"]
        assert pdf.pages[3].rotation == 90 and pdf.pages[0].media_box == (0, 0, 300, 400)
        assert pdf.info["Title"] == "Päivä"
        extra = pdf.root["Extra"]
        assert [v for v in extra["List"]][:5] == [1, 2.5, None, True, "N"] and extra["List"][-1] == "größe"
        assert extra["Page"] == pdf.pages[0].object
        with pytest.raises(KeyError):
            extra["Nothing"]
        with pytest.raises(IndexError):
            pdf.pages[6]


def test_errors_have_fields(tmp_path):
    with pytest.raises(sheaf.Error) as missing:
        sheaf.open(tmp_path / "missing.pdf")
    assert missing.value.code == sheaf.Code.NO_FILE and "missing.pdf" in missing.value.message
    locked = make().save_bytes(encrypt=sheaf.Encryption(user="u", owner="o"))
    with pytest.raises(sheaf.Error) as needed:
        sheaf.open(locked)
    assert needed.value.code == sheaf.Code.NEEDS_PASSWORD
    with sheaf.open(locked, password="u") as pdf:
        assert pdf.is_encrypted and shown(pdf) == ["a0", "a1", "a2"]
        with pytest.raises(sheaf.Error) as wrong:
            pdf.root.decoded()
        assert wrong.value.code == sheaf.Code.WRONG_KIND and wrong.value.object == pdf.root.number
    with pytest.raises(sheaf.Error) as closed:
        pdf.root
    assert closed.value.code == sheaf.Code.CLOSED


def test_streams_are_views_that_outlive_the_document():
    with make() as pdf:
        stream = pdf.add_stream(b"bytes " * 1000, {"Kind": sheaf.Name("Note")})
        view = stream.decoded()
        assert len(stream.stored()) < 100
    assert view.readonly and bytes(view[:5]) == b"bytes" and len(view) == 6000


def test_files_of_python_are_read_and_written():
    target = io.BytesIO()
    make().save(target)
    with sheaf.open(target) as pdf:
        pdf.info["Author"] = "Ann"
        pdf.save_update()
    with sheaf.open(target) as pdf:
        assert pdf.info["Author"] == "Ann" and len(pdf.pages) == 3


def test_form_attachments_and_images(tmp_path):
    Image = pytest.importorskip("PIL.Image", reason="Pillow is not installed")
    pdf = make()
    field = pdf.add({"Type": sheaf.Name("Annot"), "Subtype": sheaf.Name("Widget"), "FT": sheaf.Name("Tx"), "T": "City",
                     "Rect": [50, 50, 150, 70], "DA": "/Helv 12 Tf 0 g", "F": 4})
    pdf.root["AcroForm"] = {"Fields": [field], "DA": "/Helv 12 Tf 0 g"}
    pdf.pages[0].object["Annots"] = [field]
    pdf.form["City"] = "Oulu"
    with pytest.raises(KeyError):
        pdf.form["Town"]
    pdf.attachments["notes.txt"] = b"remember"
    pdf.root["Picture"] = pdf.add_stream(bytes(range(12)), {
        "Subtype": sheaf.Name("Image"), "Width": 2, "Height": 2, "BitsPerComponent": 8, "ColorSpace": sheaf.Name("DeviceRGB")})
    with sheaf.open(pdf.save_bytes()) as again:
        assert list(again.form) == ["City"] and again.form["City"] == "Oulu"
        assert again.form.describe("City")["kind"] == "text"
        assert bytes(again.attachments["notes.txt"]) == b"remember"
        image, = again.images
        assert image.as_pil().tobytes() == bytes(range(12)) and image.as_pil().mode == "RGB"
        with Image.open(image.save(str(tmp_path))) as written:
            assert written.convert("RGB").tobytes() == bytes(range(12))
        assert again.flatten() == 1 and len(again.form) == 0


def test_work_leaves_the_lock_and_refuses_a_second_thread():
    pdf = make()
    for _ in range(20000):
        pdf.add({"Text": "something to write", "Numbers": [1, 2, 3]})
    everything = pdf.add([sheaf.Name("All")])
    pdf.root["All"] = everything
    for number in range(1, 20000):
        value = pdf.object(number)
        if isinstance(value, sheaf.Value):
            everything.append(value)
    met = []
    started = threading.Event()

    def watch(what, done, total):
        started.set()
        return not met  # goes on until the other thread was there

    again = sheaf.open(pdf.save_bytes(), progress=watch)
    started.clear()

    def intrude():
        started.wait()
        try:
            again.root
        except sheaf.Error as error:
            met.append(error.code)

    other = threading.Thread(target=intrude)
    other.start()
    try:
        for _ in range(100):
            again.save_bytes()
    except sheaf.Error as stopped:
        assert stopped.code == sheaf.Code.CANCELLED
    other.join()
    assert met == [sheaf.Code.NOT_ALLOWED]
    assert again.root["All"][0] == "All"


def test_saves_take_options_and_tell_how_far_they_are(tmp_path):
    kids = b" ".join(b"%d 0 R" % number for number in range(3, 30003))
    things = b"".join(b"%d 0 obj<</Next %d>>endobj\n" % (number, number) for number in range(3, 30003))
    text = (b"%PDF-1.5\n1 0 obj<</Type/Catalog/Pages 2 0 R/All[" + kids + b"]>>endobj\n"
            b"2 0 obj<</Type/Pages/Count 1/Kids[30003 0 R]>>endobj\n" + things +
            b"30003 0 obj<</Type/Page/Parent 2 0 R/MediaBox[0 0 9 9]>>endobj\ntrailer<</Root 1 0 R>>\n")
    seen = []
    big = sheaf.open(text, progress=lambda what, done, total: seen.append((what, done, total)) or True)
    big.attachments["a.txt"] = b"text"
    plain = len(big.save_bytes())
    assert seen and all(done <= total for _, done, total in seen if total) and any(done for _, done, _ in seen)
    packed = big.save_bytes(object_streams="generate", streams="compress", min_version="1.6", linearize=True)
    assert len(packed) < plain / 2 and b"Linearized" in bytes(packed[:1024])
    del big.attachments["a.txt"]
    assert list(big.attachments) == []
    for wrong in ({"streams": "none"}, {"speed": 1}):
        with pytest.raises((ValueError, TypeError)):
            big.save_bytes(**wrong)


def test_a_sealed_document_takes_a_signature(tmp_path):
    path = tmp_path / "signed.pdf"
    make().save(path)
    with sheaf.open(path) as pdf:
        seal = pdf.seal_signature(room=64, field="Author", name="Ann")
        start, length, behind, rest = seal.byte_range
        assert seal.signed_bytes() == path.read_bytes()[:length] + path.read_bytes()[behind:] and len(seal.sha256()) == 32
        seal.write(b"\x30\x01\x02")
        assert pdf.signature_count == 1
        with pytest.raises(sheaf.Error) as again:
            pdf.seal_signature(field="Author")
        assert again.value.code == sheaf.Code.NOT_ALLOWED


def test_content_is_read_and_written_back():
    source = b"q 1 0 0 1 5 5 cm [(A) -20 <42>] TJ BI /W 1 /H 1 /BPC 8 /CS /G ID \x80 EI Q"
    operators = sheaf.read_content(source)
    assert [op.name for op in operators] == ["q", "cm", "TJ", "BI", "Q"]
    assert operators[2].operands == [[b"A", -20, b"B"]]
    assert sheaf.write_content(operators).split() == source.split()
