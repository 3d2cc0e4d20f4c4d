"""A browser without a window, driven by WebDriver's own protocol. It starts once for a test program."""
import base64
import json
import os
import pathlib
import shutil
import subprocess
import tempfile
import time
import urllib.error
import urllib.request

import png_pixels


class Browser:
    """Chromium with the console and the network recorded. Knows no proxy but that of the tests: none."""

    def __init__(self, width=1280, height=900):
        # A profile of its own, in a folder that every Chromium may use.
        self._home = tempfile.mkdtemp(prefix="prodsweep-browser-")
        settings = {**os.environ, "HOME": self._home, "LC_ALL": "C.UTF-8"}
        self._driver = subprocess.Popen(["chromedriver", "--port=0"], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                        stderr=subprocess.DEVNULL, env=settings, text=True)
        try:
            self._address = f"http://127.0.0.1:{self._port()}"
            self._open = urllib.request.build_opener(urllib.request.ProxyHandler({})).open
            self._session = self._start(width, height)
        except BaseException:
            self._end_driver()
            raise

    def _port(self):
        """The driver chooses one and says which."""
        for line in self._driver.stdout:
            if "successfully on port" in line:
                return int(line.rpartition("port ")[2].strip(" .\n"))
        raise RuntimeError("chromedriver does not start")

    def _start(self, width, height):
        # Who runs as root, as containers do, has no sandbox to use.
        arguments = ["--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
                     f"--window-size={width},{height}", f"--user-data-dir={self._home}/profile",
                     "--no-first-run", "--disable-background-networking", "--disable-component-update"]
        return self._send("POST", "/session", {"capabilities": {"alwaysMatch": {
            "goog:chromeOptions": {"args": arguments},
            "goog:loggingPrefs": {"browser": "ALL", "performance": "ALL"}}}})["sessionId"]

    def _send(self, method, path, body=None):
        request = urllib.request.Request(self._address + path, method=method,
                                         data=None if body is None else json.dumps(body).encode("utf-8"),
                                         headers={"Content-Type": "application/json"})
        try:
            with self._open(request, timeout=60) as answer:
                return json.load(answer)["value"]
        except urllib.error.HTTPError as error:
            raise RuntimeError(f"{path}: {json.load(error)['value']['message']}") from None

    def _command(self, path, body, method="POST"):
        return self._send(method, f"/session/{self._session}{path}", body)

    def open(self, path):
        self._command("/url", {"url": pathlib.Path(path).resolve().as_uri()})

    def run(self, script, *arguments):
        """The value that a function body in the page returns."""
        return self._command("/execute/sync", {"script": script, "args": list(arguments)})

    def wait_for(self, script, *arguments):
        deadline = time.monotonic() + 20
        while not self.run(script, *arguments):
            if time.monotonic() > deadline:
                raise RuntimeError(f"never true: {script}")
            time.sleep(0.02)

    def press(self, *keys):
        """Keys that are typed one after the other, wherever the focus is."""
        strokes = [{"type": kind, "value": key} for key in keys for kind in ("keyDown", "keyUp")]
        self._command("/actions", {"actions": [{"type": "key", "id": "keyboard", "actions": strokes}]})

    def emulate(self, media="", **features):
        """A medium, and what the reader prefers: prefers_color_scheme="dark"."""
        self.protocol("Emulation.setEmulatedMedia", media=media, features=[
            {"name": name.replace("_", "-"), "value": value} for name, value in features.items()])

    def protocol(self, command, **parameters):
        return self._command("/goog/cdp/execute", {"cmd": command, "params": parameters})

    def picture(self, left, top, width, height):
        """A part of the page as it is painted: lines of (red, green, blue)."""
        clip = {"x": left, "y": top, "width": width, "height": height, "scale": 1}
        shot = self.protocol("Page.captureScreenshot", format="png", clip=clip, captureBeyondViewport=True)
        return png_pixels.pixels(base64.b64decode(shot["data"]))

    def print(self):
        """The page as a PDF."""
        return base64.b64decode(self._command("/print", {"background": True}))

    def console(self):
        """What the page and the browser said since the last call."""
        return [entry["message"] for entry in self._command("/se/log", {"type": "browser"})]

    def requests(self):
        """The addresses that were asked for since the last call."""
        messages = [json.loads(entry["message"])["message"] for entry in
                    self._command("/se/log", {"type": "performance"})]
        return [message["params"]["request"]["url"] for message in messages
                if message["method"] == "Network.requestWillBeSent"]

    def close(self):
        try:
            self._send("DELETE", f"/session/{self._session}")
        finally:
            self._end_driver()

    def _end_driver(self):
        self._driver.terminate()
        self._driver.wait(20)
        self._driver.stdout.close()
        shutil.rmtree(self._home, ignore_errors=True)
