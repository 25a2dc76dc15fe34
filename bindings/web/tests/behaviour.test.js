import assert from "node:assert/strict";
import { test } from "node:test";
import { Worker } from "node:worker_threads";
import { Morvik, OutOfMemoryError, alphaOf, formatLandmarks, outlinesToSvg, outlinesToSvgPath, parseLandmarks, toImageData } from "morvik";

const MOST = 2 ** 25;
const morvik = await Morvik.load();
// Noise that repeats after 4093 bytes.
let state = 1;
const NOISE = Uint8Array.from({ length: 4093 }, () => (state = (Math.imul(state, 1664525) + 1013904223) | 0) >>> 24);
const image = (width, height, bytes = 1) => {
  const data = new Uint8Array(width * height * bytes);
  for (let at = 0; at < data.length; at += NOISE.length) data.set(NOISE.subarray(0, data.length - at), at);
  return { width, height, data };
};
const mask = morvik.fillPolygon([5, 5, 60, 8, 30, 44], { width: 64, height: 48 });
const photo = image(200, 150, 4);

// A call and what its sentence says.
const REFUSED = [
  [() => new Morvik(), /Morvik.load/],
  [() => morvik.blur(null), /image is a picture such as ImageData, not null/],
  [() => morvik.blur({ width: 4, height: 4 }), /image has no data/],
  [() => morvik.blur({ width: 4, height: 4, data: [] }), /not Array/],
  [() => morvik.blur({ width: 4, height: 4, data: new Uint8Array(17) }), /17 bytes for 4 x 4 pixels/],
  [() => morvik.blur({ width: 4.5, height: 4, data: new Uint8Array(16) }), /width of image is a whole number/],
  [() => morvik.blur({ ...mask, format: "rgb" }), /3072 bytes; 64 x 48 pixels of rgb have 9216|has 3072/],
  [() => morvik.blur({ ...mask, format: "cmyk" }), /"cmyk"; one of gray, rgb/],
  [() => morvik.blur(morvik.convert(mask, "nv21")), /image is nv21/],
  [() => morvik.blur(mask, 4), /kernel is 4; an odd number/],
  [() => morvik.blur(mask, 201), /1 to 199/],
  [() => morvik.blur(mask, 3, { filter: "box" }), /mean, median/],
  [() => morvik.blur(mask, 3, { filter: "mean", sigma: [1, 1] }), /no sigma/],
  [() => morvik.blur(mask, 3, { sigma: 3 }), /pair/],
  [() => morvik.blur(mask, 3, { fliter: "mean" }), /blur has no option fliter/],
  [() => morvik.blur(mask, 3, 5), /options of blur/],
  [() => morvik.smoothMask(mask, mask), /photo is gray/],
  [() => morvik.smoothMask(photo, image(521, 5)), /520 x 520/],
  [() => morvik.smoothMask(photo, image(200, 100)), /smaller than the photograph \(200 x 150\)/],
  [() => morvik.smoothMask(photo, mask, { limit: 31 }), /needs 32/],
  [() => morvik.smoothMask(photo, mask, { limit: 0 }), /limit is 0/],
  [() => morvik.fillHoles(mask, { level: 255 }), /0 to 254/],
  [() => morvik.morph(mask, 0), /without 0/],
  [() => morvik.morph(mask, "3"), /whole number, not "3"/],
  [() => morvik.fillPolygon([1, 2, 3], mask), /3 numbers/],
  [() => morvik.fillPolygon([[1, NaN]], mask), /no numbers/],
  [() => morvik.fillPolygon([{ x: 1 }], mask), /point 0 of points/],
  [() => morvik.fillPolygon([[1, 2], null], mask), /point 1 of points is .*, not null/],
  [() => morvik.fillPolygon([[1, 2, 3]], mask), /point 0 of points is .*, not \[1,2,3\]/],
  [() => morvik.fillPolygon([1, [2, 3]], mask), /number 1 is \[2,3\]/],
  [() => morvik.fillPolygon([], [4, 4]), /width of size/],
  [() => morvik.fillPolygon([], { width: 2 ** 19, height: 2 ** 19 }), /2 GiB/],
  [() => morvik.bbox(mask, { level: 0 }), /1 to 254/],
  [() => morvik.outlines(mask, { mode: "round" }), /stroke, fill-stroke/],
  [() => morvik.outlines(mask, { expand: 501 }), /0 to 500/],
  [() => morvik.outlines(mask, { center: { x: 1, y: 2 } }), /no center/],
  ...[0, "", false, null, [1]].map((center) => [() => morvik.outlines(mask, { mode: "polar-center", center }), /center is \{ x, y \}/]),
  [() => morvik.sticker(photo, mask, { color: "red" }), /#rrggbb/],
  [() => morvik.sticker(photo, mask, { color: [1, 2, 256] }), /0 to 255/],
  [() => morvik.sticker(photo, image(300, 50)), /proportions/],
  [() => morvik.sticker(photo, { width: 200, height: 150, data: new Uint8Array(30000) }), /above 127/],
  [() => morvik.forehead(new Float32Array(20), mask), /10 points, 106 or 96/],
  [() => morvik.landmarksFromMesh(new Float32Array(20), mask), /468/],
  [() => morvik.landmarksFromMesh(new Float32Array(3 * 478), mask), /478 points.* the first 468/],
  [() => morvik.landmarksFromMesh(Array(478).fill({ x: 0, y: 0 }), mask), /478 points.* the first 468/],
  [() => morvik.convert(mask, "hsv"), /one of gray/],
  ...[[1, 9], [9, 1]].map((size) => [() => morvik.convert(image(...size), "nv12"), /no whole pair/]),
  [() => morvik.resize(morvik.convert(mask, "nv12"), { width: 3, height: 2 }), /even size/],
  [() => morvik.rotate(mask, 45), /0, 90, 180 or 270/],
  [() => alphaOf(mask), /rgba, bgra/],
  [() => parseLandmarks("", { separator: "1" }), /separator/],
  [() => parseLandmarks(5), /string/],
  [() => formatLandmarks([1, 2, 3]), /3 numbers/],
  [() => formatLandmarks([1, 2 ** 31]), /32 bits/],
  [() => parseLandmarks("", null), /options of parseLandmarks/],
  [() => parseLandmarks("", { dim: 3 }), /no option dim/],
  [() => formatLandmarks([[1, 2], [3, 4]]), /number 0 is \[1,2\]/],
  [() => formatLandmarks(null), /list of numbers, not null/],
  [() => formatLandmarks([1, 2], { dim: 3 }), /no option dim/],
  [() => outlinesToSvgPath([[[1, 2], [3, 4]]]), /outline 0 .* is \[1,2\]/],
  [() => outlinesToSvgPath([[1, 2], [1, 2, 3]]), /outline 1 has 3 numbers/],
  [() => outlinesToSvg(null, mask), /outlines is a list/],
  [() => outlinesToSvg([], mask, { color: 5 }), /color is a string/],
  [() => outlinesToSvg([], mask, { colour: "red" }), /no option colour/],
  [() => toImageData(mask), /no ImageData here/],
];

test("wrong arguments are refused with a sentence", () => {
  for (const [call, sentence] of REFUSED) {
    assert.throws(call, (error) => {
      assert.match(error.message, sentence);
      return error instanceof TypeError || error instanceof RangeError;
    });
  }
});

test("points, masks and colours in each of their forms", () => {
  const size = { width: 30, height: 20 };
  const expected = morvik.fillPolygon([2, 2, 25, 3, 10, 18], size).data;
  for (const points of [[[2, 2], [25, 3], [10, 18]], [{ x: 2, y: 2 }, { x: 25, y: 3 }, { x: 10, y: 18 }], [Float32Array.of(2, 2), [25, 3], [10, 18]], Float32Array.of(2, 1.5, 25.4, 3, 10, 18)]) {
    assert.deepEqual(morvik.fillPolygon(points, size).data, expected);
  }
  const floats = { ...mask, data: Float32Array.from(mask.data, (value) => value / 255) };
  const colored = { ...mask, format: "rgb", data: Uint8Array.from({ length: 3 * 64 * 48 }, (_, i) => mask.data[Math.floor(i / 3)]) };
  for (const same of [floats, colored, morvik.convert(mask, "nv12")]) {
    assert.deepEqual(morvik.morph(same, 3), morvik.morph(mask, 3));
  }
  assert.deepEqual(morvik.sticker(photo, mask, { color: "#0A141e" }), morvik.sticker(photo, mask, { color: [10, 20, 30] }));
  assert.deepEqual([...alphaOf(photo).data.subarray(0, 2)], [photo.data[3], photo.data[7]]);
  assert.equal(morvik.bbox({ width: 2, height: 2, data: new Uint8Array(4) }), null);
  assert.deepEqual(morvik.outlines({ width: 2, height: 2, data: new Uint8Array(4) }), []);
});

const CALLS = [
  (m, size) => m.blur(image(size, size, 4)),
  (m, size) => m.morph(image(size, size), 9),
  (m, size) => m.fillHoles(image(size, size)),
  (m, size) => m.fillPolygon([0, 0, size, 0, 5, size], { width: size, height: size }),
  (m, size) => m.outlines(image(size, size), { mode: "fill-stroke", smooth: 2 }),
  (m, size) => m.sticker(image(size, size, 4), mask),
  (m, size) => m.resize(mask, { width: size, height: size }, { method: "cubic" }),
  (m, size) => m.smoothMask(image(size, size, 3), image(16, 16), { snap: true }),
];

test("a call without memory throws and prints nothing, and the next one gives the same bytes", async (t) => {
  const printers = ["log", "warn", "error"].map((name) => t.mock.method(console, name, () => {}));
  const small = await Morvik.load({ maxMemory: MOST });
  for (const call of CALLS) {
    const expected = call(small, 700);
    let failures = 0;
    for (const size of [1500, 2200, 3000, 4200, 6000, 2200, 3000]) {
      try {
        call(small, size);
      } catch (error) {
        assert.ok(error instanceof OutOfMemoryError, `${call}: ${error.stack}`);
        ++failures;
      }
    }
    assert.ok(failures > 0, `${call} never failed`);
    assert.deepEqual(call(small, 700), expected, `${call}`);
    assert.ok(small.memoryBytes <= MOST);
  }
  assert.deepEqual(printers.flatMap(({ mock }) => mock.calls.map(({ arguments: [text] }) => text)), []);
});

test("10,000 calls leave nothing behind, nor do 2,000 refusals", () => {
  const used = [];
  for (let i = 0; i <= 10_000; ++i) {
    CALLS[i % CALLS.length](morvik, 70);
    if (i % 5000 === 0) used.push(morvik.memoryBytes);
  }
  for (let i = 0; i < 2000; ++i) {
    assert.throws(() => morvik.sticker(photo, { ...photo, data: new Uint8Array(30_000) }), /above 127/);
  }
  assert.deepEqual([used[2], morvik.memoryBytes], [used[1], used[1]]);
});

test("a worker takes the compiled module", async () => {
  const code = `const { workerData, parentPort } = require("node:worker_threads");
    import(workerData.address).then(async ({ Morvik }) => {
      const morvik = await Morvik.load({ wasm: workerData.module });
      parentPort.postMessage(morvik.morph(workerData.mask, 3).data);
    });`;
  const workerData = { address: import.meta.resolve("morvik"), module: morvik.module, mask };
  const worker = new Worker(code, { eval: true, workerData });
  const data = await new Promise((resolve, reject) => worker.once("message", resolve).once("error", reject));
  assert.deepEqual(data, morvik.morph(mask, 3).data);
});

test("what cannot be loaded is told", async () => {
  await assert.rejects(Morvik.load({ wasm: new Response("", { status: 404, statusText: "Not Found" }) }), /404 Not Found/);
  await assert.rejects(Morvik.load({ wasm: new Uint8Array(8) }), WebAssembly.CompileError);
  await assert.rejects(Morvik.load({ maxMemory: 1 }), /maxMemory is 1/);
});
