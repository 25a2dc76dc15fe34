// The picture's place on the page: zoom, position, and the split between before and after. Drawing
// happens in view.js.
const MOST = 32; // device pixels for a pixel of the picture

export class Viewer {
  #worker = new Worker("view.js", { type: "module" });
  #frame;
  #split;
  #size;
  #scale = 1; // device pixels for a pixel of the picture
  #x = 0; // of the picture's left edge, in device pixels
  #y = 0;
  #isFitted = true;

  constructor({ frame, canvas, split, zoom, buttons }) {
    this.#frame = frame;
    this.#split = split;
    this.onzoom = (percent) => (zoom.value = `${percent} %`);
    const offscreen = canvas.transferControlToOffscreen();
    this.#worker.postMessage({ canvas: offscreen, width: 1, height: 1 }, [offscreen]);
    new ResizeObserver(() => this.#resized()).observe(frame);
    const dark = matchMedia("(prefers-color-scheme: dark)");
    const repaint = () => this.show({ isDark: dark.matches });
    dark.addEventListener("change", repaint);
    repaint();
    split.addEventListener("input", () => this.#place());
    this.#listen(buttons);
  }

  /** `changes` are view.js's; bitmaps among them are handed over. */
  show(changes) {
    const { width, height } = changes.size ?? {};
    if (width && (width !== this.#size?.width || height !== this.#size?.height)) {
      this.#size = { width, height };
      this.fit();
    }
    this.#worker.postMessage(changes, Object.values(changes).filter((value) => value instanceof ImageBitmap));
  }

  fit() {
    if (!this.#size) return;
    const { width, height } = this.#pixels();
    this.#scale = Math.min(width / this.#size.width, height / this.#size.height, MOST);
    this.#x = (width - this.#size.width * this.#scale) / 2;
    this.#y = (height - this.#size.height * this.#scale) / 2;
    this.#isFitted = true;
    this.#place();
  }

  /** To `scale`, with the point (x, y) of the frame in device pixels staying where it is. */
  zoomTo(scale, x = this.#pixels().width / 2, y = this.#pixels().height / 2) {
    if (!this.#size) return;
    const next = Math.min(Math.max(scale, 0.02), MOST);
    this.#x = x - ((x - this.#x) * next) / this.#scale;
    this.#y = y - ((y - this.#y) * next) / this.#scale;
    this.#scale = next;
    this.#isFitted = false;
    this.#place();
  }

  move(x, y) {
    this.#x += x;
    this.#y += y;
    this.#isFitted = false;
    this.#place();
  }

  #pixels() {
    const ratio = devicePixelRatio;
    return { width: Math.max(1, Math.round(this.#frame.clientWidth * ratio)), height: Math.max(1, Math.round(this.#frame.clientHeight * ratio)) };
  }

  #resized() {
    this.show(this.#pixels());
    if (this.#isFitted) this.fit();
    else this.#place();
  }

  #place() {
    if (!this.#size) return;
    // The middle of the range's thumb is where the picture is split, also at its ends.
    const split = this.#split.valueAsNumber / this.#split.max;
    this.show({ scale: this.#scale, x: this.#x, y: this.#y, split });
    this.onzoom(Math.round(100 * this.#scale));
  }

  #listen({ zoomIn, zoomOut, fit, full }) {
    const frame = this.#frame;
    zoomIn.addEventListener("click", () => this.zoomTo(this.#scale * 1.5));
    zoomOut.addEventListener("click", () => this.zoomTo(this.#scale / 1.5));
    fit.addEventListener("click", () => this.fit());
    full.addEventListener("click", () => this.zoomTo(1));
    frame.addEventListener("wheel", (event) => this.#wheeled(event), { passive: false });
    frame.addEventListener("keydown", (event) => this.#pressed(event));
    this.#listenToPointers();
  }

  #wheeled(event) {
    event.preventDefault();
    const box = this.#frame.getBoundingClientRect();
    const at = (value) => value * devicePixelRatio;
    this.zoomTo(this.#scale * 2 ** (-event.deltaY / 300), at(event.clientX - box.left), at(event.clientY - box.top));
  }

  #pressed(event) {
    if (event.target !== this.#frame || event.ctrlKey || event.metaKey || event.altKey) return;
    const step = 40 * devicePixelRatio;
    const actions = {
      ArrowLeft: () => this.move(step, 0), ArrowRight: () => this.move(-step, 0),
      ArrowUp: () => this.move(0, step), ArrowDown: () => this.move(0, -step),
      "+": () => this.zoomTo(this.#scale * 1.5), "-": () => this.zoomTo(this.#scale / 1.5),
      0: () => this.fit(), 1: () => this.zoomTo(1),
    };
    if (!actions[event.key]) return;
    event.preventDefault();
    actions[event.key]();
  }

  /** One pointer moves the picture, two zoom it. */
  #listenToPointers() {
    const frame = this.#frame;
    const pointers = new Map();
    frame.addEventListener("pointerdown", (event) => {
      if (event.target === this.#split || event.target.closest("button")) return;
      frame.setPointerCapture(event.pointerId);
      pointers.set(event.pointerId, event);
    });
    frame.addEventListener("pointermove", (event) => {
      const before = pointers.get(event.pointerId);
      if (!before) return;
      const others = [...pointers.values()].filter(({ pointerId }) => pointerId !== event.pointerId);
      pointers.set(event.pointerId, event);
      if (others.length === 0) {
        this.move((event.clientX - before.clientX) * devicePixelRatio, (event.clientY - before.clientY) * devicePixelRatio);
      } else this.#pinched(others[0], before, event);
    });
    for (const name of ["pointerup", "pointercancel"]) frame.addEventListener(name, (event) => pointers.delete(event.pointerId));
  }

  #pinched(still, before, after) {
    const distance = (a) => Math.hypot(a.clientX - still.clientX, a.clientY - still.clientY);
    const box = this.#frame.getBoundingClientRect();
    const middle = (a, b, edge) => ((a + b) / 2 - edge) * devicePixelRatio;
    this.zoomTo((this.#scale * distance(after)) / Math.max(1, distance(before)),
      middle(still.clientX, after.clientX, box.left), middle(still.clientY, after.clientY, box.top));
  }
}
