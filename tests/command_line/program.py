"""The program in a directory of its own, as ./commands and ./doctor run it, and what it may say."""
import json
import os
import pathlib
import shutil
import subprocess
import tempfile

SUPPORT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "support")
BUNDLE = os.environ["VANTORY_BUILD"] + "/vantoryAgent.app"
IS_ROOT = os.geteuid() == 0
TEXTS = json.loads(pathlib.Path(f"{BUNDLE}/Resources/commands.json").read_text(encoding="utf-8"))


def text(key, *values, language="En"):
    line = TEXTS[key][language]
    for place, value in enumerate(values, 1):
        line = line.replace(f"%{place}", str(value))
    return line


class Program(tempfile.TemporaryDirectory):
    def __init__(self, starter=None):
        super().__init__(prefix="vantory-Grüß's-")
        self.starter = [starter] if starter else []
        self.root = self.name
        self.bundle = shutil.copytree(BUNDLE, f"{self.root}/vantoryAgent.app")
        self.preferences = f"{self.root}/Library/Preferences/vantoryAgent"
        self.settings = f"{self.preferences}/com.halvern.vantory.agent.settings.plist"
        self.logs = f"{self.root}/var/lib/Halvern/vantoryAgent/logs"
        for folder, mode in ((self.root, 0o755), (self.preferences, 0o755), (self.logs, 0o1777)):
            os.makedirs(folder, exist_ok=True)
            os.chmod(folder, mode)

        subprocess.run([f"{SUPPORT}/trust_this_account", self.root], check=True)

    def __enter__(self):
        return self

    def start(self, *arguments, environment=None, **options):
        own = {"VANTORY_ROOT": self.root, "LANGUAGE": "en"}
        return subprocess.Popen([*self.starter, f"{self.bundle}/vantoryAgent", *map(str, arguments)], text=True,
                                env=os.environ | own | (environment or {}), **options)

    def log(self, name):
        return pathlib.Path(f"{self.logs}/vantoryAgent.{name}").read_text(encoding="utf-8")

    def run(self, *arguments, **options):
        """The exit status, and the lines of standard output and standard error."""
        process = self.start(*arguments, **{"stdout": subprocess.PIPE, "stderr": subprocess.PIPE} | options)
        output, errors = process.communicate(timeout=30)
        return process.returncode, (output or "").splitlines(), errors.splitlines()
