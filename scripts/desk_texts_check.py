"""A translation has the places for values, the mnemonic and the ellipsis of its text: desk_texts_check.py FILE.po"""

import re
import sys

PLACES = re.compile(r"\{[^{}]*\}")


def entries(path):
    """Yields (msgid, [msgid_plural], [msgstr, ...]) of each message."""
    for block in open(path, encoding="utf-8").read().split("\n\n"):
        texts, name = {}, None
        for line in block.splitlines():
            found = re.match(r'(msg\w+(?:\[\d\])?) "(.*)"$', line)
            if found:
                name = found[1]
                texts[name] = found[2]
            elif line.startswith('"') and name:
                texts[name] += line[1:-1]
        if texts.get("msgid"):
            yield texts


wrong = 0
for texts in entries(sys.argv[1]):
    text = texts["msgid"]
    for name in (n for n in texts if n.startswith("msgstr")):
        said = texts[name]
        faults = []
        # A form of one thing may leave out its number.
        one = name == "msgstr[0]" and not PLACES.search(said)
        if not one and sorted(PLACES.findall(said)) != sorted(PLACES.findall(texts.get("msgid_plural", text))):
            faults.append("other places for values")
        if ("_" in text) != ("_" in said):
            faults.append("a mnemonic too many or too few")
        if text.endswith("…") != said.endswith("…"):
            faults.append("an ellipsis too many or too few")
        for fault in faults:
            print(f"{sys.argv[1]}: {text!r}: {fault}", file=sys.stderr)
            wrong = 1
sys.exit(wrong)
