#!/usr/bin/env python3
"""Counts what the tree holds at one revision, or at two side by side.

  scripts/count.py [REVISION [REVISION]] [-- PATH...]

Code lines hold more than blanks and a comment, in .h, .c and .cpp files; symbolic links are not
followed. Tests are tests/ and fuzz/, product is the rest. A function's length goes from the first
line of its head to the line of its closing brace. With paths (files or folders), also their code
lines alone: what a library took over, or what was rewritten.
"""
import os
import re
import statistics
import subprocess
import sys

TEXT = re.compile(r'R"(?P<d>[^()\\ ]*)\((?:.|\n)*?\)(?P=d)"|"(?:\\.|[^"\\\n])*"|(?<!\w)\'(?:\\.|[^\'\\\n])+\'')
COMMENT = re.compile(r"/\*(?:.|\n)*?\*/|//[^\n]*")
EITHER = re.compile(f"(?P<text>{TEXT.pattern})|{COMMENT.pattern}")
SCOPE = re.compile(r"^\s*(?:template\s*<.*>\s*)?(?:inline\s+)?(?:namespace|class|struct|union|extern)\b", re.S)


def git(*arguments):
    return subprocess.run(["git", *arguments], check=True, capture_output=True).stdout


def sources(revision):
    """Path and contents of each C and C++ file."""
    names = []
    for entry in git("ls-tree", "-rz", "--full-tree", revision).decode().split("\0"):
        head, _, path = entry.partition("\t")
        if re.search(r"\.(h|c|cpp)$", path) and not head.startswith("120000"):
            names.append(path)
    wanted = "".join(f"{revision}:{path}\n" for path in names)
    data = subprocess.run(["git", "cat-file", "--batch"], input=wanted.encode(), check=True,
                          capture_output=True).stdout
    at = 0
    for path in names:
        line_end = data.index(b"\n", at)
        size = int(data[at:line_end].split()[2])
        yield path, data[line_end + 1:line_end + 1 + size].decode()
        at = line_end + 1 + size + 1


def bare(text):
    """The text without comments; line ends stay, and string literals become x."""
    def keep(match):
        ends = "\n" * match.group().count("\n")
        return "x" + ends if match.group("text") else ends
    return EITHER.sub(keep, text)


def code_lines(text):
    # A raw string's lines are code, too: only comments go.
    without = EITHER.sub(lambda m: m.group() if m.group("text") else "\n" * m.group().count("\n"), text)
    return sum(1 for line in without.split("\n") if line.strip())


def function_lengths(text):
    """Braces at namespace and class scope that follow a parameter list open a function."""
    text = re.sub(r"^[ \t]*#(?:.*\\\n)*.*", "", bare(text), flags=re.M)
    lengths, open_scopes, head, line = [], [], 0, 1
    # What is inside a function or an initialiser is not looked at: `depth` counts its braces.
    depth, start, is_function = 0, 0, False
    for at, letter in enumerate(text):
        line += letter == "\n"
        if depth > 0:
            depth += (letter == "{") - (letter == "}")
            if depth == 0:
                if is_function:
                    lengths.append(line - start + 1)
                    head = at + 1
        elif letter == "{":
            before = text[head:at]
            if SCOPE.match(before) and ")" not in before.split("alignas")[0]:
                open_scopes.append(letter)
                head = at + 1
            else:
                depth = 1
                is_function = ")" in before and (before[-1:].isspace() or before[-1:] == ")")
                start = line - before.lstrip().count("\n")
        elif letter in ";}":
            head = at + 1
        elif letter == ":" and re.search(r"\b(public|private|protected)\s*$", text[head:at]):
            head = at + 1
    return lengths


def is_test(path):
    return path.startswith(("tests/", "fuzz/"))


def room(path):
    parts = path.split("/")
    if parts[0] in ("apps", "port", "platform", "view"):
        return "/".join(parts[:-1])
    return parts[0]


def count(revision, paths):
    files = dict(sources(revision))
    code = {path: code_lines(text) for path, text in files.items()}
    implementations = [text.count("\n") for path, text in files.items()
                       if path.endswith((".c", ".cpp")) and not is_test(path)]
    lengths = [length for path, text in files.items() if not is_test(path)
               for length in function_lengths(text)]
    all_lines = sum(text.count("\n") for text in files.values())
    total = sum(code.values())
    tests = sum(lines for path, lines in code.items() if is_test(path))
    figures = {
        "files": len(files),
        "lines": all_lines,
        "product files": sum(1 for path in files if not is_test(path)),
        "  of 20 lines or less": sum(1 for path, text in files.items()
                                     if not is_test(path) and text.count("\n") <= 20),
        "product code lines": total - tests,
        "test code lines": tests,
        "share of tests, % of code lines": round(100 * tests / total, 1),
        "share of tests, % of all lines": round(100 * sum(
            text.count("\n") for path, text in files.items() if is_test(path)) / all_lines, 1),
        "implementation files": len(implementations),
        "  their median of lines": statistics.median(implementations),
        "functions": len(lengths),
        "  the functions' median": statistics.median(lengths),
        "  longest": max(lengths),
        "public headers": sum(1 for path in files if path.startswith("include/")),
    }
    rooms = {}
    for path, lines in code.items():
        rooms[room(path)] = rooms.get(room(path), 0) + lines
    named = {path: sum(lines for name, lines in code.items()
                       if name == path or name.startswith(path.rstrip("/") + "/")) for path in paths}
    return figures, rooms, named


def table(title, columns):
    names = list(dict.fromkeys(name for column in columns for name in column))
    if not names:
        return
    print(f"\n{title}")
    for name in names:
        values = [column.get(name, 0) for column in columns]
        change = f"{values[1] - values[0]:+12g}" if len(values) == 2 else ""
        print(f"  {name:<40}" + "".join(f"{value:12,}" for value in values) + change)


def main():
    arguments = sys.argv[1:]
    split = arguments.index("--") if "--" in arguments else len(arguments)
    revisions, paths = arguments[:split] or ["HEAD"], arguments[split + 1:]
    if len(revisions) > 2 or any(revision.startswith("-") for revision in revisions):
        sys.exit(__doc__)
    os.chdir(os.path.join(os.path.dirname(os.path.abspath(__file__)), ".."))
    columns = [count(revision, paths) for revision in revisions]
    print(" " * 42 + "".join(f"{git('rev-parse', '--short', r).decode().strip():>12}" for r in revisions))
    table("the tree", [figures for figures, _, _ in columns])
    rooms = [dict(sorted(by_room.items())) for _, by_room, _ in columns]
    table("code lines by room", rooms)
    table("code lines of the paths", [named for _, _, named in columns])


if __name__ == "__main__":
    try:
        main()
    except subprocess.CalledProcessError as error:
        sys.exit(error.stderr.decode().strip())
