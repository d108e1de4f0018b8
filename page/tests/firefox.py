"""Firefox, driven by its own remote control: Debian has the browser and no driver for it."""

import json
import shutil
import socket
import subprocess
import tempfile
import time
from pathlib import Path

PROGRAM = "/usr/lib/firefox-esr/firefox-esr"
_PREFERENCES = """user_pref("marionette.port", {port});
user_pref("datareporting.policy.dataSubmissionEnabled", false);
user_pref("app.update.enabled", false);
user_pref("browser.shell.checkDefaultBrowser", false);
user_pref("network.captive-portal-service.enabled", false);
"""


class Firefox:
    """A headless browser; messages go over a socket as length, colon and JSON."""

    def __init__(self, seconds=60):
        self.folder = Path(tempfile.mkdtemp())
        with socket.socket() as free:
            free.bind(("127.0.0.1", 0))
            port = free.getsockname()[1]
        (self.folder / "user.js").write_text(_PREFERENCES.format(port=port))
        self.process = subprocess.Popen(
            [PROGRAM, "--headless", "--marionette", "--no-remote", "--profile", self.folder],
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, env={"HOME": str(self.folder), "PATH": "/usr/bin:/bin"},
        )  # fmt: skip
        deadline = time.monotonic() + seconds
        while True:
            try:
                self.socket = socket.create_connection(("127.0.0.1", port), timeout=seconds)
                break
            except OSError:
                if time.monotonic() > deadline or self.process.poll() is not None:
                    self.close()
                    raise
                time.sleep(0.1)
        self.number = 0
        self._receive()
        self.call("WebDriver:NewSession", {"capabilities": {"alwaysMatch": {"acceptInsecureCerts": True}}})

    def _receive(self):
        head = b""
        while not head.endswith(b":"):
            head += self.socket.recv(1)
        body, size = b"", int(head[:-1])
        while len(body) < size:
            body += self.socket.recv(size - len(body))
        return json.loads(body)

    def call(self, command, parameters=None):
        self.number += 1
        message = json.dumps([0, self.number, command, parameters or {}]).encode()
        self.socket.sendall(str(len(message)).encode() + b":" + message)
        _, _, fault, answer = self._receive()
        if fault:
            raise RuntimeError(f"{fault['error']}: {fault['message']}")
        return answer

    def open(self, address):
        self.call("WebDriver:Navigate", {"url": address})

    def run(self, script, *arguments):
        return self.call("WebDriver:ExecuteScript", {"script": script, "args": list(arguments)})["value"]

    def until(self, script, seconds=60):
        deadline = time.monotonic() + seconds
        while not self.run(script):
            if time.monotonic() > deadline:
                raise TimeoutError(script)
            time.sleep(0.05)

    def screenshot(self):
        """PNG in base64."""
        return self.call("WebDriver:TakeScreenshot", {"full": False})["value"]

    def close(self):
        self.process.terminate()
        self.process.wait(20)
        shutil.rmtree(self.folder, ignore_errors=True)
