# SPDX-License-Identifier: MIT
# Copyright (c) The Hueweave authors
"""Headless Chromium, which opens a page and uses it."""
import base64
import json
import time

from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys

# A number for what a canvas shows, and how many colours it has.
LOOK = """
const source = document.querySelector(arguments[0]);
const canvas = document.createElement("canvas");
[canvas.width, canvas.height] = [source.width, source.height];
const pen = canvas.getContext("2d");
pen.drawImage(source, 0, 0);
const data = new Uint32Array(pen.getImageData(0, 0, canvas.width, canvas.height).data.buffer);
let hash = 0;
for (const pixel of data) hash = (Math.imul(hash, 31) + pixel) | 0;
return {hash, colours: new Set(data).size};
"""

# The place of an element in the window.
BOX = """
const element = document.querySelector(arguments[0]);
element.scrollIntoView({block: "center", behavior: "instant"});
const box = element.getBoundingClientRect();
return [box.left, box.top, box.width, box.height];
"""

PLOTTED = """
const plotted = {};
for (const figure of document.querySelectorAll("figure[data-live]")) plotted[figure.dataset.plot] = figure.graph.rawData_;
return plotted;
"""


class Browser:
    RIGHT = Keys.ARROW_RIGHT

    def __init__(self):
        options = webdriver.ChromeOptions()
        for word in ("--headless=new", "--no-sandbox", "--disable-dev-shm-usage", "--use-angle=swiftshader",
                     "--enable-unsafe-swiftshader", "--hide-scrollbars", "--force-device-scale-factor=1"):
            options.add_argument(word)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
        self.driver = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)
        self.driver.set_script_timeout(60)

    def close(self):
        self.driver.quit()

    def cdp(self, command, **parameters):
        return self.driver.execute_cdp_cmd(command, parameters)

    def open(self, page, width=1280, theme="light", scripts=True, touch=False):
        self.driver.get("about:blank")
        self.driver.get_log("browser")
        self.driver.get_log("performance")
        self.cdp("Emulation.setScriptExecutionDisabled", value=not scripts)
        self.cdp("Emulation.setDeviceMetricsOverride", width=width, height=900, deviceScaleFactor=1, mobile=touch)
        self.cdp("Emulation.setTouchEmulationEnabled", enabled=touch, maxTouchPoints=2)
        self.theme(theme)
        self.driver.get(page.as_uri())
        if not scripts:
            return
        for _ in range(300):
            if self.js("return document.documentElement.dataset.ready !== undefined"):
                return
            time.sleep(0.1)
        raise AssertionError(f"{page.name} does not become ready: {self.errors()}")

    def theme(self, name):
        self.cdp("Emulation.setEmulatedMedia", features=[{"name": "prefers-color-scheme", "value": name}])

    def js(self, script, *words):
        return self.driver.execute_script(script, *words)

    def errors(self):
        return [entry["message"] for entry in self.driver.get_log("browser") if entry["level"] in ("SEVERE", "WARNING")
                and "GPU stall" not in entry["message"]]

    def requests(self, page):
        """What the page asked for, other than itself and what stands in it."""
        messages = [json.loads(entry["message"])["message"] for entry in self.driver.get_log("performance")]
        addresses = [one["params"]["request"]["url"] for one in messages if one["method"] == "Network.requestWillBeSent"]
        own = ("data:", "blob:", "about:", page.as_uri())
        return [address for address in addresses if not address.startswith(own)]

    def data(self):
        return json.loads(self.js("return document.getElementById('report-data').textContent"))

    def plotted(self):
        return self.js(PLOTTED)

    def canvas(self, selector):
        time.sleep(0.3)  # for a frame of the page
        return self.js(LOOK, selector)

    def find(self, selector):
        return self.driver.find_element(By.CSS_SELECTOR, selector)

    def text(self, selector):
        return self.find(selector).text

    def keys(self, selector, keys):
        element = self.find(selector)
        self.js("arguments[0].focus()", element)
        element.send_keys(keys)

    def press(self, selector):
        self.js("arguments[0].click()", self.find(selector))

    def click(self, text, within="main"):
        """Clicks the first box whose label begins so."""
        self.js("""for (const label of document.querySelectorAll(arguments[1] + ' label')) {
            if (label.textContent.startsWith(arguments[0])) return label.querySelector('input').click();
        }
        throw new Error('no box ' + arguments[0]);""", text, within)

    def touch(self, selector, *fingers):
        """Moves fingers over an element, each from one place to another, as shares of its width and height."""
        left, top, width, height = self.js(BOX, selector)
        def points(share):
            return [{"x": left + width * (x + share * (to_x - x)), "y": top + height * (y + share * (to_y - y)), "id": number}
                    for number, ((x, y), (to_x, to_y)) in enumerate(fingers)]
        self.cdp("Input.dispatchTouchEvent", type="touchStart", touchPoints=points(0))
        for step in range(1, 11):
            self.cdp("Input.dispatchTouchEvent", type="touchMove", touchPoints=points(step / 10))
        self.cdp("Input.dispatchTouchEvent", type="touchEnd", touchPoints=[])

    def column(self, table, number):
        return self.js("return [...document.querySelectorAll(arguments[0])].map(cell => cell.textContent)",
                       f"{table} tbody tr > :nth-child({number})")

    def count_visible(self, selector):
        return sum(element.is_displayed() for element in self.driver.find_elements(By.CSS_SELECTOR, selector))

    def axe(self, source):
        """The findings of axe-core, each as its rule and the first element."""
        self.js(source)
        found = self.driver.execute_async_script(
            "const done = arguments[arguments.length - 1]; axe.run().then(r => done(r.violations.map("
            "v => `${v.id}: ${v.nodes.length} times, ${v.nodes[0].html.slice(0, 160)} ${v.nodes[0].failureSummary}`)))")
        return found

    def screenshot(self, path, height=None):
        """The whole page in parts of at most 6,000 pixels, which Chromium can draw at once, or its beginning."""
        size = self.cdp("Page.getLayoutMetrics")["cssContentSize"]
        most = height or 6000
        self.cdp("Emulation.setDeviceMetricsOverride", width=size["width"], height=min(size["height"], most),
                 deviceScaleFactor=1, mobile=False)
        self.js("document.documentElement.style.scrollBehavior = 'auto'")
        for number, top in enumerate(range(0, size["height"] if height is None else 1, most)):
            self.js("window.scrollTo(0, arguments[0])", top)
            time.sleep(0.5)  # for the plots to be drawn anew
            taken = self.cdp("Page.captureScreenshot", format="png")
            part = path if height else path.with_stem(f"{path.stem}-{number + 1}")
            part.write_bytes(base64.b64decode(taken["data"]))
