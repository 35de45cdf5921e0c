"""The C interface called from Python by ctypes, as any language with a foreign function interface would.

    pages.py libsheaf.so FILE.pdf
"""
import ctypes
import sys


class Rect(ctypes.Structure):
    _fields_ = [(name, ctypes.c_double) for name in ("left", "bottom", "right", "top")]


class Error(ctypes.Structure):
    _fields_ = [("size", ctypes.c_size_t), ("code", ctypes.c_int), ("object", ctypes.c_int32),
                ("offset", ctypes.c_int64), ("message", ctypes.c_char_p)]


PROGRESS = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_void_p, ctypes.c_char_p, ctypes.c_double, ctypes.c_double)


class OpenOptions(ctypes.Structure):
    _fields_ = [("size", ctypes.c_size_t), ("password", ctypes.c_char_p), ("progress", PROGRESS),
                ("progress_context", ctypes.c_void_p)]


library = ctypes.CDLL(sys.argv[1])
library.sheaf_last_error.restype = ctypes.POINTER(Error)
library.sheaf_data_bytes.restype = ctypes.c_void_p
library.sheaf_data_size.restype = ctypes.c_size_t
for name in ("sheaf_page_count", "sheaf_close", "sheaf_data_bytes", "sheaf_data_size", "sheaf_data_free"):
    getattr(library, name).argtypes = [ctypes.c_void_p]


def must(code):
    if code != 0:
        error = library.sheaf_last_error().contents
        raise RuntimeError(f"{error.message.decode()} (code {error.code}, object {error.object}, offset {error.offset})")


calls = []
options = OpenOptions(ctypes.sizeof(OpenOptions), None, PROGRESS(lambda *call: calls.append(call) or 1), None)
document = ctypes.c_void_p()
must(library.sheaf_open(sys.argv[2].encode(), ctypes.byref(options), ctypes.byref(document)))
count = library.sheaf_page_count(document)
for index in range(count):
    box = Rect()
    must(library.sheaf_page_media_box(document, index, ctypes.byref(box)))
    print(f"page {index + 1}: {box.right - box.left:g} x {box.top - box.bottom:g}")

must(library.sheaf_page_rotate(document, 0, 90))
data = ctypes.c_void_p()
must(library.sheaf_save_memory(document, None, ctypes.byref(data)))
saved = ctypes.string_at(library.sheaf_data_bytes(data), library.sheaf_data_size(data))
library.sheaf_close(document)
library.sheaf_data_free(data)

again = ctypes.c_void_p()
must(library.sheaf_open_memory(saved, len(saved), None, ctypes.byref(again)))
assert library.sheaf_page_count(again) == count and library.sheaf_page_rotation(again, 0) == 90
library.sheaf_close(again)
try:
    must(library.sheaf_open(b"no such file.pdf", None, ctypes.byref(again)))
except RuntimeError as error:
    print("as expected:", error)
else:
    sys.exit("a missing file was opened")
