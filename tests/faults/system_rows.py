"""The system: disks, files, limits, the locale."""
import contextlib
import os
import resource
import shutil
import subprocess
import tempfile
import time

import harness
from harness import PATIENCE, VALID, Agent, until
from rows import NOBODY, Skipped, message, row, session, use


@row("--display", "--bus", cases=("full", "read-only"))
def disk(state):
    """The disk under logs and preferences gets full, or read-only, and can be written again."""
    root = tempfile.mkdtemp()
    harm, repair = {"full": (f"cat /dev/zero >{root}/filler", f"rm {root}/filler"),
                    "read-only": (f"mount -o remount,ro {root}", f"mount -o remount,rw {root}")}[state]
    if subprocess.run(["mount", "-t", "tmpfs", "-o", "size=256k", "vantory", root],
                      stderr=subprocess.DEVNULL).returncode != 0:
        raise Skipped("mounting takes root")
    try:
        agent = Agent(root=root)
        agent.ask()
        subprocess.run(harm, shell=True, stderr=subprocess.DEVNULL)
        agent.send("receive_message=", message("Hello"))
        main = agent.watch(1)
        subprocess.run(repair, shell=True, check=True)
        agent.send("connected_gateway=again")
        until("the log", lambda: "connected_gateway=" in agent.log())
        agent.terminate()
    finally:
        subprocess.run(["umount", "-l", root])
    return {"main s": main}


@row("--display", "--bus")
def files_gone():
    """Logs and preferences are deleted while the agent runs."""
    agent = Agent()
    shutil.rmtree(agent.root)
    figures = use(agent)
    assert not os.path.exists(agent.logs)  # the directory is the installation's
    return figures


def limit(agent, kind, value):
    subprocess.run(["prlimit", f"--pid={agent.pid}", f"--{kind}={value}:"], check=True,
                   user=agent.account)


# To have few processes, it takes another account than root.
LIMITS = {"nofile": None, "nproc": NOBODY if os.getuid() == 0 else None}


def open_desktop_to_all():
    for folder in (os.environ["XDG_RUNTIME_DIR"] + "/..", os.environ["TMPDIR"]):
        subprocess.run(["chmod", "-R", "a+rwX", folder], check=True)


@row("--display", "--bus", cases=LIMITS)
def none_left(kind):
    """No descriptors, or neither processes nor threads are left for a while."""
    open_desktop_to_all()
    agent = Agent(account=LIMITS[kind])
    agent.send("connected_session=", session(7))
    agent.send("request_chat=4,7")
    agent.watch(0.5)
    few = 1 if kind == "nproc" else agent.figures()["descriptors"]
    status = 1 if kind == "nproc" else 0  # to start a command takes no descriptor
    limit(agent, kind, few)
    assert agent.command("true") == status
    if kind == "nproc":  # a new window takes a descriptor: without one libxcb waits for it
        agent.send("receive_message=", message("Hello"))
        agent.send("user_acknowledgement=7;srv;Ann")
    agent.send("receive_chat=", {"context": 4, "from": "Ann", "text": "Hello"})
    begin = time.monotonic()
    agent.send("disconnect_all_sessions")
    assert agent.command("true") == status
    main = time.monotonic() - begin
    limit(agent, kind, 1000)
    figures = use(agent)
    return {"main s": max(main, figures["main s"]), "command's status": status}


@row("--display", "--bus", cases=LIMITS)
def none_left_at_start(kind):
    """The agent is started with so little that it can't run: it ends, and does not hang."""
    open_desktop_to_all()
    worst, statuses = 0.0, []
    for value in (3, 4, 5, 6, 8, 10, 12, 14, 16) if kind == "nofile" else range(1, 9):
        limits = {getattr(resource, f"RLIMIT_{kind.upper()}"): value}
        agent = Agent(limits=limits, account=LIMITS[kind], link=False)
        begin = time.monotonic()
        agent.server.settimeout(1)
        with contextlib.suppress(OSError):
            agent.link, agent.peer = agent.server.accept()
            agent.close()
        statuses.append(agent.process.wait(PATIENCE))
        worst = max(worst, time.monotonic() - begin)
    return {"longest end s": worst, "statuses": statuses}


@row("--display", "--bus")
def many_sessions():
    """1,000 sessions in one status, ten times: they are shown, and the main thread keeps up."""
    ui = harness.ui()
    agent = Agent()
    sessions = [{"session": n, "remoteDevice": "", "remoteControlUser": f"A{n}"}
                for n in range(1000)]
    begin = time.monotonic()
    for _ in range(10):
        agent.send("status=", {**VALID, "sessions": sessions})
    until("all sessions", lambda: agent.log().count("string: status=") == 10)
    read = time.monotonic() - begin
    ui.until("no session", lambda: any("A0" in ui.text_of(n) for n in ui.everything()))
    return {"ten read s": read, "PSS KiB": agent.figures()["PSS KiB"], "main s": agent.ask()}


@row("--display", "--bus", cases=("ko_KR.UTF-8 Asia/Seoul", "C Nowhere/Nothing", "tlh_XX :/dev/null"))
def locale(setting):
    """Locale and time zone that the system may not even have."""
    language, zone = setting.split()
    return use(Agent({"LC_ALL": language, "LANGUAGE": language, "TZ": zone}))
