// A file server, a browser and the native library for the tests.
import { spawn } from "node:child_process";
import { readFile } from "node:fs/promises";
import { createServer } from "node:http";
import { basename, extname, join } from "node:path";
import { createInterface } from "node:readline";
import { chromium } from "playwright-core";

export const { STUDIO: SITE, FOLDER, NATIVE } = process.env;
const TYPES = { ".html": "text/html", ".js": "text/javascript", ".mjs": "text/javascript", ".css": "text/css", ".wasm": "application/wasm", ".svg": "image/svg+xml" };
const SOFTWARE_GL = ["--use-angle=swiftshader", "--enable-unsafe-swiftshader"];
export const CAMERA = ["--use-fake-ui-for-media-stream", "--use-fake-device-for-media-stream", `--use-file-for-fake-video-capture=${FOLDER}/clip.y4m`];
export const prefixes = {}; // text that is put before a file that is served

const server = createServer(async ({ url }, response) => {
  try {
    const path = decodeURI(url.split("?")[0]).replace(/\/$/, "/index.html");
    response.writeHead(200, { "content-type": TYPES[extname(path)] ?? "application/octet-stream" }).end(Buffer.concat([Buffer.from(prefixes[path] ?? ""), await readFile(join(SITE, path))]));
  } catch {
    response.writeHead(404).end();
  }
});
await new Promise((resolve) => server.listen(0, "127.0.0.1", resolve));
export const origin = `http://127.0.0.1:${server.address().port}`;
export const lan = `http://lan.test:${server.address().port}`; // no loopback address to the browser
export const requests = new Set(); // of all pages
const browsers = [];

export async function open({ args = SOFTWARE_GL, permissions = ["clipboard-read", "clipboard-write"], at = origin, ...options } = {}) {
  const browser = await chromium.launch({
    executablePath: "/usr/bin/chromium",
    args: ["--no-sandbox", "--host-resolver-rules=MAP lan.test 127.0.0.1, MAP * ~NOTFOUND, EXCLUDE 127.0.0.1", ...args],
  });
  browsers.push(browser);
  const context = await browser.newContext({ viewport: { width: 1280, height: 900 }, permissions, ...options });
  context.setDefaultTimeout(60000);
  context.on("request", (request) => requests.add(request.url()));
  const page = await context.newPage();
  page.on("pageerror", (error) => console.log("error in the page:", error.message));
  await page.goto(`${at}/index.html`);
  await page.locator("#status", { hasText: "Morvik" }).waitFor();
  const shot = async (name) => {
    await page.evaluate(() => scrollTo(0, 0));
    await page.screenshot({ path: join(FOLDER, `${name}.png`) });
  };
  return { browser, page, shot };
}

/** Drops files on the page, as a person does. */
export async function drop(page, ...names) {
  const files = await Promise.all(names.map(async (name) => ({
    name: basename(name), text: (await readFile(join(FOLDER, name))).toString("base64"),
  })));
  const transfer = await page.evaluateHandle((list) => {
    const data = new DataTransfer();
    for (const { name, text } of list) {
      const type = { txt: "text/plain", png: "image/png", jpg: "image/jpeg" }[name.split(".")[1]] ?? `image/${name.split(".")[1]}`;
      data.items.add(new File([Uint8Array.from(atob(text), (c) => c.charCodeAt(0))], name, { type }));
    }
    return data;
  }, files);
  await page.dispatchEvent("#picture", "drop", { dataTransfer: transfer });
}

/** The mask's name is another than the page gives to those of networks; in the sticker's view. */
export async function dropBoth(page, ...names) {
  await drop(page, ...names);
  await page.waitForFunction((all) => all.every((name) => document.getElementById("command").textContent.includes(name)), names);
}

export const shown = (page, text) => page.locator("#status", { hasText: text }).waitFor();
export const failed = (page, text) => page.locator("#error:visible", { hasText: text }).waitFor();

/** Sets form controls by name, with the events that a person's hand causes; waits for the result. */
export async function set(page, values) {
  await page.evaluate((entries) => {
    document.getElementById("status").textContent = "";
    const form = document.getElementById("controls");
    for (const [name, value] of entries) {
      const control = form.elements[name];
      if (typeof value === "boolean") control.checked = value;
      else control.value = value;
      (control instanceof RadioNodeList ? control[0] : control).dispatchEvent(new Event("input", { bubbles: true }));
    }
  }, Object.entries(values));
  await page.waitForFunction(() => /[.]$/.test(document.getElementById("status").textContent));
}

export async function digest(page) {
  await page.locator("#digest").evaluate((details) => {
    details.open = false;
    details.querySelector("code").textContent = "";
  });
  await page.click("#digest summary");
  const found = await page.waitForFunction(() => /^[0-9a-f]{64}$/.exec(document.querySelector("#digest code").textContent)?.[0]);
  return found.jsonValue();
}

export async function download(page, type) {
  const [file] = await Promise.all([page.waitForEvent("download"), page.click(`[data-save=${type}]`)]);
  const path = join(FOLDER, `saved_${file.suggestedFilename()}`);
  await file.saveAs(path);
  return path;
}

/** What the next frames of the camera are called, of which there are `count`. */
export function labels(page, count) {
  return page.evaluate((most) => new Promise((resolve, reject) => {
    setTimeout(() => reject(new Error("the camera shows no frames")), 60000);
    const canvas = document.getElementById("canvas");
    const found = [];
    const observer = new MutationObserver(() => {
      if (found.push(canvas.getAttribute("aria-label")) < most) return;
      observer.disconnect();
      resolve(found);
    });
    observer.observe(canvas, { attributes: true, attributeFilter: ["aria-label"] });
  }), count);
}

/** Put before network.js: instead of networks squares as bright as page.evaluate(showMasks, [...]) says, one after the other. */
export const SQUARES = `{
  let values = [255];
  let count = 0;
  new BroadcastChannel("masks").onmessage = ({ data }) => [values, count] = [data, 0];
  addEventListener("message", ({ data: { id } }) => {
    const data = new Uint8Array(65536);
    for (let y = 64; y < 192; ++y) data.fill(values[count % values.length], 256 * y + 64, 256 * y + 192);
    ++count;
    const found = self.name === "face_mesh" ? { mesh: null } : { data, width: 256, height: 256, format: "gray" };
    postMessage({ id, found, milliseconds: 1 });
  });
  Object.defineProperty(self, "onmessage", { set() {} });
}`;
export const showMasks = (values) => new BroadcastChannel("masks").postMessage(values);

const python = spawn("/usr/bin/python3", [NATIVE, "results"], { stdio: ["pipe", "pipe", "inherit"] });
const lines = createInterface(python.stdout)[Symbol.asyncIterator]();

/** What the native library gives. */
export async function native(name, values) {
  python.stdin.write(`${JSON.stringify([name, values])}\n`);
  return JSON.parse((await lines.next()).value);
}

export async function closeAll() {
  python.stdin.end();
  server.close();
  await Promise.all(browsers.map((browser) => browser.close()));
}
