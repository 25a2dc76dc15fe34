// Pictures as callers give them, in JavaScript's memory.
import { MAX_SIDE, checkSize, choice, whole } from "./check.js";

const GRAY = 0x701;
const RGB24 = 0x201;
const ARGB = 0x302;
const ABGR = 0x305;

/**
 * Code of the library, bytes of a pixel, whether red comes first. The library knows the first four
 * formats with blue first; only frames are also converted with red first.
 */
export const FORMATS = {
  gray: { code: GRAY, bytes: 1, red: false },
  rgb: { code: RGB24, bytes: 3, red: true },
  rgba: { code: ARGB, bytes: 4, red: true },
  bgr: { code: RGB24, bytes: 3, red: false },
  bgra: { code: ARGB, bytes: 4, red: false },
  nv12: { code: 0x801, bytes: 0, red: false },
  nv21: { code: 0x802, bytes: 0, red: false },
};
export const CODES = { GRAY, RGB24, ARGB, ABGR };

export const isFrame = (format) => FORMATS[format].bytes === 0;

/** Bytes of a picture; a frame's chroma is rounded up. */
export function lengthOf(format, { width, height }) {
  const { bytes } = FORMATS[format];
  return bytes ? width * height * bytes : width * height + 2 * Math.ceil(width / 2) * Math.ceil(height / 2);
}

function sizeOfDrawable(source) {
  return {
    width: source.videoWidth ?? source.naturalWidth ?? source.displayWidth ?? source.width,
    height: source.videoHeight ?? source.naturalHeight ?? source.displayHeight ?? source.height,
  };
}

/** What a canvas draws, read back as ImageData. */
function drawn(source, name) {
  const { width, height } = sizeOfDrawable(source);
  checkSides(width, height, name);
  if (typeof OffscreenCanvas === "undefined") {
    throw new TypeError(`${name} has no data, and there is no canvas here to draw it; ImageData or { data, width, height } is expected`);
  }
  const context = new OffscreenCanvas(width, height).getContext("2d", { willReadFrequently: true });
  if (context === null) throw new RangeError(`${name} is ${width} x ${height} pixels, which no canvas here has room for`);
  try {
    context.drawImage(source, 0, 0, width, height);
    return context.getImageData(0, 0, width, height);
  } catch (error) {
    throw new TypeError(`${name} cannot be read: ${error.message}`, { cause: error });
  }
}

function checkSides(width, height, name) {
  whole(width, `the width of ${name}`, 1, MAX_SIDE);
  whole(height, `the height of ${name}`, 1, MAX_SIDE);
}

function formatOf(source, name) {
  if (source.format !== undefined) {
    choice(source.format, `the format of ${name}`, FORMATS);
    return source.format;
  }
  const bytes = source.data.length / (source.width * source.height);
  const format = { 1: "gray", 3: "rgb", 4: "rgba" }[bytes];
  if (format === undefined) {
    throw new RangeError(`${name} has ${source.data.length} bytes for ${source.width} x ${source.height} pixels; 1, 3 or 4 for each are expected`);
  }
  return format;
}

function checkData(data, name) {
  if ([Uint8Array, Uint8ClampedArray, Float32Array].some((type) => data instanceof type)) return;
  throw new TypeError(`the data of ${name} is a Uint8Array, Uint8ClampedArray or Float32Array, not ${data?.constructor?.name ?? data}`);
}

function bytesOf(data, format, name) {
  if (!(data instanceof Float32Array)) return data;
  if (format !== "gray") throw new TypeError(`${name} has floats for ${format}; they are accepted for gray`);
  return Uint8ClampedArray.from(data, (value) => 255 * value);
}

/**
 * A source with its format and checked bytes: { width, height, format, data }. `formats` names
 * those that the call takes, all by default.
 */
export function pictureOf(source, name, formats = Object.keys(FORMATS)) {
  if (typeof source !== "object" || source === null) {
    throw new TypeError(`${name} is a picture such as ImageData, not ${source === null ? null : typeof source}`);
  }
  const picture = source.data === undefined ? drawn(source, name) : source;
  const { width, height, data } = picture;
  checkSides(width, height, name);
  checkData(data, name);
  const format = formatOf(picture, name);
  if (!formats.includes(format)) {
    throw new RangeError(`${name} is ${format}; ${formats.join(", ")} is expected`);
  }
  const bytes = bytesOf(data, format, name);
  checkSize(width, height, name, FORMATS[format].bytes || 2);
  const expected = lengthOf(format, picture);
  if (bytes.length !== expected) {
    throw new RangeError(`${name} has ${bytes.length} bytes; ${width} x ${height} pixels of ${format} have ${expected}`);
  }
  return { width, height, format, data: bytes };
}

export function alphaOf(image) {
  const { width, height, data } = pictureOf(image, "image", ["rgba", "bgra"]);
  const alpha = new Uint8ClampedArray(width * height);
  for (let i = 0; i < alpha.length; ++i) alpha[i] = data[4 * i + 3];
  return { width, height, format: "gray", data: alpha };
}

export function toImageData(picture) {
  if (typeof ImageData === "undefined") throw new TypeError("there is no ImageData here; browsers and their workers have it");
  const { width, height, format, data } = pictureOf(picture, "picture", ["gray", "rgb", "rgba", "bgr", "bgra"]);
  if (format === "rgba" && data instanceof Uint8ClampedArray) return new ImageData(data, width, height);
  const pixels = new Uint8ClampedArray(4 * width * height);
  const { bytes, red } = FORMATS[format];
  const [r, g, b] = bytes === 1 ? [0, 0, 0] : red ? [0, 1, 2] : [2, 1, 0];
  for (let from = 0, to = 0; to < pixels.length; from += bytes, to += 4) {
    pixels[to] = data[from + r];
    pixels[to + 1] = data[from + g];
    pixels[to + 2] = data[from + b];
    pixels[to + 3] = bytes === 4 ? data[from + 3] : 255;
  }
  return new ImageData(pixels, width, height);
}
