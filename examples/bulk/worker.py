# SPDX-License-Identifier: MIT
"""Documents through one `xmldsig worker`, for programs that have many. Copy it; it needs nothing but Python.

    for name, answer in Worker().answers(documents):
        print(name, answer["status"])
"""

import base64
import json
import subprocess
import threading


class Worker:
    """How a worker is started: `arguments` are options of `xmldsig worker`, such as "--key", "partner.pem".

    `timeout_ms` bounds the time for one document; what takes longer has an answer with the status "error".
    `most_in_hand` bounds the documents that are held, and verified anew should the process die; a few for each of its threads.
    """

    def __init__(self, *arguments, tool="xmldsig", timeout_ms=60000, most_in_hand=64):
        self.command = [tool, "worker", "--unordered", *arguments]
        self.timeout_ms = timeout_ms
        self.most_in_hand = most_in_hand

    def answers(self, documents):
        """Yields (name, answer) for every (name, document), as each is done. A document is its octets, or the name
        of a file that the worker can read. `documents` is drawn on in another thread, and only as fast as answers are taken."""
        run = _Run(self, iter(documents))
        while not run.ended:
            yield from run.through_one_process()

    def request(self, number, document):
        source = {"file": document} if isinstance(document, str) else {"base64": base64.b64encode(document).decode()}
        return json.dumps({"id": number, "timeoutMs": self.timeout_ms, **source}).encode() + b"\n"

    def alone(self, document):
        """The answer of a process for this document only."""
        done = subprocess.run(self.command, input=self.request(0, document), stdout=subprocess.PIPE, check=False)
        if done.stdout.endswith(b"\n"):
            return _named(json.loads(done.stdout))[1]
        return {"status": "error", "error": f"the worker ended with {done.returncode} over this document", "signatures": []}


class _Run:
    """One pass over documents, through as many processes as it takes."""

    def __init__(self, worker, documents):
        self.worker, self.documents = worker, documents
        self.waiting = {}  # number: (name, document), of what is written and not answered
        self.room = threading.Semaphore(worker.most_in_hand)
        self.count = 0
        self.ended = False
        self.fault = None

    def through_one_process(self):
        with subprocess.Popen(self.worker.command, stdin=subprocess.PIPE, stdout=subprocess.PIPE) as process:
            # The pipe is the feeder's alone, who may be writing to it when this ends.
            pipe, process.stdin = process.stdin, None
            feeder = threading.Thread(target=self._feed, args=[pipe], daemon=True)
            feeder.start()
            try:
                for line in process.stdout:
                    if line.endswith(b"\n"):  # else it broke off
                        number, answer = _named(json.loads(line))
                        yield self._taken(number)[0], answer
                if process.wait() == 2:
                    raise RuntimeError(f"{self.worker.command} does not start")  # it said why on standard error
                yield from self.left_over(feeder)
            except BaseException:
                process.kill()  # nobody takes the rest
                self.room.release()
                raise
        if self.fault:
            raise self.fault

    def left_over(self, feeder):
        """What has no answer though the process ended: it was ended from outside, perhaps because of a document in its
        hands (no memory left). Each goes through a process of its own, so that one that is poison spoils nothing but itself."""
        while self.waiting or feeder.is_alive():
            for number in list(self.waiting):
                name, document = self._taken(number)
                yield name, self.worker.alone(document)
            feeder.join(0.05)

    def _taken(self, number):
        self.room.release()
        return self.waiting.pop(number)

    def _feed(self, pipe):
        try:
            self.ended = self._write_all(pipe)
        except Exception as fault:  # of whoever gives the documents, for whoever takes the answers
            self.fault = fault
            self.ended = True
        _done(pipe.close)

    def _write_all(self, pipe):
        for name, document in self.documents:
            self.room.acquire()
            self.count += 1
            self.waiting[self.count] = name, document
            if not _done(pipe.write, self.worker.request(self.count, document)) or not _done(pipe.flush):
                return False
        return True


def _done(step, *arguments):
    """False when the process at the other end of the pipe is gone, which the reader sees, too."""
    try:
        step(*arguments)
        return True
    except BrokenPipeError:
        return False


def _named(answer):
    return answer.pop("id"), answer
