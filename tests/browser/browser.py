"""A Chromium without a window, driven by the W3C protocol of its driver."""

import base64
import json
import shutil
import socket
import subprocess
import time
import urllib.error
import urllib.request

PROGRAMS = [shutil.which(name) for name in ("chromium", "chromedriver")]


def free_port():
    with socket.socket() as s:
        s.bind(("127.0.0.1", 0))
        return s.getsockname()[1]


def until(condition, seconds, what):
    """The first value of the condition that is true."""
    end = time.monotonic() + seconds
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > end:
            raise AssertionError(f"{what}: not within {seconds} s")
        time.sleep(0.1)


class Browser:
    def __init__(self, width, height, telephone=False, dark=False):
        port = free_port()
        self.base = f"http://127.0.0.1:{port}"
        self.process = subprocess.Popen([PROGRAMS[1], f"--port={port}"], stdout=subprocess.DEVNULL,
                                        stderr=subprocess.DEVNULL)
        until(self._ready, 20, "the driver of the browser answers")
        options = {"binary": PROGRAMS[0],
                   "args": ["--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
                            "--hide-scrollbars", f"--window-size={width},{height}"]}
        if telephone:
            options["mobileEmulation"] = {"deviceMetrics": {"width": width, "height": height, "pixelRatio": 2,
                                                            "touch": True}}
        answer = self._call("POST", "/session", {"capabilities": {"alwaysMatch": {
            "goog:chromeOptions": options, "goog:loggingPrefs": {"browser": "ALL"}}}})
        self.session = "/session/" + answer["sessionId"]
        if dark:
            self.tell("Emulation.setEmulatedMedia",
                      {"features": [{"name": "prefers-color-scheme", "value": "dark"}]})

    def _ready(self):
        try:
            return self._call("GET", "/status")["ready"]
        except OSError:
            return False

    def _call(self, method, path, body=None):
        request = urllib.request.Request(self.base + path, method=method,
                                         data=None if body is None else json.dumps(body).encode())
        try:
            with urllib.request.urlopen(request, timeout=60) as answer:
                return json.load(answer)["value"]
        except urllib.error.HTTPError as e:
            raise AssertionError(e.read().decode()[:500]) from None

    def tell(self, command, parameters):
        return self._call("POST", self.session + "/goog/cdp/execute", {"cmd": command, "params": parameters})

    def open(self, url):
        self._call("POST", self.session + "/url", {"url": url})

    def run(self, script):
        return self._call("POST", self.session + "/execute/sync", {"script": script, "args": []})

    def text(self, selector):
        return self.run(f"return document.querySelector({json.dumps(selector)})?.innerText ?? ''")

    def complaints(self):
        """What the page wrote on the console since the last call."""
        return [entry["message"] for entry in
                self._call("POST", self.session + "/se/log", {"type": "browser"})]

    def picture(self, file, height=None):
        """The page from its top, as tall as it is unless told otherwise."""
        size = self.run("return [document.documentElement.clientWidth, document.documentElement.scrollHeight]")
        clip = {"x": 0, "y": 0, "width": size[0], "height": height or size[1], "scale": 1}
        png = self.tell("Page.captureScreenshot", {"captureBeyondViewport": True, "clip": clip})["data"]
        with open(file, "wb") as out:
            out.write(base64.b64decode(png))

    def close(self):
        try:
            self._call("DELETE", self.session)
        finally:
            self.process.terminate()
            self.process.wait()
