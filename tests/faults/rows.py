"""The rows of ./faults: what is away, hangs (connected to, it never answers), or is restarted."""
import os
import signal
import subprocess
import tempfile
import time

from harness import SUPPORT, VALID, Agent, message, session, until

ROWS = {}


class Skipped(Exception):
    pass


def row(*desktop, cases=(None,)):
    def register(function):
        for case in cases:
            ROWS[function.__name__ + (f":{case}" if case else "")] = (function, (case,) if case else (), desktop)
        return function
    return register


def bus_path(kind):
    return os.environ[f"DBUS_{kind.upper()}_BUS_ADDRESS"].split("path=")[1].split(",")[0]


def signal_bus(kind, number):
    """To the bus that with_desktop has started."""
    found = subprocess.run(["pgrep", "-P", str(os.getppid()), "-x", "dbus-daemon"],
                           capture_output=True, text=True, check=True)
    os.kill(int(found.stdout.split()[("session", "system").index(kind)]), number)


@row("--display", "--tray")
def buses_away():
    """Neither session nor system bus: no logind, no notifications, the icon in the XEmbed tray."""
    return Agent().use()


@row("--display", "--bus", "--tray", cases=("session", "system"))
def bus_hangs_later(kind):
    """The bus stops answering while the agent uses it."""
    subprocess.run([f"{SUPPORT}/mock_logind", "ann"], check=True)
    agent = Agent()
    agent.watch(1)
    signal_bus(kind, signal.SIGSTOP)
    figures = agent.use()
    signal_bus(kind, signal.SIGCONT)
    return figures


@row("--display", "--bus", "--tray", cases=("session", "system"))
def bus_restarts(kind):
    """The bus ends, and another one takes its address."""
    agent = Agent()
    agent.watch(1)
    signal_bus(kind, signal.SIGKILL)
    until("the end", lambda: not os.path.exists(bus_path(kind)) or not os.remove(bus_path(kind)))
    with subprocess.Popen(["dbus-daemon", "--session", "--nofork", "--print-address",
                           f"--address=unix:path={bus_path(kind)}"], stdout=subprocess.PIPE) as bus:
        bus.stdout.readline()
        figures = agent.use()
        bus.kill()
    return figures


@row("--display", "--bus", "--tray", "--size", "3840x2160")
def flood():
    """A thousand messages and chats: "End this session" is clicked in the middle."""
    import ui
    agent = Agent()
    agent.send("connected_session=", session(7))
    ui.until("no button", lambda: ui.shown("End this session"))
    subprocess.run(["xdotool", "search", "--name", "vantory", "windowmove", "3000", "1700"])
    time.sleep(1)  # a row that has just moved hears no click
    place = ui.centre(next(node for node in ui.everything() if node.get_name() == "End this session"))
    before = agent.figures()
    for number in range(1000):
        agent.send(*([f"request_chat={number},7"] if number % 2 else
                     ["receive_message=", message(f"message {number}")]))
        if number == 500:
            begin = time.monotonic()
            ui.xdotool("mousemove", *place, "click", 1)
    agent.expect("disconnect_session=7")
    click = time.monotonic() - begin
    agent.ask(120)
    after = agent.figures()
    assert after["windows"] <= 50 and after["dirty KiB"] < before["dirty KiB"] + 65536, after
    return {"click s": click, **after}


@row("--display", "--bus")
def service_does_not_read():
    """The service stops reading for a while: the user's clicks and all else come afterwards."""
    agent = Agent(receive_buffer=4096)
    agent.send("connected_session=", session(7))
    time.sleep(1)  # as above
    agent.link.is_paused = True
    count = 0
    while agent.link.behind()[1] < 50_000:
        agent.send("execute_command={")
        count += 1
    subprocess.run([f"{SUPPORT}/ui.py", "click", "Chat"], check=True)
    agent.link.is_paused = False
    before = agent.expect("chat_request=7")
    assert sum(text.startswith(b"#####result_command_failed_to_read") for text in before) == count
    return {"kept messages": count}


@row("--display", "--bus")
def disk_full():
    """The disk under logs and preferences gets full, and can be written again."""
    root = tempfile.mkdtemp()
    if subprocess.run(["mount", "-t", "tmpfs", "-o", "size=256k", "vantory", root],
                      stderr=subprocess.DEVNULL).returncode != 0:
        raise Skipped("mounting takes root")
    try:
        agent = Agent(root=root)
        agent.ask()
        subprocess.run(f"cat /dev/zero >{root}/filler", shell=True, stderr=subprocess.DEVNULL)
        agent.send("receive_message=", message("Hello"))
        main = agent.watch(1)
        os.remove(f"{root}/filler")
        agent.send("connected_gateway=again")
        until("the log", lambda: subprocess.run(
            ["grep", "-q", "connected_gateway=", f"{agent.logs}/vantoryAgent.stdout"]).returncode == 0)
        agent.terminate()
    finally:
        subprocess.run(["umount", "-l", root])
    return {"main s": main}


@row("--display", "--bus", "--tray")
def soak():
    """A day's traffic: what the agent holds at its end is what it held in the middle."""
    agent = Agent()
    samples = []
    for number in range(1000):
        chat = number // 2
        agent.send("connected_session=", session(number, f"Operator {number % 50}"))
        agent.send("status=", {**VALID, "sessions": [
            {"session": number, "remoteDevice": "d", "remoteControlUser": "Ann", "sessionDate": 7e8}]})
        agent.send(f"user_acknowledgement={number};server;Ann")
        agent.send("close_acknowledgement")
        agent.send(f"request_chat={chat},{number}")
        for line in range(50):
            agent.send("receive_chat=", {"context": chat, "from": "Ann", "text": f"Line {line} of {number}"})
        for timeout in (0, 1, 5):
            agent.send("receive_message=", message(f"Message {number}\n" * 3, timeout))
        assert agent.command("true") == 0
        agent.send(f"close_chat={chat}")
        agent.send(f"disconnected_session={number}")
        if number % 500 == 499:
            agent.ask(60)
            time.sleep(7)  # count-downs end
            samples.append(agent.figures())
    middle, end = samples
    assert end["dirty KiB"] < middle["dirty KiB"] * 1.02 + 256, samples
    assert all(end[key] <= middle[key] + 2 for key in ("threads", "descriptors", "windows")), samples
    return end
