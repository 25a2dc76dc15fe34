// What is on the screen as a command, as Python and as C++.

const python = (value) => (value ? "True" : "False");
const stem = (name) => name.replace(/\.[^.]*$/, "");

function color(hex) {
  return [5, 3, 1].map((at) => parseInt(hex.slice(at, at + 2), 16)).join(", ");
}

const MODES = {
  stroke: "MK_OMODE_STROKE", "fill-stroke": "MK_OMODE_FILL_STROKE", "hull-fill-stroke": "MK_OMODE_HULL_FILL_STROKE",
  polar: "MK_OMODE_POLAR", "hull-polar": "MK_OMODE_HULL_POLAR", "polar-center": "MK_OMODE_POLAR_CENTER",
  vector: "MK_OMODE_VECTOR", "hull-vector": "MK_OMODE_HULL_VECTOR", "vector-center": "MK_OMODE_VECTOR_CENTER",
};

const openedPhoto = ({ photo }, mode, order) =>
  `photo = ImageOps.exif_transpose(Image.open("${photo}")).convert("${mode}")\nphoto = np.ascontiguousarray(np.asarray(photo)[..., ${order}])\n`;
const opened = (names, photo = "") =>
  `import numpy as np\nfrom PIL import Image${photo && ", ImageOps"}\nimport morvik\n\n${photo}mask = np.asarray(Image.open("${names.mask}").convert("L"))\n`;

/** The mask at the photograph's size; fine ones are scaled. */
const smoothCommand = ({ photo, mask, width, height, isFine }, { snap, limit }) =>
  (isFine ? `morvik resize ${mask} --to ${width}x${height} -o smooth.png` : `morvik smooth-mask ${photo} ${mask} ${snap ? "--snap " : ""}--limit ${limit} -o smooth.png`);
const smoothPython = (names, { snap, limit }) =>
  (names.isFine
    ? `${opened(names)}smooth = morvik.resize(mask, (${names.width}, ${names.height}))`
    : `${opened(names, openedPhoto(names, "RGB", "::-1"))}smooth = morvik.smooth_mask(photo, mask, snap=${python(snap)}, limit=${limit})`);
const smoothCpp = ({ isFine }, { snap, limit }) =>
  `// photo: morvik::Format::rgb24, mask: morvik::Format::gray\nmorvik::Image smooth = morvik::${isFine ? "resize(mask, photo.size())" : `smooth_mask(photo, mask, {${snap}, ${limit}})`};`;

function outlinesCpp(mode, expand, smooth, center) {
  const lines = ["morvik::OutlineOptions options;", `options.mode = ${MODES[mode]};`, `options.expand = ${expand};`, `options.smooth = ${smooth};`];
  if (center) lines.push(`options.center = TPOINT{${center.x}, ${center.y}};`);
  return [...lines, "morvik::Outlines outlines = morvik::outlines(smooth, options);"].join("\n");
}

const stickerCpp = (color) => `
morvik::Image border(morvik::Format::gray, photo.size());
for (const morvik::Outline& outline : outlines) {
  const morvik::Image part = morvik::fill_polygon({outline.begin(), outline.end()}, photo.size());
  std::transform(part.data(), part.data() + part.bytes(), border.data(), border.data(),
                 [](uint8_t a, uint8_t b) { return std::max(a, b); });
}
border = morvik::blur(border, {MKBlur::Gaussian, 5});

const int color[] = {${color}};  // blue, green, red
morvik::Image sticker = morvik::convert(photo, morvik::Format::argb);
for (int y = 0; y < photo.height(); ++y) {
  for (int x = 0; x < photo.width(); ++x) {
    const int inside = smooth.row(y)[x];
    uint8_t* pixel = sticker.row(y) + 4 * x;
    for (int c = 0; c < 3; ++c) pixel[c] = (pixel[c] * inside + color[c] * (255 - inside) + 127) / 255;
    pixel[3] = std::max(smooth.row(y)[x], border.row(y)[x]);
  }
}
// The command and Python also keep the background's colours out of the edge.`;

const VIEWS = {
  sticker: (names, settings) => ({
    command: `morvik sticker ${names.photo} ${names.mask} --expand ${settings.expand} --color '${settings.color}' \\\n    ${settings.snap ? "--snap " : ""}--limit ${settings.limit} -o sticker.png`,
    python: `${opened(names, openedPhoto(names, "RGBA", "[2, 1, 0, 3]"))}sticker = morvik.sticker(photo, mask, expand=${settings.expand}, color=(${color(settings.color)}),\n                         snap=${python(settings.snap)}, limit=${settings.limit})`,
    cpp: `${smoothCpp(names, settings)}\n${outlinesCpp("fill-stroke", settings.expand, 1)}\n${stickerCpp(color(settings.color))}`,
  }),

  mask: (names, settings) => ({
    command: smoothCommand(names, settings),
    python: smoothPython(names, settings),
    cpp: smoothCpp(names, settings),
  }),

  outline: (names, settings) => {
    const { mode, expand, smooth } = settings;
    const center = mode.endsWith("-center") ? settings.center : undefined;
    return {
      command: `${smoothCommand(names, settings)}\nmorvik outline smooth.png --mode ${mode} --expand ${expand} --smooth ${smooth}${center ? ` --center ${center.x},${center.y}` : ""} --svg outline.svg`,
      python: `${smoothPython(names, settings)}\noutlines = morvik.outlines(smooth, "${mode}", ${expand}, ${smooth}${center ? `, center=(${center.x}, ${center.y})` : ""})`,
      cpp: `${smoothCpp(names, settings)}\n${outlinesCpp(mode, expand, smooth, center)}`,
    };
  },

  forehead: ({ photo, landmarks, width, height }) => ({
    command: `morvik forehead ${landmarks} --image-size ${width}x${height} --overlay ${photo} -o forehead.jpg`,
    python: `import morvik\n\nlandmarks = morvik.read_landmarks("${landmarks}")\nforehead = morvik.forehead(landmarks, (${width}, ${height}))`,
    cpp: `std::vector<TPOINT> landmarks = morvik::read_landmarks<TPOINT>("${landmarks}");\nauto forehead = morvik::forehead(landmarks, {${width}, ${height}});`,
  }),
};

/** `names` are those of the files, the photograph's size, whether the mask is a fine one. */
export function codeFor(names, settings) {
  const safe = { ...names };
  for (const name of ["photo", "mask", "landmarks"]) {
    safe[name] = (names[name] ?? `${stem(names.photo)}_${name}.${name === "mask" ? "png" : "txt"}`).replace(/[^\w.-]/g, "_");
  }
  return VIEWS[settings.view](safe, settings);
}
