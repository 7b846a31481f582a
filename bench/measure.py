"""Runs the contenders of the benchmark against the responder and reads what they took."""

import http.client
import json
import os
import pathlib
import ssl
import subprocess
import tempfile
import time
from contextlib import closing, contextmanager

SYSTEM_BUNDLE = pathlib.Path("/etc/ssl/certs/ca-certificates.crt")
CPUS = sorted(os.sched_getaffinity(0))

# Program and arguments by the name under which the results stand.
CONTENDERS = {
    "floor": ["bench-floor"],
    "library": ["bench-library"],
    "library, no log": ["bench-library", "--no-log"],
    "libcurl + pugixml": ["bench-curl"],
    "Beast + pugixml": ["bench-beast"],
}


def pinned_to(cpu):
    return lambda: os.sched_setaffinity(0, {cpu})


class Responder:
    """The server of one measurement, in a process and on a processor of its own."""

    def __init__(self, programs, desktops=10, key="ec-p256", tls="1.3"):
        self.programs = pathlib.Path(programs)
        self.folder = tempfile.TemporaryDirectory()
        self.authority = pathlib.Path(self.folder.name, "authority.pem")
        self.process = subprocess.Popen(
            [self.programs / "bench-responder", str(desktops), key, tls, self.authority],
            stdout=subprocess.PIPE, text=True, preexec_fn=pinned_to(CPUS[-1]))
        self.port, list_bytes = self.process.stdout.readline().split()
        self.list_bytes = int(list_bytes)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.kill()
        self.process.wait()
        self.folder.cleanup()

    def system_trust(self):
        """The authority behind all of the system's own."""
        bundle = pathlib.Path(self.folder.name, "system.pem")
        if not bundle.exists():
            bundle.write_text(SYSTEM_BUNDLE.read_text() + self.authority.read_text())
        return bundle

    def round_trips(self, work):
        """Those over TLS 1.3 that some work waits for: two for a connection, one for a request."""
        self.served()
        work()
        connections, requests = self.served()
        return 2 * connections + requests

    def served(self):
        """The connections and requests since it was last asked."""
        trusted = ssl.create_default_context(cafile=self.authority)
        with closing(http.client.HTTPSConnection("127.0.0.1", int(self.port), context=trusted)) as asking:
            asking.request("POST", "/", "<kavro-client>\n<count>")
            return map(int, asking.getresponse().read().split())

    def command(self, name, trust=None):
        program, *options = CONTENDERS[name]
        return [self.programs / program, self.port, trust or self.authority, *options]


class Running:
    """A contender that is told what to do, as often as one likes."""

    def __init__(self, responder, name, trust=None):
        self.process = subprocess.Popen(
            responder.command(name, trust), stdin=subprocess.PIPE, stdout=subprocess.PIPE,
            text=True, preexec_fn=pinned_to(CPUS[0]))

    def perform(self, work):
        self.process.stdin.write(work + "\n")
        self.process.stdin.flush()
        answer = self.process.stdout.readline()
        if not answer:
            raise SystemExit(f"{self.process.args[0]} failed at '{work}'")
        return json.loads(answer)

    def close(self):
        self.process.stdin.close()
        self.process.wait()


@contextmanager
def running(responder, names, trust_of=lambda name: None):
    contenders = {name: Running(responder, name, trust_of(name)) for name in names}
    try:
        yield contenders
    finally:
        for contender in contenders.values():
            contender.close()


def rotation(contenders, work, rounds):
    """What `work` took each contender in each round. All take part in every round, so that a
    slower moment of the machine is everybody's."""
    results = {name: [] for name in contenders}
    for _ in range(rounds):
        for name, contender in contenders.items():
            results[name].append(contender.perform(work))
    return results


def cold_run(responder, name, trust, work):
    """Wall time in microseconds of a whole process, and its answers."""
    started = time.perf_counter()
    done = subprocess.run(
        responder.command(name, trust), input=work, text=True, check=True,
        stdout=subprocess.PIPE, preexec_fn=pinned_to(CPUS[0]))
    wall = (time.perf_counter() - started) * 1e6
    return wall, [json.loads(line) for line in done.stdout.splitlines()]


def first_growth(responder, name):
    """By how much the first list makes a process grow, in multiples of the document."""
    _, (before, after) = cold_run(responder, name, None, "small 1\nfetch 1\n")
    return (after["peak_kb"] - before["peak_kb"]) * 1024 / responder.list_bytes
