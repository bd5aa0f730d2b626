#!/usr/bin/env python3
"""What programs that link libconfig rely on: its symbols, private ones aside, and the slots of its
virtual functions.

listing.py LIBRARY COMPILER            writes the listing of a libconfig.so and of libconfig.h
listing.py --compare RECORDED LISTING  fails when a symbol was lost or a slot has moved
"""

import os
import re
import subprocess
import sys
import tempfile

root = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))


def run(*command, text=None):
    return subprocess.run(command, input=text, stdout=subprocess.PIPE, text=True, check=True).stdout


def demangle(names):
    ordered = sorted(names)
    lines = run("c++filt", text="\n".join(ordered) + "\n").splitlines()
    return {name: shorten(line) for name, line in zip(ordered, lines)}


def shorten(name):
    """A demangled name without what the C++ library's names add to it."""
    name = name.replace("[abi:cxx11]", "").replace("std::__cxx11::", "std::")
    return name.replace("std::basic_string<char, std::char_traits<char>, std::allocator<char> >",
                        "std::string")


def exported(library):
    names = set()
    for line in run("readelf", "-W", "--dyn-syms", library).splitlines():
        words = line.split()
        if len(words) == 8 and words[0].rstrip(":").isdigit() and words[6] != "UND" and words[7][0] != ".":
            names.add(words[7].split("@")[0])
    return set(demangle(names).values())


def public_functions(compiler):
    """(mangled name, slot or None, whether private) of every member function that the public headers
    declare. The debugging information tells virtual functions apart even where the library has one
    body for several of them."""
    with tempfile.TemporaryDirectory() as folder:
        obj = os.path.join(folder, "public.o")
        run(compiler, "-std=c++17", "-g", "-fno-eliminate-unused-debug-types",
            "-femit-class-debug-always", "-I", root, "-c", "-o", obj, "-x", "c++", "-",
            text='#include "libconfig/libconfig.h"\n')
        dump = run("readelf", "-W", "--debug-dump=info", obj)
    tags = {}  # of the entry and of those around it, by depth
    name = slot = access = None
    depth = 0
    for line in dump.splitlines():
        entry = re.match(r" <(\d+)><[0-9a-f]+>: Abbrev Number: \d+ ?(?:\(DW_TAG_(\w+)\))?", line)
        if entry:
            if name is not None and tags.get(depth - 1) in ("class_type", "structure_type"):
                default = "private" if tags[depth - 1] == "class_type" else "public"
                yield name, slot, (access or default) == "private"
            name = slot = access = None
            depth = int(entry[1])
            tags[depth] = entry[2]
        elif "DW_AT_linkage_name" in line:
            name = line.rsplit(" ", 1)[1]
        elif "DW_AT_vtable_elem_location" in line:
            slot = int(re.search(r"\(DW_OP_constu: (\d+)\)", line)[1])
        elif "DW_AT_accessibility" in line:
            access = re.search(r"\((public|protected|private)\)", line)[1]


def listing(library, compiler):
    functions = set(public_functions(compiler))
    names = demangle({name for name, _, _ in functions})
    hidden = {names[name] for name, _, private in functions if private}
    lines = ["symbols"] + ["  " + name for name in sorted(exported(library) - hidden)]
    slots = {(slot, name) for name, slot, _ in functions if slot is not None}
    classes = {}
    for slot, name in slots:
        full = names[name]
        owner = full[:full.index("(")].rpartition("::")[0]
        if not owner.startswith(("std::", "__gnu_cxx::", "boost::")):
            classes.setdefault(owner, []).append((slot, full[len(owner) + 2:]))
    for owner in sorted(classes):
        lines += ["", owner] + [f"  {slot:3} {name}" for slot, name in sorted(classes[owner])]
    return "\n".join(lines) + "\n"


def entries(path):
    found = []
    for block in open(path, encoding="utf-8").read().split("\n\n"):
        head, *rest = block.strip("\n").splitlines()
        found += [f"{head}: {' '.join(line.split())}" for line in rest]
    return found


def compare(recorded_path, listing_path):
    recorded, now = entries(recorded_path), entries(listing_path)
    lost = sorted(set(recorded) - set(now))
    new = sorted(set(now) - set(recorded))
    for line in new:
        print("new   " + line)
    for line in lost:
        print("lost  " + line)
    if lost:
        print(f"{recorded_path}: programs that were linked with this library would break. Put back what "
              "is lost; for a new SOVERSION only, run ./dev abi.", file=sys.stderr)
        return 1
    if new:
        print(f"{recorded_path}: nothing is lost, {len(new)} are new; ./dev abi records them.")
    return 0


if __name__ == "__main__":
    if len(sys.argv) == 4 and sys.argv[1] == "--compare":
        sys.exit(compare(sys.argv[2], sys.argv[3]))
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    sys.stdout.write(listing(sys.argv[1], sys.argv[2]))
