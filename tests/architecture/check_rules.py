"""check_rules.py SOURCE: who may include whom, and what no file may hold."""
import pathlib
import re
import subprocess
import sys

# Each place may include what it names, and itself; the first pattern that fits a file is its place.
PLACES = [
    ("main", r"src/main\.cpp", "platform logging dispatch state core"),
    ("dispatch", r"src/dispatch/", "platform logging records link state"),
    ("platform", r"src/platform/", ""),
    ("logging", r"src/logging/", "platform"),
    ("localisation", r"src/localisation/", "platform logging"),
    ("records", r"src/records/", "localisation"),
    ("link", r"src/service_link/", "platform logging records"),
    ("kit", r"src/window_kit/", "platform"),
    ("state", r"src/agent_core/(AppDelegate\.h|BundleOptions|ServiceLink"
              r"|SessionList|SessionMonitor|Settings(File|Rules|Texts)|StatusBarRules)",
     "platform logging localisation records link"),
    ("core", r"src/agent_core/", "platform logging localisation records link kit state windows chat"),
    ("windows", r"src/windows/", "platform logging localisation records link kit state chat"),
    ("chat", r"src/chat/", "platform logging localisation records link kit state"),
    ("simulator", r"simulator/", ""),
]
# Includes that no header may have: generated ones and the system's.
NOT_IN_HEADERS = re.compile(r'#include\s+["<](ui_|sys/|unistd|fcntl|poll|pthread|signal|xcb/|plist/|'
                            r'systemd/|security/|unicode/)')
# A window header knows no state, and nothing but the platform asks the system.
NOT_IN_WINDOW_HEADERS = re.compile(r'#include "agent_core/AppDelegate\.h"')
SYSTEM = re.compile(r'#include <(sys/(?!stat\.h|types\.h)|xcb/|plist/|systemd/|security/|spawn|pwd|'
                    r'grp|poll|QDBus|QtDBus)')
NOWHERE = [
    (re.compile(r"SIGNAL\(|SLOT\(|processEvents|\bsender\(\)"), r"^(src|simulator)/.*\.(cpp|h)$", "an old Qt habit"),
    (re.compile(r"\bon_\w+_clicked\b"), r"\.(cpp|h|ui)$", "a connection by name"),
    (re.compile(r"^(<<<<<<<|=======|>>>>>>>)"), r".", "a merge's remains"),
]
ALLOWED = {("src/platform/desktop/StatusItem.cpp", "an old Qt habit")}  # the bus's signals have no other way


def place(path):
    return next((name for name, pattern, _ in PLACES if re.match(pattern, path)), None)


def main(source):
    files = subprocess.run(["git", "ls-files"], cwd=source, capture_output=True, text=True,
                           check=True).stdout.split("\n")
    allowed = {name: set(text.split()) | {name} for name, _, text in PLACES}
    faults, looked_at = [], 0
    for path in filter(None, files):
        if not re.search(r"\.(cpp|h|ui|txt|py|sh|cmake|md)$", path):
            continue
        text = (pathlib.Path(source) / path).read_text(encoding="utf-8")
        if path.endswith("check_rules.py"):
            continue
        own = place(path)
        looked_at += own is not None
        for number, line in enumerate(text.split("\n"), 1):
            where = f"{path}:{number}"
            included = re.match(r'#include "([\w+/]+\.h)"', line)
            target = included and place("src/" + included.group(1))
            # A chat reads the first name of the status window's list, and reaches no further.
            if own == "chat" and included and included.group(1) == "windows/ConnectionStatus.h":
                continue
            if own and target and target not in allowed[own]:
                faults.append(f"{where}: {own} must not include {target}")
            if own and path.endswith(".h") and NOT_IN_HEADERS.search(line):
                faults.append(f"{where}: not in a header: {line}")
            if own in ("windows", "chat") and path.endswith(".h") and NOT_IN_WINDOW_HEADERS.search(line):
                faults.append(f"{where}: a window's header must not know the state")
            if own not in (None, "platform", "logging", "main", "simulator") and SYSTEM.search(line):
                faults.append(f"{where}: only the platform asks the system")
            for pattern, kind, what in NOWHERE:
                if re.search(kind, path) and pattern.search(line) and (path, what) not in ALLOWED:
                    faults.append(f"{where}: {what}")
    print("\n".join(faults) or f"{looked_at} files keep the rules")
    return 1 if faults or looked_at == 0 else 0


sys.exit(main(sys.argv[1]))
