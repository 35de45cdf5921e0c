"""The guide's tasks in Python, one function each.

    tasks.py SAMPLE.pdf SAMPLE.jpg FOLDER
"""
import os
import shutil
import sys

import sheaf


def open_and_read(path):
    with sheaf.open(path, password="open sesame") as pdf:
        for page in pdf.pages:
            left, bottom, right, top = page.media_box
            print(f"{right - left:g} x {top - bottom:g}, turned by {page.rotation}")
        for field in pdf.root["AcroForm"]["Fields"]:
            print("field", field["T"])


def change(path):
    with sheaf.open(path) as pdf:
        pdf.info["Title"] = "A day in Oulu"
        pdf.pages[0].rotate(90)
        pdf.root["Lang"] = "en"
        pdf.root["ViewerPreferences"] = {"DisplayDocTitle": True}
        pdf.save_update()


def edit_pages(path, other_path, out):
    with sheaf.open(path) as pdf, sheaf.open(other_path) as other:
        pdf.pages.extend(other.pages[0:2])
        pdf.pages.move(3, 0)
        del pdf.pages[1]
        pdf.save(out)
        print(len(pdf.pages), "pages")


def edit_content(path, out):
    with sheaf.open(path) as pdf:
        page = pdf.pages[0]
        kept = [op for op in page.content() if op.name not in ("Tj", "TJ")]
        page.set_content(kept + [("rg", [1, 0, 0]), ("re", [72, 72, 100, 20]), ("f", [])])
        pdf.save(out)


def fill(path, out):
    with sheaf.open(path) as pdf:
        pdf.form["City"] = "Oulu"
        print("City:", pdf.form["City"])
        pdf.save_update()
        pdf.flatten()
        pdf.save(out)


def attach(path, file, folder):
    with sheaf.open(path) as pdf:
        pdf.attachments.add_file(file)
        for name in pdf.attachments:
            print("attachment", name)
            with open(os.path.join(folder, os.path.basename(name)), "wb") as out:
                out.write(pdf.attachments[name])
        pdf.save_update()


def images(path, folder):
    with sheaf.open(path) as pdf:
        for image in pdf.images:
            print(f"image of {image.width} x {image.height}")
            image.save(folder)  # image.as_pil() gives one of Pillow


def sign(path, signature):
    with sheaf.open(path) as pdf:
        seal = pdf.seal_signature(page=0, room=8192, field="Author")
        digest = seal.sha256()  # goes to whoever holds the key, who gives the signature
        seal.write(signature)
        print(f"{pdf.signature_count} signature, a digest of {len(digest)} bytes")


def encrypt(path, out):
    with sheaf.open(path) as pdf:
        pdf.save(out, encrypt=sheaf.Encryption(user="open sesame"))
    try:
        sheaf.open(out)
    except sheaf.Error as error:
        print("locked" if error.code == sheaf.Code.NEEDS_PASSWORD else error.message)


def repair(path, out):
    with sheaf.open(path) as pdf:
        for code, number, offset, action in pdf.repairs:
            print("healed:", code)
        pdf.save(out)


def copy_of(path, to, cut=0):
    """A copy of a document for a task to change; with `cut` bytes off its end."""
    shutil.copyfile(path, to)
    os.truncate(to, os.path.getsize(to) - cut)
    return to


def main(sample, picture, folder):
    os.makedirs(folder, exist_ok=True)
    at = lambda name: os.path.join(folder, name)
    open_and_read(sample)
    change(copy_of(sample, at("changed.pdf")))
    edit_pages(sample, at("changed.pdf"), at("pages.pdf"))
    edit_content(sample, at("content.pdf"))
    fill(copy_of(sample, at("filled.pdf")), at("flat.pdf"))
    attach(copy_of(sample, at("attached.pdf")), picture, folder)
    images(sample, folder)
    sign(copy_of(sample, at("signed.pdf")), b"\x30\x00")  # a real signature is made with the digest
    encrypt(sample, at("locked.pdf"))
    open_and_read(at("locked.pdf"))
    repair(copy_of(sample, at("cut.pdf"), 60), at("repaired.pdf"))


main(*sys.argv[1:])
