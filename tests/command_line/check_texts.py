#!/usr/bin/python3
"""check_texts.py SOURCE: the program's texts for a terminal are whole, and all of them are used."""
import json
import pathlib
import re
import sys

source = pathlib.Path(sys.argv[1])
texts, labels = (json.loads((source / f"resources/{name}.json").read_text(encoding="utf-8"))
                 for name in ("commands", "translate"))
code = "".join(path.read_text(encoding="utf-8")
               for path in (source / "src/command_line").glob("*.cpp"))
used = set(re.findall(r'"([a-z]+\.[a-zA-Z]+)"_L1', code))
faults = [f"{key}: is used and missing, or there and not used" for key in used ^ set(texts)]
for key, forms in texts.items():
    if set(forms) != set(labels) or not all(forms.values()):
        faults.append(f"{key}: lacks a language, or has one too many")
    if len({tuple(sorted(re.findall(r"%\d", form))) for form in forms.values()}) > 1:
        faults.append(f"{key}: its languages do not have the same values")
print("\n".join(faults) or f"{len(texts)} texts are whole")
sys.exit(1 if faults or not used else 0)
