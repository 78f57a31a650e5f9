"""A throw-away desktop for driving the real tray program the way a person (or Orca) does.

Runs inside a private session bus (the tests are started by dbus-run-session) and brings up
everything else itself: a headless X server, the accessibility bus, a temporary home that the
fake Messages API helper fills and serves, and the program. Every process it starts runs in a
process group of its own and is ended, with all its children, when the session closes.
"""

import importlib.util
import os
import select
import shutil
import signal
import subprocess
import sys
import tempfile
import time

SKIP = 77


class Failure(Exception):
    pass


def skip_unless_available():
    """Ends the test as skipped when the machine cannot host it at all."""
    if not shutil.which("Xvfb"):
        print("SKIP: Xvfb is not installed (Debian package xvfb)")
        sys.exit(SKIP)
    # Only looked up here: importing it connects to the accessibility bus, which is not up yet.
    if importlib.util.find_spec("pyatspi") is None:
        print(f"SKIP: pyatspi is not importable by {sys.executable} (Debian package python3-pyatspi)")
        sys.exit(SKIP)
    if not os.environ.get("DBUS_SESSION_BUS_ADDRESS"):
        raise Failure("no session bus: run this under dbus-run-session")


def pump():
    """Lets GLib deliver D-Bus calls to services this process exports."""
    from gi.repository import GLib

    context = GLib.MainContext.default()
    while context.iteration(False):
        pass


def wait_for(what, condition, timeout, alive=()):
    """Polls `condition` until it returns something true; fails after `timeout` seconds, or at
    once when one of the `alive` processes has ended, since nothing will change after that."""
    deadline = time.monotonic() + timeout
    while True:
        pump()
        result = condition()
        if result:
            return result
        for name, process in alive:
            if process.poll() is not None:
                raise Failure(f"{name} ended with code {process.returncode} while waiting for {what}")
        if time.monotonic() > deadline:
            raise Failure(f"gave up after {timeout} s waiting for {what}")
        time.sleep(0.1)


def wait_until_connectable(display, timeout):
    """True once an X client can open `display`."""
    import ctypes
    import ctypes.util

    xlib = ctypes.cdll.LoadLibrary(ctypes.util.find_library("X11") or "libX11.so.6")
    xlib.XOpenDisplay.restype = ctypes.c_void_p
    xlib.XOpenDisplay.argtypes = [ctypes.c_char_p]
    xlib.XCloseDisplay.argtypes = [ctypes.c_void_p]
    deadline = time.monotonic() + timeout
    while time.monotonic() < deadline:
        connection = xlib.XOpenDisplay(display.encode())
        if connection:
            xlib.XCloseDisplay(connection)
            return True
        time.sleep(0.1)
    return False


class Session:
    def __init__(self, program, fake_service):
        self.program_path = program
        self.fake_service_path = fake_service
        self.scratch = tempfile.TemporaryDirectory(prefix="brindlow-e2e-")
        self.home = os.path.join(self.scratch.name, "home")
        self.runtime = os.path.join(self.scratch.name, "runtime")
        os.mkdir(self.home)
        os.mkdir(self.runtime, 0o700)
        self.processes = []
        self.logs = {}
        self.env = dict(os.environ)
        self.env.update(
            HOME=self.home,
            XDG_DATA_HOME=os.path.join(self.home, ".local/share"),
            XDG_CONFIG_HOME=os.path.join(self.home, ".config"),
            XDG_CACHE_HOME=os.path.join(self.home, ".cache"),
            # The program's single-instance socket lives here; a real session's copy must not answer.
            XDG_RUNTIME_DIR=self.runtime,
            QT_QPA_PLATFORM="xcb",
            QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1",
        )
        for name in ("WAYLAND_DISPLAY", "QT_QPA_PLATFORMTHEME", "XDG_CURRENT_DESKTOP", "BRINDLOW_API_URL"):
            self.env.pop(name, None)
        # Signalled by CTest's timeout: end through `close` rather than leave an X server behind.
        signal.signal(signal.SIGTERM, lambda *_: sys.exit("terminated"))

    def __enter__(self):
        return self

    def __exit__(self, kind, value, trace):
        if kind is not None:
            self.print_logs()
        self.close()
        return False

    def spawn(self, name, arguments, **options):
        log = open(os.path.join(self.scratch.name, name + ".log"), "w+b")
        self.logs[name] = log
        options.setdefault("stdout", log)
        process = subprocess.Popen(arguments, env=self.env, stderr=log, start_new_session=True, **options)
        self.processes.append((name, process))
        return process

    def start_display(self, size=(1280, 800)):
        # -noreset: the accessibility bus launcher is a short-lived first client, and a server that
        # resets when it leaves refuses the program connecting at that moment. A server that
        # still accepts no one is replaced rather than failing the test.
        for attempt in range(3):
            self._start_server(size)
            if wait_until_connectable(self.env["DISPLAY"], 5):
                return
            name, process = self.processes.pop()
            os.killpg(process.pid, signal.SIGTERM)
            process.wait()
        raise Failure(f"no X server accepted connections on {self.env['DISPLAY']}")

    def _start_server(self, size):
        self.screen_size = size
        read_end, write_end = os.pipe()
        self.spawn(
            "Xvfb",
            ["Xvfb", "-displayfd", str(write_end), "-nolisten", "tcp", "-noreset", "-screen", "0", f"{size[0]}x{size[1]}x24"],
            pass_fds=(write_end,),
            stdout=subprocess.DEVNULL,
        )
        os.close(write_end)
        number = b""
        deadline = time.monotonic() + 20
        while not number.endswith(b"\n"):
            ready, _, _ = select.select([read_end], [], [], max(0.0, deadline - time.monotonic()))
            chunk = os.read(read_end, 16) if ready else b""
            if not chunk:
                os.close(read_end)
                raise Failure("Xvfb did not report a display")
            number += chunk
        os.close(read_end)
        self.env["DISPLAY"] = ":" + number.decode().strip()
        os.environ["DISPLAY"] = self.env["DISPLAY"]

    def start_accessibility_bus(self):
        launcher = next(
            (path for path in ("/usr/libexec/at-spi-bus-launcher", "/usr/lib/at-spi2-core/at-spi-bus-launcher")
             if os.access(path, os.X_OK)),
            None,
        )
        if not launcher:
            raise Failure("at-spi-bus-launcher not found (Debian package at-spi2-core)")
        # Started by hand rather than by bus activation, so that it and its bus end with the test.
        process = self.spawn("at-spi-bus-launcher", [launcher, "--launch-immediately", "--a11y=1"])
        wait_for("the accessibility bus", lambda: self.name_owner("org.a11y.Bus"), 20,
                 alive=[("at-spi-bus-launcher", process)])

    def start_fake_service(self, newcomer=False, slow=False):
        """Fills the home and serves the Messages API until this session closes its input; a
        newcomer's home has files but no set-up yet; a slow service answers after 1.5 s."""
        arguments = [self.fake_service_path] + (["--newcomer"] if newcomer else []) + (["--slow"] if slow else [])
        process = self.spawn("fake_service", arguments, stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        ready, _, _ = select.select([process.stdout], [], [], 20)
        url = process.stdout.readline().decode().strip() if ready else ""
        if not url.startswith("http://"):
            raise Failure("the fake Messages API did not start")
        self.env["BRINDLOW_API_URL"] = url

    def start_program(self):
        return self.spawn("brindlow", [self.program_path])

    def launch(self, size=(1280, 800), newcomer=False, before_program=lambda session: None):
        """The whole desktop, then the program on it. Returns what `before_program` made (a
        watcher that must be listening before the program starts), the processes whose end fails
        a wait, and the program as a screen reader sees it."""
        self.start_display(size)
        self.start_accessibility_bus()
        made = before_program(self)
        self.start_fake_service(newcomer=newcomer)
        brindlow = self.start_program()
        return made, [("brindlow", brindlow)], Accessible(brindlow.pid)

    def bus(self):
        from gi.repository import Gio

        return Gio.bus_get_sync(Gio.BusType.SESSION, None)

    def name_owner(self, name):
        from gi.repository import GLib

        reply = self.bus().call_sync(
            "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "NameHasOwner",
            GLib.Variant("(s)", (name,)), GLib.VariantType("(b)"), 0, 5000, None,
        )
        return reply.unpack()[0]

    def name_pid(self, name):
        from gi.repository import GLib

        reply = self.bus().call_sync(
            "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
            "GetConnectionUnixProcessID", GLib.Variant("(s)", (name,)), GLib.VariantType("(u)"), 0, 5000, None,
        )
        return reply.unpack()[0]

    def print_logs(self):
        for name, log in self.logs.items():
            log.seek(0)
            text = log.read().decode(errors="replace").strip()
            if text:
                print(f"--- {name} ---\n{text[-4000:]}", file=sys.stderr)

    def close(self):
        for name, process in reversed(self.processes):
            if process.stdin:
                process.stdin.close()
            self._signal_group(process, signal.SIGTERM)
        deadline = time.monotonic() + 5
        for name, process in reversed(self.processes):
            try:
                process.wait(max(0.1, deadline - time.monotonic()))
            except subprocess.TimeoutExpired:
                pass
            # Children of the group (the accessibility bus, its registry) go too, even when the
            # leader has already gone.
            self._signal_group(process, signal.SIGKILL)
            process.wait()
            if process.stdout:
                process.stdout.close()
        for log in self.logs.values():
            log.close()
        self.scratch.cleanup()

    @staticmethod
    def _signal_group(process, number):
        try:
            os.killpg(process.pid, number)
        except (ProcessLookupError, PermissionError):
            pass


class Accessible:
    """The program as a screen reader sees it over AT-SPI."""

    def __init__(self, pid):
        import pyatspi

        self.pyatspi = pyatspi
        self.pid = pid
        self.app = None

    def application(self):
        if self.app is None:
            from gi.repository import Atspi

            desktop = self.pyatspi.Registry.getDesktop(0)
            for index in range(desktop.childCount):
                app = desktop.getChildAtIndex(index)
                if app is not None and app.get_process_id() == self.pid:
                    # States and children change under us; ask the program every time.
                    app.set_cache_mask(Atspi.Cache.NONE)
                    self.app = app
        return self.app

    def showing(self, name, role=None):
        """The control a person can see with this accessible name, or None."""
        app = self.application()
        if app is None:
            return None
        try:
            stack = [app]
            while stack:
                node = stack.pop()
                if node is None:
                    continue
                states = node.getState()
                if not states.contains(self.pyatspi.STATE_SHOWING) and node is not app:
                    continue
                if node.name == name and (role is None or node.getRole() == role):
                    return node
                stack.extend(node.getChildAtIndex(i) for i in range(node.childCount))
        except Exception:  # the tree changed while we walked it; the next poll sees the new one
            return None
        return None

    def window(self, title):
        """The program's top-level window with this title, as a screen reader finds it: a frame."""
        app = self.application()
        if app is None:
            return None
        try:
            for index in range(app.childCount):
                node = app.getChildAtIndex(index)
                if node is not None and node.name == title and node.getRole() == self.pyatspi.ROLE_FRAME:
                    if node.getState().contains(self.pyatspi.STATE_SHOWING):
                        return node
        except Exception:
            return None
        return None

    CONTROLS = ("push button", "check box", "toggle button", "text", "entry", "password text", "radio button",
                "page tab", "label", "static")

    def out_of_reach(self, window, screen_size):
        """What of the window lies (partly) outside the screen: the window itself, or a shown
        control. A control beyond the window's own edge is scrolled away, which is in reach only
        when the window has a scroll bar to bring it back."""
        width, height = screen_size

        def box(node):
            extents = node.queryComponent().getExtents(self.pyatspi.DESKTOP_COORDS)
            return extents.x, extents.y, extents.x + extents.width, extents.y + extents.height

        def within(inner, outer):
            return inner[0] >= outer[0] and inner[1] >= outer[1] and inner[2] <= outer[2] and inner[3] <= outer[3]

        frame = box(window)
        missing = [] if within(frame, (0, 0, width, height)) else [f"the window itself at {frame}"]
        controls, scrolls = [], False
        stack = [window]
        while stack:
            node = stack.pop()
            if node is None or not node.getState().contains(self.pyatspi.STATE_SHOWING):
                continue
            role = node.getRoleName()
            scrolls = scrolls or role == "scroll bar"
            if role in self.CONTROLS:
                controls.append(node)
            stack.extend(node.getChildAtIndex(i) for i in range(node.childCount))
        for control in controls:
            place = box(control)
            if place[2] <= place[0] or place[3] <= place[1]:
                continue
            on_screen = within(place, (0, 0, width, height))
            in_window = within(place, frame)
            # Cut off by the window's edge and no way to scroll to it, or off the screen itself
            # without being scrolled away.
            if (not in_window and not scrolls) or (not on_screen and in_window):
                missing.append(f"{control.name or control.getRoleName()!r} at {place}")
        return missing

    def focused(self):
        """Everything that says it has the keyboard focus, as role and name."""
        found = []
        stack = [self.application()]
        while stack:
            node = stack.pop()
            if node is None:
                continue
            if node.getState().contains(self.pyatspi.STATE_FOCUSED):
                found.append((node.getRoleName(), node.name, node.parent))
            stack.extend(node.getChildAtIndex(i) for i in range(node.childCount))
        return found

    def type_into(self, node, text):
        node.queryEditableText().setTextContents(text)

    def press(self, node):
        action = node.queryAction()
        for index in range(action.nActions):
            if action.getName(index) == "Press":
                action.doAction(index)
                return
        raise Failure(f"{node.name!r} cannot be pressed")
