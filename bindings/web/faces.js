// Face landmarks: the mesh's points as landmarks, and landmark files.
import { flat, numbers, settings, sizeOf, whole } from "./check.js";

const MESH_POINTS = 468;
const REFINED_POINTS = 478; // with ten more for the irises

// The face contour in the mesh, from the ear to the chin and from the chin to the other ear; 17
// points at equal distances are taken on each half.
const LEFT = [127, 234, 93, 132, 58, 172, 136, 150, 149, 176, 148, 152];
const RIGHT = [152, 377, 400, 378, 379, 365, 397, 288, 361, 323, 454, 356];
// Corners and middles of the lids, whose mean is the centre of the eye.
const EYES = [[33, 133, 159, 145], [263, 362, 386, 374]];
// Points 33 to 103 in the mesh.
const FEATURES = [
  70, 63, 105, 66, 107, 336, 296, 334, 293, 300, // brows, upper edges
  168, 197, 195, 4, 98, 97, 2, 326, 327, // nose ridge, nose base
  33, 161, 157, 133, 154, 163, 362, 384, 388, 263, 390, 381, // eyes
  53, 52, 65, 55, 285, 295, 282, 283, // brows, lower edges
  159, 145, EYES[0], 386, 374, EYES[1], // middles of the lids, eye centres
  193, 417, 198, 420, 64, 294, // nose sides
  61, 40, 37, 0, 267, 270, 291, 321, 314, 17, 84, 91, // outer lip
  78, 81, 13, 311, 308, 402, 14, 178, // inner lip
];

/** Points at equal distances along a polyline, its ends included: [x, y] each. */
function evenly(line, count) {
  const along = [0];
  for (let i = 1; i < line.length; ++i) {
    along.push(along[i - 1] + Math.hypot(line[i][0] - line[i - 1][0], line[i][1] - line[i - 1][1]));
  }
  const step = along.at(-1) / (count - 1);
  return Array.from({ length: count }, (_, i) => {
    if (i === count - 1) return line.at(-1);
    const at = i * step;
    const j = Math.max(along.findLastIndex((length) => length <= at), 0);
    if (j === line.length - 1) return line[j];
    const share = (at - along[j]) / (along[j + 1] - along[j]);
    return [0, 1].map((axis) => line[j][axis] + share * (line[j + 1][axis] - line[j][axis]));
  });
}

/** x and y of the mesh's points from 0 to 1, as [x, y] each. */
function meshPoints(mesh) {
  const isTriples = mesh?.length === 3 * MESH_POINTS || mesh?.length === 3 * REFINED_POINTS;
  const values = isTriples ? Float64Array.from(mesh) : flat(mesh, "mesh");
  const step = isTriples ? 3 : 2;
  const count = values.length / step;
  if (count !== MESH_POINTS) {
    const advice = count === REFINED_POINTS ? "; take the first 468, the others are the irises" : "";
    throw new RangeError(`mesh has ${count} points, ${MESH_POINTS} are expected${advice}`);
  }
  if (!values.every(Number.isFinite)) throw new RangeError("mesh has coordinates that are no finite numbers");
  return Array.from({ length: MESH_POINTS }, (_, i) => [values[step * i], values[step * i + 1]]);
}

export function landmarksFromMesh(mesh, size) {
  const { width, height } = sizeOf(size);
  const points = meshPoints(mesh).map(([x, y]) => [x * width - 0.5, y * height - 0.5]);
  const mean = (indices) => [0, 1].map((axis) => indices.reduce((sum, i) => sum + points[i][axis], 0) / indices.length);
  const line = (indices) => indices.map((i) => points[i]);
  return Float32Array.from([
    ...evenly(line(LEFT), 17),
    ...evenly(line(RIGHT), 17).slice(1),
    ...FEATURES.map((feature) => (Array.isArray(feature) ? mean(feature) : points[feature])),
    ...EYES.map(mean),
  ].flat());
}

function checkFile(of, options) {
  const { separator, dims } = settings(of, options, { separator: ",", dims: 2 });
  whole(dims, "dims", 2, 3);
  if (!/^[\t !-~]$/.test(separator) || /[0-9A-Za-z+\-.]/.test(separator)) {
    throw new RangeError(`separator is ${JSON.stringify(separator)}; a mark such as "," or " " is expected`);
  }
  return { separator, dims };
}

/** The decimal number that a text begins with, as C reads it; 0 without one, and of hexadecimal ones, which C reads. */
function leadingNumber(text = "") {
  const [, number, sign, word] = /^[ \t\n\v\f\r]*(?:([+-]?(?:\d+\.?\d*|\.\d+)(?:e[+-]?\d+)?)|([+-]?)(inf|nan))/i.exec(text) ?? [];
  if (number !== undefined) return Number(number);
  if (word === undefined) return 0;
  return /nan/i.test(word) ? NaN : Number(`${sign}Infinity`);
}

export function parseLandmarks(text, options) {
  const { separator, dims } = checkFile("parseLandmarks", options);
  if (typeof text !== "string") throw new TypeError(`text is a string, not ${typeof text}`);
  const lines = text.split("\n");
  if (lines.at(-1) === "") lines.pop();
  const points = new Float32Array(dims * lines.length);
  lines.forEach((line, i) => {
    const fields = line.split(separator);
    for (let axis = 0; axis < dims; ++axis) points[dims * i + axis] = leadingNumber(fields[axis]);
  });
  return points;
}

const withoutZeros = (digits) => (digits.includes(".") ? digits.replace(/\.?0+$/, "") : digits);

/** Six significant digits, as C's %g writes a float. */
function general(value) {
  if (!Number.isFinite(value)) return Number.isNaN(value) ? "nan" : value > 0 ? "inf" : "-inf";
  if (value === 0) return Object.is(value, -0) ? "-0" : "0";
  let [digits, exponent] = value.toExponential(5).split("e");
  const power = Number(exponent) - 5;
  // Of two numbers at the same distance C takes the even one, JavaScript the larger one.
  const count = Math.abs(Number(digits.replace(".", "")));
  const middle = power >= 0 ? (count - 0.5) * 10 ** power : count - 0.5;
  const size = power >= 0 ? Math.abs(value) : Math.abs(value) * 10 ** -power;
  if (count % 2 && middle === size) [digits, exponent] = (Math.sign(value) * (count - 1) * 10 ** power).toExponential(5).split("e");
  const whole = Number(exponent);
  if (whole >= -4 && whole < 6) return withoutZeros(Number(`${digits}e${exponent}`).toFixed(5 - whole));
  return `${withoutZeros(digits)}e${whole < 0 ? "-" : "+"}${String(Math.abs(whole)).padStart(2, "0")}`;
}

export function formatLandmarks(points, options) {
  const { separator, dims } = checkFile("formatLandmarks", options);
  const values = numbers(points, "points");
  if (values.length % dims) throw new RangeError(`points has ${values.length} numbers; ${dims} are needed for each point`);
  const isFloat = points instanceof Float32Array || points instanceof Float64Array || !values.every(Number.isInteger);
  if (!isFloat && values.some((value) => value < -(2 ** 31) || value >= 2 ** 31)) {
    throw new RangeError("points has coordinates beyond 32 bits");
  }
  const written = isFloat ? values.map((value) => general(Math.fround(value))) : values.map(String);
  let text = "";
  for (let i = 0; i < written.length; i += dims) text += `${written.slice(i, i + dims).join(separator)}\n`;
  return text;
}
