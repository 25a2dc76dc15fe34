// The studio in Chromium, driven as a person does, compared with the native library.
import assert from "node:assert/strict";
import { readFile } from "node:fs/promises";
import { join } from "node:path";
import { after, before, test } from "node:test";
import {
  CAMERA, FOLDER, SQUARES, closeAll, digest, download, drop, dropBoth, failed, labels, lan, native, open, origin, prefixes, requests, set,
  showMasks, shown,
} from "./harness.mjs";

let page, shot;
before(async () => ({ page, shot } = await open()));
after(closeAll);

const own = { photo: join(FOLDER, "portrait.png"), mask: join(FOLDER, "portrait_mask.png") };

test("stickers of a dropped photograph and mask are the native library's", async () => {
  await shot("empty");
  await drop(page, "portrait.png", "portrait_mask.png");
  await shown(page, "Sticker, 512 by 600");
  await page.waitForFunction(() => document.getElementById("command").textContent.includes("portrait_mask.png"));
  for (const values of [
    { expand: 12, color: "#ffffff", snap: false, limit: 512 },
    { expand: 0, color: "#ffffff", snap: true, limit: 400 },
    { expand: 37, color: "#ffd60a", snap: true, limit: 256 },
    { expand: 3, color: "#102030", snap: false, limit: 599 },
  ]) {
    await set(page, { view: "sticker", ...values });
    assert.equal(await digest(page), await native("sticker", { ...own, ...values }), JSON.stringify(values));
  }
  await shot("sticker_own_mask");
});

test("the network's mask is cut out as natively", async () => {
  await page.selectOption("#sample", "hopper.jpg");
  await shown(page, "Sticker, 512 by 600");
  await page.screenshot({ path: join(FOLDER, "studio.jpg"), quality: 70 }); // the README's picture
  await drop(page, "portrait.png");
  await page.waitForFunction(() => document.getElementById("command").textContent.includes("portrait.png"));
  await shown(page, "Sticker, 512 by 600");
  const values = { expand: 10, color: "#ffffff", snap: true, limit: 512 };
  await set(page, { view: "sticker", ...values });
  const mask = await download(page, "mask");
  assert.equal(await digest(page), await native("sticker", { photo: own.photo, mask, ...values }));
});

test("the lines below the picture give what it shows", async () => {
  for (const [photo, mask, ...views] of [
    ["portrait.png", "own_mask.png", "sticker", "outline"], ["portrait.png", "full_mask.png", "sticker", "mask", "outline"],
    ["turned.jpg", "own_mask.png", "mask"], ["seen.png", "full_mask.png", "sticker"], ["seen.png", "own_mask.png", "mask"],
  ]) {
    await page.check("[name=view][value=sticker]", { force: true });
    await dropBoth(page, photo, mask);
    for (const view of views) {
      await set(page, { view, mode: "vector-center", centerX: 30, snap: false, limit: 400, expand: 9, color: "#ffd60a" });
      const given = view === "outline" ? JSON.parse(await readFile(await download(page, "json"))).outlines : await digest(page);
      const which = `${photo} ${mask} ${view}`;
      assert.deepEqual(await native("result_of", { python: await page.textContent("#python") }), given, which);
      assert.equal(await native("compiler_says", { cpp: await page.textContent("#cpp") }), "", which);
    }
  }
});

test("outlines in nine modes, forehead and downloads", async () => {
  await page.check("[name=view][value=sticker]", { force: true });
  await dropBoth(page, "portrait.png", "own_mask.png");
  const values = { expand: 20, smooth: 2, snap: false, limit: 512 };
  const modes = await page.locator("[name=mode] option").allTextContents();
  assert.equal(modes.length, 9);
  for (const [i, mode] of modes.entries()) {
    Object.assign(values, { centerX: 10 * i, centerY: 95 - 9 * i });
    await set(page, { view: "outline", mode, ...values });
    const { outlines } = JSON.parse(await readFile(await download(page, "json")));
    assert.deepEqual(outlines, await native("outlines", { ...own, mode, ...values }), mode);
  }
  await shot("outline");
  assert.match(await readFile(await download(page, "svg"), "utf8"), /^<svg[^]*<path/);
  assert.deepEqual([...(await readFile(await download(page, "webp"))).subarray(8, 12)], [..."WEBP"].map((c) => c.charCodeAt(0)));
  await set(page, { view: "mask" });
  await shot("mask");
  assert.equal((await readFile(await download(page, "png"))).readUInt32BE(16), 512);
  await set(page, { view: "forehead" });
  await shot("forehead");
  const found = JSON.parse(await readFile(await download(page, "json")));
  assert.deepEqual(found.forehead, await native("forehead", { landmarks: found.landmarks, width: 512, height: 600 }));
  await drop(page, "points.txt");
  await page.waitForFunction(() => document.getElementById("command").textContent.includes("points.txt"));
});

test("zoom, split and views by keyboard; code to copy", async () => {
  await page.focus("#picture");
  await page.keyboard.press("1");
  assert.equal(await page.inputValue("#zoom").catch(() => page.textContent("#zoom")), "100 %");
  await page.keyboard.press("+");
  await page.keyboard.press("ArrowLeft");
  await shot("zoomed");
  await page.keyboard.press("0");
  await page.focus("#split");
  const split = Number(await page.inputValue("#split"));
  await page.keyboard.press("ArrowRight");
  assert.ok(Number(await page.inputValue("#split")) > split);
  await page.focus("[name=view]:checked");
  await page.keyboard.press("ArrowRight");
  assert.equal(await page.locator("[name=view]:checked").inputValue(), "sticker");
  await page.click("[data-copy=python]");
  assert.match(await page.evaluate(() => navigator.clipboard.readText()), /^import numpy[^]*morvik\.sticker\(/);
});

test("failures end in a sentence and leave the page in use", async () => {
  await drop(page, "portrait.png");
  await shown(page, "Sticker");
  const huge = ["huge.png", "late.jpg", "huge.bmp", "huge.gif", "huge.avif"].map((name) => [name, "100 megapixels"]);
  for (const [name, sentence] of [...huge, ["broken.jpg", "broken"], ["few.txt", "106 or 96 points"]]) {
    await drop(page, name);
    await failed(page, sentence);
  }
  await shot("error");
  await page.click("#camera");
  await failed(page, /camera/);
  await drop(page, "portrait.png");
  await shown(page, "Sticker");
});

test("over plain http lines are copied, and what is not there is told", async () => {
  const other = await open({ at: lan, permissions: [] });
  await drop(other.page, "portrait.png", "portrait_mask.png");
  await shown(other.page, "Sticker");
  await other.page.click("[data-copy=python]");
  await shown(other.page, "Copied.");
  await other.page.evaluate(() => document.body.appendChild(document.createElement("textarea")).focus());
  await other.page.keyboard.press("Control+V");
  assert.equal(await other.page.inputValue("textarea"), await other.page.textContent("#python"));
  await other.page.click("#digest summary");
  await other.page.locator("#digest code", { hasText: "SHA-256 needs https" }).waitFor();
  await other.page.click("#camera");
  await failed(other.page, "needs https");
  await other.browser.close();
});

test("without WebGL a mask of one's own still works", async () => {
  prefixes["/network.js"] = "OffscreenCanvas.prototype.getContext = () => null;";
  const other = await open();
  await drop(other.page, "portrait.png");
  await failed(other.page, "Drop a mask of your own");
  delete prefixes["/network.js"];
  await other.shot("no_webgl");
  await drop(other.page, "portrait_mask.png");
  await shown(other.page, "Sticker");
  await other.browser.close();
});

test("camera: sticker and outline of moving frames", async () => {
  const other = await open({ args: ["--use-angle=swiftshader", "--enable-unsafe-swiftshader", ...CAMERA], permissions: [] });
  await other.page.click("#camera");
  await other.page.locator("#size", { hasText: /[1-9][0-9.]* frames a second/ }).waitFor();
  await other.page.waitForTimeout(4000);
  await other.shot("camera_sticker");
  console.log("camera:", await other.page.locator("#times").innerText(), await other.page.textContent("#size"));
  await other.page.check("[name=view][value=outline]", { force: true });
  await other.page.locator("#canvas[aria-label^=Outlines]").waitFor();
  await other.shot("camera_outline");
  await other.page.click("#camera");
  await shown(other.page, "off");
  await other.browser.close();
});

test("steadying takes flicker out; nothing outlives the camera or comes from before it", async () => {
  prefixes["/network.js"] = SQUARES;
  const { browser, page: other } = await open({ args: CAMERA, permissions: [] });
  const empty = async (count) => (await labels(other, count)).filter((label) => label.includes("photograph: 0,")).length;
  await drop(other, "portrait.png");
  await shown(other, "Sticker");
  await drop(other, "points.txt");
  await shown(other, "predicted forehead");
  await set(other, { view: "outline", mode: "fill-stroke" });
  await other.evaluate(showMasks, [...Array(9).fill(255), 0]);
  await other.click("#camera");
  await other.fill("[name=steady]", "0");
  await labels(other, 3);
  assert.equal(await empty(20), 2);
  await other.fill("[name=steady]", "90");
  await labels(other, 15);
  assert.equal(await empty(20), 0);
  await other.click("#camera");
  await shown(other, "off");
  await other.evaluate(showMasks, [0]);
  await other.waitForTimeout(300);
  const first = empty(1);
  await other.click("#camera");
  assert.equal(await first, 1, "the mean starts anew");
  await other.click("#camera");
  await shown(other, "off");
  await other.check("[name=view][value=forehead]", { force: true });
  await failed(other, "No face was found");
  delete prefixes["/network.js"];
  await browser.close();
});

/** The processor time that each task of the page's own thread took meanwhile, longest first, in ms. */
async function pageTasks(work) {
  await page.locator("body").isVisible(); // has Playwright's own script evaluated before
  const session = await page.context().newCDPSession(page);
  const events = [];
  session.on("Tracing.dataCollected", ({ value }) => events.push(...value));
  await session.send("Tracing.start", { transferMode: "ReportEvents", categories: "toplevel,disabled-by-default-devtools.timeline,__metadata" });
  await work();
  const ended = new Promise((resolve) => session.once("Tracing.tracingComplete", resolve));
  await session.send("Tracing.end");
  await ended;
  const main = events.find(({ name, args }) => name === "thread_name" && args.name === "CrRendererMain");
  assert.ok(main, "the page's thread is in the trace");
  const tasks = events.filter(({ name, tid, pid, tdur }) => name === "RunTask" && tdur && tid === main.tid && pid === main.pid);
  return tasks.map(({ tdur }) => tdur / 1000).sort((a, b) => b - a);
}

test("a 12-megapixel photograph does not block the page", async () => {
  const tasks = await pageTasks(async () => {
    await page.setInputFiles("#photo", join(FOLDER, "large.jpg"));
    await shown(page, "Sticker, 3024 by 4032");
    for (const expand of [20, 60, 80]) await set(page, { expand });
  });
  console.log("12 megapixels:", await page.locator("#times").innerText());
  console.log("longest tasks of the page, ms of processor time:", tasks.slice(0, 3));
  assert.ok(tasks[0] <= 16, `a task took ${tasks[0]} ms`);
  await shot("large");
});

test("at 390 pixels and in the dark nothing is cut off", async () => {
  const other = await open({ viewport: { width: 390, height: 844 }, colorScheme: "dark", hasTouch: true, isMobile: true });
  await drop(other.page, "portrait.png");
  await shown(other.page, "Sticker");
  assert.ok(await other.page.evaluate(() => document.documentElement.scrollWidth <= innerWidth));
  await other.page.screenshot({ path: join(FOLDER, "phone.png"), fullPage: true });
  await other.browser.close();
});

test("no request leaves the machine", () => {
  assert.deepEqual([...requests].filter((url) => ![origin, lan].some((start) => url.startsWith(`${start}/`)) && !/^(blob|data):/.test(url)), []);
});
