"""prodsweep plan --html: the page, in a browser."""
import json
import re
import subprocess
import tempfile
import unittest

from browser import Browser
from windows import Installation, REPORTS, UserKey, product

import pyreport

# Markup, quotes, a line end of Unicode's own, and what turns the direction of the text behind it.
NAME = "</h1><script>document.title='taken'</script> & \"O'Neil\" {{script}}\u2028\u202etxt"
SHOWN_NAME = NAME.replace("\u2028", "U+2028").replace("\u202e", "U+202E")
FILES = 2000
WHOLE = 12  # this many of them are there


def escaped(text):
    return text.replace("&", "&amp;").replace("<", "&lt;").replace('"', "&quot;")


def state_class(word):
    return word.replace(" ", "-")


# The contrast that a reader gets between an element's text and what lies behind it; the guidelines for
# accessible pages ask for 4.5.
CONTRAST = """
const channel = value => (value /= 255) <= .03928 ? value / 12.92 : ((value + .055) / 1.055) ** 2.4;
const light = color => {
  const [red, green, blue] = color.match(/[\\d.]+/g).map(Number);
  return .2126 * channel(red) + .7152 * channel(green) + .0722 * channel(blue);
};
const behind = element => {
  const color = getComputedStyle(element).backgroundColor;
  return color === "rgba(0, 0, 0, 0)" ? behind(element.parentElement) : color;
};
const worst = {};
for (const element of document.querySelectorAll("body *")) {
  if (![...element.childNodes].some(node => node.nodeType === 3 && node.data.trim()) || !element.checkVisibility()) continue;
  if (element.matches("option, script")) continue;
  const pair = [light(getComputedStyle(element).color), light(behind(element))].sort((a, b) => b - a);
  const contrast = (pair[0] + .05) / (pair[1] + .05);
  const kind = element.className || element.tagName;
  worst[kind] = Math.min(worst[kind] ?? 99, contrast);
}
return worst;
"""

# Where an element stands on the page, and the colour that its style says lies behind it.
BOX = """
const element = document.querySelector(arguments[0]);
const {left, top, width, height} = element.getBoundingClientRect();
return [left + scrollX, top + scrollY, width, height, getComputedStyle(element).backgroundColor];
"""

SHOWN_ITEMS = """
return [...document.querySelectorAll(".item")].filter(item => item.checkVisibility())
  .map(item => item.querySelector(".name").textContent);
"""


class PlanPage(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.host = Installation("plan-page")
        cls.addClassCleanup(cls.host.close)
        key = UserKey("plan-page")
        cls.addClassCleanup(key.close)
        cls.lay_out(key)
        ended = cls.host.run("plan", "--force-all", "--kind", "own", "--json", "--html", cls.host.path("plan.html"))
        assert ended.code == 0, ended.err_text()
        cls.plan = json.loads(ended.out_text())
        cls.page = cls.host.folder / "plan.html"
        # Paper takes a browser a while, and its driver waits no longer than ten seconds for it.
        cls.small_page = cls.host.folder / "small.html"
        ended = cls.host.run("plan", "Small", "--force", "--json", "--html", cls.host.path("small.html"))
        assert ended.code == 0, ended.err_text()
        cls.small_plan = json.loads(ended.out_text())
        cls.browser = Browser()
        cls.addClassCleanup(cls.browser.close)

    @classmethod
    def lay_out(cls, key):
        names = [f"component-{number:04}.dll" for number in range(FILES)]
        for name in names[:WHOLE]:
            cls.host.write(f"loose/{name}", "x" * 1000)
        for name in ["a.txt", "deep/b.txt"]:
            cls.host.write(f"app/{name}", "x" * 700)
        keys = rf"<s op_code='del_regkey'><k name='{key.path}\&lt;b&gt;'/></s>"
        cls.descriptor("intern/many.xml", names, keys)
        cls.descriptor("extern/small.xml", names[:40], keys + "<s op_code='del_folder'>"
                       "<f path='common_files'/></s>")
        cls.host.catalogues(own=[product(escaped(NAME), key.version("1", "x"), file="many.xml"),
                                 product("Second", key.version("1", "y"), file="absent.xml")],
                            other=[product("Small", key.version("1", "z"), file="small.xml")])

    @classmethod
    def descriptor(cls, file, names, keys):
        entries = "".join(rf"<f name='{cls.host.path('loose')}\{name}'/>" for name in names)
        cls.host.write(file, rf"""<uninstall_information><version_list><v1/></version_list>
<v1><install_folder name="none"/><win_nt><s op_code="del_folder"><f name="{cls.host.path('app')}"/>
<f name="{cls.host.path('app')}\deep"/></s><s op_code="del_file">{entries}</s>{keys}</win_nt></v1></uninstall_information>""")

    def setUp(self):
        self.browser.emulate()
        self.browser.requests()
        self.browser.console()
        self.browser.open(self.page)

    def items(self, plan=None):
        return [(stage["stage"], item) for planned in (plan or self.plan)["products"] for stage in planned["stages"]
                for item in stage["items"]]

    def filter(self, text="", stage="", states=()):
        """As a reader would; waits until the page has settled."""
        self.browser.run("""
const [text, stage, states] = arguments;
document.getElementById("stage").value = stage;
for (const box of document.querySelectorAll(".choice input")) box.checked = states.includes(box.value);
document.getElementById("text").value = text;
document.getElementById("stage").dispatchEvent(new Event("change"));
""", text, stage, list(states))

    def shown(self):
        return self.browser.run(SHOWN_ITEMS)

    def test_it_opens_without_a_complaint_and_asks_for_nothing_else(self):
        self.assertEqual(self.browser.console(), [])
        self.assertEqual(self.browser.requests(), [self.page.resolve().as_uri()])

    def test_names_are_text(self):
        self.assertEqual(self.browser.run("return document.querySelector('h1').textContent"), f"{SHOWN_NAME}, Second")
        self.assertEqual(self.browser.run("return document.title"), f"{SHOWN_NAME}, Second - removal plan")
        self.assertEqual(self.browser.run("return document.scripts.length"), 1)

    def test_nothing_that_got_into_it_could_run_or_call_home(self):
        self.browser.run("""
const script = document.createElement("script");
script.textContent = "document.title = 'taken'";
document.body.append(script);
const image = new Image();
image.src = "http://127.0.0.1:9/";
document.body.append(image);
""")
        self.assertNotEqual(self.browser.run("return document.title"), "taken")
        said = "\n".join(self.browser.console())
        for directive in ["script-src", "img-src"]:
            self.assertRegex(said, f"Content Security Policy directive.*{directive}|{directive}.*default-src")

    def test_each_item_of_the_plan_is_there_with_its_state(self):
        self.assertGreater(len(self.items()), FILES)
        there = self.browser.run("""
return [...document.querySelectorAll(".item")].map(item => [
  item.closest(".stage").dataset.stage, item.dataset.state, item.querySelector(".name").textContent]);
""")
        self.assertEqual(there, [[stage, state_class(item["state"]), item["name"]] for stage, item in self.items()])

    def test_summary_counts_and_sizes(self):
        figures = dict(reversed(line) for line in self.browser.run(
            "return [...document.querySelectorAll('.figures li')].map(li => [...li.children].map(c => c.textContent))"))
        total = self.plan["total"]
        self.assertEqual(figures["products"], "2")
        self.assertEqual(figures["files"], str(total["files"]))
        self.assertEqual(figures["on the disk"], f"{total['bytes'] / 1024:.0f} KB")
        rows = self.browser.run("return [...document.querySelectorAll('tbody tr')].map(row => row.innerText.split('\\t'))")
        self.assertEqual(rows, [["folders", "2", "1", "0", "0", "0", "1", "2 folders, 2 files, 1.4 KB"],
                                ["files", "2,000", str(WHOLE), "0", "0", f"{FILES - WHOLE:,}", "0",
                                 f"{WHOLE} files, 12 KB"],
                                ["registry keys", "1", "0", "0", "0", "1", "0", ""]])

    def test_warnings_stand_in_a_box_above_the_plan(self):
        self.assertTrue(self.plan["warnings"])
        told = self.browser.run("return [...document.querySelectorAll('.warn li')].map(li => li.innerText)")
        self.assertEqual(len(told), len(self.plan["warnings"]))
        for warning, text in zip(self.plan["warnings"], told):
            self.assertTrue(text.endswith(warning["text"]), text)

    def test_guard_rail_that_refuses_is_named_on_top(self):
        self.assertEqual(self.browser.run("return document.querySelector('header section').innerText"),
                         "No guard rail stands against it")
        self.browser.open(self.small_page)
        self.assertEqual([danger["item"] for danger in self.small_plan["dangers"]], ["C:\\Program Files\\Common Files"])
        told = self.browser.run("return document.querySelector('header section.refused').innerText")
        self.assertIn("C:\\Program Files\\Common Files", told)
        self.assertIn(self.small_plan["dangers"][0]["reason"], told)

    def test_big_plan_begins_folded_and_a_filter_unfolds_what_it_finds(self):
        self.assertEqual(self.shown(), [])
        self.filter(text="COMPONENT-0007")
        self.assertEqual([name[-18:] for name in self.shown()], ["component-0007.dll"])
        self.assertEqual(self.browser.run("return document.getElementById('shown').value"), "1 of 2,003 items")
        self.filter()
        self.assertEqual(self.shown(), [])

    def test_filters_by_state_and_by_stage(self):
        self.filter(states=["present"])
        self.assertEqual(len(self.shown()), WHOLE + 1)
        self.filter(states=["present"], stage="folders")
        self.assertEqual(self.shown(), [self.host.path("app")])
        self.filter(states=["present", "pruned"], stage="folders")
        self.assertEqual(len(self.shown()), 2)
        self.filter(text="no such item")
        self.assertEqual(self.shown(), [])
        self.assertTrue(self.browser.run("return document.getElementById('nothing').checkVisibility()"))

    def test_typing_filters(self):
        self.browser.run("document.getElementById('text').focus()")
        self.browser.press(*"-0003.")
        self.browser.wait_for("return document.getElementById('shown').value.startsWith('1 of')")

    def test_keyboard_folds_and_unfolds(self):
        self.browser.run("document.querySelector('.stage summary').focus()")
        self.browser.press("\ue007")
        self.assertEqual(self.shown(), [self.host.path("app"), self.host.path("app\\deep")])
        self.browser.press("\ue004", " ")
        self.assertIn("1,400 bytes", self.browser.run("return document.querySelector('.item[open] .more').innerText"))
        self.browser.run("document.getElementById('unfold').click()")
        self.assertEqual(len(self.shown()), len(self.items()))
        self.browser.run("document.getElementById('fold').click()")
        self.assertFalse(self.browser.run("return document.querySelector('.stage').checkVisibility()"))

    def test_everything_that_takes_the_focus_has_a_name(self):
        nodes = self.browser.protocol("Accessibility.getFullAXTree")["nodes"]
        focusable = [node for node in nodes if not node.get("ignored") and any(
            found["name"] == "focusable" and found["value"]["value"] for found in node.get("properties", []))]
        self.assertGreater(len(focusable), 10)
        self.assertEqual([node["role"]["value"] for node in focusable if not node.get("name", {}).get("value")
                          and node["role"]["value"] != "main"], [])

    def test_light_and_dark_can_be_read(self):
        grounds = []
        for scheme in ["light", "dark"]:
            self.browser.emulate(prefers_color_scheme=scheme)
            self.filter(stage="folders")
            for kind, contrast in self.browser.run(CONTRAST).items():
                self.assertGreaterEqual(contrast, 4.5, f"{scheme}: {kind}")
            grounds.append(self.browser.run("return getComputedStyle(document.body).backgroundColor"))
        self.assertNotEqual(*grounds)

    def painted(self, selector):
        """An element as a reader sees it: how much of it has the colour that is meant to lie behind it, and that colour."""
        *place, ground = self.browser.run(BOX, selector)
        pixels = [pixel for line in self.browser.picture(*place) for pixel in line]
        ground = tuple(map(int, re.findall(r"\d+", ground)))
        return pixels.count(ground) / len(pixels), ground

    def test_box_of_the_warnings_is_painted_in_its_colour_with_its_text_in_it(self):
        grounds = set()
        for scheme in ["light", "dark"]:
            with self.subTest(scheme):
                self.browser.emulate(prefers_color_scheme=scheme)
                share, ground = self.painted(".warn")
                # Neither hidden behind something, nor empty.
                self.assertGreater(share, 0.8)
                self.assertLess(share, 0.98)
                grounds.add(ground)
        self.assertEqual(len(grounds), 2)

    def test_margin_of_the_page_is_painted_light_or_dark(self):
        for scheme, brightness in [("light", range(200, 256)), ("dark", range(0, 56))]:
            with self.subTest(scheme):
                self.browser.emulate(prefers_color_scheme=scheme)
                colours = {pixel for line in self.browser.picture(0, 0, 8, 400) for pixel in line}
                self.assertEqual(len(colours), 1)
                self.assertEqual([channel for channel in colours.pop() if channel not in brightness], [])

    def test_it_can_be_read_without_scripts(self):
        self.browser.protocol("Emulation.setScriptExecutionDisabled", value=True)
        try:
            self.browser.open(self.page)
            self.assertFalse(self.browser.run("return document.querySelector('.controls').checkVisibility()"))
            self.browser.protocol("Emulation.setScriptExecutionDisabled", value=False)
            self.browser.run("document.querySelector('.stage summary').click()")
            self.assertEqual(len(self.shown()), 2)
        finally:
            self.browser.protocol("Emulation.setScriptExecutionDisabled", value=False)

    def test_paper_shows_everything_and_no_controls(self):
        # Neither what is folded nor what a filter hides is left out.
        self.browser.open(self.small_page)
        self.browser.run("document.getElementById('fold').click()")
        self.filter(text="component-0007")
        with tempfile.NamedTemporaryFile(suffix=".pdf") as file:
            file.write(self.browser.print())
            file.flush()
            text = subprocess.run(["pdftotext", "-raw", file.name, "-"], check=True, capture_output=True).stdout.decode()
        # Long paths are broken over lines.
        text = re.sub(r"\s+", "", text)
        items = self.items(self.small_plan)
        self.assertGreater(len(items), 40)
        missing = [item["name"] for _, item in items if re.sub(r"\s+", "", item["name"]) not in text]
        self.assertEqual(missing, [])
        self.assertIn("1,400bytes", text)
        self.assertNotIn("1of44items", text)
        for control in ["Unfoldall", "Partofaname", "Noitemislikethat"]:
            self.assertNotIn(control, text)
        self.assertEqual([name[-18:] for name in self.shown()], ["component-0007.dll"])

    def test_page_that_cannot_be_written_fails_with_a_sentence(self):
        for path, code in [("absent\\plan.html", 29), ("", 87)]:
            with self.subTest(path):
                ended = self.host.run("plan", "--force-all", "--kind", "own", "--html", path)
                self.assertEqual(ended.code, code)
                self.assertEqual(ended.out_text(), "")
                self.assertRegex(ended.err_text(), r"\Aprodsweep: .*\.\n\Z")


if __name__ == "__main__":
    pyreport.main("host_plan_page", REPORTS)
