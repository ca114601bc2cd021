#!/usr/bin/env python3
"""What Doxygen reads in place of a public header or a page: docs_filter.py FILE.

Headers: a comment that stands before a declaration, or behind one on its line, becomes Doxygen's;
the first one is the file's. Pages: links to other pages and to headers become references, which
Doxygen checks; links to anything else in the repository become their text.
"""
import os
import re
import sys

LINK = re.compile(r"(?<!!)\[((?:[^\[\]]|\[[^\]]*\])*)\]\(([^)\s]+)\)")
FENCE = re.compile(r"^\s*(```|~~~)")
# What Doxygen would take for markup of its own, outside `code`.
MARKUP = re.compile(r"([\\@<>#%])")


def slug(heading):
    """The anchor that a heading has where Markdown is shown on the web."""
    text = re.sub(LINK, r"\1", heading).strip().lower()
    return re.sub(r"[^\w\- ]", "", text).replace(" ", "-")


def page(path):
    """The name of a page within the site: "docs/tools.md" is "tools", "README.md" "readme"."""
    path = os.path.normpath(path)
    if path == "docs/README.md":
        return "index"
    folder, name = os.path.split(path)
    return folder if folder not in ("", "docs") else name[:-3].lower()


def chunks(text):
    """The text in pieces, each with whether it is prose: what stands between fences is not."""
    piece, fenced = "", False
    for line in text.splitlines(keepends=True):
        if FENCE.match(line) is None:
            piece += line
            continue
        yield (piece + line, False) if fenced else (piece, True)
        piece, fenced = "" if fenced else line, not fenced
    yield piece, not fenced


def escaped(text):
    """Comment text with Doxygen's own marks taken as they stand."""
    parts = re.split(r"(`[^`]*`)", text)
    return "".join(p if p.startswith("`") else MARKUP.sub(r"\\\1", p) for p in parts)


def reference(here, match):
    text, target = re.sub(r"\s+", " ", match[1]), match[2]
    if re.match(r"[a-z]+:", target):
        return match.group(0)
    target, _, anchor = target.partition("#")
    path = os.path.normpath(os.path.join(os.path.dirname(here), target)) if target else here
    if path.endswith(".md"):
        return f'@ref {page(path)}{"_" + anchor if anchor else ""} "{text.replace("`", "")}"'
    if path.startswith("include/") and path.endswith(".h"):
        return f'@ref {path[len("include/"):]} "{text.replace("`", "")}"'
    return text


def heading(name, match):
    """With its label; behind a page's own, the table of its contents."""
    if match[1] != "#":
        return f"{match[0]} {{#{name}_{slug(match[2])}}}"
    if name == "index":
        return match[0]
    title = "Read me" if name == "readme" else match[2]
    return f"# {title} {{#{name}}}\n\n[TOC]\n"


def filtered_page(path, text):
    out = ""
    for piece, prose in chunks(text):
        if prose:
            piece = LINK.sub(lambda match: reference(path, match), piece)
            piece = re.sub(r"^(#+) (.*)$", lambda match: heading(page(path), match), piece, flags=re.M)
        out += piece
    return out.splitlines()


def comment_block(lines, first):
    """The index behind the comment lines that begin at `first`."""
    end = first
    while end < len(lines) and re.match(r"\s*//", lines[end]):
        end += 1
    return end


def documented(block):
    """A comment's lines as Doxygen's: what is indented further is code."""
    out, code = [], False
    for line in block:
        indent, text = re.match(r"(\s*)// ?(.*)", line).groups()
        if text and text.startswith("  ") != code:
            code = not code
            out.append(f"{indent}/// {'@code' if code else '@endcode'}")
        out.append(f"{indent}/// {text[2:] if code else escaped(text)}")
    return out + (["/// @endcode"] if code else [])


def opening(block, text):
    """The comment that a header begins with: the file's, and that of the class it names first."""
    name = re.match(r"// (\w+)\b.*?:", block[0])
    comment = documented(block)
    out = ["/// @file"] + comment
    if name and re.search(rf"^class (QUORVID_API )?{name[1]}\b[^;]*$", text, re.MULTILINE):
        out += ["", f"/// @class quorvid::{name[1]}"] + comment
    return out


def filtered_header(text):
    lines = text.splitlines()
    out, at = [], 0
    trailing = False  # the line before ended with a comment
    while at < len(lines):
        line = lines[at]
        if not re.match(r"\s*//", line):
            behind = re.match(r"(.*\S)\s+// (?!NOLINT|namespace)(.*)$", line)
            trailing = behind is not None
            out.append(f"{behind[1]}  ///< {escaped(behind[2])}" if behind else line)
            at += 1
            continue
        if trailing and re.match(r"\s{8,}// ", line):
            out.append(re.sub(r"// (.*)", lambda m: f"///< {escaped(m[1])}", line))
            at += 1
            continue
        end = comment_block(lines, at)
        block = lines[at:end]
        if at == 0:
            out += opening(block, text)
        elif end < len(lines) and lines[end].strip() and "// NOLINT" not in block[0]:
            out += documented(block)
        else:
            out += block
        at, trailing = end, False
    return out


def main():
    path = os.path.relpath(sys.argv[1])
    with open(path, encoding="utf-8") as file:
        text = file.read()
    out = filtered_page(path, text) if path.endswith(".md") else filtered_header(text)
    print("\n".join(out))


if __name__ == "__main__":
    main()
