"""A headless Chromium driven over the DevTools protocol, through the pair of pipes that it offers for that."""
import json
import os
import shutil
import subprocess
import tempfile
import time


def program():
    """Where Chromium is; None when it is not installed."""
    return shutil.which("chromium") or shutil.which("chromium-browser")


class Browser:
    def __init__(self, width=1400, height=900):
        to_read, self.to = os.pipe()
        self.source, from_write = os.pipe()
        os.dup2(to_read, 200)
        os.dup2(from_write, 201)
        os.close(to_read)
        os.close(from_write)
        self.home = tempfile.mkdtemp(prefix="sheaf-chromium-")
        # Chromium reads its commands from descriptor 3 and answers on 4.
        command = [program(), "--headless=new", "--no-sandbox", "--disable-gpu", "--no-first-run", "--disable-extensions",
                   "--disable-background-networking", "--remote-debugging-pipe", "--hide-scrollbars",
                   f"--user-data-dir={self.home}", f"--window-size={width},{height}", "about:blank"]
        self.process = subprocess.Popen(["bash", "-c", 'exec "$@" 3<&200 4>&201 200<&- 201>&-', "chromium", *command],
                                        pass_fds=(200, 201), stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(200)
        os.close(201)
        self.count, self.rest, self.events, self.session = 0, b"", [], None
        targets = self.call("Target.getTargets")["targetInfos"]
        page = next(target for target in targets if target["type"] == "page")
        self.session = self.call("Target.attachToTarget", targetId=page["targetId"], flatten=True)["sessionId"]
        for domain in ("Page", "Runtime", "Log", "Network"):
            self.call(domain + ".enable")

    def close(self):
        self.session = None
        try:
            self.call("Browser.close")
            self.process.wait(10)
        except (OSError, RuntimeError, subprocess.TimeoutExpired):
            self.process.kill()
        os.close(self.to)
        os.close(self.source)
        shutil.rmtree(self.home, ignore_errors=True)

    def message(self):
        while b"\0" not in self.rest:
            data = os.read(self.source, 1 << 20)
            if not data:
                raise RuntimeError("Chromium ended")
            self.rest += data
        text, self.rest = self.rest.split(b"\0", 1)
        return json.loads(text)

    def call(self, method, **params):
        self.count += 1
        request = {"id": self.count, "method": method, "params": params}
        if self.session:
            request["sessionId"] = self.session
        os.write(self.to, json.dumps(request).encode() + b"\0")
        while True:
            answer = self.message()
            if answer.get("id") == self.count:
                if "error" in answer:
                    raise RuntimeError(f"{method}: {answer['error']}")
                return answer["result"]
            self.events.append(answer)

    def open(self, path):
        self.events.clear()
        self.call("Page.navigate", url="file://" + os.path.abspath(path))
        while not any(event.get("method") == "Page.loadEventFired" for event in self.events):
            self.events.append(self.message())

    def value(self, script):
        """What an expression gives; a promise is waited for."""
        result = self.call("Runtime.evaluate", expression=script, returnByValue=True, awaitPromise=True)
        if "exceptionDetails" in result:
            raise RuntimeError(result["exceptionDetails"].get("exception", {}).get("description", str(result)))
        return result["result"].get("value")

    def wait_for(self, script, seconds=20):
        end = time.monotonic() + seconds
        while not self.value(f"!!({script})"):
            if time.monotonic() > end:
                raise AssertionError("did not come true: " + script)
            time.sleep(0.05)

    def press(self, key, code=0, text=None):
        for kind in ("keyDown", "keyUp"):
            extra = {"text": text} if text and kind == "keyDown" else {}
            self.call("Input.dispatchKeyEvent", type=kind, key=key, windowsVirtualKeyCode=code, **extra)

    def type(self, text):
        self.call("Input.insertText", text=text)

    def complaints(self):
        """What the console, scripts that failed, the policy and requests to a network said since the page was opened."""
        self.value("1")
        found = []
        for event in self.events:
            params = event.get("params", {})
            if event.get("method") == "Runtime.exceptionThrown":
                found.append(params["exceptionDetails"].get("exception", {}).get("description", "exception"))
            elif event.get("method") == "Runtime.consoleAPICalled":
                found.append("console: " + str(params["args"]))
            elif event.get("method") == "Log.entryAdded":
                found.append("log: " + params["entry"]["text"])
            elif event.get("method") == "Network.requestWillBeSent":
                url = params["request"]["url"]
                if not url.startswith(("file:", "data:")):
                    found.append("request: " + url)
        return found

    def picture(self, path):
        import base64
        data = self.call("Page.captureScreenshot", format="png")["data"]
        with open(path, "wb") as out:
            out.write(base64.b64decode(data))
