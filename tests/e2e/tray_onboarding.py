"""A newcomer's first minutes on a StatusNotifierItem desktop, over AT-SPI, on a small laptop
screen and a large one: "Get started" opens set-up as a frame titled "Welcome to Brindlow", the
connection test's answer is read out in its own words, both steps keep every control on the
screen, and "Start my first refresh" brings the panel back to show the refresh under way. Once
more with "A server of your own" chosen and no key, through to "Review changes"; and with "No
model", through to "Review changes" with no key stored and no request made.

Usage (under dbus-run-session): tray_onboarding.py BRINDLOW FAKE_SERVICE [WIDTHxHEIGHT [server | none]]
"""

import os
import subprocess
import sys

from desktop_session import Failure, Session, skip_unless_available, wait_for
from tray_end_to_end import SIZES, in_reach
from tray_registration import Watcher

WELCOME = "Welcome to Brindlow"


def choose(screen, node):
    """Selects a radio button, which offers Toggle where a push button offers Press."""
    action = node.queryAction()
    for index in range(action.nActions):
        if action.getName(index) in ("Toggle", "Press"):
            action.doAction(index)
            return
    raise Failure(f"{node.name!r} cannot be chosen")


def field(screen, name):
    """The text field named `name`, not the caption beside it that reads the same."""
    roles = (screen.pyatspi.ROLE_TEXT, screen.pyatspi.ROLE_ENTRY, screen.pyatspi.ROLE_PASSWORD_TEXT)
    return next((node for node in (screen.showing(name, role) for role in roles) if node), None)


def connect_own_server(screen, alive):
    choose(screen, wait_for('"A server of your own"', lambda: screen.showing("A server of your own"), 10, alive))
    address = wait_for("the address field", lambda: field(screen, "Server address"), 10, alive)
    screen.type_into(address, "http://localhost:11434")
    model = wait_for("the model field", lambda: field(screen, "Model for sorting"), 10, alive)
    screen.type_into(model, "local-sorter")
    screen.press(wait_for('"Test connection"', lambda: screen.showing("Test connection"), 10, alive))
    wait_for('the result "Connected."', lambda: screen.showing("Connected."), 30, alive)


def run(program, fake_service, size, own_server=False):
    with Session(program, fake_service) as session:
        watcher, alive, screen = session.launch(size, newcomer=True, before_program=lambda s: Watcher(s.bus()))
        wait_for("the tray item", lambda: watcher.items, 30, alive)

        screen.press(wait_for('"Get started"', lambda: screen.showing("Get started"), 30, alive))
        in_reach(screen, WELCOME, size, alive)
        if own_server:
            connect_own_server(screen, alive)
        else:
            key = wait_for("the key field", lambda: screen.showing("Claude API key"), 10, alive)
            screen.type_into(key, "sk-test")
            screen.press(wait_for('"Test connection"', lambda: screen.showing("Test connection"), 10, alive))
            # The answer itself is what a screen reader reads, not a caption standing for it.
            wait_for('the result "Connected."', lambda: screen.showing("Connected."), 30, alive)
            # The service's record of requests, which the way without a model must leave empty.
            if not os.path.exists(os.path.join(session.home, ".fake-service-requests")):
                raise Failure("the fake service kept no record of the connection test")

        screen.press(wait_for('"Continue"', lambda: screen.showing("Continue"), 10, alive))
        start = wait_for('"Start my first refresh"', lambda: screen.showing("Start my first refresh"), 10, alive)
        in_reach(screen, WELCOME, size, alive)
        screen.press(start)
        wait_for("set-up to close", lambda: not screen.window(WELCOME), 10, alive)
        if own_server:
            wait_for('"Review changes"', lambda: screen.showing("Review changes"), 60, alive)
        wait_for(
            "the panel showing the first refresh",
            lambda: screen.showing("Stop refresh") or screen.showing("Review changes"),
            30,
            alive,
        )
        in_reach(screen, "Brindlow", size, alive)


def run_without_model(program, fake_service, size):
    with Session(program, fake_service) as session:
        watcher, alive, screen = session.launch(size, newcomer=True, before_program=lambda s: Watcher(s.bus()))
        wait_for("the tray item", lambda: watcher.items, 30, alive)

        screen.press(wait_for('"Get started"', lambda: screen.showing("Get started"), 30, alive))
        choose(screen, wait_for('"Sort without a model"', lambda: screen.showing("Sort without a model"), 10, alive))
        screen.press(wait_for('"Continue"', lambda: screen.showing("Continue"), 10, alive))
        start = wait_for('"Start my first refresh"', lambda: screen.showing("Start my first refresh"), 10, alive)
        in_reach(screen, WELCOME, size, alive)
        screen.press(start)
        wait_for('the panel offering "Review changes"', lambda: screen.showing("Review changes"), 60, alive)
        if os.path.exists(os.path.join(session.home, ".local/share/Brindlow/config.json")):
            raise Failure("a key was stored although none was given")
        if os.path.exists(os.path.join(session.home, ".fake-service-requests")):
            raise Failure("a request reached the service although no model was chosen")


def main(program, fake_service, size=None, variant=None):
    skip_unless_available()
    if size:
        if variant == "none":
            run_without_model(program, fake_service, tuple(int(n) for n in size.split("x")))
        else:
            run(program, fake_service, tuple(int(n) for n in size.split("x")), variant == "server")
        return
    # One process per screen: the accessibility library keeps its first bus for good.
    for width, height in SIZES:
        code = subprocess.run([sys.executable, __file__, program, fake_service, f"{width}x{height}"]).returncode
        if code != 0:
            sys.exit(code)
        print(f"PASS at {width}x{height}")
    width, height = SIZES[0]
    code = subprocess.run([sys.executable, __file__, program, fake_service, f"{width}x{height}", "server"]).returncode
    if code != 0:
        sys.exit(code)
    print(f"PASS with a server of one's own at {width}x{height}")
    code = subprocess.run([sys.executable, __file__, program, fake_service, f"{width}x{height}", "none"]).returncode
    if code != 0:
        sys.exit(code)
    print(f"PASS with no model at {width}x{height}")


if __name__ == "__main__":
    try:
        main(*sys.argv[1:5])
    except Failure as failure:
        sys.exit(f"FAIL: {failure}")
