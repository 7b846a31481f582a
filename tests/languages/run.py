"""Has a program carry on the conversations of the table and compares what it tells with what stands there:
run.py [--words] SIMULATOR PROGRAM [ARGUMENTS...]

A program gets its calls as JSON; with --words, each as a line of words, for languages without a reader of it."""

import json
import os
import pathlib
import re
import ssl
import subprocess
import sys
import tempfile
from contextlib import ExitStack, contextmanager
from itertools import zip_longest

HERE = pathlib.Path(__file__).resolve().parent
AS_WORDS = "--words" in sys.argv
SCENARIOS = HERE.parents[1] / "tools/broker-sim/scenarios"


@contextmanager
def ended(command, **options):
    process = subprocess.Popen(command, stdout=subprocess.PIPE, text=True, **options)
    try:
        yield process
    finally:
        process.terminate()
        process.communicate()


@contextmanager
def simulated_broker(simulator, scenario, folder):
    """A broker that plays a scenario: the name of a file, or the scenario itself."""
    file = SCENARIOS / scenario if isinstance(scenario, str) else folder / "scenario.json"
    if file.parent == folder:
        file.write_text(json.dumps(scenario))
    authority = folder / "ca.pem"
    with ended([simulator, "--scenario", file, "--ca-file", authority]) as process:
        port = json.loads(process.stdout.readline())["port"]
        yield str(port), authority


@contextmanager
def server_that_asks_for_a_certificate(folder):
    """It judges the client's signature, and would have nothing to say after that."""
    key, certificate = folder / "key.pem", folder / "certificate.pem"
    subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-keyout", key,
                    "-out", certificate, "-subj", "/CN=server", "-addext",
                    "subjectAltName=IP:127.0.0.1"], check=True, stderr=subprocess.DEVNULL)
    with ended(["openssl", "s_server", "-accept", "127.0.0.1:0", "-www", "-Verify", "1", "-tls1_2",
                "-key", key, "-cert", certificate], stderr=subprocess.DEVNULL) as process:
        for line in process.stdout:
            if listening := re.match(r"ACCEPT .*:(\d+)", line):
                yield listening[1], certificate
                return


def words(call):
    if isinstance(call, list):
        return [word for part in call for word in words(part)]
    return [call if isinstance(call, str) else json.dumps(call)]


def written(calls, as_words):
    return "".join("\t".join(words(call)) + "\n" for call in calls) if as_words else json.dumps(calls)


def carry_on(program, conversation, port, authority):
    folder = authority.parent
    certificate = folder / "certificate.der"
    certificate.write_bytes(ssl.PEM_cert_to_DER_cert(authority.read_text()))
    trust_nobody = {"SSL_CERT_FILE": os.devnull, "SSL_CERT_DIR": str(folder / "none")}
    done = subprocess.run([*program, "127.0.0.1", port, certificate],
                          input=written([call for call, _ in conversation["calls"]], AS_WORDS), text=True,
                          stdout=subprocess.PIPE, check=True, env={**os.environ, **trust_nobody})
    return [json.loads(line) for line in done.stdout.splitlines()]


def agrees(outcome, expected):
    """Where something is told in the words of the system, the table has null for them, or "..."."""
    if expected == "...":
        return outcome != ""
    if isinstance(expected, dict) and expected.get("error", [""])[-1] is None:
        return outcome["error"][:-1] == expected["error"][:-1] and outcome["error"][-1] != ""
    return outcome == expected


def differences(conversation, told):
    failures = 0
    for (call, expected), outcome in zip_longest(conversation["calls"], told, fillvalue="(nothing)"):
        if not agrees(outcome, expected):
            failures += 1
            print(f"{conversation['name']}: {json.dumps(call)}\n  expected {json.dumps(expected)}"
                  f"\n  told     {json.dumps(outcome)}")
    return failures


def main():
    simulator, *program = [word for word in sys.argv[1:] if word != "--words"]
    failures, brokers = 0, {}  # one for each scenario
    with ExitStack() as stack:
        for conversation in json.loads((HERE / "conversations.json").read_text()):
            scenario = conversation.get("broker")
            if str(scenario) not in brokers:
                folder = pathlib.Path(stack.enter_context(tempfile.TemporaryDirectory()))
                brokers[str(scenario)] = stack.enter_context(
                    simulated_broker(simulator, scenario, folder) if scenario
                    else server_that_asks_for_a_certificate(folder))
            told = carry_on(program, conversation, *brokers[str(scenario)])
            failures += differences(conversation, told)
    return failures != 0


if __name__ == "__main__":
    sys.exit(main())
