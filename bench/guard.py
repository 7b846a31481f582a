"""Guards the library's speed by what does not depend on the machine's mood: instructions, those of the
floor being the measure, system calls, allocations and peak memory."""

import re
import subprocess
import sys
import tempfile

from measure import Responder, first_growth

# Work, its size, and how much of the floor's instructions it may cost: what was measured when the
# limit was set, and a tenth more for other versions of the libraries underneath.
INSTRUCTION_LIMITS = [
    ("small", "system", 1.15),
    ("kept", "system", 0.04),
    ("fetch", "authority", 4.30),
]
# System calls of one exchange, with room for what the kernel delivers in other pieces.
SYSTEM_CALL_LIMITS = [("small", 26), ("kept", 8), ("fetch", 52)]
# Allocations of one exchange beyond the floor's, which are OpenSSL's; a kept connection has none of those.
ALLOCATION_LIMITS = [("small", 260), ("kept", 55), ("fetch", 270)]
# By how much the first list makes a process grow, in multiples of the document.
MEMORY_LIMITS = [("library", 2.6), ("library, no log", 1.75)]
LIST_DESKTOPS = 1000


def instructions(command, work):
    done = subprocess.run(
        ["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null", *command],
        input=work, text=True, check=True, capture_output=True)
    return int(re.search(r"Collected : (\d+)", done.stderr)[1])


def system_calls(command, work):
    with tempfile.NamedTemporaryFile("r") as counts:
        subprocess.run(["strace", "-f", "-c", "-o", counts.name, *command], input=work, text=True,
                       check=True, capture_output=True)
        return int(re.search(r"(\d+)\s+(?:\d+\s+)?total", counts.read())[1])


def allocations(command, work):
    done = subprocess.run(["valgrind", "--tool=memcheck", "--leak-check=no", *command],
                          input=work, text=True, check=True, capture_output=True)
    return int(re.search(r"total heap usage: ([\d,]+) allocs", done.stderr)[1].replace(",", ""))


def per_exchange(count, command, kind):
    """The difference between few and many leaves out the start of the process and what it learns
    with the first exchange."""
    few, many = (1, 4) if kind == "fetch" else (2, 12)
    exchanges = (many - few) * (1 if kind == "fetch" else 2)
    warm = "small 1\n"
    return (count(command, f"{warm}{kind} {many}\n") - count(command, f"{warm}{kind} {few}\n")) / exchanges


def check(what, value, limit):
    verdict = "ok" if value <= limit else "TOO MUCH"
    print(f"{what:55} {value:8.2f}  limit {limit:6.2f}  {verdict}", flush=True)
    return value <= limit


def main(programs):
    passed = True
    with Responder(programs, LIST_DESKTOPS) as responder:
        for kind, trust, limit in INSTRUCTION_LIMITS:
            trusted = responder.system_trust() if trust == "system" else None
            # The floor keeps no connection: that it makes one is what a kept one is measured by.
            floor = per_exchange(instructions, responder.command("floor"), kind.replace("kept", "small"))
            ours = per_exchange(instructions, responder.command("library", trusted), kind)
            passed &= check(f"instructions of a {kind} exchange, of the floor's {floor / 1e6:.2f} M",
                            ours / floor, limit)
        for kind, limit in SYSTEM_CALL_LIMITS:
            calls = per_exchange(system_calls, responder.command("library"), kind)
            passed &= check(f"system calls of a {kind} exchange", calls, limit)
        for kind, limit in ALLOCATION_LIMITS:
            made = per_exchange(allocations, responder.command("library"), kind)
            if kind != "kept":
                made -= per_exchange(allocations, responder.command("floor"), kind)
            passed &= check(f"allocations of a {kind} exchange", made, limit)
    with Responder(programs, 10 * LIST_DESKTOPS) as responder:
        for name, limit in MEMORY_LIMITS:
            passed &= check(f"peak memory of {name}, x document", first_growth(responder, name), limit)
    return 0 if passed else 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
