"""The desktop: each party is away, hangs (connected to, it never answers) or is restarted."""
import os
import signal
import subprocess
import sys
import time

import harness
from harness import SUPPORT, Agent
from rows import child, message, row, session, use


def mute_owner(name, bus="session"):
    """Owns a name on the bus, and never answers."""
    process = subprocess.Popen(
        [sys.executable, "-c", f"import dbus, time; bus = dbus.{bus.capitalize()}Bus()\n"
         f"bus.request_name('{name}'); print(flush=True); time.sleep(600)"], stdout=subprocess.PIPE)
    process.stdout.readline()
    return process


def mute_socket(path):
    """A socket that takes connections, and never answers."""
    if os.path.exists(path):
        os.remove(path)
    server = harness.socket.socket(harness.socket.AF_UNIX)
    server.bind(path)
    server.listen(100)
    return server


def bus_path(kind):
    return os.environ[f"DBUS_{kind.upper()}_BUS_ADDRESS"].split("path=")[1].split(",")[0]


def bus_process(kind):
    return child("dbus-daemon", ("session", "system").index(kind))


@row("--display", "--tray")
def buses_away():
    """Neither session nor system bus: no logind, no notifications, the icon in the XEmbed tray."""
    return use(Agent())


@row("--display", "--bus", "--tray", cases=("session", "system"), slow=("session",))
def bus_hangs_at_start(kind):
    """The bus takes connections, and never answers."""
    path = bus_path(kind) + "-mute"
    server = mute_socket(path)
    agent = Agent({f"DBUS_{kind.upper()}_BUS_ADDRESS": f"unix:path={path}"})
    figures = use(agent)
    server.close()
    return figures


@row("--display", "--bus", "--tray", cases=("session", "system"))
def bus_hangs_later(kind):
    """The bus stops answering while the agent uses it."""
    subprocess.run([f"{SUPPORT}/mock_logind", "ann"], check=True)
    agent = Agent()
    agent.watch(1)
    process = bus_process(kind)
    os.kill(process, signal.SIGSTOP)
    figures = use(agent)
    os.kill(process, signal.SIGCONT)
    return figures


@row("--display", "--bus", "--tray", cases=("session", "system"))
def bus_restarts(kind):
    """The bus ends, and another one takes its address."""
    agent = Agent()
    agent.watch(1)
    os.kill(bus_process(kind), signal.SIGKILL)
    time.sleep(0.2)
    os.remove(bus_path(kind))
    bus = subprocess.Popen(["dbus-daemon", "--session", "--nofork", "--print-address",
                            f"--address=unix:path={bus_path(kind)}"], stdout=subprocess.PIPE)
    bus.stdout.readline()
    figures = use(agent)
    bus.kill()
    return figures


@row("--display", "--bus", "--tray", cases=(
    "org.freedesktop.Notifications", "org.kde.StatusNotifierWatcher", "org.a11y.Bus",
    "org.freedesktop.login1"))
def name_hangs(name):
    """Somebody owns the name on the bus and never answers: as the agent starts, and later."""
    bus = "system" if name.endswith("login1") else "session"
    process = mute_owner(name, bus)
    figures = use(Agent())
    process.kill()
    agent = Agent()
    agent.watch(0.5)
    process = mute_owner(name, bus)
    later = use(agent)
    process.kill()
    return {key: max(value, later[key]) for key, value in figures.items()}


@row("--display", "--bus", "--tray")
def accessibility_bus_hangs():
    """The accessibility bus takes connections, and never answers."""
    server = mute_socket(f"{os.environ['XDG_RUNTIME_DIR']}/mute")
    launcher = subprocess.Popen([sys.executable, "-m", "dbusmock", "--session", "org.a11y.Bus",
                                 "/org/a11y/bus", "org.a11y.Bus"], stdout=subprocess.DEVNULL)
    subprocess.run(["gdbus", "wait", "--session", "org.a11y.Bus"], check=True)
    import dbus
    bus = dbus.SessionBus().get_object("org.a11y.Bus", "/org/a11y/bus")
    bus.AddMethod("org.a11y.Bus", "GetAddress", "", "s",
                  f"ret = 'unix:path={server.getsockname()}'",
                  dbus_interface="org.freedesktop.DBus.Mock")
    bus.AddProperties("org.a11y.Status", {"IsEnabled": True, "ScreenReaderEnabled": True},
                      dbus_interface="org.freedesktop.DBus.Mock")
    figures = use(Agent())
    launcher.kill()
    return figures


@row("--display", "--bus")
def display_hangs():
    """The X server stops for two seconds: what the service asks for goes on, and so all goes on."""
    agent = Agent()
    agent.send("connected_session=", session(7))
    server = child("Xvfb")
    os.kill(server, signal.SIGSTOP)
    agent.send("receive_message=", message("Hello"))
    worst = 0.0
    for _ in range(10):
        agent.command("true")
        worst = max(worst, agent.command_seconds)
        time.sleep(0.2)
    os.kill(server, signal.SIGCONT)
    main = agent.ask()
    os.kill(server, signal.SIGSTOP)
    agent.send("receive_message=", message("Hello"))
    end = agent.terminate()
    os.kill(server, signal.SIGCONT)
    return {"command s": worst, "main afterwards s": main, "end meanwhile s": end}
