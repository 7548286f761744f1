#!/usr/bin/python3
"""Assembles the sample suite that suite.toml describes.

    assemble.py --tool BUILT_TOOL --draw-icon DRAW_ICON SUITE_FOLDER

What is there already and right is left alone, so running it twice changes nothing. Below
Applications/ everything that the description does not name is removed; Library/ keeps what the
programs wrote there.
"""

import argparse
import os
import pathlib
import plistlib
import shutil
import subprocess
import tempfile
import tomllib

HERE = pathlib.Path(__file__).resolve().parent
DAMAGED = b"bplist00 this used to be a property list\n\xff\xfe\x00"
STAMP = ".assembled"


def place(path, contents, mode=0o644):
    """Makes the file what it should be. A running tool keeps the file that it was started from."""
    if path.is_file() and not path.is_symlink() and path.read_bytes() == contents:
        path.chmod(mode)
        return
    path.parent.mkdir(parents=True, exist_ok=True)
    descriptor, name = tempfile.mkstemp(dir=path.parent, prefix=".new-")
    with os.fdopen(descriptor, "wb") as file:
        file.write(contents)
    os.chmod(name, mode)
    os.replace(name, path)


def prune(folder, wanted):
    """Removes what is below `folder` and not in `wanted`, folders that became empty included."""
    for entry in sorted(folder.iterdir()):
        if entry.is_dir() and not entry.is_symlink():
            if any(entry in path.parents for path in wanted):
                prune(entry, wanted)
            else:
                shutil.rmtree(entry)
        elif entry not in wanted:
            entry.unlink()


def icon_bytes(draw_icon, icon, palette):
    top, bottom = palette[icon["colour"]]
    with tempfile.TemporaryDirectory() as folder:
        path = pathlib.Path(folder, icon["file"])
        subprocess.run(
            [draw_icon, "--letter", icon["letter"], "--top", top, "--bottom", bottom, path], check=True)
        return path.read_bytes()


def info_dictionary(bundle, identifier, executable):
    info = {
        "CFBundleExecutable": executable,
        "CFBundleIdentifier": identifier,
        "CFBundleName": bundle["name"],
        "CFBundlePackageType": "APPL",
        "CFBundleShortVersionString": bundle.get("version", "1.0"),
        "CFBundleVersion": bundle.get("version", "1.0"),
    }
    if "icon" in bundle:
        info["CFBundleIconFile"] = bundle["icon"]["file"]
    return info


def bundle_files(bundle, palette, tool, draw_icon):
    """The bundle's files: path inside Contents -> (bytes, mode)."""
    identifier = bundle.get("identifier", "com.vantorel." + bundle["name"].split()[0])
    executable = bundle.get("executable", identifier.rpartition(".")[2])
    binary = bundle.get("format") == "binary"

    def plist(dictionary):
        return plistlib.dumps(dictionary, fmt=plistlib.FMT_BINARY if binary else plistlib.FMT_XML), 0o644

    info = info_dictionary(bundle, identifier, executable)
    files = {
        "Info.plist": (DAMAGED, 0o644) if bundle.get("damaged") else plist(info),
        f"MacOS/{executable}": (tool, 0o755),
    }
    for key, path in (("descriptor", "Resources/VTApp.plist"), ("contents_descriptor", "VTApp.plist"),
                      ("updates", "VTUpdates.plist")):
        if key in bundle:
            files[path] = plist(bundle[key])
    if "icon" in bundle:
        files["Resources/" + bundle["icon"]["file"]] = icon_bytes(draw_icon, bundle["icon"], palette), 0o644
    return files


def manual(title, lines):
    """A PDF of one page in the reader's own Helvetica."""
    def show(font, size, y, text):
        escaped = text.replace("\\", r"\\").replace("(", r"\(").replace(")", r"\)")
        return f"BT /{font} {size} Tf 72 {y} Td ({escaped}) Tj ET\n"

    page = show("Bold", 24, 742, title)
    page += "".join(show("Text", 12, 700 - 20 * number, line) for number, line in enumerate(lines))
    font = "<< /Type /Font /Subtype /Type1 /BaseFont /%s >>"
    objects = [
        "<< /Type /Catalog /Pages 2 0 R >>",
        "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
        "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842] /Contents 4 0 R"
        " /Resources << /Font << /Bold 5 0 R /Text 6 0 R >> >> >>",
        f"<< /Length {len(page)} >>\nstream\n{page}endstream",
        font % "Helvetica-Bold",
        font % "Helvetica",
    ]
    pdf = "%PDF-1.4\n"
    offsets = []
    for number, text in enumerate(objects, start=1):
        offsets.append(len(pdf))
        pdf += f"{number} 0 obj\n{text}\nendobj\n"
    table = "".join(f"{offset:010} 00000 n \n" for offset in offsets)
    size = len(objects) + 1
    pdf += (f"xref\n0 {size}\n0000000000 65535 f \n{table}"
            f"trailer\n<< /Size {size} /Root 1 0 R >>\nstartxref\n{len(pdf)}\n%%EOF\n")
    return pdf.encode("ascii")


def assemble(root, tool, draw_icon):
    suite = tomllib.loads((HERE / "suite.toml").read_text(encoding="utf-8"))
    for folder in suite["folders"]:
        (root / folder).mkdir(parents=True, exist_ok=True)

    applications = root / "Applications"
    wanted = set()
    for bundle in suite["bundle"]:
        contents = applications / bundle["path"] / "Contents"
        for name, (data, mode) in bundle_files(bundle, suite["palette"], tool, draw_icon).items():
            place(contents / name, data, mode)
            wanted.add(contents / name)
    prune(applications, wanted)

    for entry in suite["manual"]:
        place(root / "Library" / entry["path"], manual(entry["title"], entry["text"]))
    library = HERE / "library"
    for path in sorted(library.rglob("*")):
        if path.is_file():
            place(root / "Library" / path.relative_to(library), path.read_bytes(), path.stat().st_mode & 0o777)
    (root / STAMP).touch()


def main():
    parser = argparse.ArgumentParser(description="Assembles the sample suite.")
    parser.add_argument("--tool", type=pathlib.Path, required=True, help="the program in every bundle")
    parser.add_argument("--draw-icon", type=pathlib.Path, required=True, help="the program that draws icons")
    parser.add_argument("folder", type=pathlib.Path, help="the suite's root, made when missing")
    arguments = parser.parse_args()
    assemble(arguments.folder, arguments.tool.read_bytes(), arguments.draw_icon)


if __name__ == "__main__":
    main()
