"""End to end: tamrix-editor on every sample photo and video and on a broken file, on a
real X server, driven over AT-SPI by accessible name as a screen reader would drive it.

Every file gets a short check: the chrome is there (trim and audio for a video only),
a tool opens and its cancel closes it, and the close button ends the program cleanly.
Started without a file, it asks with the file chooser and opens the file chosen.
One photo and one video get the whole flow: tools confirmed and cancelled by button
and by keyboard, an adjustment raised on its slider through the Value interface and
confirmed, undone and redone, another changed and cancelled; then share, "Save As…"
through the file chooser into a temporary folder, and the saved file is checked with
ffprobe: a JPEG of the photo's size, a QuickTime movie with HEVC. A broken file shows the
"Unable to Open" alert, whose OK ends the program cleanly.

    scripts/with-display.sh -- /usr/bin/python3 tests/e2e/editor_e2e.py build/bin/tamrix-editor ../shared/media
"""
import filecmp
import json
import os
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
try:
    from atspi_driver import Application, Atspi, DriverError, require_display  # noqa: E402
except (ImportError, ValueError) as missing:
    print("skipped: the AT-SPI bindings are missing (%s); run scripts/install-deps.sh" % missing)
    sys.exit(77)

PHOTO_TOOLS = ["Transform", "Filter", "Adjust", "Focus"]
VIDEO_TOOLS = PHOTO_TOOLS + ["Trim", "Audio"]
PHOTO_TYPES = (".jpg", ".jpeg", ".png", ".heic", ".webp")
VIDEO_TYPES = (".mov", ".mp4")
KEY_ESCAPE, KEY_RETURN = 0xFF1B, 0xFF0D
# X modifier masks.
SHIFT, CONTROL = 1, 4


def ffprobe(path):
    out = subprocess.run(["ffprobe", "-v", "error", "-show_entries",
                          "stream=codec_type,codec_name,width,height:format=format_name", "-of", "json", path],
                         check=True, capture_output=True, text=True).stdout
    return json.loads(out)


def video_stream(probe):
    return next(s for s in probe["streams"] if s.get("codec_type") == "video")


class Editor(Application):
    def __init__(self, program, path, env):
        super().__init__([program, path], env=env, start_timeout=60)

    def button(self, name, within=None, timeout=10.0):
        return self.find("push button", name, within=within, timeout=timeout)

    def showing(self, role, name):
        return bool(self.find_all(role, name))

    def bars_back(self):
        self.wait_until(lambda: self.showing("push button", "Undo") and not self.showing("push button", "Confirm"),
                        "the bars back and no tool open")

    def open_tool(self, tool):
        self.press(self.button(tool))
        self.button("Confirm")
        self.wait_until(lambda: not self.showing("push button", "Undo"), "%s's panel replacing the bars" % tool)

    def press_key(self, keysym, modifiers=0):
        # Keys go to the window under the pointer on a bare X server.
        x, y, w, h = self.extents(self.root.get_child_at_index(0))
        Atspi.generate_mouse_event(round((x + w / 2) * self._scale()), round((y + h / 4) * self._scale()), "abs")
        if modifiers:
            Atspi.generate_keyboard_event(modifiers, None, Atspi.KeySynthType.LOCKMODIFIERS)
        Atspi.generate_keyboard_event(keysym, None, Atspi.KeySynthType.SYM)
        if modifiers:
            Atspi.generate_keyboard_event(modifiers, None, Atspi.KeySynthType.UNLOCKMODIFIERS)

    @staticmethod
    def _scale():
        return float(os.environ.get("QT_SCALE_FACTOR") or 1)

    def enabled(self, name):
        return self.has_state(self.button(name), Atspi.StateType.ENABLED)

    def history_is(self, undo, redo, what):
        self.wait_until(lambda: self.enabled("Undo") == undo and self.enabled("Redo") == redo, what)

    def adjust(self, tool, then):
        """Opens Adjust, chooses `tool`, raises its slider by a tenth of its range as
        assistive technology does, and leaves by `then` ("Confirm" or "Cancel")."""
        self.open_tool("Adjust")
        self.press(self.button(tool))
        slider = self.find("slider", tool)
        value = slider.get_value_iface()
        before, low, high = value.get_current_value(), value.get_minimum_value(), value.get_maximum_value()
        value.set_current_value(before + (high - low) / 10)
        self.wait_until(lambda: value.get_current_value() > before, "%s's slider raised" % tool)
        self.press(self.button(then))
        self.bars_back()

    def expect_ended(self, what, timeout=20.0):
        try:
            status = self.process.wait(timeout)
        except subprocess.TimeoutExpired:
            raise DriverError("the program did not end after %s" % what) from None
        if status != 0:
            raise DriverError("the program ended with status %d after %s" % (status, what))


def short_check(program, path, env, is_video):
    with Editor(program, path, env) as app:
        tools = VIDEO_TOOLS if is_video else PHOTO_TOOLS
        for name in tools + ["Close", "Share", "Undo", "Redo"]:
            app.button(name, timeout=30)
        for name in set(VIDEO_TOOLS) - set(tools):
            if app.showing("push button", name):
                raise DriverError("%s is offered for a photo" % name)
        app.open_tool(tools[-1])
        app.press(app.button("Cancel"))
        app.bars_back()
        app.press(app.button("Close"))
        app.expect_ended("Close")


def full_flow(program, path, env, is_video, folder):
    with Editor(program, path, env) as app:
        app.button("Share", timeout=30)
        # Confirming a tool that changed nothing leaves no undo step.
        app.open_tool("Adjust")
        app.press(app.button("Confirm"))
        app.bars_back()
        if app.enabled("Undo") or app.enabled("Redo"):
            raise DriverError("an unchanged confirm made an undo or redo step")
        # Escape cancels and Enter confirms an open tool; undo and redo keys do nothing
        # while there is nothing to undo.
        app.open_tool("Filter")
        app.press_key(KEY_ESCAPE)
        app.bars_back()
        app.open_tool("Focus")
        app.press_key(KEY_RETURN)
        app.bars_back()
        app.press_key(ord("z"), CONTROL)
        app.press_key(ord("z"), CONTROL | SHIFT)
        if app.enabled("Undo") or app.enabled("Redo"):
            raise DriverError("undo or redo enabled without an edit")

        # A real edit makes one step, which undo and redo walk; a cancelled change none.
        app.adjust("Exposure", "Confirm")
        app.history_is(True, False, "one undo step after the confirmed edit")
        app.press(app.button("Undo"))
        app.history_is(False, True, "the edit undone")
        app.press(app.button("Redo"))
        app.history_is(True, False, "the edit redone")
        app.adjust("Brightness", "Cancel")
        app.press(app.button("Undo"))
        app.history_is(False, True, "one step only: the cancelled change made none")
        app.press(app.button("Redo"))
        app.history_is(True, False, "the edit redone again")

        # Share, then save through the file chooser.
        app.press(app.button("Share"))
        # An edited video is exported first (lavapipe renders each frame on the CPU).
        if app.wait_until(lambda: app.find_all("dialog", "Share") or app.find_all(None, "Export Failed"),
                          "the share sheet after the export", timeout=240 if is_video else 30) and \
                app.find_all(None, "Export Failed"):
            raise DriverError("the export failed")
        sheet = app.find("dialog", "Share")
        app.press(app.button("Save As…", within=sheet))
        chooser = app.find("dialog", "Save As…")
        name_field = app.find("text", "File name:", within=chooser)
        suggested = app.text(name_field)
        if "-edited." not in suggested:
            raise DriverError("the suggested name %r is not made from the source's" % suggested)
        target = os.path.join(folder, "saved" + os.path.splitext(suggested)[1])
        name_field.set_text_contents(target)
        app.press(app.button("Save", within=chooser))
        app.wait_until(lambda: not app.find_all("dialog", "Share"), "the share sheet closed after saving")
        app.wait_until(lambda: os.path.exists(target), "the saved file")
        check_saved(path, target, is_video)

        app.press_key(ord("w"), CONTROL)
        app.expect_ended("Ctrl+W")
    print("  saved %s" % os.path.basename(target))


def check_saved(source, target, is_video):
    probe = ffprobe(target)
    stream = video_stream(probe)
    if is_video:
        # Edited: re-encoded into a QuickTime movie with HEVC.
        if "mov" not in probe["format"]["format_name"] or stream["codec_name"] != "hevc":
            raise DriverError("the saved movie is %s with %s" % (probe["format"]["format_name"], stream["codec_name"]))
        if filecmp.cmp(source, target, shallow=False):
            raise DriverError("the edited movie is the source as it was")
        return
    with open(target, "rb") as saved:
        if saved.read(2) != b"\xff\xd8":
            raise DriverError("the saved photo is not a JPEG")
    expected = video_stream(ffprobe(source))
    if stream["codec_name"] != "mjpeg" or (stream["width"], stream["height"]) != (expected["width"], expected["height"]):
        raise DriverError("saved %s %dx%d, expected a JPEG of %dx%d" % (
            stream["codec_name"], stream["width"], stream["height"], expected["width"], expected["height"]))


def chosen_file(program, path, env):
    """Without a file the program asks for one with the file chooser."""
    app = Application([program], env=env, start_timeout=60)
    with app:
        chooser = app.find("dialog", "Open")
        app.find("text", "File name:", within=chooser).set_text_contents(path)
        app.press(app.find("push button", "Open", within=chooser))
        app.find("push button", "Share", timeout=30)
        title = app.root.get_child_at_index(0).get_name()
        if title != os.path.basename(path):
            raise DriverError("the window is named %r, not after the file" % title)
        app.press(app.find("push button", "Close"))
        Editor.expect_ended(app, "Close")


def broken_file(program, path, env):
    with Editor(program, path, env) as app:
        app.wait_until(lambda: app.find_all(None, "Unable to Open"), "the alert", timeout=30)
        alert = next(n for n in app.find_all(None, "Unable to Open") if n.get_role_name() != "label")
        print("  the alert shows: %s" % app.text(app.find("label", "This media could not be loaded. "
                                                             "Please try a different file.", within=alert)))
        app.press(app.button("OK", within=alert))
        app.expect_ended("the alert's OK")


def main(program, media):
    require_display()
    with tempfile.TemporaryDirectory(prefix="tamrix-e2e-") as home:
        env = dict(os.environ)
        # Qt's own file chooser, which the test drives; no desktop's portal.
        env.pop("XDG_CURRENT_DESKTOP", None)
        env.setdefault("XDG_CACHE_HOME", os.path.join(os.path.expanduser("~"), ".cache"))
        env.update(HOME=home, XDG_CONFIG_HOME=os.path.join(home, ".config"), HALVANE_GPU_DEVICE="cpu")
        folder = os.path.join(home, "saved")
        os.makedirs(folder)

        def files(kind, types):
            folder = os.path.join(media, kind)
            return sorted(os.path.join(folder, f) for f in os.listdir(folder) if f.lower().endswith(types))

        photos, videos = files("photo", PHOTO_TYPES), files("video", VIDEO_TYPES)
        if not photos or not videos:
            raise DriverError("no sample photos or videos under %s" % media)
        for path in photos + videos:
            started = time.monotonic()
            short_check(program, path, env, path in videos)
            print("opened %s (%.1fs)" % (os.path.basename(path), time.monotonic() - started))
        full_flow(program, os.path.join(media, "photo", "hopper.png"), env, False, folder)
        full_flow(program, os.path.join(media, "video", "ios9.mov"), env, True, folder)
        chosen_file(program, os.path.join(media, "photo", "flower.webp"), env)
        broken_file(program, os.path.join(media, "broken", "broken.mp4"), env)
        print("every file opened; tools, keys, share and save worked; the broken file was refused")
    return 0


if __name__ == "__main__":
    if len(sys.argv) != 3:
        raise SystemExit("usage: editor_e2e.py PATH/TO/tamrix-editor MEDIA_FOLDER")
    sys.exit(main(sys.argv[1], os.path.abspath(sys.argv[2])))
