"""Prints what the benchmarks measured beside what is wanted: report.py RESULTS_DIR [--write]

With --write the tables of docs/performance.md, its plot and the lines of README.md are made anew from these results:
what stands between a line <!-- measured: NAME --> and the next <!-- end -->.
"""

import datetime
import json
import os
import platform
import re
import subprocess
import sys

PAGE, PLOT, README = "docs/performance.md", "docs/performance.svg", "README.md"

# The most that is wanted: a timed row, what it is compared with, how many times that. Ends of names stand for all.
TARGETS = [
    ("open/small", "same calls", 1.5),
    ("drain from memory/big", "libavformat", 0.35),
    ("drain from memory/many", "libavformat", 0.35),
    ("drain from a file/big", "limit", 1.20),
    ("drain from a file/many", "limit", 1.12),
    ("drain from a file/OpenDML, *", "limit", 1.10),
    ("drain from a file/PCM, *", "limit", 1.05),
    ("1000 seeks, video/*", "limit", 1.10),
    ("1000 seeks, video and audio/*", "limit", 2.0),
]
BYTES_PER_ENTRY, LEAST_ENTRIES = 16.5, 2_000_000  # wanted of an index of that size


class Results:
    def __init__(self, folder):
        self.instructions = self.load(folder, "instructions.json") or []
        self.memory = self.load(folder, "memory.json") or []
        timed = self.load(folder, "timed.json") or {"benchmarks": [], "context": {}}
        self.context = timed["context"]
        self.timed = [{**row, "row": row["name"].split("/iterations:")[0]} for row in timed["benchmarks"]]

    @staticmethod
    def load(folder, name):
        path = os.path.join(folder, name)
        if not os.path.exists(path):
            return None
        with open(path, encoding="utf-8") as file:
            return json.load(file)

    def timed_row(self, name):
        return next(row for row in self.timed if row["row"] == name)


def target_of(row, other):
    for name, against, most in TARGETS:
        if against == other and (row == name or name.endswith("*") and row.startswith(name[:-1])):
            return most
    return None


def memory_target(row):
    return BYTES_PER_ENTRY if row["row"] == "idx1" and row["entries"] >= LEAST_ENTRIES else None


def milliseconds(seconds):
    return f"{seconds * 1e3:,.3f}" if seconds < 1e-3 else f"{seconds * 1e3:,.1f}"


def times(ratio):
    return f"{ratio:.2f} x"


def summary(results):
    """Rows of what was measured, its value, the target, and whether it is met (None where there is no target)."""
    for row in results.instructions:
        most = row["target"]
        yield (f"instructions inside: {row['row']}", f"{row['inside']:,.0f} ({row['all']:,.0f} with the bytes)",
               f"<= {most}" if most else "", row["inside"] <= most if most else None)
    for row in results.timed:
        for other in ("limit", "same calls", "libavformat"):
            ratio = row.get(f"library/{other}")
            if ratio is None:
                continue
            most = target_of(row["row"], other)
            yield (row["row"], f"{times(ratio)} {other} ({milliseconds(row['library'])} : {milliseconds(row[other])} ms)",
                   f"<= {most:.2f} x" if most else "", ratio <= most if most else None)
    for row in results.memory:
        for what in ("held", "peak"):
            most = memory_target(row)
            yield (f"index memory, {what}: {row['row']}, {row['entries']:,} entries", f"{row[what]:.2f} B an entry",
                   f"<= {most}" if most else "", row[what] <= most if most else None)


def print_summary(results):
    words = {None: "", True: "yes", False: "NO"}
    table = [("what", "measured", "target", "met?")]
    table += [(what, measured, target, words[met]) for what, measured, target, met in summary(results)]
    widths = [max(len(row[i]) for row in table) for i in range(4)]
    for row in table:
        print("  ".join(cell.ljust(width) for cell, width in zip(row, widths)).rstrip())
    if results.timed and not results.context.get("libavformat"):
        print("The rows beside libavformat are left out: its headers were not there (scripts/install-deps bench).")


def markdown(header, rows):
    lines = ["| " + " | ".join(header) + " |", "|---|" + "---:|" * (len(header) - 1)]
    return "\n".join(lines + ["| " + " | ".join(row) + " |" for row in rows])


def wanted(row, other):
    most = target_of(row, other)
    return f"{most:.2f}" if most else ""


def timed_table(results, prefix):
    """A column of times and one of multiples for every reader that has part in a row of the group."""
    group = [row for row in results.timed if row["row"].split("/", 1)[0] == prefix]
    others = [other for other in ("limit", "same calls", "libavformat") if any(other in row for row in group)]
    header = ["file", "library, ms"] + [f"{other}, ms" for other in others]
    for other in others:
        header += [f"x {other}"] + (["wanted"] if any(target_of(row["row"], other) for row in group) else [])
    rows = []
    for row in group:
        cells = [row["row"].split("/", 1)[1], milliseconds(row["library"])]
        cells += [milliseconds(row[other]) if other in row else "" for other in others]
        for other in others:
            cells += [f"**{row[f'library/{other}']:.2f}**" if other in row else ""]
            cells += [wanted(row["row"], other)] if any(target_of(each["row"], other) for each in group) else []
        rows.append(cells)
    return markdown(header, rows)


def first_line(*command):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout.splitlines()[0]


def processor():
    with open("/proc/cpuinfo", encoding="utf-8") as lines:
        return next((line.split(":", 1)[1].strip() for line in lines if line.startswith("model name")),
                    platform.machine())


def machine(results):
    context = results.context
    return (f"Measured on {datetime.date.today().isoformat()}: {processor()} ({context['num_cpus']} processors, "
            f"{platform.machine()}), Linux {platform.release().split('-')[0]}, "
            f"{context['compiler']} with -O2, "
            f"{first_line('valgrind', '--version')}, libavformat {context['libavformat']}, "
            f"Google Benchmark as the runner;\n"
            f"load average of the machine at the start {context['load_avg'][0]:.1f}, which is 0 when it is idle.")


def blocks(results):
    yield "machine", machine(results)
    yield "drain from a file", timed_table(results, "drain from a file")
    yield "drain from memory", timed_table(results, "drain from memory")
    yield "open", timed_table(results, "open")
    yield "1000 seeks, video", timed_table(results, "1000 seeks, video")
    yield "1000 seeks, video and audio", timed_table(results, "1000 seeks, video and audio")
    yield "first seek in sound", markdown(["file", "microseconds"], [
        [row["row"].split("/", 1)[1], f"{row['first seek in sound'] * 1e6:,.0f}"]
        for row in results.timed if row["row"].startswith("1000 seeks, video/")])
    yield "sound not delivered", markdown(["file", "units", "bytes delivered", "bytes of sound left at the end"], [
        [row["row"].split("/", 1)[1], f"{row['units']:,.0f}", f"{row['bytes']:,.0f}", f"{row['missing sound']:,.0f}"]
        for row in results.timed if row["row"].startswith("drain from a file/")])
    yield "instructions", markdown(["unit", "inside", "wanted", "with the bytes"], [
        [row["row"], f"**{row['inside']:,.0f}**", f"{row['target']}" if row["target"] else "", f"{row['all']:,.0f}"]
        for row in results.instructions])
    yield "memory", markdown(["index", "entries", "held, bytes an entry", "peak of the open", "wanted"], [
        [row["row"], f"{row['entries']:,}", f"**{row['held']:.2f}**", f"**{row['peak']:.2f}**",
         str(memory_target(row) or "")] for row in results.memory])


def readme_lines(results):
    big, memory = results.timed_row("drain from a file/big"), results.timed_row("drain from memory/big")
    return (f"A two-hour film of 1.2 GB plays out of the page cache in {big['library/limit']:.2f} times the CPU time of "
            f"merely reading its chunks,\nand in {big['library/libavformat']:.2f} times that of libavformat, from memory "
            f"in {memory['library/libavformat']:.2f} times; taken by turns in one process. More, and how:\n"
            f"[docs/performance.md](docs/performance.md).")


def fill(path, texts):
    with open(path, encoding="utf-8") as file:
        page = file.read()
    for name, text in texts:
        mark = re.compile(rf"(<!-- measured: {re.escape(name)} -->\n).*?(\n<!-- end -->)", re.DOTALL)
        page, found = mark.subn(lambda match, put=text: match[1] + "\n" + put + "\n" + match[2], page)
        if found != 1:
            sys.exit(f"report.py: {path} has {found} places for '{name}'")
    with open(path, "w", encoding="utf-8") as file:
        file.write(page)


def plot(results):
    rows = list(reversed(results.timed))
    data = "\n".join(f"{i} {row['library/limit']:.3f} {row['libavformat'] / row['limit']:.3f}" if "libavformat" in row
                     else f"{i} {row['library/limit']:.3f} NaN" for i, row in enumerate(rows))
    labels = ", ".join(f'"{row["row"].replace("/", ": ", 1)}" {i}' for i, row in enumerate(rows))
    script = f"""
set terminal svg size 960,{160 + 20 * len(rows)} font "sans-serif,12" background "#ffffff"
set output "{PLOT}"
$data << end
{data}
end
set title "CPU time, as a multiple of what reading the bytes alone takes (logarithmic)"
set logscale x 2
set xtics (0.5, 1, 1.5, 2, 3, 4, 6, 8, 12, 16, 24, 32, 48, 64, 96, 128, 192, 256)
set xrange [0.8:*]
set yrange [-0.7:{len(rows) - 0.3}]
set ytics ({labels})
set grid x ytics lc rgb "#dddddd"
set key at screen 0.5, screen 0.02 center bottom horizontal width -2
set bmargin 5
set rmargin 4
set arrow from 1,graph 0 to 1,graph 1 nohead lw 2 lc rgb "#444444"
plot $data using 2:1 with points pt 7 ps 0.9 lc rgb "#0b6fb8" title "this library", \\
     $data using 3:1 with points pt 5 ps 0.8 lc rgb "#d1791b" title "libavformat", \\
     NaN with lines lw 2 lc rgb "#444444" title "limit: the reads alone"
"""
    subprocess.run(["gnuplot"], input=script, text=True, check=True)


def main():
    folder, *options = sys.argv[1:]
    results = Results(folder)
    print_summary(results)
    if options == ["--write"]:
        if not results.context.get("libavformat"):
            sys.exit("report.py: the page compares with libavformat, which is missing: scripts/install-deps bench")
        fill(PAGE, blocks(results))
        fill(README, [("speed", readme_lines(results))])
        plot(results)


main()
