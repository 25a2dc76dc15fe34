// The page: takes pictures in, hands work to the workers and shows what they answer.
import { Calls } from "./calls.js";
import { Camera } from "./camera.js";
import { codeFor } from "./code.js";
import { Viewer } from "./viewer.js";

const $ = (id) => document.getElementById(id);
const form = $("controls");
const work = new Calls("work.js", { type: "module" });
const networks = {
  selfie_segmentation: new Calls("network.js", { name: "selfie_segmentation" }),
  face_mesh: new Calls("network.js", { name: "face_mesh" }),
};
const viewer = new Viewer({
  frame: $("picture"), canvas: $("canvas"), split: $("split"), zoom: $("zoom"),
  buttons: { zoomIn: $("zoom-in"), zoomOut: $("zoom-out"), fit: $("zoom-fit"), full: $("zoom-full") },
});
const camera = new Camera($("video"));
const FRAMES = 30; // that the camera's times are the mean of

let names; // of the files, the photograph's size, whether the mask is a fine one
let given = 0; // photographs so far: what arrives for an earlier one is dropped
let isShowing = false;
let isStale = false;

function say(sentence) {
  $("status").textContent = sentence;
}

function fail(error) {
  $("error").textContent = error?.message ?? String(error);
  $("error").hidden = false;
  say("");
}

function clearError() {
  $("error").hidden = true;
}

/** Runs what an event asks for; whatever goes wrong ends in a sentence. */
const safely = (action) => async (...values) => {
  try {
    await action(...values);
  } catch (error) {
    fail(error);
  }
};

function settings() {
  const { view, mode, expand, smooth, limit, snap, color, steady, centerX, centerY } = form.elements;
  const at = (input, length) => Math.round((input.valueAsNumber / 100) * ((length ?? 1) - 1));
  return {
    view: view.value, mode: mode.value, expand: expand.valueAsNumber, smooth: smooth.valueAsNumber,
    limit: limit.valueAsNumber, snap: snap.checked, color: color.value, steady: steady.valueAsNumber,
    center: { x: at(centerX, names?.width), y: at(centerY, names?.height) },
  };
}

/** Shows the settings that the view has, and the numbers of the sliders. */
function updateForm() {
  const { view, mode } = settings();
  const shown = new Set([view]);
  if (view === "outline" && mode.endsWith("-center")) shown.add("center");
  if (camera.isOn) shown.add("camera");
  for (const element of form.querySelectorAll("[data-for]")) {
    element.hidden = !element.dataset.for.split(" ").some((name) => shown.has(name));
  }
  for (const input of form.querySelectorAll("input[type=range]")) {
    input.parentElement.querySelector("output").value = input.value;
  }
  form.querySelector("[value=forehead]").disabled = camera.isOn;
  form.querySelector("[value=mask]").disabled = camera.isOn;
}

function updateCode() {
  if (!names) return;
  $("downloads").disabled = false;
  $("numbers").hidden = $("code").hidden = false;
  for (const [id, text] of Object.entries(codeFor(names, settings()))) $(id).textContent = text;
}

/** Ranges and defaults that go with a photograph's size: those of the library's sticker. */
function fitSliders({ width, height }) {
  const larger = Math.max(width, height);
  const { expand, limit } = form.elements;
  expand.max = Math.min(500, Math.max(40, larger >> 3));
  expand.value = Math.max(1, Math.floor(larger / 50));
  limit.max = Math.min(4096, larger - 1);
  limit.value = Math.min(Math.max(512, larger >> 2), larger - 1);
}

function row(name, milliseconds) {
  const cells = document.createElement("tr");
  cells.innerHTML = "<th scope=row></th><td></td>";
  cells.cells[0].textContent = name;
  cells.cells[1].textContent = `${milliseconds.toFixed(1)} ms`;
  return cells;
}

function showTimes(times) {
  $("times").tBodies[0].replaceChildren(...times.map(({ name, milliseconds }) => row(name, milliseconds)));
}

const network = {}; // milliseconds of each

function described({ view }, { outlines, forehead }) {
  const { width, height } = names;
  if (outlines) return `Outlines over the photograph: ${outlines.length}, ${outlines.reduce((sum, line) => sum + line.length / 2, 0)} points`;
  if (forehead) return "Landmarks and predicted forehead over the photograph";
  return `${view === "mask" ? "Smooth mask" : "Sticker"}, ${width} by ${height} pixels`;
}

function present(now, { bitmap, outlines, landmarks, forehead, times }, more = {}) {
  viewer.show({ after: bitmap ?? null, outlines, landmarks, forehead, color: now.color, view: now.view, ...more });
  $("canvas").setAttribute("aria-label", described(now, { outlines, forehead }));
  if (!camera.isOn) showTimes([...times, ...Object.entries(network).map(([name, milliseconds]) => ({ name: `network ${name}`, milliseconds }))]);
}

/** Computes what is set; when it is asked for again meanwhile, once more with the newest settings. */
async function refresh() {
  updateForm();
  updateCode();
  if (!names || camera.isOn) return;
  isStale = true;
  if (isShowing) return;
  isShowing = true;
  while (isStale) {
    isStale = false;
    const now = settings();
    try {
      const shown = await work.ask({ kind: "show", settings: now });
      clearError();
      present(now, shown);
      say(`${described(now, shown)}.`);
    } catch (error) {
      viewer.show({ after: null, outlines: undefined, landmarks: undefined, forehead: undefined });
      fail(error);
    }
  }
  isShowing = false;
  if ($("digest").open) await showDigest();
}

async function useNetwork(name, image, isNew) {
  const { found, milliseconds } = await networks[name].ask({ image, isNew }, [image]);
  network[name] = milliseconds;
  return found;
}

async function findPerson(image, turn) {
  const found = await useNetwork("selfie_segmentation", image, true);
  if (turn !== given) return;
  const { bitmap, isFine } = await work.ask({ kind: "mask", found });
  names.isFine = isFine;
  viewer.show({ coarse: bitmap });
}

async function findFace(image, turn) {
  const { mesh } = await useNetwork("face_mesh", image, true);
  if (mesh && turn === given) await work.ask({ kind: "landmarks", mesh });
}

async function takePhoto(source, name) {
  stopCamera();
  clearError();
  const turn = ++given;
  say("Reading the photograph …");
  const { bitmap, forMask, forFace, width, height } = await work.ask({ kind: "photo", ...source });
  if (turn !== given) return;
  names = { photo: name, width, height };
  $("invitation").hidden = true;
  $("split").hidden = false;
  if (!source.address) $("sample").value = "";
  $("size").textContent = `${width} × ${height}`;
  fitSliders(names);
  updateForm();
  updateCode();
  viewer.show({ before: bitmap, after: null, coarse: null, outlines: undefined, landmarks: undefined, forehead: undefined, size: { width, height } });
  say("Looking for the person and the face …");
  const face = findFace(forFace, turn).catch(() => {}); // the forehead's view says so
  try {
    await findPerson(forMask, turn);
  } catch (error) {
    throw new Error(`The person cannot be cut out here: ${error.message} Drop a mask of your own instead.`);
  } finally {
    face.then(() => turn === given && settings().view === "forehead" && refresh());
  }
  if (turn === given) await refresh();
}

async function takeMask(file) {
  if (!names) throw new Error("Take a photograph first; a mask goes with one.");
  const { bitmap, isFine } = await work.ask({ kind: "mask", file });
  Object.assign(names, { mask: file.name, isFine });
  viewer.show({ coarse: bitmap });
  await refresh();
}

async function takeLandmarks(file) {
  if (!names) throw new Error("Take a photograph first; landmarks go with one.");
  await work.ask({ kind: "landmarks", file });
  names.landmarks = file.name;
  form.elements.view.value = "forehead";
  await refresh();
}

const isText = (file) => file.type.startsWith("text/") || /\.(txt|csv)$/i.test(file.name);
const isMask = (file) => /mask/i.test(file.name);

/** Photographs first: masks and landmarks go with one. */
async function takeFiles(files) {
  if (camera.isOn) stopCamera();
  const photos = files.filter((file) => !isText(file) && !isMask(file));
  if (photos.length > 0) await safely(takePhoto)({ file: photos[0] }, photos[0].name);
  for (const file of files.filter((file) => !isText(file) && isMask(file))) await takeMask(file);
  for (const file of files.filter(isText)) await takeLandmarks(file);
}

function stopCamera() {
  if (!camera.isOn) return;
  camera.stop();
  $("camera").setAttribute("aria-pressed", "false");
  say("The camera is off.");
  updateForm();
}

async function showFrame(stream, recent) {
  const frame = await camera.frame(stream);
  if (!frame) return;
  const { image, forMask } = frame;
  const found = await useNetwork("selfie_segmentation", forMask, false);
  const now = settings();
  const shown = await work.ask({ kind: "frame", image, found, settings: now, isFirst: recent.length === 0 }, [image]);
  if (camera.stream !== stream) return;
  clearError();
  const library = shown.times.reduce((sum, { milliseconds }) => sum + milliseconds, 0);
  recent.push({ library, network: network.selfie_segmentation, at: performance.now() });
  if (recent.length > FRAMES) recent.shift();
  present(now, shown, { before: shown.frame, size: { width: shown.width, height: shown.height } });
  const mean = (name) => recent.reduce((sum, entry) => sum + entry[name], 0) / recent.length;
  const rate = recent.length > 1 ? (1000 * (recent.length - 1)) / (recent.at(-1).at - recent[0].at) : 0;
  showTimes([{ name: "library, a frame", milliseconds: mean("library") }, { name: "network, a frame", milliseconds: mean("network") }]);
  $("size").textContent = `${shown.width} × ${shown.height}, ${rate.toFixed(1)} frames a second`;
}

async function startCamera() {
  clearError();
  say("Starting the camera …");
  await camera.start();
  given++;
  const { videoWidth: width, videoHeight: height } = $("video");
  names = { photo: "frame.png", width, height };
  if (!["sticker", "outline"].includes(settings().view)) form.elements.view.value = "sticker";
  fitSliders(names);
  $("invitation").hidden = true;
  $("split").hidden = false;
  $("camera").setAttribute("aria-pressed", "true");
  updateForm();
  updateCode();
  say("The camera is on.");
  const recent = [];
  const { stream } = camera;
  try {
    while (camera.stream === stream) await showFrame(stream, recent);
  } catch (error) {
    stopCamera();
    throw error;
  }
}

/** Names that the commands below the picture use, too. */
function fileName(type, view) {
  const stem = names.photo.replace(/\.[^.]*$/, "");
  return { mask: `${stem}_mask.png`, landmarks: `${stem}_landmarks.txt` }[type] ?? `${stem}_${view}.${type}`;
}

async function save(type) {
  const now = settings();
  const { blob } = await work.ask({ kind: "save", type, settings: now });
  const link = document.createElement("a");
  link.href = URL.createObjectURL(blob);
  link.download = fileName(type, now.view);
  link.click();
  setTimeout(() => URL.revokeObjectURL(link.href), 60000);
  say(`${link.download} was saved.`);
}

async function showDigest() {
  const output = $("digest").querySelector("code");
  output.textContent = "…";
  output.textContent = await work.ask({ kind: "digest" }).then(({ digest }) => digest, (error) => error.message);
}

/** Pages over plain http have no clipboard of their own. */
async function copy(id) {
  if (navigator.clipboard) await navigator.clipboard.writeText($(id).textContent);
  else {
    getSelection().selectAllChildren($(id));
    if (!document.execCommand("copy")) throw new Error("This browser copies nothing here; the lines are selected.");
  }
  say("Copied.");
}

function listen() {
  form.addEventListener("submit", (event) => event.preventDefault());
  form.addEventListener("input", safely(async (event) => {
    if (event.target.name) await refresh();
  }));
  const take = (id, action) => $(id).addEventListener("change", safely(async ({ target }) => {
    const [file] = target.files;
    target.value = "";
    if (file) await action(file);
  }));
  take("photo", (file) => takePhoto({ file }, file.name));
  take("mask", takeMask);
  take("landmarks", takeLandmarks);
  const takeSample = async (name) => name && takePhoto({ address: `samples/${name}` }, name);
  $("sample").addEventListener("change", safely(({ target }) => takeSample(target.value)));
  for (const button of document.querySelectorAll("[data-sample]")) {
    button.addEventListener("click", safely(() => takeSample(($("sample").value = button.dataset.sample))));
  }
  $("camera").addEventListener("click", safely(async () => (camera.isOn ? stopCamera() : startCamera())));
  $("digest").addEventListener("toggle", safely(async () => $("digest").open && showDigest()));
  for (const button of document.querySelectorAll("[data-save]")) button.addEventListener("click", safely(() => save(button.dataset.save)));
  for (const button of document.querySelectorAll("[data-copy]")) button.addEventListener("click", safely(() => copy(button.dataset.copy)));
  document.addEventListener("dragover", (event) => event.preventDefault());
  document.addEventListener("drop", safely(async (event) => {
    event.preventDefault();
    await takeFiles([...event.dataTransfer.files]);
  }));
  document.addEventListener("paste", safely(async (event) => {
    if (event.clipboardData.files.length > 0) await takeFiles([...event.clipboardData.files]);
  }));
}

listen();
updateForm();
work.ask({ kind: "version" }).then(({ version }) => say(`${version}.`), fail);
