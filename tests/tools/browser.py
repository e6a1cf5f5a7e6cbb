"""Drives a headless Chromium through pipes: opens pages, types keys, takes pictures."""
import base64
import json
import os
import select
import shutil
import subprocess
import tempfile
import time

FLAGS = ["--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
         "--disable-background-networking", "--disable-component-update", "--disable-sync",
         "--disable-dev-shm-usage", "--hide-scrollbars", "--remote-debugging-pipe"]


class Browser:
    """A browser with one page. `complaints` collects the page's console messages and
    exceptions, `requests` its network requests."""

    def __init__(self, patience=120):
        self.complaints = []
        self.requests = []
        self._patience = patience
        self._number = 0
        self._events = []
        self._rest = b""
        self._profile = tempfile.TemporaryDirectory(ignore_cleanup_errors=True)
        commands, self._commands = os.pipe()
        self._answers, answers = os.pipe()
        # The browser reads commands from descriptor 3 and writes to 4.
        start = f'exec "$@" 3<&{commands} 4>&{answers}'
        self._process = subprocess.Popen(
            ["bash", "-c", start, "bash", shutil.which("chromium") or "chromium", *FLAGS,
             f"--user-data-dir={self._profile.name}", "about:blank"],
            pass_fds=(commands, answers), stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(commands)
        os.close(answers)
        self._session = None
        page = next(target for target in self.call("Target.getTargets")["targetInfos"]
                    if target["type"] == "page")
        self._session = self.call("Target.attachToTarget", targetId=page["targetId"],
                                  flatten=True)["sessionId"]
        for domain in ("Page", "Runtime", "Log", "Network"):
            self.call(f"{domain}.enable")
        self.call("Page.setLifecycleEventsEnabled", enabled=True)

    def close(self):
        os.close(self._commands)
        try:
            self._process.wait(20)
        except subprocess.TimeoutExpired:
            self._process.kill()
            self._process.wait()
        os.close(self._answers)
        self._profile.cleanup()

    def call(self, method, **arguments):
        self._number += 1
        message = {"id": self._number, "method": method, "params": arguments}
        if self._session:
            message["sessionId"] = self._session
        data = json.dumps(message).encode() + b"\0"
        while data:
            data = data[os.write(self._commands, data):]
        while True:
            answer = self._receive()
            if answer.get("id") != self._number:
                self._events.append(answer)
                continue
            if "error" in answer:
                raise RuntimeError(f"{method}: {answer['error']}")
            return answer["result"]

    def open(self, path, fragment=""):
        """Opens a file and waits until it is loaded."""
        self.visit(f"file://{path}{fragment}")

    def visit(self, url):
        """Opens an address and waits until it is loaded."""
        self._events.clear()
        # Changing only the fragment would load nothing.
        for address in ("about:blank", url):
            self._wait_for_load(self.call("Page.navigate", url=address)["loaderId"])

    def value(self, expression):
        """Returns the result of a script, which ignores the page's own rules for scripts."""
        result = self.call("Runtime.evaluate", expression=expression, returnByValue=True)
        if "exceptionDetails" in result:
            raise RuntimeError(str(result["exceptionDetails"]))
        return result["result"].get("value")

    def type(self, text):
        self.call("Input.insertText", text=text)

    def press(self, key):
        code = {"Enter": 13, "Escape": 27, "Tab": 9}.get(key, 0)
        text = {"Enter": "\r"}.get(key, key if len(key) == 1 else "")
        self.call("Input.dispatchKeyEvent", type="keyDown", key=key, text=text,
                  windowsVirtualKeyCode=code)
        self.call("Input.dispatchKeyEvent", type="keyUp", key=key, windowsVirtualKeyCode=code)

    def wait_for(self, expression):
        """Waits until the result of a script is true."""
        end = time.monotonic() + self._patience
        while not self.value(expression):
            if time.monotonic() > end:
                raise TimeoutError(expression)
            time.sleep(0.02)

    def resize(self, width, height, phone=False):
        self.call("Emulation.setDeviceMetricsOverride", width=width, height=height,
                  deviceScaleFactor=1, mobile=phone)

    def set_media(self, media="", dark=False):
        self.call("Emulation.setEmulatedMedia", media=media, features=[
            {"name": "prefers-color-scheme", "value": "dark" if dark else "light"}])

    def picture(self, path):
        """Writes a picture of the page as a PNG file; returns its bytes."""
        data = base64.b64decode(self.call("Page.captureScreenshot", format="png")["data"])
        with open(path, "wb") as file:
            file.write(data)
        return data

    def _wait_for_load(self, loader):
        """Waits for the page of this loader: an earlier page may still tell that it is loaded."""
        while True:
            for at, message in enumerate(self._events):
                told = message.get("params", {})
                if message.get("method") == "Page.lifecycleEvent" and told["name"] == "load" \
                        and told["loaderId"] == loader:
                    self._gather(self._events[:at])
                    del self._events[:at + 1]
                    return
            self._events.append(self._receive())

    def settle(self):
        """Collects the events of the page until now."""
        self.value("0")
        self._gather(self._events)
        self._events.clear()

    def _gather(self, events):
        for event in events:
            method, told = event.get("method", ""), event.get("params", {})
            if method == "Runtime.exceptionThrown":
                self.complaints.append(str(told["exceptionDetails"]))
            elif method == "Runtime.consoleAPICalled":
                self.complaints.append(str(told["args"]))
            elif method == "Log.entryAdded":
                self.complaints.append(told["entry"]["text"])
            elif method == "Page.javascriptDialogOpening":
                self.complaints.append(told["message"])
            elif method == "Network.requestWillBeSent":
                self.requests.append(told["request"]["url"])

    def _receive(self):
        while b"\0" not in self._rest:
            if not select.select([self._answers], [], [], self._patience)[0]:
                raise TimeoutError("the browser does not answer")
            data = os.read(self._answers, 1 << 16)
            if not data:
                raise RuntimeError(f"the browser ended with status {self._process.wait()}")
            self._rest += data
        message, self._rest = self._rest.split(b"\0", 1)
        return json.loads(message)
