"""The service goes, is silent, does not read, or sends more than anybody can look at."""
import re
import shutil
import subprocess
import threading
import time

import harness
from harness import HERE, Agent, until
from rows import message, row, session


def place_of(ui, button):
    return ui.until(f"no {button}", lambda: next(
        (ui.centre(node) for node in ui.everything() if node.get_name() == button), None))


@row(cases=("closes", "resets"))
def service_killed(how):
    """The service goes after each message of the tour."""
    tour = open(f"{HERE}/../../tour/3-conversations.script", encoding="utf-8").read()
    steps = re.findall(r"^send (.*)$", tour, re.M)
    worst = 0.0
    for last in range(len(steps)):
        agent = Agent()
        for step in steps[:last + 1]:
            agent.send(step)
        agent.close(reset=how == "resets")
        worst = max(worst, agent.ends([0, 1], 10))  # 1 also where it had not read everything
        shutil.rmtree(agent.root)
    return {"steps": len(steps), "longest end s": worst}


@row("--display", "--bus", "--tray", "--size", "3840x2160", cases=("1000", "10000"), slow=("10000",))
def flood(count):
    """So many messages and chats: "End this session" is clicked in the middle."""
    ui = harness.ui()
    agent = Agent()
    agent.send("connected_session=", session(7))
    place_of(ui, "End this session")
    subprocess.run(["xdotool", "search", "--name", "vantory", "windowmove", "3000", "1700"])
    time.sleep(1)  # the row must be at rest before it hears a click
    place = place_of(ui, "End this session")
    before = agent.figures()
    sent = []

    def pour():
        for number in range(int(count)):
            if number % 2:
                agent.send("receive_message=", message(f"message {number}"))
            else:
                agent.send(f"request_chat={number},7")
            sent.append(number)

    thread = threading.Thread(target=pour)
    thread.start()
    until("the middle", lambda: len(sent) >= int(count) // 2, 120)
    clicked = time.monotonic()
    ui.xdotool("mousemove", *place, "click", 1)
    agent.expect("disconnect_session=7")
    click = time.monotonic() - clicked
    thread.join()
    rest = agent.ask(120)
    after = agent.figures()
    assert after["windows"] <= 50 and after["PSS KiB"] < before["PSS KiB"] + 65536, after
    return {"click s": click, "what waited then, s": rest,
            "PSS KiB": f"{before['PSS KiB']} -> {after['PSS KiB']}",
            "windows": f"{before['windows']} -> {after['windows']}"}


@row("--display", "--bus")
def service_does_not_read():
    """The service stops reading for a while: the person's clicks and all else come afterwards."""
    ui = harness.ui()
    agent = Agent(receive_buffer=4096)
    agent.send("connected_session=", session(7))
    place_of(ui, "Chat")
    time.sleep(1)
    count = 0
    while agent.waiting()[0] < 50_000:
        agent.send("execute_command={")
        count += 1
    asked = time.monotonic()
    place = place_of(ui, "Chat")
    main = time.monotonic() - asked
    ui.xdotool("mousemove", *place, "click", 1)
    until("the click", lambda: agent.pull() or b"chat_request=7" in agent.received)
    assert agent.received.count(b"#####result_command_failed_to_read") == count
    return {"main s": main, "kept messages": count}
