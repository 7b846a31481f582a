"""The benchmark: measures all contenders and keeps docs/performance.md and its plot current."""

import pathlib
import statistics
import subprocess
import sys
import tempfile

from measure import CONTENDERS, Responder, cold_run, first_growth, rotation, running

DOCS = pathlib.Path(__file__).resolve().parent.parent / "docs"
SIZES = [10, 1000, 10_000, 100_000]
TRANSPORTS = [("TLS 1.3, P-256", "ec-p256", "1.3"), ("TLS 1.3, RSA-2048", "rsa-2048", "1.3"),
              ("TLS 1.2, RSA-2048", "rsa-2048", "1.2")]
MARKS = "<!-- measured: begin -->", "<!-- measured: end -->"


CURL = "libcurl + pugixml"


def ratio(results, name, peer, key):
    """Median over the rounds of what one took against what another took in the same round."""
    return statistics.median(
        ours[key] / theirs[key] for ours, theirs in zip(results[name], results[peer]))


def cell(results, name, key):
    """x floor, and for the library x libcurl as well."""
    peers = ["floor", CURL] if name.startswith("library") else ["floor"]
    return " / ".join(f"{ratio(results, name, peer, key):.2f}" for peer in peers if peer in results)


def row(title, results, key, unit=1000):
    floor = statistics.median(result[key] for result in results["floor"]) / unit
    cells = [cell(results, name, key) if name in results else "-" for name in CONTENDERS if name != "floor"]
    print(f"{title}: floor {floor:.2f} ms, {', '.join(cells)}", flush=True)
    return f"| {title} | {floor:.2f} ms | " + " | ".join(cells) + " |"


def small_rows(programs, rounds):
    for title, key, tls in TRANSPORTS:
        with Responder(programs, key=key, tls=tls) as responder:
            yield small_row(f"small request, {title}", responder, rounds)
    with Responder(programs) as responder:
        bundle = responder.system_trust()
        yield small_row("small request, the system's trust", responder, rounds,
                        lambda name: None if name == "floor" else bundle)
        yield kept_row("small request on a kept connection", responder, rounds)
        yield log_in_row(responder, rounds)


def small_row(title, responder, rounds, trust_of=lambda name: None):
    with running(responder, CONTENDERS, trust_of) as contenders:
        rotation(contenders, "small 2", 1)
        return row(title, rotation(contenders, "small 10", rounds), "cpu_us")


def kept_row(title, responder, rounds):
    """The responder serves one connection at a time: each is kept for a round only."""
    names = [name for name in CONTENDERS if name == "floor" or name.startswith("library")]
    results = {name: [] for name in names}
    with running(responder, names) as contenders:
        for _ in range(rounds):
            for name, contender in contenders.items():
                results[name].append(contender.perform("small 10" if name == "floor" else "kept 10"))
        return row(title, results, "cpu_us")


def log_in_row(responder, rounds):
    """A user's view: method, password, list and target, over one connection."""
    names = [name for name in CONTENDERS if not name.startswith("Beast")]
    with running(responder, names) as contenders:
        rotation(contenders, "log-in 1", 1)
        trips = {name: responder.round_trips(lambda: contender.perform("log-in 1"))
                 for name, contender in contenders.items()}
        if len(set(trips.values())) != 1:
            raise SystemExit(f"round trips: {trips}")
        return row(f"whole log-in, {trips['library']} round trips", rotation(contenders, "log-in 5", rounds),
                   "cpu_us")


def cold_row(programs, rounds):
    with Responder(programs) as responder:
        bundle = responder.system_trust()
        results = {name: [] for name in CONTENDERS}
        for _ in range(rounds):
            for name in CONTENDERS:
                trust = None if name == "floor" else bundle
                wall, _ = cold_run(responder, name, trust, "small 1\n")
                results[name].append({"wall_us": wall})
        return row("cold process, first request, the system's trust, wall", results, "wall_us")


def agreed(results):
    digests = {result["digest"] for name, rounds in results.items() if name != "floor"
               for result in rounds}
    if len(digests) != 1:
        raise SystemExit("the contenders do not agree on the list")


def list_measurements(programs, rounds):
    """Time and memory by the length of the list: warm, the first of a process, and how the memory of one
    whose list is not copied out grows."""
    for size in SIZES:
        with Responder(programs, size) as responder:
            first = {name: [] for name in CONTENDERS}
            for _ in range(3 if size == SIZES[-1] else rounds):
                for name in CONTENDERS:
                    first[name].append(cold_run(responder, name, None, "small 1\nlist 1\n")[1][1])
            with running(responder, CONTENDERS) as contenders:
                rotation(contenders, "list 1", 1)
                few = max(3, rounds // 3) if size == SIZES[-1] else rounds
                results = rotation(contenders, f"list {max(1, 2000 // size)}", few)
            agreed(results)
            growth = {}
            for name in CONTENDERS:
                growth[name] = first_growth(responder, name)
            yield size, responder.list_bytes, results, first, growth


def median_ms(results, name, key="cpu_us"):
    return statistics.median(result[key] for result in results[name]) / 1000


def plot(lists):
    names = list(CONTENDERS)
    with tempfile.NamedTemporaryFile("w", suffix=".dat") as data:
        for size, _, results, _, growth in lists:
            columns = [median_ms(results, name) for name in names]
            columns += [growth[name] for name in names]
            print(size, *columns, file=data)
        data.flush()
        lines = lambda first: ", ".join(
            f"'{data.name}' using 1:{first + i} with linespoints lw 2 pt 7 title '{name}'"
            for i, name in enumerate(names))
        script = f"""
            set terminal pngcairo size 1100,480 font 'sans,10'
            set output '{DOCS / "performance.png"}'
            set multiplot layout 1,2
            set logscale x; set xlabel 'desktops in the list'; set key left top; set grid
            set logscale y; set ylabel 'CPU time, ms'; plot {lines(2)}
            unset logscale y; set yrange [0:8]; set xrange [500:200000]
            set ylabel 'peak memory growth, multiples of the document'; plot {lines(2 + len(names))}
        """
        subprocess.run(["gnuplot"], input=script, text=True, check=True)


def list_tables(lists):
    names = list(CONTENDERS)
    lines = []
    for size, list_bytes, results, first, _ in lists:
        title = f"list of {size:,} ({list_bytes / 1e6:.2f} MB)"
        lines.append(row(title, results, "cpu_us"))
        if size >= 1000:
            lines.append(row(f"the first {title} of a process", first, "cpu_us"))
        if size == 10_000:
            copies = [f"{median_ms(results, name, 'copy_us'):.1f} ms" for name in names]
            lines.append(f"| of the {title}: copying all fields out | " + " | ".join(copies) + " |")
    lines += ["", "Peak memory growth of a cold process with the first list, in multiples of the document:",
              "", "| Desktops | " + " | ".join(names) + " |", "|---|" + "---|" * len(names)]
    for size, *_, growth in lists:
        if size >= 1000:
            lines.append(f"| {size:,} | " + " | ".join(f"{growth[name]:.2f}" for name in names) + " |")
    by_size = {size: results for size, _, results, *_ in lists}
    lines += ["", "CPU time for each desktop of 100,000 against each of 1,000: " + ", ".join(
        f"{name} {median_ms(by_size[100_000], name) / median_ms(by_size[1000], name) / 100:.2f}"
        for name in names) + "."]
    return lines


def main(programs, rounds):
    header = ["| Work | Floor | " + " | ".join(
        f"{name}, x floor" + (" / x libcurl" if name.startswith("library") else "")
        for name in CONTENDERS if name != "floor") + " |",
              "|---|---|" + "---|" * (len(CONTENDERS) - 1)]
    smalls = [*small_rows(programs, rounds), cold_row(programs, 2 * rounds)]
    lists = list(list_measurements(programs, rounds))
    measured = [MARKS[0], *header, *smalls, *list_tables(lists), MARKS[1]]
    note = DOCS / "performance.md"
    text = note.read_text()
    before, after = text.index(MARKS[0]), text.index(MARKS[1]) + len(MARKS[1])
    note.write_text(text[:before] + "\n".join(measured) + text[after:])
    plot(lists)


if __name__ == "__main__":
    main(sys.argv[1], int(sys.argv[2]) if len(sys.argv) > 2 else 15)
