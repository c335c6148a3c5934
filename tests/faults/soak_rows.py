"""A day's traffic in compressed time, and what the agent then holds."""
import statistics
import time

from harness import VALID, Agent
from rows import message, row, session

ROUNDS = 1000
SAMPLES = 20
# What may be more in the second half's last quarter than in its first one: a part, and a number.
# PSS is only shown: it depends on who else has the same libraries in memory.
TOLERANCE = {"PSS KiB": (float("inf"), 0), "dirty KiB": (0.02, 256), "descriptors": (0, 1), "threads": (0, 1),
             "windows": (0, 2), "X resources": (0.02, 10), "pixmaps KiB": (0.05, 64),
             "wake-ups in 3 s": (0, 10)}


def play(agent, number):
    """A round: 100 messages."""
    name, chat, count = f"Operator {number % 50}", number // 2, 0

    def send(command, payload=None):
        nonlocal count
        agent.send(command, payload)
        count += 1

    send(f"connected_gateway=gateway-{number % 7}")
    send("connected_session=", session(number, name))
    send("status=", {**VALID, "sessions": [
        {"session": number - k, "remoteDevice": "d", "remoteControlUser": name, "sessionDate": 7e8}
        for k in range(number % 5 + 1)]})
    send(f"user_acknowledgement={number};server;{name}")
    send("close_acknowledgement")
    if number % 2 == 0:
        send(f"request_chat={chat},{number}")
    send("chat_joined_member=", {"context": chat, "member": f"Guest {number}"})
    for timeout in (0, 1, 5):
        send("receive_message=", message(f"Message {number}\n" * (number % 4 + 1), timeout, number % 6))
    for bad in ("status={", "receive_message={}", "request_chat=x,y", "receive_chat=[1,2", "nobody",
                b"\xff\xfe", "disconnected_session=7x", "chat_left_member=null"):
        send(bad)
    assert agent.command("true") == 0
    assert agent.command(f"exit {number % 100}") == number % 100
    count += 2
    if number % 2:
        send("chat_left_member=", {"context": chat, "member": f"Guest {number}"})
        send(f"close_chat={chat}")
    send("disconnected_gateway" if number % 3 else "disconnected_gateway=reason")
    send(f"disconnected_session={number}")
    while count < 100:
        send("receive_chat=", {"context": chat, "from": name, "text": f"Line {count} of {number}"})


@row("--display", "--bus", "--tray", slow=(None,))
def soak():
    """1,000 rounds of 100 messages: the second half's last samples are what its first ones are."""
    agent = Agent()
    samples = []
    for number in range(ROUNDS):
        play(agent, number)
        if (number + 1) % (ROUNDS // SAMPLES) == 0:
            agent.ask(60)
            time.sleep(7)  # count-downs end
            wakeups = agent.wakeups(3)
            samples.append({**agent.figures(), "wake-ups in 3 s": wakeups})
    half = samples[SAMPLES // 2:]
    figures, grown = {}, []
    for key, (part, number) in TOLERANCE.items():
        first, middle, last = (samples[place][key] for place in (0, SAMPLES // 2, -1))
        early, late = (statistics.median(sample[key] for sample in quarter)
                       for quarter in (half[:SAMPLES // 4], half[-SAMPLES // 4:]))
        figures[key] = f"{first}, {middle}, {last}; {early:.0f} -> {late:.0f}"
        grown += [key] if late > early * (1 + part) + number else []
    assert not grown, f"{grown} of {figures}"
    agent.terminate()
    return figures
