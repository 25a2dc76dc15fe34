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

const opened = ({ photo, mask }) => `import numpy as np
from PIL import Image
import morvik

photo = np.ascontiguousarray(np.asarray(Image.open("${photo}").convert("RGB"))[..., ::-1])
mask = np.asarray(Image.open("${mask}").convert("L"))
`;

const smoothCommand = ({ photo, mask }, { snap, limit }) =>
  `morvik smooth-mask ${photo} ${mask} ${snap ? "--snap " : ""}--limit ${limit} -o smooth.png`;
const smoothPython = ({ snap, limit }) => `smooth = morvik.smooth_mask(photo, mask, snap=${python(snap)}, limit=${limit})`;
const smoothCpp = ({ snap, limit }) =>
  `// photo: morvik::Format::rgb24, mask: morvik::Format::gray\nmorvik::Image smooth = morvik::smooth_mask(photo, mask, {${snap}, ${limit}});`;

function outlinesCpp(mode, expand, smooth, center) {
  const lines = ["morvik::OutlineOptions options;", `options.mode = ${MODES[mode]};`, `options.expand = ${expand};`, `options.smooth = ${smooth};`];
  if (center) lines.push(`options.center = TPOINT{${center.x}, ${center.y}};`);
  return [...lines, "morvik::Outlines outlines = morvik::outlines(smooth, options);"].join("\n");
}

const VIEWS = {
  sticker: (names, settings) => ({
    command: `morvik sticker ${names.photo} ${names.mask} --expand ${settings.expand} --color '${settings.color}' \\\n    ${settings.snap ? "--snap " : ""}--limit ${settings.limit} -o sticker.png`,
    python: `${opened(names)}sticker = morvik.sticker(photo, mask, expand=${settings.expand}, color=(${color(settings.color)}),\n                         snap=${python(settings.snap)}, limit=${settings.limit})`,
    cpp: `${smoothCpp(settings)}\n${outlinesCpp("fill-stroke", settings.expand, 1)}\n// The guide's recipe "sticker" fills the outlines and lays the photograph over them.`,
  }),

  mask: (names, settings) => ({
    command: smoothCommand(names, settings),
    python: opened(names) + smoothPython(settings),
    cpp: smoothCpp(settings),
  }),

  outline: (names, settings) => {
    const { mode, expand, smooth } = settings;
    const center = mode.endsWith("-center") ? settings.center : undefined;
    return {
      command: `${smoothCommand(names, settings)}\nmorvik outline smooth.png --mode ${mode} --expand ${expand} --smooth ${smooth}${center ? ` --center ${center.x},${center.y}` : ""} --svg outline.svg`,
      python: `${opened(names)}${smoothPython(settings)}\noutlines = morvik.outlines(smooth, "${mode}", ${expand}, ${smooth}${center ? `, center=(${center.x}, ${center.y})` : ""})`,
      cpp: `${smoothCpp(settings)}\n${outlinesCpp(mode, expand, smooth, center)}`,
    };
  },

  forehead: ({ photo, landmarks, width, height }) => ({
    command: `morvik forehead ${landmarks} --image-size ${width}x${height} --overlay ${photo} -o forehead.jpg`,
    python: `import morvik\n\nlandmarks = morvik.read_landmarks("${landmarks}")\nforehead = morvik.forehead(landmarks, (${width}, ${height}))`,
    cpp: `std::vector<TPOINT> landmarks = morvik::read_landmarks<TPOINT>("${landmarks}");\nauto forehead = morvik::forehead(landmarks, {${width}, ${height}});`,
  }),
};

/** `names` are those of the files, and the photograph's size. */
export function codeFor(names, settings) {
  const safe = { ...names };
  for (const name of ["photo", "mask", "landmarks"]) {
    safe[name] = (names[name] ?? `${stem(names.photo)}_${name}.${name === "mask" ? "png" : "txt"}`).replace(/[^\w.-]/g, "_");
  }
  return VIEWS[settings.view](safe, settings);
}
