"""Documents in the Portable Document Format: open, read, change and save them.

    import sheaf

    with sheaf.open("letter.pdf") as pdf:
        pdf.pages[0].rotate(90)
        pdf.info["Title"] = "A letter"
        pdf.save_update()
"""
from . import _sheaf
from ._sheaf import (Code, Data, Encryption, Error, Operator, Page, Pages, RawImage, Seal, Value, new, open,
                     read_content, write_content)
from ._sheaf import Document as Document

__all__ = ["Code", "Data", "Document", "Encryption", "Error", "Name", "Operator", "Page", "Pages", "RawImage", "Seal",
           "Value", "new", "open", "read_content", "write_content"]


class Name(str):
    """A name of PDF. It is written without its slash, which may be given."""

    __slots__ = ()

    def __new__(cls, text):
        return super().__new__(cls, text[1:] if text.startswith("/") else text)

    def __repr__(self):
        return f"Name({str(self)!r})"


def _as_pil(self):
    """The image as one of Pillow."""
    from PIL import Image

    picture = self.pixels()
    size = (picture["width"], picture["height"])
    rows, stride = bytes(picture["rows"]), picture["row_bytes"]
    palette, bits = picture["palette"], picture["bits"]
    if picture["components"] == 3:
        image = Image.frombytes("RGB", size, rows if bits == 8 else rows[::2], "raw", "RGB", stride if bits == 8 else stride // 2)
    elif palette:
        image = Image.frombytes("P", size, rows, "raw", {1: "P;1", 2: "P;2", 4: "P;4", 8: "P"}[bits], stride)
        image.putpalette(palette)
    else:
        mode, raw = {1: ("1", "1"), 2: ("L", "L;2"), 4: ("L", "L;4"), 8: ("L", "L"), 16: ("I;16", "I;16B")}[bits]
        image = Image.frombytes(mode, size, rows, "raw", raw, stride)
    if len(picture["opacity"]):
        image = image.convert("L" if image.mode == "L" else "RGB")
        image.putalpha(Image.frombytes("L", size, bytes(picture["opacity"])))
    if picture["profile"]:
        image.info["icc_profile"] = picture["profile"]
    return image


def _seal_signature(self, page=0, room=8192, field="", rect=(0, 0, 0, 0), name="", reason="", location="",
                    sub_filter="ETSI.CAdES.detached"):
    """Saves the document as an update with a signature field, and seals it."""
    return _sheaf._seal_signature(self._owner, page, room, field, rect, name, reason, location, sub_filter)


RawImage.as_pil = _as_pil
Document.seal_signature = _seal_signature
Document.info = property(lambda self: _sheaf.Info(self._owner), doc="The document information, by key.")
Document.form = property(lambda self: _sheaf.Form(self._owner), doc="The fields of the form, by full name.")
Document.attachments = property(lambda self: _sheaf.Attachments(self._owner), doc="Embedded files, by name.")
Document.images = property(lambda self: _sheaf.Images(self._owner), doc="All images, by object number.")
