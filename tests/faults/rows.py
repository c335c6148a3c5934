"""What rows are made of."""
import os
import random
import subprocess

from harness import PATIENCE, VALID

ROWS = {}
# No account: "nobody" may have processes elsewhere on the machine, and they would count.
NOBODY = random.randrange(100_000, 200_000)


class Skipped(Exception):
    pass


def row(*desktop, slow=(), cases=(None,)):
    def register(function):
        for case in cases:
            name = function.__name__ + (f":{case}" if case else "")
            arguments = (case,) if case else ()
            ROWS[name] = (function, arguments, desktop, case in slow)
        return function
    return register


def child(program, number=0):
    """The process of that name that with_desktop has started."""
    found = subprocess.run(["pgrep", "-P", str(os.getppid()), "-x", program],
                           capture_output=True, text=True, check=True)
    return int(found.stdout.split()[number])


def session(number, name="Ann"):
    return {"session": number, "deviceName": "d", "controlName": name}


def message(text, timeout=0, icon=1):
    return {"from": "Ann", "text": text, "timeout": timeout, "icon": icon}


def use(agent):
    """What the service and the person do goes on, whatever is away; and the agent ends in order."""
    agent.send("status=", {**VALID, "sessions": []})
    agent.send("connected_session=", session(7))
    agent.send("receive_message=", message("Hello", 1))
    agent.send("request_chat=4,7")
    agent.send("receive_chat=", {"context": 4, "from": "Ann", "text": "Hello"})
    agent.send("user_acknowledgement=7;srv;Ann")
    agent.send("close_acknowledgement")
    agent.send('execute_command={"session":9,"exec":"true"}')
    before = agent.expect('result_command={ "session" : 9,')
    assert b"accept_connection" not in before, "the screen counts as locked"
    main = agent.watch(2)
    command = max(agent.command("true") and 0 or agent.command_seconds for _ in range(3))
    assert main < PATIENCE, f"the main thread hung for {main} s"
    return {"start s": agent.start_seconds, "main s": main, "command s": command,
            "end s": agent.terminate()}
