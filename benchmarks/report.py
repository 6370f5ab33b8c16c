#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Makes tables, a JSON file and plots from the output of the benchmarks.

    report.py DIR RUN=FILE...

Each FILE contains lines "work, contender, turn, figure, unit", separated by tabs. RUN is the name
of its run, such as "Qt 5". Writes report.json and the plots to DIR, and prints the tables.
"""

import json
import re
import statistics
import sys

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt

# The same figures always make the same files.
matplotlib.rcParams["svg.hashsalt"] = "hnipc"
NO_METADATA = {"Creator": None, "Date": None, "Format": None, "Type": None}


def read(path):
    """The figures as {work: {contender: {turn: figure}}}, in the order of the lines; the units."""
    works, units = {}, {}
    with open(path, encoding="utf-8") as lines:
        for number, line in enumerate(lines, 1):
            fields = line.rstrip("\n").split("\t")
            if len(fields) != 5:
                sys.exit(f"{path}:{number}: not five fields separated by tabs: {line.rstrip()}")
            work, contender, turn, figure, unit = fields
            works.setdefault(work, {}).setdefault(contender, {})[int(turn)] = float(figure)
            units[work] = unit
    return works, units


def spread(figures):
    lower, middle, upper = statistics.quantiles(figures, n=4, method="inclusive")
    return {"median": middle, "lower quartile": lower, "upper quartile": upper,
            "turns": len(figures)}


def summary(contenders):
    """The median of each contender, and the ratio of the library's figure to it in the same turn.
    If the library is not a contender, the first contender takes its place."""
    reference = next((name for name in contenders if name.startswith("HNIPC")),
                     next(iter(contenders)))
    result = {}
    for name, turns in contenders.items():
        result[name] = spread(list(turns.values()))
        result[name]["ratio"] = spread(
            [contenders[reference][turn] / figure for turn, figure in turns.items()])
        result[name]["ratio of"] = reference
    return result


def print_tables(run, works, units):
    print(f"\n## {run}\n")
    for work, contenders in works.items():
        reference = next(iter(contenders.values()))["ratio of"]
        print(f"| {work} | median, {units[work]} | quartiles | {reference} takes |")
        print("| --- | --- | --- | --- |")
        for name, row in contenders.items():
            ratio = row["ratio"]
            print(f"| {name} | {row['median']:.1f} "
                  f"| {row['lower quartile']:.1f} to {row['upper quartile']:.1f} "
                  f"| × {ratio['median']:.3f} ({ratio['lower quartile']:.3f} "
                  f"to {ratio['upper quartile']:.3f}) |")
        print()


def plot_calls(runs, path):
    names = list(next(iter(runs.values()))["one call"])
    height = 0.8 / len(runs)
    figure, axes = plt.subplots(figsize=(8, 4))
    for index, (run, works) in enumerate(runs.items()):
        rows = [works["one call"][name] for name in names]
        medians = [row["median"] for row in rows]
        errors = [[row["median"] - row["lower quartile"] for row in rows],
                  [row["upper quartile"] - row["median"] for row in rows]]
        axes.barh([place + index * height for place in range(len(names))], medians, height,
                  xerr=errors, label=run)
    axes.set_yticks([place + height * (len(runs) - 1) / 2 for place in range(len(names))], names)
    axes.invert_yaxis()
    axes.set_xlabel("µs for one blocking call (median, quartiles)")
    axes.legend()
    figure.tight_layout()
    figure.savefig(path, metadata=NO_METADATA)


def deliveries_to(work):
    match = re.fullmatch(r"(?:events|signals) to (\d+) clients, time of a delivery", work)
    return int(match.group(1)) if match else 0


def plot_deliveries(runs, path):
    figure, axes = plt.subplots(figsize=(8, 4))
    for run, works in runs.items():
        clients = {}
        for work, contenders in works.items():
            if number := deliveries_to(work):
                for name, row in contenders.items():
                    clients.setdefault(name, {})[number] = row["median"]
        for name, points in clients.items():
            axes.plot(list(points), list(points.values()), marker="o", label=f"{name}, {run}")
    axes.set_xlabel("clients of 59 subscriptions each")
    axes.set_ylabel("µs for one delivered signal (median)")
    axes.set_ylim(bottom=0)
    axes.legend()
    figure.tight_layout()
    figure.savefig(path, metadata=NO_METADATA)


def main():
    if len(sys.argv) < 3 or not all("=" in argument for argument in sys.argv[2:]):
        sys.exit(__doc__)
    directory = sys.argv[1]
    runs = {}
    for argument in sys.argv[2:]:
        run, path = argument.split("=", 1)
        works, units = read(path)
        runs[run] = {work: summary(contenders) for work, contenders in works.items()}
        print_tables(run, runs[run], units)
    with open(f"{directory}/report.json", "w", encoding="utf-8") as output:
        json.dump(runs, output, indent=1, ensure_ascii=False)
        output.write("\n")
    if all("one call" in works for works in runs.values()):
        plot_calls(runs, f"{directory}/calls.svg")
    if all(any(map(deliveries_to, works)) for works in runs.values()):
        plot_deliveries(runs, f"{directory}/deliveries.svg")


if __name__ == "__main__":
    main()
