"""Chromium without a window, driven by ChromeDriver with the standard library alone."""
import base64
import json
import pathlib
import re
import shutil
import subprocess
import tempfile
import threading
import urllib.error
import urllib.request

ARGUMENTS = ["--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
             "--disable-background-networking", "--disable-component-update", "--disable-sync",
             "--disable-dev-shm-usage", "--hide-scrollbars"]


class Browser:
    """A browser of its own, which knows nothing and leaves nothing behind."""

    def __init__(self):
        for program in ("chromium", "chromedriver"):
            if not shutil.which(program):
                raise SystemExit(f"{program} is not installed: Debian packages chromium and "
                                 "chromium-driver")
        self.folder = tempfile.mkdtemp(prefix="twupdate-browser-")
        self.driver = subprocess.Popen(["chromedriver", "--port=0"], stdout=subprocess.PIPE,
                                       stderr=subprocess.DEVNULL, text=True)
        self.session = None
        try:
            self.address = f"http://127.0.0.1:{self._port()}"
            self.session = self._start()
        except BaseException:
            self.close()
            raise

    def _port(self):
        # A driver that says nothing must not keep the test forever.
        watchdog = threading.Timer(30, self.driver.kill)
        watchdog.start()
        try:
            for line in self.driver.stdout:
                said = re.search(r"started successfully on port (\d+)", line)
                if said:
                    threading.Thread(target=self.driver.stdout.read, daemon=True).start()
                    return int(said.group(1))
        finally:
            watchdog.cancel()
        raise RuntimeError("chromedriver does not start")

    def _start(self):
        options = {"binary": shutil.which("chromium"),
                   "args": [*ARGUMENTS, f"--user-data-dir={self.folder}/profile"]}
        wanted = {"capabilities": {"alwaysMatch": {
            "browserName": "chrome", "goog:chromeOptions": options,
            "goog:loggingPrefs": {"browser": "ALL"}}}}
        try:
            return self._request("POST", "/session", wanted)["sessionId"]
        except RuntimeError:  # a machine under load: once more
            return self._request("POST", "/session", wanted)["sessionId"]

    def _request(self, method, path, body=None):
        data = json.dumps(body).encode() if body is not None else None
        request = urllib.request.Request(self.address + path, data, method=method,
                                         headers={"Content-Type": "application/json"})
        try:
            with urllib.request.urlopen(request, timeout=60) as answer:
                return json.load(answer)["value"]
        except urllib.error.HTTPError as error:
            raise RuntimeError(f"{path}: {error.read().decode(errors='replace')}") from error

    def _command(self, path, body):
        return self._request("POST", f"/session/{self.session}/{path}", body)

    def _devtools(self, command, **parameters):
        return self._command("goog/cdp/execute", {"cmd": command, "params": parameters})

    def resize(self, width, height):
        """A screen of that size, on which a page behaves as on a phone."""
        self._devtools("Emulation.setDeviceMetricsOverride", width=width, height=height,
                       deviceScaleFactor=1, mobile=True)

    def prefer(self, scheme, medium="screen"):
        """The reader's colours, light or dark, on a screen or in print."""
        self._devtools("Emulation.setEmulatedMedia", media=medium, features=[
            {"name": "prefers-color-scheme", "value": scheme}])

    def open(self, file):
        self._command("url", {"url": pathlib.Path(file).resolve().as_uri()})

    def run(self, script, *arguments):
        """What the body of a function returns that runs in the page."""
        return self._command("execute/sync", {"script": script, "args": list(arguments)})

    def text(self, selector):
        return self.run("const e = document.querySelector(arguments[0]);"
                        "return e ? e.textContent.trim() : null", selector)

    def texts(self, selector):
        return self.run("return [...document.querySelectorAll(arguments[0])]"
                        ".map(e => e.textContent.trim())", selector)

    def console(self):
        """What the console has shown since the last call."""
        return self._command("se/log", {"type": "browser"})

    def screenshot(self, file):
        """The whole page."""
        picture = self._devtools("Page.captureScreenshot", captureBeyondViewport=True)["data"]
        pathlib.Path(file).write_bytes(base64.b64decode(picture))

    def close(self):
        try:
            if self.session:
                self._request("DELETE", f"/session/{self.session}")
        finally:
            self.driver.terminate()
            self.driver.wait()
            shutil.rmtree(self.folder, ignore_errors=True)
