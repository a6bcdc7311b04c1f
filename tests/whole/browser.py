# SPDX-License-Identifier: MIT
"""A headless chromium, driven through its debugging pipe (Chrome DevTools Protocol): messages are JSON, each ended by
a NUL, on the descriptors 3 and 4 of the browser."""

import itertools
import json
import os
import select
import subprocess
import tempfile
import time


class Browser:
    """One page, with the network traffic of it, its frames and its workers."""

    def __init__(self, program):
        self.profile = tempfile.TemporaryDirectory(ignore_cleanup_errors=True)
        to_browser, self.write = os.pipe()
        self.read, from_browser = os.pipe()

        def descriptors():
            # Above those that are to be replaced first.
            high = [os.dup2(one, number) for one, number in ((to_browser, 20), (from_browser, 21))]
            for number, one in zip((3, 4), high):
                os.dup2(one, number)

        self.process = subprocess.Popen(
            [program, "--headless", "--no-sandbox", "--disable-gpu", "--no-first-run", "--disable-background-networking",
             "--remote-debugging-pipe", f"--user-data-dir={self.profile.name}", "about:blank"],
            preexec_fn=descriptors, close_fds=False, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(to_browser)
        os.close(from_browser)
        self.numbers = itertools.count(1)
        self.buffer = b""
        self.requests, self.complaints, self.frames = [], [], {}
        target = next(one for one in self.send("Target.getTargets")["targetInfos"] if one["type"] == "page")
        self.session = self.send("Target.attachToTarget", targetId=target["targetId"], flatten=True)["sessionId"]
        for domain in ("Page", "Runtime", "Log"):
            self.call(f"{domain}.enable")
        self.watch(self.session)

    def watch(self, session):
        self.send("Network.enable", session)
        self.send("Target.setAutoAttach", session, autoAttach=True, waitForDebuggerOnStart=False, flatten=True)

    def call(self, method, **parameters):
        return self.send(method, self.session, **parameters)

    def send(self, method, session=None, **parameters):
        number = next(self.numbers)
        message = {"id": number, "method": method, "params": parameters, **({"sessionId": session} if session else {})}
        os.write(self.write, json.dumps(message).encode() + b"\0")
        while True:
            answer = self.receive(60)
            if answer.get("id") == number:
                if "error" in answer and session in (None, self.session):
                    raise RuntimeError(f"{method}: {answer['error']}")
                return answer.get("result", {})
            self.note(answer)

    def receive(self, seconds):
        while b"\0" not in self.buffer:
            if not select.select([self.read], [], [], seconds)[0]:
                raise TimeoutError("the browser does not answer")
            piece = os.read(self.read, 1 << 20)
            if not piece:
                raise RuntimeError("the browser has ended")
            self.buffer += piece
        line, self.buffer = self.buffer.split(b"\0", 1)
        return json.loads(line)

    def note(self, event):
        method, about = event.get("method"), event.get("params", {})
        if method == "Network.requestWillBeSent":
            self.requests.append(about["request"]["url"])
        elif method == "Log.entryAdded" and about["entry"]["level"] == "error":
            self.complaints.append(about["entry"]["text"])
        elif method == "Runtime.exceptionThrown":
            self.complaints.append(str(about["exceptionDetails"]))
        elif method == "Target.detachedFromTarget":
            self.frames.pop(about.get("targetId"), None)
        elif method == "Target.attachedToTarget":
            # Without waiting for answers, which come in their turn.
            session = about["sessionId"]
            if about["targetInfo"]["type"] == "iframe":
                self.frames[about["targetInfo"]["targetId"]] = session
            for method, parameters in (("Network.enable", {}), ("Log.enable", {})):
                text = json.dumps({"id": next(self.numbers), "method": method, "params": parameters, "sessionId": session})
                os.write(self.write, text.encode() + b"\0")

    def evaluate(self, expression):
        result = self.call("Runtime.evaluate", expression=expression, returnByValue=True, awaitPromise=True)
        if "exceptionDetails" in result:
            raise RuntimeError(f"{expression}: {result['exceptionDetails']}")
        return result["result"].get("value")

    def until(self, expression, seconds=60):
        """The expression's value once it is true, or the last one."""
        end = time.monotonic() + seconds
        while not (value := self.evaluate(expression)) and time.monotonic() < end:
            time.sleep(0.03)
        return value

    def open(self, url):
        self.call("Page.navigate", url=url)
        self.until(f"document.readyState === 'complete' && location.href.startsWith({json.dumps(url)})")

    def in_frame(self, selector):
        """Whether an element is in one of the page's frames, which may be of no origin and have no script."""
        self.evaluate("0")  # takes in what the browser has said meanwhile
        for session in list(self.frames.values()):
            root = self.send("DOM.getDocument", session).get("root", {}).get("nodeId")
            if root and self.send("DOM.querySelector", session, nodeId=root, selector=selector).get("nodeId"):
                return True
        return False

    def choose(self, selector, *paths):
        """Puts files into an input, as a person does with the dialogue."""
        root = self.call("DOM.getDocument")["root"]["nodeId"]
        node = self.call("DOM.querySelector", nodeId=root, selector=selector)["nodeId"]
        self.call("DOM.setFileInputFiles", nodeId=node, files=[str(path) for path in paths])

    def press(self, key, code):
        for kind in ("keyDown", "keyUp"):
            self.call("Input.dispatchKeyEvent", type=kind, key=key, code=key, windowsVirtualKeyCode=code)

    def size(self, width, height):
        self.call("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1, mobile=width < 600)

    def media(self, **features):
        self.call("Emulation.setEmulatedMedia", features=[{"name": name.replace("_", "-"), "value": value} for name, value in features.items()])

    def picture(self, whole=True, **clip):
        """A PNG in base64, of the whole page or of a piece of it."""
        more = {"clip": {**clip, "scale": 1}} if clip else {}
        return self.call("Page.captureScreenshot", format="png", captureBeyondViewport=whole, **more)["data"]

    def close(self):
        try:
            self.send("Browser.close")
        except (RuntimeError, TimeoutError, BrokenPipeError):
            self.process.kill()
        self.process.wait()
        os.close(self.write)
        os.close(self.read)
        self.profile.cleanup()
