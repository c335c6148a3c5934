"""What the rows of ./faults share: a service, the agent linked to it, and its figures."""
import importlib.machinery
import importlib.util
import json
import os
import re
import resource
import shutil
import signal
import socket
import struct
import subprocess
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))
SUPPORT = os.path.join(HERE, "..", "support")
MARKER = b"#####"
PATIENCE = 5.0  # seconds; on a machine with nothing else to do no answer takes a tenth of it
VALID = {"accountIsValid": True, "gateway": "gw", "sessionId": "1"}


def until(what, attempt, seconds=PATIENCE):
    """Returns what the attempt returns as soon as that is true."""
    end = time.monotonic() + seconds
    while not (result := attempt()):
        assert time.monotonic() < end, f"{what}: not within {seconds} s"
        time.sleep(0.01)
    return result


def ui():
    """tests/support/ui as a module."""
    os.environ.setdefault("VANTORY_BUILD", "")
    loader = importlib.machinery.SourceFileLoader("ui", os.path.join(SUPPORT, "ui"))
    module = importlib.util.module_from_spec(importlib.util.spec_from_loader("ui", loader))
    loader.exec_module(module)
    return module


class Agent:
    """The agent, in a directory of its own, and the service that it is linked to."""

    all = []

    def __init__(self, environment=None, limits=None, account=None, root=None, link=True,
                 receive_buffer=None):
        self.root = root or tempfile.mkdtemp(prefix="vantory-faults-")
        self.preferences = f"{self.root}/Library/Preferences/vantoryAgent"
        logs = f"{self.root}/var/lib/Halvern/vantoryAgent/logs"
        for folder in (logs, self.preferences):
            os.makedirs(folder, exist_ok=True)
        subprocess.run([f"{SUPPORT}/trust_this_account", self.root], check=True)
        bundle = f"{os.environ['VANTORY_BUILD']}/vantoryAgent.app"
        if account is not None:  # which may not reach the build's folder, say in /root
            bundle = shutil.copytree(bundle, f"{self.root}/vantoryAgent.app", dirs_exist_ok=True)
            subprocess.run(["chown", "-R", str(account), self.root], check=True)
        self.logs = logs
        self.received = b""
        self.account = account
        self.link = None
        self.server = socket.create_server(("127.0.0.1", 0))
        self.server.settimeout(10)
        if receive_buffer:
            self.server.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, receive_buffer)

        def prepare():
            for kind, value in (limits or {}).items():
                resource.setrlimit(kind, (value, resource.getrlimit(kind)[1]))
            if account is not None:
                os.setuid(account)

        begin = time.monotonic()
        self.process = subprocess.Popen(
            [f"{bundle}/vantoryAgent", f"port={self.server.getsockname()[1]}"], start_new_session=True,
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, preexec_fn=prepare,
            env={**os.environ, "VANTORY_ROOT": self.root, "LANGUAGE": "en", **(environment or {})})
        self.pid = self.process.pid
        Agent.all.append(self)
        if link:
            self.link, self.peer = self.server.accept()
            self.link.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
            self.link.settimeout(0.01)
        self.start_seconds = time.monotonic() - begin

    # The link.

    def waiting(self):
        """The bytes at the agent's end of the link: what it has sent, and what it hasn't read."""
        port = f":{self.peer[1]:04X}"
        for line in open("/proc/net/tcp"):
            fields = line.split()
            if fields[1].endswith(port):
                return [int(count, 16) for count in fields[4].split(":")]
        return [0, 0]

    def send(self, command, payload=None, seconds=60, rests=True):
        """Writes one message, and waits until the agent has read it."""
        text = command if payload is None else command + json.dumps(
            payload, ensure_ascii=False, separators=(",", ":"))
        self.link.settimeout(seconds)
        self.link.sendall(text if isinstance(text, bytes) else text.encode())
        self.link.settimeout(0.01)
        if rests:
            end = time.monotonic() + seconds
            while self.waiting()[1]:
                assert time.monotonic() < end, f"{text[:40]} is not read"
                time.sleep(0)

    def pull(self):
        try:
            data = self.link.recv(65536)
            assert data, f"the link ended after {self.received[-200:]}"
            self.received += data
        except TimeoutError:
            pass

    def expect(self, message, seconds=PATIENCE):
        """Waits for a message that begins so; takes it and what came before it, which it returns."""
        wanted = MARKER + message.encode()
        until(message, lambda: wanted in self.received or self.pull() or wanted in self.received,
              seconds)
        before, self.received = self.received.split(wanted, 1)
        return before

    def command(self, line, seconds=PATIENCE):
        """Runs a command; its status, which the link's own thread sends."""
        begin = time.monotonic()
        Agent.number = getattr(Agent, "number", 1000) + 1
        self.send("execute_command=", {"session": Agent.number, "exec": line})
        self.expect(f'result_command={{ "session" : {Agent.number}, "status" : ', seconds)
        until("the rest", lambda: b"}" in self.received or self.pull())
        status, self.received = self.received.split(b" }", 1)
        self.command_seconds = time.monotonic() - begin
        return int(status)

    def ask(self, seconds=PATIENCE):
        """How many seconds the main thread takes to do all that was sent, and answer."""
        begin = time.monotonic()
        self.send("disconnect_all_sessions", seconds=seconds)
        assert self.command("true", seconds) == 0
        return time.monotonic() - begin

    def watch(self, seconds):
        """Asks again and again; the longest time that an answer took."""
        end = time.monotonic() + seconds
        longest = 0.0
        while time.monotonic() < end:
            longest = max(longest, self.ask())
            time.sleep(0.05)
        return longest

    def close(self, reset=False):
        if reset:
            self.link.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        self.link.close()

    # The process.

    def ends(self, statuses, seconds=PATIENCE):
        """It ends with one of the statuses; the seconds that it takes."""
        begin = time.monotonic()
        got = self.process.wait(seconds)
        assert got in statuses, f"ended with status {got}, not {statuses}: {self.log('stderr')}"
        return time.monotonic() - begin

    def terminate(self):
        """An orderly end; the seconds that it takes, two of which are a wait on purpose."""
        self.process.send_signal(signal.SIGTERM)
        self.expect("request=restart")
        return self.ends([0])

    def log(self, name="stdout"):
        path = f"{self.logs}/vantoryAgent.{name}"
        return open(path, errors="replace").read() if os.path.exists(path) else ""

    def figures(self):
        """Of the process and, where there is a display, of what it has in the X server."""
        memory = open(f"/proc/{self.pid}/smaps_rollup").read()
        status = open(f"/proc/{self.pid}/status").read()

        def field(text, key):
            return int(re.search(rf"^{key}:\s+(\d+)", text, re.M).group(1))

        result = {"PSS KiB": field(memory, "Pss"), "dirty KiB": field(memory, "Private_Dirty"),
                  "descriptors": len(os.listdir(f"/proc/{self.pid}/fd")),
                  "threads": field(status, "Threads")}
        if "DISPLAY" in os.environ:
            result.update(x_resources())
        return result

    def wakeups(self, seconds):
        """How often its threads wait and wake up in this time: what a timer too many would show."""
        def count():
            tasks = subprocess.check_output(f"cat /proc/{self.pid}/task/*/status", shell=True, text=True)
            return sum(map(int, re.findall(r"^voluntary_ctxt_switches:\s+(\d+)", tasks, re.M)))
        before = count()
        time.sleep(seconds)
        return count() - before


def x_resources():
    """What the X server keeps for the agent: told by its X-Resource extension."""
    # The search finds none where a window goes while it is looked at.
    own = until("the windows", lambda: list(ui().windows()))
    with socket.socket(socket.AF_UNIX) as server:
        server.connect(f"/tmp/.X11-unix/X{os.environ['DISPLAY'].lstrip(':').split('.')[0]}")
        stream = server.makefile("rwb")

        def ask(request):
            stream.write(request)
            stream.flush()
            head = stream.read(32)
            return head, stream.read(4 * struct.unpack("<I", head[4:8])[0])

        stream.write(struct.pack("<2sHHHHH", b"l\0", 11, 0, 0, 0, 0))
        stream.flush()
        stream.read(4 * struct.unpack("<H", stream.read(8)[6:8])[0])
        name = b"X-Resource"
        head, _ = ask(struct.pack("<BBHHH12s", 98, 0, 5, len(name), 0, name))
        client = int(own[0]) & ~0x1FFFFF
        _, counts = ask(struct.pack("<BBHI", head[9], 2, 2, client))
        head, _ = ask(struct.pack("<BBHI", head[9], 3, 2, client))
        return {"windows": len(own),
                "X resources": sum(count for _, count in struct.iter_unpack("<II", counts)),
                "pixmaps KiB": struct.unpack("<I", head[8:12])[0] // 1024}
