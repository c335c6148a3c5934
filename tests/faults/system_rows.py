"""The system: disks, files, limits, the clock, the locale."""
import contextlib
import os
import resource
import shutil
import signal
import subprocess
import tempfile
import time

import harness
from harness import PATIENCE, VALID, Agent, until
from rows import NOBODY, Skipped, message, row, session, use


def small_disk(agent_root):
    """A disk of 256 KiB for the agent's files."""
    if subprocess.run(["mount", "-t", "tmpfs", "-o", "size=256k", "vantory", agent_root],
                      stderr=subprocess.DEVNULL).returncode != 0:
        raise Skipped("mounting takes root")


@row("--display", "--bus", cases=("full", "read-only"))
def disk(state):
    """The disk under logs and preferences gets full, or read-only, and can be written again."""
    root = tempfile.mkdtemp()
    small_disk(root)
    try:
        agent = Agent(root=root)
        agent.ask()
        filler = f"{root}/filler"
        if state == "full":
            with open(filler, "wb", buffering=0) as file, contextlib.suppress(OSError):
                while file.write(b"x" * 4096):
                    pass
        else:
            subprocess.run(["mount", "-o", "remount,ro", root], check=True)
        agent.send("receive_message=", message("Hello"))
        main = agent.watch(1)
        if state == "full":
            os.remove(filler)
        else:
            subprocess.run(["mount", "-o", "remount,rw", root], check=True)
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


@row("--display", "--bus", cases=("truncated", "of another form", "gone"))
def label_document(state):
    """The label document is broken while the agent runs, then edited."""
    ui = harness.ui()
    folder = f"{tempfile.mkdtemp()}/vantoryAgent.app"
    shutil.copytree(f"{os.environ['VANTORY_BUILD']}/vantoryAgent.app", folder)
    path = f"{folder}/Resources/translate.json"
    text = open(path, encoding="utf-8").read()
    agent = Agent(program=f"{folder}/vantoryAgent")
    agent.send("receive_message=", message("first"))
    agent.ask()
    os.remove(path)
    if state != "gone":
        open(path, "w").write(text[:len(text) // 2] if state == "truncated" else '{"En": []}')
    agent.send("receive_message=", message("second"))
    main = agent.watch(0.5)
    ui.until("no second message", lambda: any("second" in ui.text_of(n) for n in ui.everything()))
    until("the reason", lambda: "error to get language" in agent.log("stderr"))
    edited = text.replace('"received": "Received"', '"received": "Edited"')
    assert edited != text
    open(path, "w", encoding="utf-8").write(edited)
    agent.send("receive_message=", message("third"))
    ui.until("no edited label", lambda: any("Edited" in ui.text_of(n) for n in ui.everything()))
    agent.terminate()
    return {"main s": main}


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
    limit(agent, kind, few)
    assert agent.command("true") == 1
    if kind == "nproc":  # a new window takes a descriptor: without one libxcb waits for it
        agent.send("receive_message=", message("Hello"))
        agent.send("user_acknowledgement=7;srv;Ann")
    agent.send("receive_chat=", {"context": 4, "from": "Ann", "text": "Hello"})
    begin = time.monotonic()
    agent.send("disconnect_all_sessions")
    assert agent.command("true") == 1
    main = time.monotonic() - begin
    limit(agent, kind, 1000)
    figures = use(agent)
    return {"main s": max(main, figures["main s"]), "command's status": 1}


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


SHIM = r"""
#define _GNU_SOURCE
#include <dlfcn.h>
#include <fcntl.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/time.h>
#include <time.h>
int clock_gettime(clockid_t clock, struct timespec *now)
{
    static int (*next)(clockid_t, struct timespec *);
    static const long *offset;
    if (!next) {
        next = (int (*)(clockid_t, struct timespec *))dlsym(RTLD_NEXT, "clock_gettime");
        offset = mmap(0, sizeof *offset, PROT_READ, MAP_SHARED, open(getenv("CLOCK"), O_RDONLY), 0);
    }
    int result = next(clock, now);
    if (clock == CLOCK_REALTIME)
        now->tv_sec += *offset;
    return result;
}
"""


@row("--display", "--bus")
def clock_is_set():
    """The clock is set a day back and two days forth; count-downs go on by the time that passes."""
    scratch = tempfile.mkdtemp()
    open(f"{scratch}/shim.c", "w").write(SHIM)
    subprocess.run(["cc", "-shared", "-fPIC", "-O1", "-o", f"{scratch}/shim.so",
                    f"{scratch}/shim.c"], check=True)

    def set_clock(days):
        with open(f"{scratch}/offset", "wb") as file:
            file.write((days * 86400).to_bytes(8, "little", signed=True))

    set_clock(0)
    agent = Agent({"LD_PRELOAD": f"{scratch}/shim.so", "CLOCK": f"{scratch}/offset"})
    agent.send("connected_session=", session(7))
    agent.ask()
    before = agent.figures()["windows"]
    main = 0.0
    for days in (-1, 1):
        agent.send("receive_message=", message("Hello", timeout=2))
        until("the message", lambda: agent.figures()["windows"] > before)
        set_clock(days)
        main = max(main, agent.watch(0.3))
        day = time.strftime("%Y-%m-%d", time.localtime(time.time() + days * 86400))
        until("the new time in the log", lambda: f"\n{day}" in agent.log())
        begin = time.monotonic()
        until("the message's end", lambda: agent.figures()["windows"] <= before, 10)
        assert time.monotonic() - begin < 6
    agent.terminate()
    return {"main s": main}


@row("--display", "--bus")
def suspended():
    """The agent stops for three seconds, as in a suspended machine, and goes on."""
    agent = Agent()
    agent.ask()
    os.kill(agent.pid, signal.SIGSTOP)
    agent.send("receive_message=", message("Hello", timeout=2), rests=False)
    time.sleep(3)
    os.kill(agent.pid, signal.SIGCONT)
    return use(agent)


@row("--display", "--bus")
def many_sessions():
    """1,000 sessions in one status, ten times: they are shown, and the main thread keeps up."""
    ui = harness.ui()
    agent = Agent()
    agent.send("connected_session=", session(5000))
    ui.until("no window", lambda: any("Ann" in ui.text_of(n) for n in ui.everything()))
    sessions = [{"session": n, "remoteDevice": "", "remoteControlUser": f"A{n}"}
                for n in range(1000)]
    begin = time.monotonic()
    for _ in range(10):
        agent.send("status=", {**VALID, "gateway": "", "sessions": sessions})
    agent.command("true")
    until("all sessions", lambda: agent.log().count("string: status=") == 10)
    shown = time.monotonic()
    ui.until("no session", lambda: any("A0" in ui.text_of(n) for n in ui.everything()))
    figures = agent.figures()
    main = agent.ask()
    return {"ten read s": shown - begin, "main s": main, "PSS KiB": figures["PSS KiB"]}


@row("--display", "--bus", cases=("ko_KR.UTF-8 Asia/Seoul", "C Nowhere/Nothing", "tlh_XX :/dev/null"))
def locale(setting):
    """Locale and time zone that the system may not even have."""
    language, zone = setting.split()
    return use(Agent({"LC_ALL": language, "LANGUAGE": language, "TZ": zone}))
