"""The service's end of the link to the agent: for the simulator, faults and benchmarks."""
import contextlib
import pwd
import select
import socket
import struct
import time

MARKER = b"#####"
QUIET = 0.05  # an agent's message is complete when no byte has come for so long
READ_TIMEOUT = 10.0  # for an agent that does not read
CLOSE_TIME = 1.0  # the agent has to close its side after close()


def ask_kernel(link):
    """The agent's end of a connection, by sock_diag(7): its UID, and how many bytes it has not read
    and not sent. None where no program has it, or the kernel does not tell."""
    (own, own_port), (peer, peer_port) = link.getsockname(), link.getpeername()
    end = struct.pack("=BBBxI", socket.AF_INET, socket.IPPROTO_TCP, 0, 0xFFFFFFFF)
    end += struct.pack("!HH4s12x4s12x", peer_port, own_port, socket.inet_aton(peer), socket.inet_aton(own))
    end += struct.pack("=IQ", socket.if_nametoindex("lo"), 0xFFFFFFFFFFFFFFFF)
    try:
        with socket.socket(socket.AF_NETLINK, socket.SOCK_RAW, 4) as kernel:  # NETLINK_SOCK_DIAG
            kernel.send(struct.pack("=IHHII", 16 + len(end), 20, 1, 0, 0) + end)  # SOCK_DIAG_BY_FAMILY
            answer = kernel.recv(8192)
        link.getpeername()  # fails where it has been reset: then another connection may have been found
    except OSError:
        return None
    if struct.unpack_from("=H", answer, 4)[0] != 20:
        return None
    unread, unsent, uid, inode = struct.unpack_from("=IIII", answer, 72)
    return (uid, unread, unsent) if inode else None


class Link:
    """The service's end of the link. It listens for one agent at a time, and closes the links of
    other accounts' programs before a byte.

    An agent's message begins with a marker and has no end: it is complete when the next one begins or
    when nothing comes for a while. A message to the agent has neither: the agent takes what one read
    returns as one message, so each is sent in one write, when it has read the one before."""

    def __init__(self, port=0, account=None, gap=0.03, note=lambda *_: None, receive_buffer=None):
        """account: the login name of whose agent may connect; gap: the least time between two sends;
        note(voice, line): is told what comes and goes; receive_buffer: bytes."""
        self.account, self.gap, self.note = account, gap, note
        self.server = socket.create_server(("127.0.0.1", port))
        if receive_buffer:
            self.server.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, receive_buffer)
        self.port = self.server.getsockname()[1]
        self.socket = None
        self.ended_by_agent = self.left_unexpected = self.is_closing = False
        self.is_paused = False  # nothing is read
        self.inbox, self.ignored, self.partial = [], [], b""
        self.next_send = self.is_quiet = 0.0

    def refusal(self, new):
        if self.socket:
            return "another agent came, and there is one at a time"
        if self.account is None:
            return None
        if not (end := ask_kernel(new)):
            return "the system does not tell whose program came"
        name = pwd.getpwuid(end[0]).pw_name
        return None if name == self.account else f"a program of the account {name} came"

    def take(self):
        new, _ = self.server.accept()
        if refusal := self.refusal(new):
            self.abort(new)
            return self.note("step", f"turned away: {refusal}")
        new.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        self.socket, self.inbox, self.partial = new, [], b""
        self.note("step", "the agent is linked")

    def read(self):
        try:
            data = self.socket.recv(65536)
        except OSError:
            data = b""
        self.partial += data
        while (end := self.partial.find(MARKER, len(MARKER) * self.partial.startswith(MARKER))) >= 0:
            self.deliver(self.partial[:end])
            self.partial = self.partial[end:]
        self.is_quiet = time.monotonic() + QUIET
        if not data:
            self.end(True)

    def deliver(self, message):
        if not message:
            return
        is_ignored = any(matches(message) for matches in self.ignored)
        self.note("agent", message, is_ignored)
        if not is_ignored:
            self.inbox.append(message)

    def end(self, by_agent):
        if not by_agent:
            with contextlib.suppress(OSError):
                self.partial += self.socket.recv(65536, socket.MSG_DONTWAIT)
        self.abort(self.socket)
        self.socket = None
        self.deliver(self.partial)
        self.partial = b""
        self.ended_by_agent, self.left_unexpected = by_agent, by_agent and not self.is_closing
        self.note("step", "the agent has closed the link" if by_agent else "the link is closed")

    @staticmethod
    def abort(connection):
        connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        connection.close()

    def pump(self, seconds, is_done=lambda: False, *others):
        """Takes what comes until it is done (true), or for so long. One of the other descriptors is
        done when it can be read."""
        end = time.monotonic() + seconds
        while not is_done():
            left = end - time.monotonic()
            if left <= 0:
                return False
            if self.partial:
                left = min(left, max(self.is_quiet - time.monotonic(), 0))
            own = [self.server] + [self.socket] * bool(self.socket and not self.is_paused)
            ready = select.select([*own, *others], [], [], left)[0]
            if self.server in ready:
                self.take()
            if self.socket in ready:
                self.read()
            elif self.partial and time.monotonic() >= self.is_quiet:
                self.deliver(self.partial)
                self.partial = b""
            if set(ready) & set(others):
                return True
        return True

    def behind(self):
        """How many bytes the agent has still to read, and to send."""
        end = self.socket and ask_kernel(self.socket)
        return end[1:] if end else (0, 0)

    def send(self, message, seconds):
        """Whether the system has taken all of it in that time."""
        self.pump(max(self.next_send - time.monotonic(), 0))
        deadline = time.monotonic() + min(seconds, READ_TIMEOUT)
        while self.socket and self.behind()[0] and time.monotonic() < deadline:
            self.pump(self.gap)
        if self.socket:
            try:
                self.socket.settimeout(seconds)
                self.socket.sendall(message)
                self.socket.settimeout(None)
            except TimeoutError:
                return False
            except OSError:
                self.end(True)
        self.next_send = time.monotonic() + self.gap
        return True

    def close(self):
        """Closes this side, and reads on until the agent has closed its own."""
        self.is_closing = True
        with contextlib.suppress(OSError):
            self.socket.shutdown(socket.SHUT_WR)
        if not self.pump(CLOSE_TIME, lambda: not self.socket):
            self.end(False)
        self.is_closing = False

    def reset(self):
        """The agent's next read or write fails, and what it has not read is lost."""
        if self.socket:
            self.end(False)
