"""The adjust tool's screenshot: tamrix-editor on a photo with Adjust open, Warmth
chosen, its ruler dragged by the pointer and then set to +35, grabbed from the X
server once the picture shows. Run under scripts/with-display.sh (scripts/editor-screenshots.sh does).

    editor_adjust_shot.py PATH/TO/tamrix-editor PHOTO OUTPUT.png
"""
import os
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from atspi_driver import DEVICE_SCALE, Application, DriverError, require_display  # noqa: E402

# The editor's screen colour, where no picture is drawn yet.
BACKGROUND = (20, 22, 30)


def grab(x, y, w, h, path):
    s = DEVICE_SCALE
    geometry = "%dx%d+%d+%d" % (round(w * s), round(h * s), round(x * s), round(y * s))
    subprocess.run(["import", "-silent", "-window", "root", "-crop", geometry, "+repage", path], check=True)


def pixel(path, x, y):
    out = subprocess.run(["convert", path, "-format", "%%[fx:int(255*p{%d,%d}.r)],%%[fx:int(255*p{%d,%d}.g)],"
                          "%%[fx:int(255*p{%d,%d}.b)]" % (x, y, x, y, x, y), "info:"],
                         check=True, capture_output=True, text=True).stdout
    return tuple(int(v) for v in out.split(","))


def same_pixels(a, b):
    result = subprocess.run(["compare", "-metric", "AE", a, b, "null:"], capture_output=True, text=True)
    return result.stderr.strip() == "0"


def main(program, photo, output):
    require_display()
    with tempfile.TemporaryDirectory(prefix="tamrix-shot-") as home:
        env = dict(os.environ, HOME=home, XDG_CONFIG_HOME=os.path.join(home, ".config"), HALVANE_GPU_DEVICE="cpu")
        with Application([program, "--locale", "en", "--tool", "adjust", photo], env=env, start_timeout=60) as app:
            app.press(app.find("push button", "Warmth", timeout=30))
            slider = app.find("slider", "Warmth")
            x, y, w, h = app.extents(slider)
            value = slider.get_value_iface()
            before = value.get_current_value()
            app.drag((x + w * 0.5, y + h * 0.7), (x + w * 0.5 - 90, y + h * 0.7), steps=20)
            app.wait_until(lambda: value.get_current_value() > before, "the ruler dragged to a warmer value")
            # Then a clearly warmer value, as assistive technology sets it.
            value.set_current_value(35)
            frame = app.extents(app.root.get_child_at_index(0))
            # Grab until the picture shows at the preview's centre and two grabs half a
            # second apart agree: the ruler's glide has settled and the frame is drawn.
            earlier = os.path.join(home, "earlier.png")
            deadline = time.monotonic() + 60
            while True:
                grab(*frame, output)
                centre = pixel(output, round(frame[2] * DEVICE_SCALE / 2), round(frame[3] * DEVICE_SCALE / 3))
                if centre not in (BACKGROUND, (0, 0, 0)) and os.path.exists(earlier) and same_pixels(output, earlier):
                    break
                if time.monotonic() > deadline:
                    raise DriverError("no settled picture within 60 s")
                os.replace(output, earlier)
                time.sleep(0.5)
    return 0


if __name__ == "__main__":
    if len(sys.argv) != 4:
        raise SystemExit("usage: editor_adjust_shot.py PATH/TO/tamrix-editor PHOTO OUTPUT.png")
    sys.exit(main(*sys.argv[1:]))
