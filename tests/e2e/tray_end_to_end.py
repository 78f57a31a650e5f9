"""The tray program as a person uses it, over AT-SPI: the panel opens by itself, "Refresh now"
sorts the new files against the fake Messages API, and the panel offers "Review changes".

Usage (under dbus-run-session): tray_end_to_end.py BRINDLOW FAKE_SERVICE
"""

import sys

from desktop_session import Accessible, Failure, Session, skip_unless_available, wait_for


def main(program, fake_service):
    skip_unless_available()
    with Session(program, fake_service) as session:
        session.start_display()
        session.start_accessibility_bus()
        session.start_fake_service()
        brindlow = session.start_program()
        alive = [("brindlow", brindlow)]
        screen = Accessible(brindlow.pid)

        # No tray on a bare X server: the panel is an ordinary window that opens at launch.
        refresh = wait_for('the panel\'s "Refresh now"', lambda: screen.showing("Refresh now"), 30, alive)
        screen.press(refresh)
        wait_for('"Review changes"', lambda: screen.showing("Review changes"), 60, alive)
        if screen.showing("Refresh now"):
            raise Failure('the idle panel is still shown beside "Review changes"')
    print('PASS: "Refresh now" led to "Review changes"')


if __name__ == "__main__":
    try:
        main(*sys.argv[1:3])
    except Failure as failure:
        sys.exit(f"FAIL: {failure}")
