// Results are the native library's, which expected.py has written to the folder in MORVIK_EXPECTED.
import assert from "node:assert/strict";
import { createHash } from "node:crypto";
import { readFileSync } from "node:fs";
import { test } from "node:test";
import * as exported from "morvik";

const folder = process.env.MORVIK_EXPECTED;
const { pictures, calls } = JSON.parse(readFileSync(`${folder}/expected.json`, "utf8"));
for (const [name, picture] of Object.entries(pictures)) picture.data = new Uint8Array(readFileSync(`${folder}/${name}.bin`));
const morvik = await exported.Morvik.load();
const known = (argument) => pictures[argument] ?? (argument?.floats ? Float32Array.from(argument.floats) : argument);
// As JSON has it, where numbers without end are words.
const number = (value) => (Number.isFinite(value) ? value : String(value).replace("Infinity", "inf"));
const plain = (result) => (Array.isArray(result) ? result.map(plain) : ArrayBuffer.isView(result) ? Array.from(result, number) : { ...result });

for (const { function: name, arguments: given, numbers, format, size, sha256 } of calls) {
  test(`${name} ${JSON.stringify(given).slice(0, 120)}`, () => {
    const before = Buffer.from(known(given[0]).data ?? []);
    const result = exported[name]?.(...given.map(known)) ?? morvik[name](...given.map(known));
    assert.deepEqual(Buffer.from(known(given[0]).data ?? []), before, "what was given is left alone");
    if (name === "landmarksFromMesh") {
      numbers.forEach((value, i) => assert.ok(Math.abs(value - result[i]) < 1e-4, `${i}: ${value}, ${result[i]}`));
    } else if (typeof numbers === "string") {
      assert.equal(result, numbers);
    } else if (numbers !== undefined) {
      assert.deepEqual(plain(result), numbers);
    } else {
      assert.deepEqual([result.format, result.width, result.height], [format, ...size]);
      assert.equal(createHash("sha256").update(result.data).digest("hex"), sha256);
    }
  });
}
