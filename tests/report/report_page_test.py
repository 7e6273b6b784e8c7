"""Pages of `twupdate report`, opened in Chromium: the figures, the colours, the widths.
Usage: report_page_test.py TWUPDATE TWUPDATE-SAMPLE [FOLDER]
With a folder, pictures of the pages are left there to be looked at."""
import json
import pathlib
import subprocess
import sys
import tempfile
import unittest

from browser import Browser

TWUPDATE, SAMPLE = sys.argv[1:3]
PICTURES = pathlib.Path(sys.argv[3]) if len(sys.argv) > 3 else None

# --- runs ----------------------------------------------------------------------------------------


def twupdate(*words):
    """The exit status and the result in JSON."""
    done = subprocess.run([TWUPDATE, "--json", *map(str, words)], capture_output=True, text=True,
                          check=False)
    return done.returncode, json.loads(done.stdout)


def make_page(page, *files):
    words = [word for file in files for word in ("--events", file)]
    status, result = twupdate("report", page, *words)
    assert status == 0, result


class RealRuns:
    """A sample installation that comes up to date at the third try: a service fails, a table is
    missing, and then all is well."""

    def __init__(self, folder):
        self.folder = folder
        subprocess.run([SAMPLE, "--datadir", folder / "data", "--install-root", folder / "platform"],
                       check=True, stdout=subprocess.DEVNULL)
        service = folder / "service"
        service.write_text('#!/bin/sh\n[ "$1 $3" != "RefreshSiteComponent 2600" ]\n')
        service.chmod(0o755)
        self.events = [folder / f"run{i}.events" for i in (1, 2, 3)]
        self.results = [self.upgrade(0, "--service-command", service)]
        self.sql("RENAME TABLE tw_3.security TO tw_3.security_away;")
        self.results.append(self.upgrade(1, "--services-log", folder / "services"))
        self.sql("RENAME TABLE tw_3.security_away TO tw_3.security;")
        self.results.append(self.upgrade(2, "--services-log", folder / "services"))

    def upgrade(self, i, *options):
        return twupdate("--datadir", self.folder / "data", "--install-folder",
                        self.folder / "platform" / "update", "--events", self.events[i], *options,
                        "upgrade", "--jobs", "1")  # site 3 comes last

    def sql(self, statement):
        subprocess.run(["mariadbd", "--no-defaults", "--bootstrap", "--user=root",
                        f"--datadir={self.folder / 'data'}"], input=statement + "\n", text=True,
                       check=True, stderr=subprocess.DEVNULL)


class MadeUpRun:
    """A night of 1,000 sites: the central database takes 60 s; each site has 20 steps of 100 ms
    with three statements each and takes 2 s; step 5 takes 600 ms more in site 500; two services
    are called in each site, and one of them fails in every hundredth. The run is killed in site
    1001."""

    def __init__(self, file):
        self.seconds = 22 * 3600
        self.lines = []
        self.event("run-started", command="upgrade", **{"from": 1.0}, to=1.0265, sites_to_do=1200)
        central = {"database": "tw_tarnwick", "ladder": "server"}
        self.event("ladder-started", **central, **{"from": 1.0})
        self.step(central, "ServerStep_1_0002", 60, 10)
        self.event("ladder-finished", **central)
        self.event("central-finished", database="tw_tarnwick", ms=60000, steps=1, statements=10,
                   **{"from": 1.0})
        for site in range(1, 1001):
            self.site(site)
        self.event("site-started", database="tw_1001", site=1001, **{"from": 1.005})
        where = {"database": "tw_1001", "site": 1001, "ladder": "site schema"}
        self.event("ladder-started", **where, **{"from": 1.005})
        self.event("step-started", **where, step="SiteSchemaStep_1_0051")
        file.write_text("".join(self.lines) + '{"v":1,"time":"2026-11-2')

    def event(self, name, **fields):
        hours, rest = divmod(self.seconds, 3600)
        day, hours = divmod(hours, 24)
        time = f"2026-11-{21 + int(day)}T{int(hours):02}:{int(rest // 60):02}:{rest % 60:06.3f}Z"
        self.lines.append(json.dumps({"v": 1, "time": time, "event": name, **fields}) + "\n")

    def step(self, where, name, takes, statements):
        self.event("step-started", **where, step=name)
        self.seconds += takes
        self.event("step-finished", **where, step=name, ms=takes * 1000, statements=statements,
                   slowest={"sql": f"ALTER TABLE {where['database']}.setting ADD COLUMN {name} "
                                   "VARCHAR(255) DEFAULT '' NOT NULL;", "ms": takes * 900})

    def site(self, site):
        database = {"database": f"tw_{site}", "site": site}
        version = 1.0094 if site % 2 else 1.005
        self.event("site-started", **database, **{"from": version})
        for ladder, prefix in (("site schema", "SiteSchemaStep"), ("site content", "SiteContentStep")):
            where = {**database, "ladder": ladder}
            self.event("ladder-started", **where, **{"from": version})
            for i in range(10):
                slow = site == 500 and prefix == "SiteSchemaStep" and i == 5
                self.step(where, f"{prefix}_1_02{i:02}", 0.7 if slow else 0.1, 3)
            self.event("ladder-finished", **where)
        for service, failed in (("UpgradeSiteComponent", site % 100 == 0),
                                ("RefreshSiteComponent", False)):
            self.event("service", **database, service=service, component=100, ms=1, failed=failed)
        self.event("site-finished", **database, ms=2600 if site == 500 else 2000, steps=20,
                   statements=60, **{"from": version},
                   counts={"databases": site + 1, "sites": site, "sites_to_do": 1200,
                           "steps": 20 * site + 1, "statements": 60 * site + 10,
                           "services": 2 * site})


def make_hostile_run(file):
    """Text that would leave its place, if it could: as markup, by its length, by its direction."""
    hostile = "</code></title></style><script>document.title='broken'</script><img src=x onerror=" \
              "alert(1)>\u202e\u0007" + "x" * 5000
    where = {"database": "tw_2147483647" + hostile, "site": 1, "ladder": hostile, "step": hostile}
    events = [
        {"event": "run-started", "command": hostile, "from": 1, "to": 1.0265, "sites_to_do": 1},
        {"event": "site-started", **where, "from": 1}, {"event": "ladder-started", **where},
        {"event": "step-started", **where},
        {"event": "step-finished", **where, "ms": 5, "statements": 1,
         "slowest": {"sql": hostile, "ms": 4}},
        {"event": "service", **where, "service": hostile, "failed": True},
        {"event": "run-failed", **where, "statement": hostile, "code": 1064, "sqlstate": hostile,
         "error": hostile}]
    file.write_text("".join(
        json.dumps({"v": 1, "time": "2026-11-21T22:00:00.000Z", **event}) + "\n"
        for event in events))


# --- what holds of every page --------------------------------------------------------------------

# The least contrast of any text with what lies behind it, by the formula of WCAG 2, and the text.
LEAST_CONTRAST = """
const channels = colour => colour.match(/[\\d.]+/g).map(Number);
const luminance = colour => channels(colour).slice(0, 3).map(c => c / 255)
    .map(c => c <= 0.03928 ? c / 12.92 : ((c + 0.055) / 1.055) ** 2.4)
    .reduce((sum, c, i) => sum + c * [0.2126, 0.7152, 0.0722][i], 0);
const behind = element => {
    for (let e = element; e; e = e.parentElement) {
        const colour = channels(getComputedStyle(e).backgroundColor);
        if (colour.length === 3 || colour[3] === 1) return getComputedStyle(e).backgroundColor;
    }
    throw new Error('no background');
};
let least = [100, ''];
for (const e of document.querySelectorAll('body *')) {
    const own = [...e.childNodes].some(n => n.nodeType === 3 && n.data.trim());
    if (!own || ['title', 'desc'].includes(e.localName)) continue;
    const style = getComputedStyle(e);
    const a = luminance(e.localName === 'text' ? style.fill : style.color);
    const b = luminance(behind(e));
    const contrast = (Math.max(a, b) + 0.05) / (Math.min(a, b) + 0.05);
    if (contrast < least[0]) least = [contrast, e.outerHTML.slice(0, 100)];
}
return least;
"""

FAULTS_OF_STRUCTURE = """
const faults = [];
const levels = [...document.querySelectorAll('h1, h2, h3, h4')].map(h => Number(h.localName[1]));
if (levels.filter(l => l === 1).length !== 1 || levels[0] !== 1) faults.push('not one h1');
levels.forEach((l, i) => { if (i && l > levels[i - 1] + 1) faults.push('a heading is left out'); });
for (const t of document.querySelectorAll('table'))
    if (!t.caption || [...t.querySelectorAll('th')].some(th => !th.scope)) faults.push(t.id);
for (const s of document.querySelectorAll('svg:not([aria-hidden])')) {
    const named = (s.getAttribute('aria-labelledby') || '').split(' ')
        .every(id => (document.getElementById(id) || {}).textContent);
    if (s.getAttribute('role') !== 'img' || !named) faults.push('a picture without a name');
}
const ids = [...document.querySelectorAll('[id]')].map(e => e.id);
if (new Set(ids).size !== ids.length) faults.push('an id twice');
if (document.scripts.length) faults.push('a script');
if (document.querySelector('img, iframe, object, [onerror]')) faults.push('foreign markup');
for (const e of document.querySelectorAll('[src], [href]'))
    if (!/^(#|data:,)/.test(e.getAttribute('src') || e.getAttribute('href')))
        faults.push(e.outerHTML);
if (performance.getEntriesByType('resource').some(r => !r.name.startsWith('data:')))
    faults.push('something was loaded');
return faults;
"""

# Texts of the figures that stand out of them.
CUT_TEXTS = """
const clipped = [];
for (const svg of document.querySelectorAll('svg.timeline'))
    for (const text of svg.querySelectorAll('text')) {
        const box = text.getBBox();
        if (box.x < -1 || box.x + box.width > svg.clientWidth + 1) clipped.push(text.textContent);
    }
return clipped;
"""


class ReportPage(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        # In memory where there is any: a server waits for the disk at every change of a table.
        memory = "/dev/shm" if pathlib.Path("/dev/shm").is_dir() else None
        cls.temporary = tempfile.TemporaryDirectory(prefix="twupdate-report-", dir=memory)
        cls.addClassCleanup(cls.temporary.cleanup)
        cls.folder = pathlib.Path(cls.temporary.name)
        cls.browser = Browser()
        cls.addClassCleanup(cls.browser.close)

    def look_at(self, page, long_names=False):
        """Opens the page, and checks what must hold of every page at every width."""
        browser = self.browser
        backgrounds = {}
        for width in (360, 1280):
            browser.resize(width, 800)
            for scheme in ("light", "dark"):
                browser.prefer(scheme)
                browser.open(page)
                with self.subTest(page=page.name, width=width, scheme=scheme):
                    self.assertEqual(browser.run("return window.innerWidth"), width)
                    self.assertLessEqual(
                        browser.run("return document.documentElement.scrollWidth"), width)
                    if not long_names:
                        self.assertEqual(browser.run(CUT_TEXTS), [])
                    contrast, where = browser.run(LEAST_CONTRAST)
                    self.assertGreaterEqual(contrast, 4.5, where)
                    self.assertEqual(browser.console(), [])
                backgrounds[scheme] = browser.run(
                    "return getComputedStyle(document.body).backgroundColor")
                if PICTURES:
                    PICTURES.mkdir(parents=True, exist_ok=True)
                    browser.screenshot(PICTURES / f"{page.stem}-{width}-{scheme}.png")
        browser.prefer("dark", "print")  # paper is white for everybody
        backgrounds["print"] = browser.run(
            "return getComputedStyle(document.body).backgroundColor")
        contrast, where = browser.run(LEAST_CONTRAST)
        self.assertGreaterEqual(contrast, 4.5, where)
        self.assertEqual(backgrounds, {"print": "rgb(255, 255, 255)", "light": "rgb(255, 255, 255)",
                                       "dark": "rgb(20, 24, 29)"})
        self.assertEqual(browser.run(FAULTS_OF_STRUCTURE), [])

    def row(self, table, first):
        """The cells behind the first one of a table's row."""
        return self.browser.run(
            "const row = [...document.querySelectorAll(`#${arguments[0]} tbody tr`)]"
            ".find(r => r.cells[0].textContent === arguments[1]);"
            "return row && [...row.cells].slice(1).map(c => c.textContent)", table, first)

    def test_real_runs_show_what_the_runs_said(self):
        runs = RealRuns(self.folder)
        (failed, first), (failed_again, second), (done, third) = runs.results
        self.assertEqual((failed, failed_again, done), (1, 1, 0))
        page = self.folder / "real.html"
        make_page(page, *runs.events)
        self.look_at(page)
        browser = self.browser
        self.assertIn("Finished", browser.text("#outcome"))
        self.assertEqual(browser.text("#runs-figure"), "3")
        self.assertEqual(browser.text("#databases"), "4")  # the central one and sites 1, 2, 3
        self.assertEqual(browser.text("#sites"), "3")
        for figure in ("steps", "statements"):
            total = first[figure] + second[figure] + third[figure]
            self.assertEqual(browser.text(f"#{figure}"), f"{total:,}")
        ends = browser.texts("#runs tbody td:nth-child(3)")
        self.assertEqual(ends, ["✗ failed", "✗ failed", "✓ finished"])
        # Every run is drawn, each with the database that it did not bring to its end.
        self.assertEqual(len(browser.texts("svg.timeline")), 3)
        self.assertEqual(len(browser.texts("svg.timeline line.interrupted")), 2)
        self.assertEqual(sorted(browser.texts("#failures h3")),
                         ["SiteContentStep_1_0015: no error of the server",
                          "SiteSchemaStep_1_0232: server error 1146 (42S02)"])
        self.assertIn("tw_3.security", browser.text("#failures code"))
        for text in browser.texts("#failures ul.databases li"):
            self.assertRegex(text, r"^tw_[13], .* UTC: ✓ resolved by a later run$")
        self.assertEqual(len(browser.texts("#failed-calls li")), 1)
        self.assertRegex(browser.text("#failed-calls li"), "^RefreshSiteComponent 2600 in tw_1, ")
        carried_out = first["services"]["carried_out"] + 1  # the one that failed
        recorded = second["services"]["recorded"] + third["services"]["recorded"]
        self.assertEqual(browser.text("#services-figure"), f"{carried_out + recorded} (1 failed)")
        self.assertEqual(len(browser.texts("ol.statements li")), 15)
        outcomes = browser.texts("#all-databases tbody td:last-child")
        self.assertEqual(outcomes, ["✓ upgraded"] * 4)
        self.assertEqual([text.split(": ")[1] for text in browser.texts("#left-out li")],
                         ["1 site (4)", "1 site (5)"])
        self.assertRegex(browser.text("#server"), "^Server: .*MariaDB.*, account root@localhost")

    def test_a_table_that_scrolls_shows_it(self):
        events = self.folder / "scroll.events"
        MadeUpRun(events)
        page = self.folder / "scroll.html"
        make_page(page, events)
        browser = self.browser
        browser.prefer("light")
        browser.resize(360, 800)
        browser.open(page)
        edges = """
        const box = document.getElementById('steps-table').parentElement;
        return [box.scrollWidth > box.clientWidth, getComputedStyle(box).backgroundAttachment];
        """
        self.assertEqual(browser.run(edges), [True, "local, local, scroll, scroll"])

    def test_a_night_of_a_thousand_sites_can_be_read(self):
        events = self.folder / "night.events"
        MadeUpRun(events)
        page = self.folder / "night.html"
        make_page(page, events)
        self.assertLess(page.stat().st_size, 400_000)
        self.look_at(page)
        browser = self.browser
        self.assertRegex(browser.text("#outcome"),
                         "Did not end: .*2026-11-21 22:34:20 UTC, in tw_1001, step "
                         "SiteSchemaStep_1_0051; the event after it is truncated")
        self.assertEqual(browser.text("#took"), "34 min 21 s")  # 60 s + 1,000 x 2 s + 0.6 s
        self.assertEqual(browser.text("#databases"), "1,001")
        self.assertEqual(browser.text("#sites"), "1,000 of 1,200")
        self.assertEqual(browser.text("#steps"), "20,001")
        self.assertEqual(browser.text("#statements"), "60,010")
        self.assertEqual(browser.text("#services-figure"), "2,000 (10 failed)")
        self.assertEqual(self.row("services-table", "UpgradeSiteComponent"),
                         ["1,000", "✗ 10", "1", "1.0 s", "1.0 ms"])
        self.assertEqual(len(browser.texts("#failed-calls li")), 10)
        # 1,000 x 0.1 s and 0.6 s more, of 2,060.6 s
        self.assertEqual(self.row("steps-table", "SiteSchemaStep_1_0205")[:-1],
                         ["1,000", "3,000", "1 min 41 s", "5 %", "700 ms", "tw_500"])
        self.assertEqual(len(browser.texts("#steps-table tbody tr")), 21)
        # The central database, 1,000 sites and the one that did not end.
        self.assertEqual(len(browser.texts("#all-databases tbody tr")), 1002)
        self.assertEqual(self.row("all-databases", "tw_500"),
                         ["1.0050", "1.0265", "2.6 s", "60", "✓ upgraded"])
        self.assertEqual(self.row("all-databases", "tw_1001"),
                         ["1.0050", "–", "0.0 ms", "0", "… did not end"])
        self.assertEqual(self.row("versions", "1.0050"),
                         ["501", "500", "2.0 s", "2.6 s", "tw_500"])
        self.assertEqual(self.row("versions", "1.0094"), ["500", "500", "2.0 s", "2.0 s", "tw_1"])
        self.assertEqual(self.row("longest-1", "1")[:-1],
                         ["ServerStep_1_0002", "tw_tarnwick", "0.0 ms", "1 min 00 s", "3 %"])
        self.assertIn("54 s in tw_tarnwick", browser.texts("ol.statements li")[0])
        self.assertIn("630 ms in tw_500", browser.texts("ol.statements li")[1])
        self.assertEqual(browser.text("#failures p"), "None.")
        # As many rows as can be taken in, and every site in one of them.
        rows = browser.texts("svg.timeline > text:not([class])")
        self.assertLessEqual(len(rows), 102)
        sites = [int(row.split(": ")[1].split(" ")[0]) for row in rows if " to " in row]
        self.assertEqual(sum(sites), 1000)
        self.assertEqual(rows[-1], "tw_1001: not ended after 0.0 ms")

    def test_hostile_text_stays_text_and_within_the_page(self):
        events = self.folder / "hostile.events"
        make_hostile_run(events)
        page = self.folder / "hostile.html"
        make_page(page, events)
        self.look_at(page, long_names=True)
        self.assertNotEqual(self.browser.run("return document.title"), "broken")
        self.assertIn("<script>document.title='broken'</script>",
                      self.browser.text("#slowest-statements code"))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
