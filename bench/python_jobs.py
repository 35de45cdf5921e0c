#!/usr/bin/env python3
"""python_jobs.py MANUAL.pdf OBJECTS.pdf FOLDER: the same jobs with the module and with pikepdf, each in a process of its own;
the processor time of three runs (the least), and the most memory. FOLDER gets the files that the jobs write.

The interpreter's start and the import are part of each job. PYTHONPATH leads to the module."""
import glob
import os
import resource
import subprocess
import sys


def sheaf_open(manual, objects, folder):
    import sheaf
    with sheaf.open(manual) as pdf:
        return len(pdf.pages)


def pikepdf_open(manual, objects, folder):
    import pikepdf
    with pikepdf.open(manual) as pdf:
        return len(pdf.pages)


def sheaf_walk(manual, objects, folder):
    import sheaf
    with sheaf.open(objects) as pdf:
        return sum(1 for value in pdf.objects if isinstance(value, sheaf.Value) and "Type" in value)


def pikepdf_walk(manual, objects, folder):
    import pikepdf
    with pikepdf.open(objects) as pdf:
        return sum(1 for value in pdf.objects
                   if isinstance(value, (pikepdf.Dictionary, pikepdf.Stream)) and "/Type" in value)


def sheaf_images(manual, objects, folder):
    import sheaf
    count = 0
    for path in sorted(glob.glob(os.path.join(folder, "in", "*.pdf"))):
        with sheaf.open(path) as pdf:
            for image in pdf.images:
                image.save(folder)
                count += 1
    return count


def pikepdf_images(manual, objects, folder):
    import pikepdf
    count = 0
    for path in sorted(glob.glob(os.path.join(folder, "in", "*.pdf"))):
        with pikepdf.open(path) as pdf:
            for value in pdf.objects:
                if isinstance(value, pikepdf.Stream) and value.get("/Subtype") == "/Image":
                    pikepdf.PdfImage(value).extract_to(fileprefix=os.path.join(folder, f"p{value.objgen[0]}"))
                    count += 1
    return count


def sheaf_merge(manual, objects, folder):
    import sheaf
    merged = sheaf.new()
    for path in sorted(glob.glob(os.path.join(folder, "in", "*.pdf"))):
        with sheaf.open(path) as pdf:
            merged.pages.extend(pdf.pages)
    merged.save(os.path.join(folder, "sheaf-merged.pdf"))
    return len(merged.pages)


def pikepdf_merge(manual, objects, folder):
    import pikepdf
    merged = pikepdf.new()
    for path in sorted(glob.glob(os.path.join(folder, "in", "*.pdf"))):
        with pikepdf.open(path) as pdf:
            merged.pages.extend(pdf.pages)
    merged.save(os.path.join(folder, "pikepdf-merged.pdf"))
    return len(merged.pages)


def sheaf_rewrite(manual, objects, folder):
    import sheaf
    with sheaf.open(manual) as pdf:
        pdf.save(os.path.join(folder, "sheaf-rewritten.pdf"))
        return len(pdf.pages)


def pikepdf_rewrite(manual, objects, folder):
    import pikepdf
    with pikepdf.open(manual) as pdf:
        pdf.save(os.path.join(folder, "pikepdf-rewritten.pdf"))
        return len(pdf.pages)


def sheaf_content(manual, objects, folder):
    import sheaf
    count = 0
    with sheaf.open(manual) as pdf:
        for page in pdf.pages:
            operators = page.content()
            count += len(operators)
            page.set_content(operators)
        pdf.save(os.path.join(folder, "sheaf-content.pdf"))
    return count


def pikepdf_content(manual, objects, folder):
    import pikepdf
    count = 0
    with pikepdf.open(manual) as pdf:
        for page in pdf.pages:
            operators = pikepdf.parse_content_stream(page)
            count += len(operators)
            page.Contents = pdf.make_stream(pikepdf.unparse_content_stream(operators))
        pdf.save(os.path.join(folder, "pikepdf-content.pdf"))
    return count


JOBS = ("open", "walk", "images", "merge", "rewrite", "content")


def prepare(manual, folder):
    """100 files of single pages of the manual, and of pages with pictures."""
    import sheaf
    os.makedirs(os.path.join(folder, "in"), exist_ok=True)
    for i in range(100):
        path = os.path.join(folder, "in", f"{i:03}.pdf")
        if os.path.exists(path):
            continue
        with sheaf.open(manual) as pdf:
            part = sheaf.new()
            first = i * (len(pdf.pages) // 100)
            part.pages.extend(pdf.pages[first:first + 3])
            picture = bytes((x * y + i) & 0xFF for y in range(200) for x in range(3 * 300))
            image = part.add_stream(picture, {"Type": sheaf.Name("XObject"), "Subtype": sheaf.Name("Image"), "Width": 300,
                                              "Height": 200, "BitsPerComponent": 8, "ColorSpace": sheaf.Name("DeviceRGB")})
            name = part.pages[0].add_resource("XObject", image)
            part.pages[0].add_content([("q", []), ("cm", [300, 0, 0, 200, 0, 0]), ("Do", [sheaf.Name(name)]), ("Q", [])])
            part.save(path)


def measure(name, arguments):
    times, memory, result = [], 0, ""
    for _ in range(3):
        before = resource.getrusage(resource.RUSAGE_CHILDREN)
        done = subprocess.run([sys.executable, __file__, "--job", name, *arguments], capture_output=True, text=True, check=True)
        after = resource.getrusage(resource.RUSAGE_CHILDREN)
        times.append(after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime)
        result, memory = done.stdout.split()
    return min(times), int(memory) // 1024, result


def main(arguments):
    if arguments[0] == "--job":
        result = globals()[arguments[1]](*arguments[2:])
        print(result, resource.getrusage(resource.RUSAGE_SELF).ru_maxrss)
        return
    prepare(arguments[0], arguments[2])
    print("| job | sheaf | pikepdf | results |\n|---|---|---|---|")
    for job in JOBS:
        mine, my_memory, my_result = measure("sheaf_" + job, arguments)
        theirs, their_memory, their_result = measure("pikepdf_" + job, arguments)
        print(f"| {job} | {mine * 1000:.0f} ms, {my_memory} MiB | {theirs * 1000:.0f} ms, {their_memory} MiB | "
              f"{my_result}, {their_result} |", flush=True)


main(sys.argv[1:])
