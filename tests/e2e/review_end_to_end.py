"""The review window by keyboard alone, over AT-SPI as a screen reader user drives it: a refresh is
reviewed, one Organize tile is sent elsewhere with "Move to…" (M, then the menu's arrows), another
file gets a name typed into the details pane, and the approved plan is checked on disk: the moved
file in the chosen folder, the renamed one under the typed name, every file's bytes still there.

Usage (under dbus-run-session): review_end_to_end.py BRINDLOW FAKE_SERVICE
"""

import collections
import hashlib
import os
import sys

from desktop_session import Failure, Session, skip_unless_available, wait_for

TAB, RETURN, RIGHT, DOWN = 0xFF09, 0xFF0D, 0xFF53, 0xFF54


def key(screen, symbol):
    screen.pyatspi.Registry.generateKeyboardEvent(symbol, None, screen.pyatspi.KEY_SYM)


def has_focus(screen, node):
    try:
        return node.getState().contains(screen.pyatspi.STATE_FOCUSED)
    except Exception:
        return False


class Announcements:
    """What gains the focus, as the events a screen reader speaks from: Qt leaves an open popup
    menu out of the application's tree, so its items are met only through these."""

    def __init__(self, screen):
        self.all = []
        self.read = 0
        screen.pyatspi.Registry.registerEventListener(self.heard, "object:state-changed:focused")

    def heard(self, event):
        try:
            # A tile's focus can still be on its way from before the menu opened.
            if event.detail1 and event.source.getRoleName() in ("menu item", "menu"):
                self.all.append((event.source.getRoleName(), event.source.name))
        except Exception:  # gone before we asked
            pass

    def next(self):
        if self.read < len(self.all):
            self.read += 1
            return self.all[self.read - 1]
        return None


def checksums(home):
    """Every visible file under `home` by content, ignoring where it is and what it is called."""
    found = collections.Counter()
    for folder, subfolders, files in os.walk(home):
        subfolders[:] = [name for name in subfolders if not name.startswith(".")]
        for name in files:
            with open(os.path.join(folder, name), "rb") as file:
                found[hashlib.sha256(file.read()).hexdigest()] += 1
    return found


class Review:
    """The review window's parts a screen reader user listens to."""

    def __init__(self, screen, alive):
        self.screen = screen
        self.alive = alive

    def detail(self, label):
        """What the details pane says for `label`: the value is the description of the label named
        so (the form's caption beside it carries the same name and no description)."""
        pane = self.screen.showing("Details", self.screen.pyatspi.ROLE_FILLER)
        stack = [pane] if pane is not None else []
        try:
            while stack:
                node = stack.pop()
                if node is None:
                    continue
                if node.name == label and node.description:
                    return node.description
                stack.extend(node.getChildAtIndex(i) for i in range(node.childCount))
        except Exception:  # rebuilt under us; the next poll sees the new one
            return None
        return None

    def wait_detail(self, label, value, what):
        wait_for(what, lambda: self.detail(label) == value, 10, self.alive)

    def tab_to(self, name, role, limit=8):
        """Presses Tab until the control `name` has the keyboard focus."""
        for _ in range(limit):
            node = self.screen.showing(name, role)
            if node is not None and has_focus(self.screen, node):
                return node
            before = self.screen.focused()
            key(self.screen, TAB)
            wait_for(f"Tab to move the focus towards {name!r}", lambda: self.screen.focused() != before, 5, self.alive)
        raise Failure(f"{name!r} never took the focus by Tab")

    def walk_to_tile(self, name, limit=6):
        """Right arrow through the tiles until the details pane describes `name`."""
        for _ in range(limit):
            shown = self.detail("Full name")
            if shown == name:
                return
            key(self.screen, RIGHT)
            wait_for(f"the details pane to follow the arrow towards {name}",
                     lambda: self.detail("Full name") != shown, 5, self.alive)
        raise Failure(f"the arrow keys never reached the tile {name!r}")


def main(program, fake_service):
    skip_unless_available()
    with Session(program, fake_service) as session:
        _, alive, screen = session.launch()
        pyatspi = screen.pyatspi
        review = Review(screen, alive)
        base = os.path.join(session.home, "Documents")

        screen.press(wait_for('"Refresh now"', lambda: screen.showing("Refresh now"), 30, alive))
        screen.press(wait_for('"Review changes"', lambda: screen.showing("Review changes"), 60, alive))
        wait_for('the window "Your fresh start"', lambda: screen.window("Your fresh start"), 30, alive)
        before = checksums(session.home)

        grid = review.tab_to("Files to organize", pyatspi.ROLE_LIST)
        wait_for("the details pane to describe the current tile", lambda: review.detail("Full name"), 10, alive)
        review.walk_to_tile("notes.txt")
        review.wait_detail("Goes to", "Documents/Personal/Documents", "notes.txt to be bound for Personal first")

        heard = Announcements(screen)
        key(screen, ord("m"))
        for _ in range(12):
            key(screen, DOWN)
            said = wait_for("the menu to announce the item under the arrow", heard.next, 5, alive)
            if said == ("menu item", "Work Admin"):
                break
        else:
            raise Failure(f'"Move to…" never offered Work Admin; it said {heard.all}')
        key(screen, RETURN)
        review.wait_detail("Goes to", "Documents/Work Admin", 'the details pane to show the destination chosen in "Move to…"')
        wait_for("the grid to have the keyboard back", lambda: has_focus(screen, grid), 5, alive)

        review.walk_to_tile("receipt.txt")
        field = review.tab_to("New name", pyatspi.ROLE_TEXT)
        # Tab selects the proposed name, so typing replaces it.
        screen.pyatspi.Registry.generateKeyboardEvent(0, "coffee receipt", screen.pyatspi.KEY_STRING)
        text = field.queryText()
        wait_for('the typed name in "New name"', lambda: text.getText(0, -1) == "coffee receipt", 5, alive)
        key(screen, RETURN)
        wait_for('the new name in the "Rename" tab', lambda: screen.showing("Rename 1", pyatspi.ROLE_PAGE_TAB), 10, alive)

        # Three files, however many things change about each.
        screen.press(wait_for('"Approve 3 changes"', lambda: screen.showing("Approve 3 changes"), 10, alive))
        moved = os.path.join(base, "Work Admin", "notes.txt")
        renamed = os.path.join(base, "Personal", "Documents", "coffee receipt.txt")
        wait_for("notes.txt in Work Admin", lambda: os.path.exists(moved), 30, alive)
        wait_for('receipt.txt filed as "coffee receipt.txt"', lambda: os.path.exists(renamed), 30, alive)
        wait_for("the letter filed where it was bound",
                 lambda: os.path.exists(os.path.join(base, "Personal", "Documents", "letter to the bank.txt")), 30, alive)
        for stray in ("Personal/Documents/notes.txt", "Personal/Documents/receipt.txt"):
            if os.path.exists(os.path.join(base, stray)):
                raise Failure(f"{stray} exists: the apply ignored a choice made in the review")
        with open(renamed, "rb") as file:
            if not file.read().startswith(b"Receipt:"):
                raise Failure("coffee receipt.txt does not hold the receipt")
        after = checksums(session.home)
        if after - before or before - after:
            raise Failure(f"the home's files changed: lost {dict(before - after)}, gained {dict(after - before)}")
    print('PASS: "Move to…" and a typed name were applied as chosen')


if __name__ == "__main__":
    try:
        main(*sys.argv[1:3])
    except Failure as failure:
        sys.exit(f"FAIL: {failure}")
