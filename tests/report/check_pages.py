"""Loads report pages in a headless browser and compares what they show with what `aviprobe check --json` states.

usage: check_pages.py DIR     of pages NAME.html, each with NAME.jsonl: what check said of the same files in that order

In light and dark, wide and narrow: no message on the console, nothing wider than the window, text that can be told from
what is behind it. Verdict, counts and delivered units are read from the page as it is shown. Python's own library only.
"""

import json
import pathlib
import re
import subprocess
import sys
import urllib.error
import urllib.request

VERDICTS = {"fine": "Nothing is wrong", "notes": "Plays well, with notes", "warnings": "Plays, with faults",
            "errors": "Damaged", "unreadable": "Cannot be read"}
GAVE_UP = "The library gave up on this file"
SCHEMES = {"light": "rgb(253, 253, 252)", "dark": "rgb(20, 23, 26)"}
WIDTHS = (380, 1280)
LEAST_CONTRAST = 4.5

READ_PAGE = r"""
const text = (element) => element ? element.textContent : null;
return [...document.querySelectorAll('section.file[id^=file]')].map((section) => ({
  name: text(section.querySelector('.name')),
  verdict: text(section.querySelector('h2')),
  counts: text(section.querySelector('.key dd')),
  codes: [...section.querySelectorAll('.finding .where code')].map(text),
  delivered: Object.fromEntries([...section.querySelectorAll('tr[data-track]')].map(
      (row) => [row.dataset.track, text(row.querySelector('[data-fact=delivered]'))])),
  charts: [...section.querySelectorAll('svg.picture')].map((svg) => svg.getAttribute('aria-label')),
  missing: [...section.querySelectorAll('[data-series$=byte_map] .lane')].some((lane) => text(lane) === 'missing'),
  why: text(section.querySelector('.lede')),
  empty: [...section.querySelectorAll('svg.picture .plot')].filter((plot) => !plot.querySelector('path[d]:not([d=""])')).length,
}));
"""

READ_LOOKS = r"""
const light = (color) => {
  const part = color.match(/[\d.]+/g).slice(0, 3).map((value) => value / 255)
      .map((value) => value <= .04045 ? value / 12.92 : ((value + .055) / 1.055) ** 2.4);
  return .2126 * part[0] + .7152 * part[1] + .0722 * part[2];
};
const contrast = (a, b) => (Math.max(light(a), light(b)) + .05) / (Math.min(light(a), light(b)) + .05);
const behind = (element) => {
  for (let at = element; at; at = at.parentElement) {
    const color = getComputedStyle(at).backgroundColor;
    if (color !== 'rgba(0, 0, 0, 0)') return color;
  }
};
for (const details of document.querySelectorAll('details')) details.open = true;
const walker = document.createTreeWalker(document.querySelector('main'), NodeFilter.SHOW_TEXT);
let worst = {contrast: 21, text: ''};
while (walker.nextNode()) {
  const element = walker.currentNode.parentElement;
  if (!walker.currentNode.data.trim() || element.localName === 'title') continue;
  const style = getComputedStyle(element);
  const color = element instanceof SVGElement ? style.fill : style.color;
  const value = contrast(color, behind(element));
  if (value < worst.contrast) worst = {contrast: value, text: walker.currentNode.data.trim()};
}
const root = document.documentElement;
const cut = [], overlapping = [];
for (const chart of document.querySelectorAll('svg.picture')) {
  let end = -1;
  for (const label of chart.querySelectorAll('text')) {
    const box = label.getBoundingClientRect();
    if (!box.width) continue;
    if (box.left < 0 || box.right > root.clientWidth) cut.push(label.textContent);
    if (!label.classList.contains('mid')) continue;
    if (box.left < end) overlapping.push(label.textContent);
    end = box.right;
  }
}
return {background: getComputedStyle(document.body).backgroundColor, worst, cut, overlapping,
        overflow: Math.max(root.scrollWidth, document.body.scrollWidth) - root.clientWidth};
"""


class Browser:
    """One session of the driver."""

    def __init__(self):
        self.driver = subprocess.Popen(["chromedriver", "--port=0"], stdout=subprocess.PIPE, text=True)
        for line in self.driver.stdout:
            started = re.search(r"successfully on port (\d+)", line)
            if started:
                break
        else:
            raise SystemExit("check-report: the browser's driver did not start")
        self.base = f"http://127.0.0.1:{started[1]}/session"
        options = {"args": ["--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage"]}
        wanted = {"browserName": "chrome", "goog:chromeOptions": options, "goog:loggingPrefs": {"browser": "ALL"}}
        try:
            self.base += "/" + self.call("", {"capabilities": {"alwaysMatch": wanted}})["sessionId"]
        except BaseException:
            self.stop()  # it would keep the output open, and with it the test
            raise

    def call(self, path, body=None, method="POST"):
        data = json.dumps(body or {}).encode() if method == "POST" else None
        request = urllib.request.Request(self.base + path, data, {"Content-Type": "application/json"}, method=method)
        try:
            with urllib.request.urlopen(request, timeout=60) as answer:
                return json.load(answer)["value"]
        except urllib.error.HTTPError as error:
            raise SystemExit(f"check-report: the browser says {json.load(error)['value']['message']}") from error

    def run(self, script):
        return self.call("/execute/sync", {"script": script, "args": []})

    def devtools(self, command, **parameters):
        return self.call("/goog/cdp/execute", {"cmd": command, "params": parameters})

    def look(self, scheme, width):
        self.devtools("Emulation.setEmulatedMedia", features=[{"name": "prefers-color-scheme", "value": scheme}])
        self.devtools("Emulation.setDeviceMetricsOverride", width=width, height=900, deviceScaleFactor=1, mobile=False)

    def messages(self):
        return [entry["message"] for entry in self.call("/se/log", {"type": "browser"})]

    def drag(self, x_from, x_to, y):
        move = lambda x: {"type": "pointerMove", "duration": 20, "x": int(x), "y": int(y)}
        steps = [move(x_from), {"type": "pointerDown", "button": 0}, move((x_from + x_to) / 2), move(x_to),
                 {"type": "pointerUp", "button": 0}]
        self.call("/actions", {"actions": [{"type": "pointer", "id": "mouse", "parameters": {"pointerType": "mouse"},
                                            "actions": steps}]})

    def close(self):
        try:
            self.call("", method="DELETE")
        finally:
            self.stop()

    def stop(self):
        self.driver.terminate()
        self.driver.wait(timeout=10)


class Checks:
    def __init__(self):
        self.failed = []
        self.made = 0

    def equal(self, what, got, expected):
        self.made += 1
        if got != expected:
            self.failed.append(f"{what}: {got!r} instead of {expected!r}")

    def true(self, what, holds):
        self.equal(what, bool(holds), True)


def stated_of(path):
    """The records of `check --json` as one for each file, with its findings inside."""
    files, findings = [], []
    own = ("record", "schema")
    for line in path.read_text().splitlines():
        record = json.loads(line)
        kind = record["record"]
        record = {name: value for name, value in record.items() if name not in own}
        if kind == "finding":
            findings.append({name: value for name, value in record.items() if name != "file"})
        elif kind == "file_check":
            files.append({**record, "findings": findings})
            findings = []
    return files


def digits(text):
    return None if text is None else int(re.sub(r"\D", "", text))


def counts_text(counts):
    nouns = [(counts[noun + "s"], noun) for noun in ("error", "warning", "note")]
    return ", ".join(f"{n} {noun}{'' if n == 1 else 's'}" for n, noun in nouns if n) or "no findings"


def check_content(checks, name, shown, facts, stated):
    """What the page shows, what is in it as JSON and what `check` states, of each file."""
    checks.equal(f"{name}: number of files", (len(shown), len(facts)), (len(stated),) * 2)
    for number, (section, inside, check) in enumerate(zip(shown, facts, stated)):
        where = f"{name}, file {number}"
        checks.equal(f"{where}: facts", inside["check"], check)
        checks.equal(f"{where}: verdict", section["verdict"], GAVE_UP if "gave_up" in inside else VERDICTS[check["verdict"]])
        checks.equal(f"{where}: counts", section["counts"], counts_text(check["counts"]))
        checks.equal(f"{where}: codes", section["codes"], [finding["code"] for finding in check["findings"]][:100])
        delivered = {str(track["track"]): track["delivered"] and track["delivered"]["units"] for track in check["tracks"]}
        checks.equal(f"{where}: delivered", {track: digits(text) for track, text in section["delivered"].items()}, delivered)
        if check["verdict"] == "unreadable":
            why = check["findings"][0]["consequence"].removeprefix(f"{check['file']}: ")
            checks.equal(f"{where}: why it cannot be read", section["why"], why)
            checks.equal(f"{where}: charts of what cannot be read", section["charts"], [])
            continue
        checks.true(f"{where}: charts are there and named", section["charts"] and all(section["charts"]))
        checks.equal(f"{where}: charts without a line", section["empty"], 0)
        missing = inside["series"]["byte_map"]["missing_bytes"]
        checks.equal(f"{where}: bytes missing at the end", missing > 0, "riff-truncated" in section["codes"])
        checks.equal(f"{where}: a lane for what is missing", section["missing"], missing > 0)


def check_zoom(checks, browser, name):
    """A drag across the bit rate narrows all time axes; the button and the escape key bring the whole back."""
    browser.look("light", 1280)
    axes = "return [...document.querySelector('.file[id^=file]').querySelectorAll('.picture[data-axis=time] .axis')].map((axis) => axis.textContent)"
    browser.run("document.querySelector('[data-series$=bit_rate]').scrollIntoView({behavior: 'instant', block: 'center'})")
    box = browser.run("const box = document.querySelector('[data-series$=bit_rate] .plot').getBoundingClientRect();"
                      "return [box.left, box.top, box.width, box.height]")
    before = browser.run(axes)
    middle = box[1] + box[3] / 2
    browser.drag(box[0] + box[2] * .4, box[0] + box[2] * .6, middle)
    zoomed = browser.run(axes)
    checks.true(f"{name}: a drag changes every time axis", all(a != b for a, b in zip(before, zoomed)))
    checks.true(f"{name}: the value under the pointer is said",
                "kbit/s" in browser.run("return document.querySelector('[data-series$=bit_rate]').closest('figure')"
                                        ".querySelector('output').textContent"))
    browser.run("document.querySelector('.reset').click()")
    checks.equal(f"{name}: axes after the reset", browser.run(axes), before)


def main():
    folder = pathlib.Path(sys.argv[1])
    checks = Checks()
    browser = Browser()
    try:
        for page in sorted(folder.glob("*.html")):
            stated = stated_of(page.with_suffix(".jsonl"))
            browser.call("/url", {"url": page.resolve().as_uri()})
            facts = browser.run("return JSON.parse(document.getElementById('facts').textContent).files")
            check_content(checks, page.stem, browser.run(READ_PAGE), facts, stated)
            for scheme, background in SCHEMES.items():
                for width in WIDTHS:
                    where = f"{page.stem}, {scheme}, {width} px"
                    browser.look(scheme, width)
                    looks = browser.run(READ_LOOKS)
                    checks.equal(f"{where}: background", looks["background"], background)
                    checks.equal(f"{where}: pixels too wide", max(0, looks["overflow"]), 0)
                    checks.equal(f"{where}: labels that are cut off", looks["cut"], [])
                    checks.equal(f"{where}: values on top of each other", looks["overlapping"], [])
                    checks.true(f"{where}: contrast of {looks['worst']}", looks["worst"]["contrast"] >= LEAST_CONTRAST)
            check_zoom(checks, browser, page.stem)
            checks.equal(f"{page.stem}: console", browser.messages(), [])
    finally:
        browser.close()
    for failure in checks.failed:
        print(f"FAILED {failure}")
    if checks.failed or not checks.made:
        raise SystemExit(1)
    print(f"{checks.made} comparisons")


main()
