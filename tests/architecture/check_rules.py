#!/usr/bin/python3
"""check_rules.py SOURCE: who may include whom, what no file may hold, and that each text is whole."""
import json
import pathlib
import re
import subprocess
import sys

# From the ground up: each folder may use what it names, with the folders below it, and itself.
FOLDERS = {
    "src/platform/files": "",
    "src/platform/threads": "platform/files",
    "src/platform/bus": "platform/files",
    "src/platform/processes": "platform/files platform/threads",
    "src/platform/network": "platform/files platform/threads",
    "src/platform/accounts": "platform/files platform/threads platform/bus platform/processes",
    "src/platform/display": "platform/files platform/threads",
    "src/platform/desktop": "platform/files platform/threads platform/bus platform/display",
    "src/logging": "platform",
    "src/localisation": "platform logging",
    "src/records": "localisation",
    "src/service_link": "platform logging records",
    "src/settings": "platform logging localisation records",
    "src/window_kit": "platform localisation",
    "src/command_line": "platform localisation records settings",
    "src/windows": "platform logging localisation records window_kit",
    "src/chat": "platform logging localisation records window_kit",
    "src/agent_state": "platform/files platform/threads localisation records service_link settings",
    "src/agent_core": "platform logging localisation records service_link settings window_kit windows"
                      " chat agent_state",
    "src/dispatch": "platform logging localisation records service_link agent_state",
    "src/keeper": "platform settings",
    "src/main.cpp": "platform logging command_line agent_state agent_core dispatch",
}
# Files, what no line of theirs may hold, and why.
LINES = [
    (r"^src/(?!platform/)", r"#include <((?!unicode/).*\.h|csignal|Q(t?)DBus.*)>",
     "only the platform asks the system"),
    (r"\.h$", r'#include (<.*\.h>|"ui_)|^using namespace', "not in a header"),
    (r"^src/", r"\bSIGNAL\(|\bprocessEvents\(|\bsender\(\)|\bon_\w+_\w+\(",
     "an old Qt habit"),
]
LONGEST = 400


def folder(path):
    return max((name for name in FOLDERS if (path + "/").startswith(name + "/")),
               key=len, default=None)


def may_use(user, used):
    return used == user or any((used + "/").startswith(f"src/{name}/")
                               for name in FOLDERS[user].split())


def uses(text):
    """What the file includes: pairs of the name in the text and its folder."""
    names = re.findall(r'^#include "([^"]+/[^"]+)"', text, re.M)
    return [(name, folder("src/" + name) or folder(name)) for name in names]


def faults_of(path, text):
    own = folder(path)
    if re.match(r"src/.*\.(cpp|h|ui)$", path) and not own:
        yield f"{path}: in none of the folders"
    if text.count("\n") > LONGEST:
        yield f"{path}: more than {LONGEST} lines"
    for name, used in uses(text) if own else []:
        if not used or not may_use(own, used):
            yield f"{path}: {own} must not use {name}"
    for files, line, why in LINES:
        if re.search(files, path):
            yield from (f"{path}: {why}: {match.group()}"
                        for match in re.finditer(line, text, re.M))


def faults_of_texts(source):
    """Those for a terminal are all used, in all languages, with the same values in each."""
    texts, labels = (json.loads((source / f"resources/{name}.json").read_text(encoding="utf-8"))
                     for name in ("commands", "translate"))
    code = "".join(path.read_text(encoding="utf-8") for path in (source / "src/command_line").glob("*.cpp"))
    for key in set(re.findall(r'"([a-z]+\.[a-zA-Z]+)"_L1', code)) ^ set(texts):
        yield f"{key}: is used and missing, or there and not used"
    for key, forms in texts.items():
        values = {tuple(sorted(re.findall(r"%\d", form))) for form in forms.values()}
        if set(forms) != set(labels) or "" in forms.values() or len(values) > 1:
            yield f"{key}: a language is missing, or has other values"


def main(source):
    listed = subprocess.run(["git", "ls-files", "src", "simulator", "tests", "bench",
                             "fuzz/*.cpp", "fuzz/*.h"], cwd=source,
                            capture_output=True, text=True, check=True).stdout.splitlines()
    faults = [*faults_of_texts(source)]
    for path in listed:
        faults += faults_of(path, (source / path).read_text(encoding="utf-8"))
    print("\n".join(faults) or f"{len(listed)} files keep the rules")
    return 1 if faults or not listed else 0


sys.exit(main(pathlib.Path(sys.argv[1])))
