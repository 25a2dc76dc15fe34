// The library and everything else that takes time, in a worker: reads pictures, computes what is
// shown, encodes downloads.
import { Morvik, formatLandmarks, outlinesToSvg, parseLandmarks } from "./morvik/morvik.js";
import { MOST_PIXELS, pictureSize } from "./files.js";
import { drawShapes } from "./shapes.js";

const FACE_SIDE = 1024; // the face network's picture is at most this large
const MASK_SIDE = 256; // of the segmentation network's picture

let photo; // as ImageData
let mask; // { data, width, height }: what a network or a file gave
let landmarks;
let mean; // of the camera's masks
let result; // what is shown: { picture?, outlines?, forehead?, ... }
const loading = Morvik.load();

/** Runs calls of the library and notes how long they took. */
function timed(times, name, work) {
  const begin = performance.now();
  const value = work();
  times.push({ name, milliseconds: performance.now() - begin });
  return value;
}

async function blobOf({ file, address }) {
  if (file) return file;
  const answer = await fetch(address);
  if (!answer.ok) throw new Error(`${address} is not there.`);
  return answer.blob();
}

function checkPixels({ width, height }) {
  if (width * height <= MOST_PIXELS) return;
  const millions = Math.round((width * height) / 1e6);
  throw new Error(`The picture has ${millions} megapixels; this page works on up to ${MOST_PIXELS / 1e6}.`);
}

/** Pictures that are too large are refused before they are decoded, of unknown kinds before they are copied. */
async function decoded(blob) {
  checkPixels((await pictureSize(blob)) ?? { width: 0, height: 0 });
  const bitmap = await createImageBitmap(blob).catch(() => {
    throw new Error("The file is no picture that this browser can read, or it is broken.");
  });
  checkPixels(bitmap);
  return bitmap;
}

function pixelsOf(bitmap) {
  const context = new OffscreenCanvas(bitmap.width, bitmap.height).getContext("2d", { willReadFrequently: true });
  context.drawImage(bitmap, 0, 0);
  return context.getImageData(0, 0, bitmap.width, bitmap.height);
}

/** A picture that the networks see: stretched to a square, or no larger than `side`. */
function scaled(bitmap, side, isSquare) {
  const share = Math.min(1, side / Math.max(bitmap.width, bitmap.height));
  return createImageBitmap(bitmap, {
    resizeWidth: isSquare ? side : Math.max(1, Math.round(bitmap.width * share)),
    resizeHeight: isSquare ? side : Math.max(1, Math.round(bitmap.height * share)),
    resizeQuality: "medium",
  });
}

const requests = {
  async version() {
    return { version: (await loading).version };
  },

  async photo(source) {
    const bitmap = await decoded(await blobOf(source));
    photo = pixelsOf(bitmap);
    mask = landmarks = mean = result = undefined;
    const forMask = await scaled(bitmap, MASK_SIDE, true);
    const forFace = await scaled(bitmap, FACE_SIDE, false);
    return { width: bitmap.width, height: bitmap.height, bitmap, forMask, forFace };
  },

  async mask({ file, address, found }) {
    if (found) mask = found;
    else {
      const bitmap = await decoded(await blobOf({ file, address }));
      mask = (await loading).convert(pixelsOf(bitmap), "gray");
    }
    return { bitmap: await shown(mask), isFine: isFine() };
  },

  async landmarks({ file, mesh }) {
    landmarks = mesh ? (await loading).landmarksFromMesh(mesh, photo) : parseLandmarks(await file.text());
    if (landmarks.length !== 212 && landmarks.length !== 192) {
      const points = landmarks.length / 2;
      landmarks = undefined;
      throw new Error(`The landmark file has ${points} lines; 106 or 96 points are needed, "x,y" each.`);
    }
    return {};
  },

  async show({ settings }) {
    return answer(await computed(settings));
  },

  /** A camera's frame with the mask that the network made of it. */
  async frame({ image, found, settings, isFirst }) {
    if (isFirst) mean = landmarks = undefined;
    photo = pixelsOf(image);
    mask = steadied(found, settings.steady / 100);
    return answer(await computed(settings), image);
  },

  async save({ type, settings }) {
    if (!result) throw new Error("There is nothing to save yet.");
    return { blob: await SAVERS[type](settings) };
  },

  async digest() {
    if (!result?.picture) throw new Error("This view has no pixels of its own.");
    if (!crypto.subtle) throw new Error("SHA-256 needs https or a loopback address.");
    const hash = new Uint8Array(await crypto.subtle.digest("SHA-256", result.picture.data));
    return { digest: Array.from(hash, (byte) => byte.toString(16).padStart(2, "0")).join("") };
  },
};

/**
 * Masks flicker from frame to frame; the mean over the frames before does so less. Three quarters
 * make a pixel inside: the networks' soft edges lie outside rather than on the person.
 */
function steadied(found, steady) {
  if (mean?.length !== found.data.length) mean = Float32Array.from(found.data);
  const data = new Uint8Array(mean.length);
  for (let i = 0; i < mean.length; ++i) {
    mean[i] += (1 - steady) * (found.data[i] - mean[i]);
    data[i] = mean[i] > 191 ? 255 : 0;
  }
  return { ...found, data };
}

function needMask() {
  if (!mask) throw new Error("There is no mask yet: drop one of your own, or take another photograph.");
}

function needLandmarks() {
  if (!landmarks) throw new Error("No face was found; drop a landmark file of 106 points to go on.");
}

/** Whether the mask is too large to be smoothed. */
function isFine() {
  return mask.width >= photo.width || mask.height >= photo.height || Math.max(mask.width, mask.height) > 520;
}

/** The mask at the photograph's size. Large ones of one's own are taken as they are. */
function fullMask(morvik, times, { snap, limit }) {
  needMask();
  if (!isFine()) return timed(times, "smoothMask", () => morvik.smoothMask(photo, mask, { snap, limit }));
  return timed(times, "resize", () => morvik.resize({ ...mask, format: "gray" }, { width: photo.width, height: photo.height }));
}

const VIEWS = {
  sticker(morvik, times, { expand, color, snap, limit }) {
    needMask();
    return { picture: timed(times, "sticker", () => morvik.sticker(photo, mask, { expand, color, snap, limit })) };
  },

  mask(morvik, times, settings) {
    return { picture: fullMask(morvik, times, settings) };
  },

  outline(morvik, times, settings) {
    const { mode, expand, smooth, center } = settings;
    const full = fullMask(morvik, times, settings);
    const options = { mode, expand, smooth, ...(mode.endsWith("-center") && { center }) };
    return { outlines: timed(times, "outlines", () => morvik.outlines(full, options)) };
  },

  forehead(morvik, times) {
    needLandmarks();
    return { landmarks, forehead: timed(times, "forehead", () => morvik.forehead(landmarks, photo)) };
  },
};

async function computed(settings) {
  const morvik = await loading;
  if (!photo) throw new Error("There is no photograph yet.");
  const times = [];
  result = { ...VIEWS[settings.view](morvik, times, settings), times };
  return result;
}

/** What the page is sent of a result: pixels as a bitmap, everything else as it is. */
async function answer({ picture, ...rest }, frame) {
  const bitmap = picture && (await shown(picture));
  return { ...rest, bitmap, frame, width: photo.width, height: photo.height };
}

async function shown(picture) {
  const rgba = picture.format === "rgba" ? picture : (await loading).convert(picture, "rgba");
  return createImageBitmap(new ImageData(rgba.data, rgba.width, rgba.height));
}

async function encoded(type, { color }) {
  const canvas = new OffscreenCanvas(photo.width, photo.height);
  const context = canvas.getContext("2d");
  if (result.picture) context.drawImage(await shown(result.picture), 0, 0);
  else {
    context.putImageData(photo, 0, 0);
    drawShapes(context, { ...result, color }, photo.width / 1000);
  }
  const blob = await canvas.convertToBlob({ type, quality: 0.92 });
  if (blob.type !== type) throw new Error("This browser cannot write WebP; take PNG.");
  return blob;
}

async function outlinesNow(settings) {
  return result.outlines ?? VIEWS.outline(await loading, [], settings).outlines;
}

const SAVERS = {
  png: (settings) => encoded("image/png", settings),
  webp: (settings) => encoded("image/webp", settings),

  async svg(settings) {
    const outlines = await outlinesNow(settings);
    return new Blob([outlinesToSvg(outlines, { width: photo.width, height: photo.height }, { color: settings.color })], { type: "image/svg+xml" });
  },

  async json(settings) {
    const morvik = await loading;
    const box = mask && morvik.bbox(fullMask(morvik, [], settings));
    const value = {
      width: photo.width,
      height: photo.height,
      box: box ?? null,
      outlines: mask ? (await outlinesNow(settings)).map((outline) => Array.from(outline)) : [],
      forehead: landmarks ? Array.from(morvik.forehead(landmarks, photo)) : null,
      landmarks: landmarks ? formatLandmarks(landmarks).trim().split("\n") : null,
    };
    return new Blob([JSON.stringify(value)], { type: "application/json" });
  },

  async landmarks() {
    needLandmarks();
    return new Blob([formatLandmarks(landmarks)], { type: "text/plain" });
  },

  async mask() {
    needMask();
    const canvas = new OffscreenCanvas(mask.width, mask.height);
    canvas.getContext("2d").drawImage(await shown(mask), 0, 0);
    return canvas.convertToBlob({ type: "image/png" });
  },
};

async function handle({ id, kind, ...request }) {
  try {
    const found = await requests[kind](request);
    const bitmaps = Object.values(found).filter((value) => value instanceof ImageBitmap);
    postMessage({ id, ...found }, bitmaps);
  } catch (error) {
    postMessage({ id, error: error.message });
  }
}

// One after the other, as each builds on what the one before left.
let handled = Promise.resolve();
onmessage = ({ data }) => (handled = handled.then(() => handle(data)));
