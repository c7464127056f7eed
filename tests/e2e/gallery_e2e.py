"""End to end: starts halvane-gallery on a real X server, finds every control of the live
editor chrome by accessible name and role over AT-SPI, presses them, and reads what
happened from the gallery's state label and the controls' states.

    scripts/with-display.sh -- /usr/bin/python3 tests/e2e/gallery_e2e.py build/bin/halvane-gallery
"""
import os
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
try:
    from atspi_driver import Application, Atspi, DriverError, require_display  # noqa: E402
except (ImportError, ValueError) as missing:
    print("skipped: the AT-SPI bindings are missing (%s); run scripts/install-deps.sh" % missing)
    sys.exit(77)

TOOLS = ["Transform", "Filter", "Adjust", "Focus", "Trim", "Audio"]


def main(gallery):
    require_display()
    with Application([gallery]) as app:
        live = app.find(None, "Live editor")
        state = app.find("label", "Gallery state")

        def expect_state(text):
            try:
                app.wait_until(lambda: app.text(state) == text, "state label reading %r" % text)
            except DriverError as error:
                raise DriverError("%s; it reads %r" % (error, app.text(state))) from None

        buttons = {name: app.find("push button", name, within=live) for name in TOOLS + ["Close", "Share", "Undo", "Redo"]}
        print("found the chrome's controls:", ", ".join(buttons))
        xs = [app.extents(buttons[name])[0] for name in TOOLS]
        if xs != sorted(xs):
            raise DriverError("tool buttons out of order: %s" % xs)
        for name in ("Undo", "Redo"):
            if app.has_state(buttons[name], Atspi.StateType.ENABLED):
                raise DriverError("%s starts enabled" % name)

        # A real click reaches a button through the strip's scroller.
        ax, ay, aw, ah = app.extents(buttons["Adjust"])
        app.click((ax + aw // 2, ay + ah // 2))
        expect_state("Selected Adjust")

        # A drag across the strip scrolls it and selects nothing.
        audio_x = app.extents(buttons["Audio"])[0]
        fx, fy, fw, fh = app.extents(buttons["Focus"])
        app.drag((fx + fw // 2, fy + fh // 2), (fx + fw // 2 - 220, fy + fh // 2))
        app.wait_until(lambda: app.extents(buttons["Audio"])[0] < audio_x - 100, "the strip scrolled by the drag")
        if app.text(state) != "Selected Adjust":
            raise DriverError("the drag selected a tool: %r" % app.text(state))

        app.press(buttons["Filter"])
        expect_state("Selected Filter")
        app.wait_until(lambda: app.has_state(buttons["Filter"], Atspi.StateType.CHECKED), "Filter checked")
        app.wait_until(lambda: app.has_state(buttons["Undo"], Atspi.StateType.ENABLED), "Undo enabled by an edit")

        app.press(buttons["Undo"])
        expect_state("Undo")
        app.wait_until(lambda: app.has_state(buttons["Redo"], Atspi.StateType.ENABLED), "Redo enabled by undo")
        app.press(buttons["Redo"])
        expect_state("Redo")

        app.press(buttons["Close"])
        expect_state("Close")

        # The keyboard: Tab from Close reaches Share, and Return presses it. Share puts
        # the progress card over the live editor; its cancel ends it.
        app.focus(buttons["Close"])
        app.wait_until(lambda: app.has_state(buttons["Close"], Atspi.StateType.FOCUSED), "Close focused")
        app.key("Tab")
        app.wait_until(lambda: app.has_state(buttons["Share"], Atspi.StateType.FOCUSED), "Tab moving to Share")
        app.key("Return")
        expect_state("Share")
        bar = app.find("progress bar", "Exporting...", within=live)
        app.wait_until(lambda: bar.get_value_iface().get_current_value() > 0, "the export's progress read as a value")
        cancel = app.find("push button", "Cancel", within=live)
        app.press(cancel)
        expect_state("Export cancelled")
        app.wait_until(lambda: not app.find_all("push button", "Cancel", within=live), "the card removed")
        print("pressed every control; the gallery reported each")
    return 0


if __name__ == "__main__":
    if len(sys.argv) != 2:
        raise SystemExit("usage: gallery_e2e.py PATH/TO/halvane-gallery")
    sys.exit(main(sys.argv[1]))
