"""One file goes back from the move history, over AT-SPI as a screen reader drives it: a refresh
is reviewed and approved, the done panel's "History" opens the history, one file of the apply is
selected in its list and "Put back" returns it to where it came from, the rest staying filed.

Usage (under dbus-run-session): history_end_to_end.py BRINDLOW FAKE_SERVICE
"""

import os
import sys

from desktop_session import Failure, Session, skip_unless_available, wait_for


def row_named(table, name):
    """The row of the files list whose first cell reads `name`, or None."""
    for row in range(table.nRows):
        cell = table.getAccessibleAt(row, 0)
        if cell is not None and cell.name == name:
            return row
    return None


def main(program, fake_service):
    skip_unless_available()
    with Session(program, fake_service) as session:
        _, alive, screen = session.launch()
        downloads = os.path.join(session.home, "Downloads")

        screen.press(wait_for('"Refresh now"', lambda: screen.showing("Refresh now"), 30, alive))
        screen.press(wait_for('"Review changes"', lambda: screen.showing("Review changes"), 60, alive))
        screen.press(wait_for('"Approve 3 changes"', lambda: screen.showing("Approve 3 changes"), 30, alive))
        wait_for("the files to move", lambda: not os.path.exists(os.path.join(downloads, "notes.txt")), 30, alive)
        screen.press(wait_for('the done panel\'s "History"', lambda: screen.showing("History"), 30, alive))

        files = wait_for('the history\'s "Files"', lambda: screen.showing("Files"), 30, alive)
        table = files.queryTable()
        row = wait_for("notes.txt in the files", lambda: row_named(table, "notes.txt"), 30, alive)
        if not table.addRowSelection(row):
            raise Failure("the row of notes.txt could not be selected")
        put_back = wait_for('"Put back"', lambda: screen.showing("Put back"), 10, alive)
        wait_for('"Put back" enabled', lambda: put_back.getState().contains(screen.pyatspi.STATE_ENABLED), 10, alive)
        screen.press(put_back)
        wait_for("notes.txt back in Downloads", lambda: os.path.exists(os.path.join(downloads, "notes.txt")), 30, alive)
        message = wait_for('the "History message"', lambda: screen.showing("History message"), 10, alive)
        wait_for("the history to say so",
                 lambda: message.description == "Put 1 file back where it was.", 30, alive)
        if os.path.exists(os.path.join(downloads, "receipt.txt")):
            raise Failure("receipt.txt came back too, though only notes.txt was put back")
    print('PASS: "Put back" in the history returned one file of an apply')


if __name__ == "__main__":
    try:
        main(*sys.argv[1:3])
    except Failure as failure:
        sys.exit(f"FAIL: {failure}")
