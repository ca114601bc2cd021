#!/usr/bin/env python3
"""Fails where a page or a public header speaks of what isn't there: docs_check.py FILE...

Pages (.md): a relative link names a file or folder that is there; behind # stands a heading of it.
Headers (.h): a function() that a comment names is declared, and "name: ..." at the beginning of a
function's comment line names one of its parameters. Links to the web are left alone.
docs/architecture.md besides: its table names every room that a room includes.
"""
import glob
import os
import re
import sys

from docs_filter import LINK, chunks, comment_block, slug

ANY_LINK = re.compile(LINK.pattern.removeprefix("(?<!!)"))
OF_THE_SYSTEM = {"abort", "dlclose"}


def read(path):
    with open(path, encoding="utf-8") as file:
        return file.read()


def anchors(path):
    prose = "".join(piece for piece, is_prose in chunks(read(path)) if is_prose)
    return {slug(title) for title in re.findall(r"^#+ (.*)", prose, re.MULTILINE)}


def wrong_in_page(page):
    number = 1
    for piece, prose in chunks(read(page)):
        for link in ANY_LINK.finditer(piece) if prose else []:
            target, _, anchor = link[2].partition("#")
            path = os.path.join(os.path.dirname(page), target) if target else page
            where = f"{page}:{number + piece.count(chr(10), 0, link.end())}"
            if re.match(r"[a-z]+:", target):
                continue
            if not os.path.exists(path):
                yield f"{where}: {target} is not there"
            elif anchor and anchor not in anchors(path):
                yield f"{where}: {target or page} has no heading #{anchor}"
        number += piece.count("\n")


def declared():
    """What the public headers, and those a port answers, declare."""
    headers = glob.glob("include/quorvid/**/*.h", recursive=True) + glob.glob("port/*.h")
    code = "".join(re.sub(r"//.*", "", read(header)) for header in headers)
    return set(re.findall(r"(\w+)\s*\(", code)) | OF_THE_SYSTEM


def wrong_in_header(header, functions):
    lines = read(header).splitlines()
    for number, line in enumerate(lines, 1):
        comment = re.search(r"//(?!  )(.*)", line)  # further in stands code
        for name in re.findall(r"(\w+)\(\)", comment[1]) if comment else []:
            if name not in functions:
                yield f"{header}:{number}: {name}() is not declared"
    at = 0
    while at < len(lines):
        end = comment_block(lines, at)
        declaration = re.split(r"[;{]", "\n".join(lines[end:end + 12]))[0]
        for number in range(at, end):
            named = re.match(r"\s*// ([a-z]\w*(?:, \w+)*): ", lines[number])
            for name in named[1].split(", ") if named and "(" in declaration else []:
                if name not in functions and not re.search(rf"\b{name}\b", declaration):
                    yield f"{header}:{number + 1}: {name} is no parameter"
        at = max(end, at + 1)


def rooms_in_table(page):
    """{room: the rooms that it may include}, of the rows `a/`, `b/` | `c/`, ... |"""
    table = {}
    for line in read(page).splitlines():
        cells = [re.findall(r"`([\w/]+)/`", cell) for cell in line.split("|")[1:3]]
        if line.startswith("| `") and cells[0]:
            table.update({room: set(cells[1]) for room in cells[0]})
    return table


def wrong_rooms(page):
    table = rooms_in_table(page)

    def room_of(path):
        path = re.sub(r"^(include/)?quorvid/quorvid\.h$", "capi/", path)
        path = re.sub(r"^(include/)?quorvid/", "", path)
        return max((r for r in table if path.startswith(r + "/")), key=len, default=None)

    public_alone = {"apps", "gstreamer"}  # these may include every public header
    for source in sorted(glob.glob("**/*.h", recursive=True) + glob.glob("**/*.cpp", recursive=True)):
        room = room_of(source)
        for name in re.findall(r'^#include "([^"]+)"', read(source), re.MULTILINE) if room else []:
            other = room_of(name)
            free = room in public_alone and (name.startswith("quorvid/") or other in public_alone)
            if other not in (None, room) and not free and other not in table[room]:
                yield f"{source}: {room}/ includes {name}, which {page} doesn't say"


def main():
    functions = declared()
    wrong = []
    for path in sys.argv[1:]:
        wrong += wrong_in_page(path) if path.endswith(".md") else wrong_in_header(path, functions)
        wrong += wrong_rooms(path) if path == "docs/architecture.md" else []
    print("".join(line + "\n" for line in wrong), end="")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
