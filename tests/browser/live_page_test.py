"""The page of a live run in a browser: light, dark, on a telephone, without script, and when things fail.

Says SKIPPED (status 77) where there is no Chromium. GNX_PICTURES=DIR keeps pictures of it for eyes.
"""

import os
import signal
import subprocess
import sys
import tempfile
import time
import unittest
import urllib.request

from browser import PROGRAMS, Browser, free_port, until

PROGRAM = os.environ["GNX_PROGRAM"]
PICTURES = os.environ.get("GNX_PICTURES")
SPEED = 30


class Run:
    """A simulated sky, live."""

    def __init__(self, directory, port):
        self.directory, self.port = directory, port
        self.process = subprocess.Popen(
            [PROGRAM, "live", "--obs", f"file://{directory}/sky/stream.rtcm3?speed={SPEED}", "--systems", "GEC",
             "--fix", "--mode", "static", "--quiet", "--out", f"{directory}/out", "--http", str(port)])

    def page(self, path="/"):
        try:
            with urllib.request.urlopen(f"http://127.0.0.1:{self.port}{path}", timeout=5) as answer:
                return answer.read().decode()
        except OSError:
            return ""

    def signal_engine(self, number):
        task = self.process.pid
        with open(f"/proc/{task}/task/{task}/children", encoding="ascii") as children:
            os.kill(int(children.read().split()[0]), number)

    def end(self):
        self.process.terminate()
        self.process.wait()


class LivePage(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.directory = tempfile.TemporaryDirectory()
        path = cls.directory.name
        subprocess.run([PROGRAM, "simulate", f"{path}/sky", "--hours", "2.5", "--interval", "1",
                        "--clock-interval", "5", "--rtcm"], check=True, stdout=subprocess.DEVNULL)
        cls.run_ = Run(path, free_port())
        cls.url = f"http://127.0.0.1:{cls.run_.port}/"
        until(lambda: "state5" in cls.run_.page(), 60, "the run is fixed")

    @classmethod
    def tearDownClass(cls):
        cls.run_.end()
        cls.directory.cleanup()

    def browser(self, *arguments, **options):
        browser = Browser(*arguments, **options)
        self.addCleanup(browser.close)
        return browser

    def open(self, browser):
        browser.open(self.url)
        until(lambda: browser.run("return typeof points !== 'undefined' && points.length > 200 && !stale"), 20,
              "the history is drawn")
        until(lambda: browser.run("return document.querySelectorAll('#sky .sat').length > 10"), 10, "a sky")

    def picture(self, browser, name, height=None):
        if PICTURES:
            browser.picture(os.path.join(PICTURES, f"live-{name}.png"), height)

    def check_fits(self, browser):
        """Nothing is wider than the page but what scrolls by itself, and every figure has something in it."""
        self.assertLessEqual(*browser.run("return [document.documentElement.scrollWidth, window.innerWidth]"))
        for canvas in ("series", "track"):
            drawn = browser.run(
                f"const c = document.getElementById('{canvas}');"
                "const data = c.getContext('2d').getImageData(0, 0, c.width, c.height).data;"
                "let n = 0; for (let i = 3; i < data.length; i += 4) n += data[i] > 0; return n")
            self.assertGreater(drawn, 2000, canvas)

    def test_every_size_and_scheme_shows_all_of_it(self):
        for name, size, options in (("light", (1000, 900), {}), ("dark", (1000, 900), {"dark": True}),
                                    ("telephone", (360, 740), {"telephone": True})):
            with self.subTest(name):
                browser = self.browser(*size, **options)
                self.open(browser)
                self.check_fits(browser)
                self.assertIn("fixed", browser.text("[data-part=position]"))
                self.assertIn("47.5000000", browser.text("[data-part=position]"))
                self.assertIn("fixed", browser.text("[data-part=changes]"))
                self.assertIn("there are positions", browser.text("[data-part=log]"))
                self.assertIn("file or recording", browser.text("[data-part=streams]"))
                self.assertRegex(browser.text("#series-note"), r"● fixed \d+ ▲ float \d+")
                browser.run("document.querySelector('#sky .sat').dispatchEvent(new Event('click'))")
                self.assertRegex(browser.text("#sky-note"), r"elevation \d+°.*phase -?\d+\.\d mm")
                self.picture(browser, name, 1400 if name == "light" else None)
                outside = browser.run("return performance.getEntriesByType('resource').map(e => e.name)"
                                      f".filter(name => !name.startsWith('{self.url}') && !name.startsWith('data:'))")
                self.assertEqual(outside, [])
                self.assertEqual(browser.complaints(), [])

    def test_time_goes_on_and_choices_are_obeyed(self):
        browser = self.browser(800, 800)
        self.open(browser)
        before = browser.run("return points.length")
        until(lambda: browser.run("return points.length") > before + SPEED, 10, "epochs come")
        browser.run("document.getElementById('window').value = '300';"
                    "document.getElementById('window').dispatchEvent(new Event('change'))")
        self.assertLessEqual(browser.run("return shownPoints().length"), 301)
        self.assertIn("half lie within", browser.text("#track-note"))
        browser.run("document.getElementById('as-track').click()")
        self.assertIn("ring is the last position", browser.text("#track-note"))
        browser.run("document.getElementById('of-code').click()")
        self.assertIn("residual of the codes", browser.text("#sky-note"))

    def test_tables_are_read_without_script(self):
        page = self.run_.page()
        self.assertIn('<section id="figures" hidden>', page)
        for word in ("latitude", "ratio", "C/N0", "there are positions", "kB/s"):
            self.assertIn(word, page)

    def test_a_page_too_many_says_so_until_there_is_room(self):
        watchers = [urllib.request.urlopen(self.url + "events", timeout=5) for _ in range(24)]
        browser = self.browser(800, 800)
        browser.open(self.url)
        until(lambda: "24 pages are kept" in browser.text("#connection"), 10, "the page says so")
        for watcher in watchers:
            watcher.close()
        until(lambda: browser.text("#connection") == "", 20, "the page is kept up to date")

    def test_the_reader_is_told_when_data_stop_and_when_the_program_is_gone(self):
        browser = self.browser(360, 740, telephone=True)
        self.open(browser)
        self.run_.signal_engine(signal.SIGSTOP)
        try:
            until(lambda: "No position for" in browser.text("[data-part=notice]"), 15, "the notice comes")
            self.assertIn("no epoch has come since", browser.text("[data-part=notice]"))
            self.assertIn("no position", browser.text("[data-part=position]"))
            self.picture(browser, "notice", 740)
        finally:
            self.run_.signal_engine(signal.SIGCONT)
        until(lambda: browser.text("[data-part=notice]") == "", 15, "the notice goes")

        self.run_.end()
        until(lambda: "has not answered since" in browser.text("#connection"), 10, "the program is missed")
        time.sleep(1.0)
        type(self).run_ = Run(self.directory.name, self.run_.port)
        until(lambda: browser.text("#connection") == "", 30, "the program is found again")
        until(lambda: browser.run("return points.length > 20 && points.length < 2000"), 20, "the new run is shown")


if __name__ == "__main__":
    if None in PROGRAMS:
        print("SKIPPED: there is no chromium with its driver here")
        sys.exit(77)
    unittest.main(verbosity=2)
