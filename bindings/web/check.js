// Arguments as callers give them; what is refused is refused with a sentence.

export const MAX_SIDE = 1 << 19;
export const MAX_BYTES = 2 ** 31 - 1;
export const ANY = 2 ** 32 - 1;

function shown(value) {
  if (typeof value === "string") return JSON.stringify(value.slice(0, 60));
  return (Array.isArray(value) ? `[${value}]` : String(value)).slice(0, 60);
}

export function whole(value, name, low, high) {
  if (typeof value !== "number" || !Number.isInteger(value)) {
    throw new TypeError(`${name} is a whole number, not ${shown(value)}`);
  }
  if (value < low || value > high) {
    throw new RangeError(`${name} is ${value}; ${low} to ${high} is accepted`);
  }
  return value;
}

/** The code of a name; `names` maps one to the other. */
export function choice(value, name, names) {
  if (typeof value !== "string" || !Object.hasOwn(names, value)) {
    throw new RangeError(`${name} is ${shown(value)}; one of ${Object.keys(names).join(", ")} is expected`);
  }
  return names[value];
}

/** Options of a call with its defaults; a name that it does not know is refused. */
export function settings(of, given, defaults) {
  if (given === undefined) return defaults;
  if (typeof given !== "object" || given === null) {
    throw new TypeError(`the options of ${of} are an object, not ${shown(given)}`);
  }
  const all = { ...defaults };
  for (const [name, value] of Object.entries(given)) {
    if (!Object.hasOwn(defaults, name)) {
      throw new TypeError(`${of} has no option ${name}; it has ${Object.keys(defaults).join(", ")}`);
    }
    if (value !== undefined) all[name] = value;
  }
  return all;
}

export function checkSize(width, height, name, bytes = 1) {
  if (width * height * bytes > MAX_BYTES) {
    throw new RangeError(`${name} is ${width} x ${height} pixels; an image has less than 2 GiB`);
  }
}

export function sizeOf(size, name = "size", bytes = 1) {
  if (typeof size !== "object" || size === null) {
    throw new TypeError(`${name} is { width, height }, not ${shown(size)}`);
  }
  const width = whole(size.width, `the width of ${name}`, 1, MAX_SIDE);
  const height = whole(size.height, `the height of ${name}`, 1, MAX_SIDE);
  checkSize(width, height, name, bytes);
  return { width, height };
}

const isList = (value) => typeof value === "object" && value !== null && Number.isInteger(value.length);

export function list(value, name, of) {
  if (isList(value)) return value;
  throw new TypeError(`${name} is a list of ${of}, not ${shown(value)}`);
}

/** A list of nothing but numbers, as an array. */
export function numbers(values, name) {
  const all = Array.from(list(values, name, "numbers"));
  const other = all.findIndex((value) => typeof value !== "number");
  if (other >= 0) throw new TypeError(`${name} is a list of numbers (x0, y0, x1, ...); number ${other} is ${shown(all[other])}`);
  return all;
}

/** [x, y] of a point in either form. */
export function pair(point, name) {
  if (isList(point) && point.length === 2) return [point[0], point[1]];
  if (typeof point === "object" && point !== null && "x" in point && "y" in point) return [point.x, point.y];
  throw new TypeError(`${name} is { x, y } or [x, y], not ${shown(point)}`);
}

/** Points in any of the forms that callers have them, as x0, y0, x1, y1, ... */
export function flat(points, name) {
  list(points, name, "points");
  if (typeof points[0] === "object") {
    return Float64Array.from(Array.from(points, (point, i) => pair(point, `point ${i} of ${name}`)).flat());
  }
  if (points.length % 2) throw new RangeError(`${name} has ${points.length} numbers; x and y are needed for each point`);
  return Float64Array.from(numbers(points, name));
}

/** Whole pixels: fractions are rounded, halves away from zero. */
export function wholePoints(points, name) {
  const rounded = flat(points, name).map((value) => Math.sign(value) * Math.floor(Math.abs(value) + 0.5));
  if (!rounded.every((value) => value >= -(2 ** 31) && value < 2 ** 31)) {
    throw new RangeError(`${name} has coordinates that are no numbers or beyond 32 bits`);
  }
  return Int32Array.from(rounded);
}

/** [red, green, blue] of a colour. */
export function colorOf(color) {
  const digits = typeof color === "string" ? /^#([0-9a-f]{2})([0-9a-f]{2})([0-9a-f]{2})$/i.exec(color) : null;
  if (digits) return digits.slice(1).map((two) => parseInt(two, 16));
  if (!Array.isArray(color) || color.length !== 3) {
    throw new TypeError(`color is "#rrggbb" or [red, green, blue], not ${shown(color)}`);
  }
  return color.map((value) => whole(value, "color", 0, 255));
}
