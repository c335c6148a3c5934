"""What the rows of ./faults share: the agent, linked to the simulator's end of the link, and its figures."""
import json
import os
import re
import signal
import subprocess
import sys
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))
SUPPORT = os.path.join(HERE, "..", "support")
sys.path += [SUPPORT, os.path.join(HERE, "../../simulator")]
from agent_link import Link  # noqa: E402

PATIENCE = 15.0  # seconds; a call of the bus hangs for 25
VALID = {"accountIsValid": True, "gateway": "gw", "sessionId": "1"}


def until(what, attempt, seconds=PATIENCE):
    """Returns what the attempt returns as soon as that is true."""
    end = time.monotonic() + seconds
    while not (result := attempt()):
        assert time.monotonic() < end, f"{what}: not within {seconds} s"
        time.sleep(0.01)
    return result


def session(number, name="Ann"):
    return {"session": number, "deviceName": "d", "controlName": name}


def message(text, timeout=0):
    return {"from": "Ann", "text": text, "timeout": timeout, "icon": 1}


class Agent:
    """The agent, in a directory of its own, and the service that it is linked to."""

    all = []
    number = 1000  # of the last command

    def __init__(self, environment=None, root=None, receive_buffer=None):
        self.root = root or tempfile.mkdtemp(prefix="vantory-faults-")
        self.logs = f"{self.root}/var/lib/Halvern/vantoryAgent/logs"
        for folder in (self.logs, f"{self.root}/Library/Preferences/vantoryAgent"):
            os.makedirs(folder, exist_ok=True)
        subprocess.run([f"{SUPPORT}/trust_this_account", self.root], check=True)
        self.link = Link(gap=0.001, receive_buffer=receive_buffer)
        self.process = subprocess.Popen(
            [f"{os.environ['VANTORY_BUILD']}/vantoryAgent.app/vantoryAgent", f"port={self.link.port}"],
            start_new_session=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
            env={**os.environ, "VANTORY_ROOT": self.root, "LANGUAGE": "en", **(environment or {})})
        Agent.all.append(self)
        assert self.link.pump(PATIENCE, lambda: self.link.socket), "it does not link"

    def send(self, command, payload=None):
        """One message, when the agent has read the one before."""
        text = command if payload is None else command + json.dumps(
            payload, ensure_ascii=False, separators=(",", ":"))
        assert self.link.send(text.encode(), 60) and self.link.socket, f"{text[:40]} is not read"

    def expect(self, start, seconds=PATIENCE):
        """Takes messages up to one that begins so; they are returned."""
        taken = []
        while not taken or not taken[-1].startswith(b"#####" + start.encode()):
            assert self.link.pump(seconds, lambda: self.link.inbox), f"no {start} after {taken[-5:]}"
            taken.append(self.link.inbox.pop(0))
        return taken

    def command(self, line, seconds=PATIENCE):
        """Runs a command; its status, which the main thread has no part in."""
        Agent.number += 1
        self.send("execute_command=", {"session": Agent.number, "exec": line})
        answer = self.expect(f'result_command={{ "session" : {Agent.number}, "status" : ', seconds)[-1]
        return int(answer.split()[-2])

    def ask(self, seconds=PATIENCE):
        """How many seconds the main thread takes to do all that was sent, and answer."""
        begin = time.monotonic()
        self.send("disconnect_all_sessions")
        assert self.command("true", seconds) == 0
        return time.monotonic() - begin

    def watch(self, seconds):
        """Asks again and again; the longest time that an answer took."""
        end = time.monotonic() + seconds
        longest = self.ask()
        while time.monotonic() < end:
            longest = max(longest, self.ask())
        return longest

    def terminate(self):
        """An orderly end."""
        self.process.send_signal(signal.SIGTERM)
        self.expect("request=restart")
        assert self.process.wait(PATIENCE) == 0

    def figures(self):
        """What the process holds."""
        def field(file, key):
            with open(f"/proc/{self.process.pid}/{file}") as text:
                return int(re.search(rf"^{key}:\s+(\d+)", text.read(), re.M).group(1))

        import ui  # only where there is a display
        windows = until("the windows", ui.windows)  # it finds none where one goes meanwhile
        return {"dirty KiB": field("smaps_rollup", "Private_Dirty"), "threads": field("status", "Threads"),
                "descriptors": len(os.listdir(f"/proc/{self.process.pid}/fd")), "windows": len(windows)}

    def use(self):
        """What the service and the user do goes on, whatever is away; and the agent ends in order."""
        self.send("status=", {**VALID, "sessions": []})
        self.send("connected_session=", session(7))
        self.send("receive_message=", message("Hello", 1))
        self.send("request_chat=4,7")
        self.send("receive_chat=", {"context": 4, "from": "Ann", "text": "Hello"})
        self.send("user_acknowledgement=7;srv;Ann")
        self.send("close_acknowledgement")
        self.send('execute_command={"session":9,"exec":"true"}')
        before = self.expect('result_command={ "session" : 9,')
        assert b"accept_connection" not in b"".join(before), "the screen counts as locked"
        main = self.watch(2)
        self.terminate()
        return {"main s": main}
