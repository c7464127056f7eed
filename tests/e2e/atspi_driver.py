"""Drives a running Qt program through the AT-SPI accessibility tree, as a screen reader
would: finds controls by accessible name and role, presses them, reads their text, and
drags across them with synthesised pointer events. Run it under scripts/with-display.sh
with Debian's Python (/usr/bin/python3), which has the gi bindings of AT-SPI.

Every wait has a deadline, and the launched program is stopped when the driver closes, so
a test never hangs on a missing control.
"""
import os
import signal
import subprocess
import time

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi  # noqa: E402


class DriverError(AssertionError):
    pass


# Qt reports extents in its device-independent pixels; the X test extension moves the
# pointer in the screen's pixels, QT_SCALE_FACTOR times as many.
DEVICE_SCALE = float(os.environ.get("QT_SCALE_FACTOR") or 1)


def _pointer(x, y, name):
    Atspi.generate_mouse_event(round(x * DEVICE_SCALE), round(y * DEVICE_SCALE), name)


def _safe(call, default=None):
    try:
        return call()
    except Exception:  # a node that went away while we looked at it
        return default


def describe(node):
    return "%s %r" % (_safe(node.get_role_name, "?"), _safe(node.get_name, "?"))


class Application:
    """One program under test, found in the accessibility tree by its process id."""

    def __init__(self, argv, *, start_timeout=20.0, env=None):
        Atspi.set_timeout(5000, 20000)
        self.process = subprocess.Popen(argv, env=env)
        self.root = self._wait_for_root(start_timeout)

    def _wait_for_root(self, limit):
        deadline = time.monotonic() + limit
        while time.monotonic() < deadline:
            if self.process.poll() is not None:
                raise DriverError("the program ended with status %d before it showed a window" % self.process.returncode)
            desktop = Atspi.get_desktop(0)
            for i in range(_safe(desktop.get_child_count, 0)):
                app = _safe(lambda: desktop.get_child_at_index(i))
                if app is not None and _safe(app.get_process_id) == self.process.pid and _safe(app.get_child_count, 0) > 0:
                    return app
            time.sleep(0.2)
        raise DriverError("no accessible application for process %d within %.0fs" % (self.process.pid, limit))

    # Finding -------------------------------------------------------------------------

    def nodes(self, root=None, max_depth=40):
        """Every node below root (the application by default), depth first."""
        stack = [(root or self.root, 0)]
        while stack:
            node, depth = stack.pop()
            yield node
            if depth >= max_depth:
                continue
            count = _safe(node.get_child_count, 0)
            for i in reversed(range(count)):
                child = _safe(lambda: node.get_child_at_index(i))
                if child is not None:
                    stack.append((child, depth + 1))

    def find_all(self, role=None, name=None, showing_only=True, within=None):
        found = []
        for node in self.nodes(within):
            if role is not None and _safe(node.get_role_name) != role:
                continue
            if name is not None and _safe(node.get_name) != name:
                continue
            if showing_only and not self.is_showing(node):
                continue
            found.append(node)
        return found

    def find(self, role, name, timeout=10.0, showing_only=True, within=None):
        """The one node with this role (any role for None) and accessible name below
        within (the application by default); waits for it to appear."""
        deadline = time.monotonic() + timeout
        while True:
            found = self.find_all(role, name, showing_only, within)
            if len(found) == 1:
                return found[0]
            if len(found) > 1:
                raise DriverError("%d nodes are %s %r; a test needs one" % (len(found), role, name))
            if time.monotonic() >= deadline:
                raise DriverError("no %s named %r within %.0fs" % (role or "node", name, timeout))
            time.sleep(0.2)

    # Reading -------------------------------------------------------------------------

    @staticmethod
    def states(node):
        state_set = node.get_state_set()
        return {s for s in Atspi.StateType.__enum_values__.values() if state_set.contains(s)}

    @classmethod
    def is_showing(cls, node):
        state_set = _safe(node.get_state_set)
        return state_set is not None and state_set.contains(Atspi.StateType.SHOWING)

    @staticmethod
    def has_state(node, state):
        return node.get_state_set().contains(state)

    @staticmethod
    def text(node):
        """What a node reads: its Text interface where it has one, else its description
        (a Qt label with a name of its own reports its text there), else its name."""
        text = _safe(node.get_text_iface)
        if text is not None:
            return text.get_text(0, text.get_character_count())
        return node.get_description() or node.get_name()

    @staticmethod
    def extents(node):
        """(x, y, width, height) on the screen, in Qt's device-independent pixels."""
        rect = node.get_component_iface().get_extents(Atspi.CoordType.SCREEN)
        return rect.x, rect.y, rect.width, rect.height

    def wait_until(self, predicate, what, timeout=10.0):
        deadline = time.monotonic() + timeout
        while True:
            value = _safe(predicate)
            if value:
                return value
            if time.monotonic() >= deadline:
                raise DriverError("%s did not happen within %.0fs" % (what, timeout))
            time.sleep(0.1)

    # Acting --------------------------------------------------------------------------

    @staticmethod
    def press(node):
        """Runs the node's press action, as a screen reader's activation does."""
        action = node.get_action_iface()
        if action is None:
            raise DriverError("%s has no actions" % describe(node))
        names = [action.get_action_name(i) for i in range(action.get_n_actions())]
        for wanted in ("press", "click", "activate", "toggle"):
            for i, name in enumerate(names):
                if name.lower() == wanted:
                    if not action.do_action(i):
                        raise DriverError("%s refused %s" % (describe(node), name))
                    return
        raise DriverError("%s has no press action among %s" % (describe(node), names))

    KEYSYMS = {"Tab": 0xFF09, "Return": 0xFF0D, "space": 0x20, "Escape": 0xFF1B}

    @classmethod
    def key(cls, name):
        """Presses and releases one key through the X test extension."""
        Atspi.generate_keyboard_event(cls.KEYSYMS[name], None, Atspi.KeySynthType.SYM)

    @staticmethod
    def focus(node):
        if not node.get_component_iface().grab_focus():
            raise DriverError("%s refused the focus" % describe(node))

    @staticmethod
    def click(point, hold=0.05):
        """A left-button click at a point of extents() through the X test extension."""
        x, y = point
        _pointer(x, y, "abs")
        _pointer(x, y, "b1p")
        time.sleep(hold)
        _pointer(x, y, "b1r")

    @staticmethod
    def drag(start, end, steps=12, step_delay=0.016):
        """A left-button drag between points of extents() through the X test extension."""
        (x0, y0), (x1, y1) = start, end
        _pointer(x0, y0, "abs")
        _pointer(x0, y0, "b1p")
        for k in range(1, steps + 1):
            time.sleep(step_delay)
            _pointer(x0 + (x1 - x0) * k / steps, y0 + (y1 - y0) * k / steps, "abs")
        _pointer(x1, y1, "b1r")

    # Ending --------------------------------------------------------------------------

    def close(self, timeout=5.0):
        if self.process.poll() is None:
            self.process.send_signal(signal.SIGTERM)
            try:
                self.process.wait(timeout)
            except subprocess.TimeoutExpired:
                self.process.kill()
                self.process.wait()
        return self.process.returncode

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()
        return False


def require_display():
    if not os.environ.get("DISPLAY") or not os.environ.get("DBUS_SESSION_BUS_ADDRESS"):
        raise SystemExit("run under scripts/with-display.sh: no DISPLAY or session bus")
