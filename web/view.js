// Draws the picture in a worker, so that the page stays free: what was given on the left of the
// split, the result on the right of it.
import { drawShapes } from "./shapes.js";

const CHECK = 8; // pixels of the screen: squares behind what is transparent

let canvas;
let context;
let isWaiting = false;
const state = { split: 0, scale: 1, x: 0, y: 0, size: { width: 1, height: 1 }, isDark: false };

const needsClosing = (name, value) => state[name] instanceof ImageBitmap && state[name] !== value && name in { before: 0, after: 0, coarse: 0 };

onmessage = ({ data: { canvas: given, width, height, ...changes } }) => {
  if (given) {
    canvas = given;
    context = canvas.getContext("2d");
  }
  if (width) Object.assign(canvas, { width, height });
  for (const [name, value] of Object.entries(changes)) {
    if (needsClosing(name, value)) state[name].close();
    state[name] = value;
  }
  if (isWaiting) return;
  isWaiting = true;
  requestAnimationFrame(draw);
};

function checkerboard() {
  const tile = new OffscreenCanvas(2 * CHECK, 2 * CHECK);
  const paint = tile.getContext("2d");
  paint.fillStyle = state.isDark ? "#33302d" : "#e6e2dc";
  paint.fillRect(0, 0, 2 * CHECK, 2 * CHECK);
  paint.fillStyle = state.isDark ? "#262422" : "#f6f4f1";
  paint.fillRect(0, 0, CHECK, CHECK);
  paint.fillRect(CHECK, CHECK, CHECK, CHECK);
  return context.createPattern(tile, "repeat");
}

/** Runs `paint` in the picture's coordinates for the columns of the canvas from `left` to `right`. */
function within(left, right, paint) {
  if (right <= left) return;
  context.save();
  context.beginPath();
  context.rect(left, 0, right - left, canvas.height);
  context.clip();
  context.setTransform(state.scale, 0, 0, state.scale, state.x, state.y);
  context.imageSmoothingEnabled = state.scale < 2; // pixels are shown as such when magnified
  context.imageSmoothingQuality = "medium";
  paint();
  context.restore();
}

function draw() {
  isWaiting = false;
  const { before, coarse, after, view, size, split, scale, x } = state;
  context.setTransform(1, 0, 0, 1, 0, 0);
  context.clearRect(0, 0, canvas.width, canvas.height);
  if (!before) return;
  const left = Math.max(0, x);
  const right = Math.min(canvas.width, x + size.width * scale);
  const middle = Math.min(Math.max(split * canvas.width, left), right);
  const whole = (bitmap) => context.drawImage(bitmap, 0, 0, size.width, size.height);
  within(left, middle, () => whole(view === "mask" && coarse ? coarse : before));
  within(middle, right, () => {
    if (view === "sticker" && after) {
      context.fillStyle = checkerboard();
      context.fillRect(0, 0, size.width, size.height);
    }
    whole(after ?? before);
    if (!after) drawShapes(context, state, 1 / scale);
  });
}
