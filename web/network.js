// Runs one network in a worker of its own, whose name is the network's: "selfie_segmentation" or
// "face_mesh". Not a module, since the networks' programs load their parts with importScripts().
"use strict";

const SIDE = 256; // of the picture that the segmentation network sees, and of its mask

const NETWORKS = {
  selfie_segmentation: {
    type: "SelfieSegmentation",
    options: { modelSelection: 0 },
    read: ({ segmentationMask }) => ({ data: grayOf(segmentationMask), width: SIDE, height: SIDE, format: "gray" }),
  },
  face_mesh: {
    type: "FaceMesh",
    options: { maxNumFaces: 1, refineLandmarks: false },
    read: ({ multiFaceLandmarks: [face] }) => ({
      mesh: face ? Float32Array.from(face.flatMap(({ x, y, z }) => [x, y, z])) : null,
    }),
  },
};

// The networks' programs know pages better than workers: they look for a window, and load scripts and
// make canvases through its document. This much of it is enough.
self.window = self;
self.document = {
  createElement: (kind) => (kind === "canvas" ? new OffscreenCanvas(1, 1) : new ScriptElement()),
  body: { appendChild: (script) => script.load() },
  addEventListener() {},
};

class ScriptElement extends EventTarget {
  setAttribute(name, value) {
    this[name] = value;
  }

  load() {
    importScripts(this.src);
    this.dispatchEvent(new Event("load"));
  }
}

let started;
let results;
let sendings = Promise.resolve();

/** The mask's red channel; the others repeat it or are empty. */
function grayOf(image) {
  const context = new OffscreenCanvas(SIDE, SIDE).getContext("2d", { willReadFrequently: true });
  context.drawImage(image, 0, 0, SIDE, SIDE);
  const { data } = context.getImageData(0, 0, SIDE, SIDE);
  return Uint8Array.from({ length: SIDE * SIDE }, (_, i) => data[4 * i]);
}

function rendererOf(gl) {
  const info = gl.getExtension("WEBGL_debug_renderer_info");
  return info ? gl.getParameter(info.UNMASKED_RENDERER_WEBGL) : "";
}

async function start() {
  const { type, options } = NETWORKS[self.name];
  const gl = new OffscreenCanvas(1, 1).getContext("webgl2");
  if (!gl) throw new Error("This browser offers no WebGL 2.");
  const isSoftware = /swiftshader|llvmpipe|software/i.test(rendererOf(gl));
  const folder = `networks/${self.name}/`;
  importScripts(`${folder}${self.name}.js`);
  const solution = new self[type]({ locateFile: (file) => folder + file });
  solution.setOptions({ ...options, useCpuInference: isSoftware }); // its shaders would take seconds
  solution.onResults((found) => (results = found));
  await solution.initialize();
  return solution;
}

async function run({ id, image, isNew }) {
  try {
    const solution = await (started ??= start());
    const begin = performance.now();
    if (isNew && self.name === "face_mesh") solution.reset();
    results = undefined;
    await solution.send({ image });
    const found = NETWORKS[self.name].read(results);
    postMessage({ id, found, milliseconds: performance.now() - begin });
  } catch (error) {
    postMessage({ id, error: String(error?.message ?? error) });
  } finally {
    image.close();
  }
}

// One after the other: a network keeps what it saw last.
onmessage = ({ data }) => (sendings = sendings.then(() => run(data)));
