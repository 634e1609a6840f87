"""Prints what the benchmarks measured: report.py RESULTS_DIR"""

import json
import os
import sys


def load(folder, name):
    path = os.path.join(folder, name)
    if not os.path.exists(path):
        return None
    with open(path, encoding="utf-8") as file:
        return json.load(file)


def instruction_rows(counts):
    for row in counts or []:
        wanted = row["target"]
        yield (f"instructions: {row['row']}", f"{row['inside']:,.0f} ({row['all']:,.0f} with the bytes' copying)",
               f"<= {wanted}" if wanted else "", "" if wanted is None else row["inside"] <= wanted)


def print_table(rows):
    table = [("what", "measured", "target", "met?")]
    table += [(what, measured, target, met if met == "" else "yes" if met else "NO")
              for what, measured, target, met in rows]
    widths = [max(len(row[i]) for row in table) for i in range(4)]
    for row in table:
        print("  ".join(cell.ljust(width) for cell, width in zip(row, widths)).rstrip())


def main():
    folder = sys.argv[1]
    print_table(list(instruction_rows(load(folder, "instructions.json"))))


main()
