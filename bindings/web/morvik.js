// The library's functions for pictures of canvases and typed arrays. Types and what each call does
// are in morvik.d.ts.
import { ANY, MAX_BYTES, checkSize, choice, colorOf, pair, settings, sizeOf, whole, wholePoints } from "./check.js";
import { landmarksFromMesh } from "./faces.js";
import { CODES, FORMATS, isFrame, pictureOf } from "./pictures.js";
import { Wasm, compile } from "./wasm.js";

export { formatLandmarks, landmarksFromMesh, parseLandmarks } from "./faces.js";
export { alphaOf, toImageData } from "./pictures.js";
export { outlinesToSvg, outlinesToSvgPath } from "./shapes.js";
export { OutOfMemoryError } from "./wasm.js";

const NOT_FOUND = 3;
const MAX_MASK_SIDE = 520;
const PHOTO = ["rgb", "rgba", "bgr", "bgra", "nv12", "nv21"];
const PLAIN = ["gray", "rgb", "rgba", "bgr", "bgra"];

const FILTERS = { mean: 0, median: 1, gaussian: 2, bilateral: 3 };
const METHODS = { nearest: 0, linear: 1, cubic: 2, area: 3 };
const EDGES = { softened: 0, asItIs: 1, own: 2 };
const POINTS = { all: 1, simple: 2 };
const MODES = {
  stroke: 0, "fill-stroke": 1, "hull-fill-stroke": 2, polar: 3, "hull-polar": 4,
  "polar-center": 5, vector: 6, "hull-vector": 7, "vector-center": 8,
};

// What only load() has.
const LOADED = Symbol("loaded");

export class Morvik {
  #wasm;

  static async load(options) {
    const { wasm, maxMemory } = settings("Morvik.load", options, { wasm: undefined, maxMemory: 2 ** 32 });
    whole(maxMemory, "maxMemory", 2 ** 25, 2 ** 32);
    const module = await compile(wasm);
    return new Morvik(LOADED, module, await Wasm.start(module, maxMemory));
  }

  constructor(key, module, wasm) {
    if (key !== LOADED) throw new TypeError("await Morvik.load() makes an instance");
    this.#wasm = wasm;
    this.module = module;
    this.version = this.#wasm.run((call) => this.#wasm.text(call.run("qxMorvik_version")));
  }

  get memoryBytes() {
    return this.#wasm.memoryBytes;
  }

  smoothMask(photo, mask, options) {
    const { snap, limit } = settings("smoothMask", options, { snap: false, limit: 640 });
    const guide = pictureOf(photo, "photo", PHOTO);
    const coarse = pictureOf(mask, "mask");
    checkSmooth(guide, coarse, whole(limit, "limit", 1, ANY));
    return this.#wasm.run((call) => call.download(smoothed(call, opaque(call, guide), grayOf(call, coarse), snap, limit)));
  }

  fillHoles(mask, options) {
    const { level } = settings("fillHoles", options, { level: 127 });
    whole(level, "level", 0, 254);
    return this.#onMask(mask, (call, image) => call.run("mvk_make_up_holes", image, image, level));
  }

  morph(mask, amount) {
    if (whole(amount, "amount", -200, 200) === 0) {
      throw new RangeError("an amount of 0 changes nothing; -200 to 200 without 0 is accepted");
    }
    return this.#onMask(mask, (call, image) => call.run("mvk_mask_morph", image, image, amount));
  }

  /** Calls that write over the mask they are given. */
  #onMask(mask, work) {
    const picture = pictureOf(mask, "mask");
    return this.#wasm.run((call) => {
      const image = grayOf(call, picture);
      work(call, image);
      return call.download(image);
    });
  }

  blur(image, kernel = 9, options) {
    const { filter, sigma } = settings("blur", options, { filter: "gaussian", sigma: undefined });
    const code = choice(filter, "filter", FILTERS);
    const [first, second] = sigmaOf(filter, sigma);
    const picture = pictureOf(image, "image", PLAIN);
    if (whole(kernel, "kernel", 1, 199) % 2 === 0) throw new RangeError(`kernel is ${kernel}; an odd number is needed`);
    return this.#wasm.run((call) => {
      const hasAlpha = FORMATS[picture.format].code === CODES.ARGB;
      const blurred = hasAlpha ? opaque(call, picture) : call.upload(picture);
      call.run("mvk_smooth", blurred, blurred, kernel, code, 0, first, second);
      if (!hasAlpha) return call.download(blurred);
      const result = converted(call, blurred, picture.format);
      call.run("web_set_alpha", result.at, picture.width * picture.height, call.put(picture.data));
      return call.download(result);
    });
  }

  fillPolygon(points, size) {
    const corners = wholePoints(points, "points");
    const to = sizeOf(size);
    return this.#wasm.run((call) => {
      const image = call.image("gray", to);
      call.run("mvk_fill_area_up", image, corners.length / 2, call.put(corners));
      return call.download(image);
    });
  }

  bbox(mask, options) {
    const { level } = settings("bbox", options, { level: 128 });
    whole(level, "level", 1, 254);
    const picture = pictureOf(mask, "mask");
    return this.#wasm.run((call) => boxOf(call, grayOf(call, picture), level));
  }

  outlines(mask, options) {
    const given = settings("outlines", options, {
      mode: "stroke", expand: 12, smooth: 0, points: "all", polygon: false, center: undefined, threshold: 127,
    });
    const words = outlineWords(given);
    const center = given.center === undefined ? undefined : wholePoints(pair(given.center, "center"), "center");
    if (center && !given.mode.endsWith("-center")) throw new RangeError(`the mode ${given.mode} has no center`);
    const picture = pictureOf(mask, "mask");
    return this.#wasm.run((call) => {
      if (center) words[5] = call.put(center);
      const mode = call.put(words);
      return traced(call, grayOf(call, picture), mode);
    });
  }

  sticker(photo, mask, options) {
    const given = settings("sticker", options, {
      expand: undefined, color: "#ffffff", crop: false, fit: undefined, hardEdge: false, snap: false, limit: undefined,
    });
    const picture = pictureOf(photo, "photo", PHOTO);
    const larger = Math.max(picture.width, picture.height);
    const expand = whole(given.expand ?? Math.min(Math.max(Math.floor(larger / 50), 1), 500), "expand", 0, 500);
    const limit = whole(given.limit ?? Math.max(1, Math.min(Math.max(512, larger >> 2), larger - 1)), "limit", 1, ANY);
    const [red, green, blue] = colorOf(given.color);
    if (given.fit !== undefined) whole(given.fit, "fit", 1, 32766);
    const shape = pictureOf(mask, "mask");
    return this.#wasm.run((call) => {
      const covered = grayOf(call, shape);
      const fitted = fitMask(call, picture, covered, given.snap, limit);
      const edge = given.hardEdge ? EDGES.asItIs : fitted === covered ? EDGES.own : EDGES.softened;
      const from = redFirst(call, picture);
      const result = call.image("rgba", picture);
      const code = call.run("web_sticker", result.at, from.at, fitted.at, picture.width, picture.height, expand,
        red | (green << 8) | (blue << 16), edge);
      if (code === NOT_FOUND) throw new RangeError("no pixel of the mask is above 127");
      const part = given.crop || given.fit !== undefined ? cropped(call, result) : result;
      return call.download(given.fit === undefined ? part : inSquare(call, part, given.fit));
    });
  }

  forehead(landmarks, size) {
    const points = wholePoints(landmarks, "landmarks");
    const count = points.length / 2;
    if (count !== 106 && count !== 96) throw new RangeError(`landmarks has ${count} points, 106 or 96 are expected`);
    const { width, height } = sizeOf(size);
    return this.#wasm.run((call) => {
      const at = call.put(points);
      call.run("mvk_guess_forehead_landmarks", at, at, count, width, height);
      return Int32Array.from(call.words(at, 22));
    });
  }

  convert(image, to) {
    choice(to, "to", FORMATS);
    const picture = pictureOf(image, "image");
    checkSize(picture.width, picture.height, "the result", FORMATS[to].bytes || 2);
    if (picture.format === "gray" && isFrame(to)) checkPairs(picture);
    return this.#wasm.run((call) => call.download(converted(call, call.upload(picture), to)));
  }

  resize(image, size, options) {
    const { method } = settings("resize", options, { method: "area" });
    const code = choice(method, "method", METHODS);
    const picture = pictureOf(image, "image");
    const to = sizeOf(size, "size", FORMATS[picture.format].bytes || 2);
    if (isFrame(picture.format) && (to.width % 2 || to.height % 2)) {
      throw new RangeError(`a frame has an even size; ${to.width} x ${to.height} is odd`);
    }
    return this.#wasm.run((call) => call.download(resized(call, call.upload(evenPart(picture)), to, code)));
  }

  rotate(image, angle) {
    if (whole(angle, "angle", 0, 270) % 90) throw new RangeError(`angle is ${angle}; 0, 90, 180 or 270 is accepted`);
    const picture = evenPart(pictureOf(image, "image"));
    const { width, height, format } = picture;
    return this.#wasm.run((call) => {
      const result = call.image(format, angle % 180 ? { width: height, height: width } : picture);
      call.run("mvk_rotate", result, call.upload(picture), angle);
      return call.download(result);
    });
  }
}

Morvik.prototype.landmarksFromMesh = landmarksFromMesh;

function sigmaOf(filter, sigma) {
  if (sigma === undefined) return filter === "bilateral" ? [40, 40] : [0, 0];
  if (filter === "mean" || filter === "median") throw new RangeError(`a ${filter} has no sigma`);
  if (!Array.isArray(sigma) || sigma.length !== 2) throw new TypeError("sigma is a pair of whole numbers");
  return sigma.map((value) => whole(value, "sigma", 0, ANY));
}

/** An MKOutlineMode. */
function outlineWords({ mode, expand, smooth, points, polygon, threshold }) {
  return Uint32Array.of(
    choice(mode, "mode", MODES), choice(points, "points", POINTS), whole(expand, "expand", 0, 500),
    whole(smooth, "smooth", 0, 5), polygon ? 1 : 0, 0, whole(threshold, "threshold", 0, 253),
  );
}

function traced(call, image, mode) {
  const found = call.put(new Uint32Array(3));
  const handle = call.run("mvk_outline_create");
  const outlines = [];
  if (call.run("mvk_outline_expansion", handle, image, mode, found) !== NOT_FOUND) {
    const [count, counts, arrays] = call.words(found, 3);
    for (let i = 0; i < count; ++i) {
      const points = call.words(counts, count)[i];
      outlines.push(Int32Array.from(call.words(call.words(arrays, count)[i], 2 * points)));
    }
  }
  call.run("mvk_outline_destroy", handle, found);
  return outlines;
}

function boxOf(call, image, level) {
  const at = call.take(16);
  if (call.run("mvk_get_mask_roi", image, at, level) === NOT_FOUND) return null;
  const [left, top, right, bottom] = call.words(at, 4);
  return { left, top, right, bottom };
}

/** The image with one byte a pixel: brightness of frames, mean of colours. */
function grayOf(call, picture) {
  const { width, height, format, data } = picture;
  if (!isFrame(format)) return converted(call, call.upload(picture), "gray");
  return call.upload({ width, height, format: "gray", data: data.subarray(0, width * height) });
}

/** Three bytes a pixel, in the order that the picture has: nothing here looks at single colours. */
function opaque(call, picture) {
  const given = call.upload(picture);
  return given.code === CODES.RGB24 ? given : converted(call, given, given.format === "bgra" ? "bgr" : "rgb");
}

function redFirst(call, picture) {
  return converted(call, call.upload(picture), "rgba");
}

/** The image in another format; itself when it has that already. What was given is gone. */
function converted(call, image, to) {
  const { format } = image;
  if (format === to) return image;
  const from = FORMATS[format];
  const target = FORMATS[to];
  const isBetweenColors = from.bytes > 1 && target.bytes > 1;
  // Frames know red first with four bytes only.
  if (format === "rgb" && isFrame(to)) return converted(call, swapped(call, image), to);
  if (to === "rgb" && isFrame(format)) return swapped(call, converted(call, image, "bgr"));
  if (isBetweenColors && from.bytes === target.bytes) return swapped(call, image);
  const withRed = (isFrame(format) && to === "rgba") || (isFrame(to) && format === "rgba");
  const result = call.image(to, image, withRed && to === "rgba" ? CODES.ABGR : target.code);
  call.run("mvk_convert", result, withRed && format === "rgba" ? { ...image, code: CODES.ABGR } : image);
  call.free(image);
  result.code = target.code;
  return isBetweenColors && from.red !== target.red ? { ...swapped(call, result), format: to } : result;
}

const OTHER_ORDER = { rgb: "bgr", bgr: "rgb", rgba: "bgra", bgra: "rgba" };

function swapped(call, image) {
  call.run("web_swap_red_and_blue", image.at, image.width * image.height, FORMATS[image.format].bytes);
  return { ...image, format: OTHER_ORDER[image.format] };
}

function resized(call, image, size, method) {
  const result = call.image(image.format, size);
  call.run("mvk_resize", result, image, method);
  return result;
}

function checkPairs({ width, height }) {
  if (width < 2 || height < 2) throw new RangeError(`a frame of ${width} x ${height} has no whole pair of chroma`);
}

/** A frame without an odd last column and row, which belong to no whole pair. */
function evenPart(picture) {
  const { width, height, format, data } = picture;
  if (!isFrame(format) || (width % 2 === 0 && height % 2 === 0)) return picture;
  checkPairs(picture);
  const even = { width: width & ~1, height: height & ~1 };
  const pixels = new Uint8ClampedArray((even.width * even.height * 3) / 2);
  const step = width + (width % 2);
  for (let y = 0, to = 0; y < (even.height * 3) / 2; ++y, to += even.width) {
    const from = y < even.height ? y * width : width * height + (y - even.height) * step;
    pixels.set(data.subarray(from, from + even.width), to);
  }
  return { ...even, format, data: pixels };
}

function checkSmooth(photo, mask, limit) {
  const given = `the mask is ${mask.width} x ${mask.height}`;
  if (mask.width > MAX_MASK_SIDE || mask.height > MAX_MASK_SIDE) {
    throw new RangeError(`${given}; at most ${MAX_MASK_SIDE} x ${MAX_MASK_SIDE} is accepted, scale it down with resize()`);
  }
  if (mask.width >= photo.width || mask.height >= photo.height) {
    throw new RangeError(`${given}; it has to be smaller than the photograph (${photo.width} x ${photo.height}) in both directions`);
  }
  const larger = Math.max(mask.width, mask.height);
  if (limit >= Math.max(photo.width, photo.height)) return;
  if (2 * limit < larger) {
    throw new RangeError(`limit is ${limit}; a mask of ${mask.width} x ${mask.height} needs ${Math.ceil(larger / 2)}`);
  }
  const factor = Math.floor(limit / larger) + 1;
  const work = factor * factor * mask.width * mask.height;
  if (work > Math.floor(MAX_BYTES / 3)) throw new RangeError(`limit is ${limit}; the work would take ${work} pixels`);
}

function smoothed(call, photo, mask, snap, limit) {
  const result = call.image("gray", photo);
  call.run("mvk_make_mask_smooth", result, mask, photo, snap ? 1 : 0, limit);
  return result;
}

/** To within a rounded pixel or 1 %. */
function haveSameProportions(a, b) {
  const width = (a.height * b.width) / b.height;
  const height = (a.width * b.height) / b.width;
  return Math.abs(a.width - width) <= Math.max(1, width / 100) || Math.abs(a.height - height) <= Math.max(1, height / 100);
}

/** The mask at the size of its photograph: as it is, scaled, or smoothed. */
function fitMask(call, photo, mask, snap, limit) {
  if (!snap && mask.width === photo.width && mask.height === photo.height) return mask;
  const isBelow = mask.width < photo.width && mask.height < photo.height;
  const isSmall = isBelow && Math.max(mask.width, mask.height) <= MAX_MASK_SIDE;
  if (!haveSameProportions(mask, photo) && mask.width !== mask.height && !isSmall) {
    throw new RangeError(`the mask is ${mask.width} x ${mask.height}, the photograph ${photo.width} x ${photo.height}: `
      + "their proportions differ by more than 1 %");
  }
  if (!snap && !isSmall) return resized(call, mask, photo, METHODS.area);
  const coarse = reduced(call, mask, photo);
  checkSmooth(photo, coarse, limit);
  const guide = opaque(call, photo);
  const result = smoothed(call, guide, coarse, snap, limit);
  call.free(guide);
  return result;
}

/** The mask itself, or scaled down so that smoothing takes it. */
function reduced(call, mask, photo) {
  const width = Math.min(MAX_MASK_SIDE, photo.width - 1);
  const height = Math.min(MAX_MASK_SIDE, photo.height - 1);
  if (width < 1 || height < 1) throw new RangeError(`the photograph of ${photo.width} x ${photo.height} is too small`);
  if (mask.width <= width && mask.height <= height) return mask;
  const scale = Math.min(width / mask.width, height / mask.height);
  const size = { width: Math.max(1, Math.floor(mask.width * scale)), height: Math.max(1, Math.floor(mask.height * scale)) };
  return resized(call, mask, size, METHODS.area);
}

function alphaImage(call, image) {
  const alpha = call.image("gray", image);
  call.run("web_take_alpha", alpha.at, image.at, alpha.bytes);
  return alpha;
}

/** The part of a sticker that is not transparent. */
function cropped(call, sticker) {
  const box = boxOf(call, alphaImage(call, sticker), 1);
  if (box === null) throw new RangeError("nothing of the sticker can be seen");
  const part = call.image("rgba", { width: box.right - box.left + 1, height: box.bottom - box.top + 1 });
  const start = sticker.at + 4 * (box.top * sticker.width + box.left);
  copyRows(call, part.at, 4 * part.width, start, 4 * sticker.width, 4 * part.width, part.height);
  return part;
}

function copyRows(call, to, toStep, from, fromStep, size, rows) {
  for (let y = 0; y < rows; ++y) call.view(to + y * toStep, size).set(call.view(from + y * fromStep, size));
}

/** As large as a square of this side allows, in its middle. */
function inSquare(call, image, side) {
  const scale = side / Math.max(image.width, image.height);
  const scaled = (value) => Math.min(Math.max(Math.floor(value * scale + 0.5), 1), side);
  const size = { width: scaled(image.width), height: scaled(image.height) };
  const part = scaledAsSeen(call, image, size, scale < 1 ? METHODS.area : METHODS.cubic);
  const square = call.image("rgba", { width: side, height: side });
  call.view(square.at, square.bytes).fill(0);
  const left = Math.floor((side - size.width) / 2);
  const top = Math.floor((side - size.height) / 2);
  copyRows(call, square.at + 4 * (top * side + left), 4 * side, part.at, 4 * size.width, 4 * size.width, size.height);
  return square;
}

/** Colours count as much as they are seen: transparent ones do not bleed. */
function scaledAsSeen(call, image, size, method) {
  const { at, bytes } = alphaImage(call, image);
  const alpha = call.view(at, bytes);
  if (alpha.every((value) => value === alpha[0])) return resized(call, image, size, method);
  call.run("web_multiply_by_alpha", image.at, image.width * image.height);
  const result = resized(call, image, size, method);
  call.run("web_divide_by_alpha", result.at, size.width * size.height);
  return result;
}
