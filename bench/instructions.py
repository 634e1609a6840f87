"""Counts with callgrind what a unit costs inside the library: instructions.py BUILD_DIR WORK_DIR OUT.json

Counted is one operation of the plug-in interface and all that it calls. Two counts for each row: "inside" leaves out the
source's ReadAt and the C library's functions that copy or fill memory, whose cost is the bytes'; "all" has them.
"""

import json
import os
import re
import subprocess
import sys

GET_VIDEO = "AVIParser::GetVideoData(unsigned char*, unsigned long*, unsigned long*, unsigned long, bool)"
GET_AUDIO = "AVIParser::GetAudioData(unsigned char*, unsigned long*, unsigned long*, unsigned long)"
OPEN = "AVIParser::Open(IDataSource*)"

# What is counted: the name and size of the file, what unit_cost does with it, the operation counted in, the most
# instructions inside that are wanted. With two sizes of a file the rest of an open drops out: units are entries then.
ROWS = [
    dict(row="video frame, idx1", file="film", units=[2000], play="video", count=GET_VIDEO, target=280),
    dict(row="video frame, no index", file="film-noindex", units=[2000], play="video", count=GET_VIDEO),
    dict(row="MP3 frame, 640-byte chunks", file="mp3", units=[2000], play="audio", count=GET_AUDIO, target=550),
    dict(row="MP3 frame, one a chunk", file="mp3-frames", units=[2000], play="audio", count=GET_AUDIO, target=500),
    dict(row="MP3 frame, 16,000-byte chunks", file="mp3-large", units=[80], play="audio", count=GET_AUDIO, target=450),
    dict(row="PCM chunk passed on", file="pcm", units=[2000], play="audio", count=GET_AUDIO, target=350),
    dict(row="PCM block of a 92,000-byte chunk", file="pcm-large", units=[80], play="audio", count=GET_AUDIO),
    dict(row="open, an idx1 entry", file="tiny", units=[2000, 22000], entries=2, play="open", count=OPEN, target=40),
    dict(row="open, an entry of a 20-entry ix##", file="short-ix", units=[2000, 22000], entries=2, play="open",
         count=OPEN),
    dict(row="open of a small file, in all", file="film", units=[1350], play="open", count=OPEN),
]

# Functions whose cost is that of the bytes they move.
BYTES = re.compile(r"^(MappedSource::ReadAt\b|(__)?mem(cpy|move|set|pcpy)|__mem(cpy|move|set)_)")


def costs(profile):
    """Instructions inside and in all, from callgrind's own file, whose names are written out."""
    inside = everything = 0
    function, calling = "", False
    with open(profile, encoding="utf-8", errors="replace") as lines:
        for line in lines:
            if line.startswith("fn="):
                function = line[3:].strip()
            elif line.startswith("calls="):
                calling = True  # the next line is what was called, which has lines of its own
            elif line[:1].isdigit():
                if not calling:
                    cost = int(line.split()[1])
                    everything += cost
                    inside += 0 if BYTES.match(function) else cost
                calling = False
            elif line.startswith("summary:"):
                summary = int(line.split()[1])
    if everything != summary:
        sys.exit(f"instructions.py: {everything} instructions by function, {summary} in all")
    if everything == 0:
        sys.exit("instructions.py: nothing was counted: is the operation's name still right?")
    return inside, everything


def measure(build, work, row, units):
    file, profile = os.path.join(work, "counted.avi"), os.path.join(work, "profile")
    subprocess.run([f"{build}/bench/make_file", row["file"], str(units), file], check=True)
    run = subprocess.run(
        ["valgrind", "--tool=callgrind", "--quiet", f"--callgrind-out-file={profile}", "--compress-strings=no",
         "--compress-pos=no", "--collect-atstart=no", f"--toggle-collect={row['count']}", f"{build}/bench/unit_cost",
         row["play"], file],
        check=True, stdout=subprocess.PIPE, text=True,
        env={**os.environ, "LD_BIND_NOW": "1"})  # or the first call of each function would be counted with its look-up
    os.remove(file)
    return int(run.stdout), *costs(profile)


def main():
    build, work, out = sys.argv[1:]
    results = []
    for row in ROWS:
        runs = [measure(build, work, row, units) for units in row["units"]]
        if len(runs) == 2:
            count = row["entries"] * (row["units"][1] - row["units"][0])
            inside, everything = (runs[1][i] - runs[0][i] for i in (1, 2))
        else:
            count = max(runs[0][0], 1)
            inside, everything = runs[0][1:]
        results.append({"row": row["row"], "inside": inside / count, "all": everything / count,
                        "target": row.get("target")})
    with open(out, "w", encoding="utf-8") as file:
        json.dump(results, file, indent=1)


main()
