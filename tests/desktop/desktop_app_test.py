#!/usr/bin/env python3
"""skimlet-desktop on a virtual X display, driven as a user would: the hotkey pressed as a
synthetic key event (XTest, through xdotool), commands typed into the palette, and their effect
read from the browser window's title, which the test page changes. One application and one
browser serve the whole file.

Usage: desktop_app_test.py SKIMLET_DESKTOP SOURCE_DIR. Exits 77 (skipped) when Xvfb, xdotool,
D-Bus or Chromium is missing."""
import os
import shutil
import subprocess
import sys
import tempfile
import time

SKIP = 77


def need(*tools):
    missing = [t for t in tools if not shutil.which(t)]
    if missing:
        print("SKIPPED: not installed: " + ", ".join(missing))
        sys.exit(SKIP)


def wait_for(what, check, timeout=20.0):
    end = time.time() + timeout
    while time.time() < end:
        if check():
            return
        time.sleep(0.1)
    raise AssertionError("timed out waiting for " + what)


class Desktop:
    def __init__(self, app, source):
        self.app = app
        self.source = source
        self.home = tempfile.mkdtemp(prefix="skimlet-desktop-test-")
        self.env = dict(os.environ, XDG_CONFIG_HOME=os.path.join(self.home, "config"),
                        XDG_DATA_HOME=os.path.join(self.home, "data"), GDK_BACKEND="x11")
        self.env.pop("WAYLAND_DISPLAY", None)
        self.xvfb = None
        self.proc = None

    def start(self):
        read, write = os.pipe()
        self.xvfb = subprocess.Popen(["Xvfb", "-displayfd", str(write), "-screen", "0", "1280x800x24", "-nolisten", "tcp"],
                                     pass_fds=[write], stderr=subprocess.DEVNULL)
        os.close(write)
        with os.fdopen(read) as f:
            self.env["DISPLAY"] = ":" + f.readline().strip()
        page = os.path.join(self.source, "tests", "desktop", "page.html")
        self.proc = subprocess.Popen([self.app, "--url", page, "--no-model"], env=self.env, stdout=subprocess.PIPE,
                                     stderr=subprocess.STDOUT, text=True)
        line = self.proc.stdout.readline()
        assert "press Alt+Space" in line, "the application did not start: " + line + self.proc.stdout.read()

    def stop(self):
        if self.proc and self.proc.poll() is None:
            self.action("quit")
            try:
                self.proc.wait(timeout=15)
            except subprocess.TimeoutExpired:
                self.proc.kill()
                self.proc.wait()
        if self.xvfb:
            self.xvfb.terminate()
            self.xvfb.wait()
        shutil.rmtree(self.home, ignore_errors=True)

    def run(self, *args):
        return subprocess.run(list(args), env=self.env, capture_output=True, text=True, timeout=30)

    def xdotool(self, *args):
        return self.run("xdotool", *args).stdout

    def action(self, name):
        """Activates one of the menu's actions over D-Bus, as the status menu's items do."""
        self.run("gdbus", "call", "--session", "--dest", "org.skimlet.Skimlet", "--object-path", "/org/skimlet/Skimlet",
                 "--method", "org.gtk.Actions.Activate", name, "[]", "{}")

    def window(self, name, visible=True):
        args = ["search"] + (["--onlyvisible"] if visible else []) + ["--name", name]
        return self.xdotool(*args).strip() != ""

    def palette_shown(self):
        return self.window("^Skimlet$")

    def page_title(self, title):
        return self.window("^" + title + " - Chromium$", visible=False)

    def keys(self, *keys):
        self.xdotool("key", "--delay", "60", *keys)

    def type(self, text):
        self.xdotool("type", "--delay", "30", text)

    def command(self, text):
        self.type(text)
        self.keys("Return")


def main():
    app, source = sys.argv[1], sys.argv[2]
    if "DBUS_SESSION_BUS_ADDRESS" not in os.environ or os.environ.get("SKIMLET_TEST_BUS") != "1":
        need("dbus-run-session")
        os.execvpe("dbus-run-session", ["dbus-run-session", "--", sys.executable] + sys.argv,
                   dict(os.environ, SKIMLET_TEST_BUS="1"))
    need("Xvfb", "xdotool", "gdbus")
    if not any(shutil.which(c) for c in ["chromium", "chromium-browser", "google-chrome"]) and not os.environ.get("SKIMLET_CHROMIUM"):
        print("SKIPPED: no Chromium installed")
        sys.exit(SKIP)

    d = Desktop(app, source)
    failures = []

    def case(name, body):
        try:
            body()
            print("ok   " + name)
        except AssertionError as e:
            failures.append(name)
            if os.environ.get("SKIMLET_TEST_SHOTS"):
                d.run("sh", "-c", "xwd -root -silent | xwdtopnm 2>/dev/null | pnmtopng > %s/%d.png" % (os.environ["SKIMLET_TEST_SHOTS"], len(failures)))
                print("focus: " + d.xdotool("getwindowfocus", "getwindowname"))
            print("FAIL " + name + ": " + str(e))

    try:
        d.start()

        def second_launch_toggles():
            assert not d.palette_shown()
            assert d.run(app, "--toggle").returncode == 0
            wait_for("the palette to show", d.palette_shown)
            assert d.run(app).returncode == 0  # a plain second launch toggles too
            wait_for("the palette to hide", lambda: not d.palette_shown())

        def menu_actions_open_windows():
            listed = d.run("gdbus", "call", "--session", "--dest", "org.skimlet.Skimlet", "--object-path",
                           "/org/skimlet/Skimlet", "--method", "org.gtk.Actions.List").stdout
            for name in ["open", "inspector", "settings", "quit"]:
                assert "'" + name + "'" in listed, listed
            d.action("settings")
            wait_for("Settings", lambda: d.window("^Skimlet Settings$"))
            d.action("inspector")
            wait_for("the Inspector", lambda: d.window("^Skimlet Inspector$"))
            d.xdotool("search", "--name", "^Skimlet (Settings|Inspector)$", "windowunmap", "%@")
            d.action("open")
            wait_for("the palette to show", d.palette_shown)
            d.keys("Escape")
            wait_for("the palette to hide", lambda: not d.palette_shown())

        def hotkey_and_a_command():
            d.keys("alt+space")
            wait_for("the palette to show", d.palette_shown)
            d.command("click sign in")
            wait_for("the page to be signed in", lambda: d.page_title("Signed in"))

        def escape_takes_two_steps():
            time.sleep(1.0)  # the palette takes the focus back from the browser
            assert d.palette_shown()
            d.keys("Escape")  # puts the result away
            time.sleep(0.5)
            assert d.palette_shown()
            d.keys("Escape")  # closes
            wait_for("the palette to hide", lambda: not d.palette_shown())

        def confirmation_by_keyboard():
            d.keys("alt+space")
            wait_for("the palette to show", d.palette_shown)
            d.command("click delete account")
            time.sleep(2.0)
            assert not d.page_title("Account deleted"), "a risky click ran without asking"
            d.keys("Return")
            wait_for("the account to be deleted", lambda: d.page_title("Account deleted"))

        def choice_by_keyboard():
            time.sleep(1.0)
            d.keys("ctrl+a")
            d.command("click email")
            time.sleep(2.0)
            assert not d.page_title("Picked email .*"), "an ambiguous click ran without a choice"
            d.keys("Down", "Return")
            wait_for("an option to be picked", lambda: d.page_title("Picked email .*"))

        case("a second launch toggles the running palette", second_launch_toggles)
        case("the menu's actions open the palette, Settings and the Inspector", menu_actions_open_windows)
        case("the hotkey summons the palette and a command acts on the page", hotkey_and_a_command)
        case("Escape puts a result away, then closes the palette", escape_takes_two_steps)
        case("a risky click waits for Return", confirmation_by_keyboard)
        case("an ambiguous click is picked with the arrows and Return", choice_by_keyboard)
    finally:
        d.stop()
    if failures:
        sys.exit(1)


if __name__ == "__main__":
    main()
