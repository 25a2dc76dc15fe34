// Outlines as SVG.
import { list, numbers, settings, sizeOf } from "./check.js";

export function outlinesToSvgPath(outlines) {
  const paths = Array.from(list(outlines, "outlines", "outlines"), (outline, which) => {
    const name = `outline ${which}`;
    if (numbers(outline, name).length % 2) throw new RangeError(`${name} has ${outline.length} numbers; x and y are needed for each point`);
    let path = "M";
    for (let i = 0; i < outline.length; i += 2) path += `${i ? "L" : ""}${outline[i]},${outline[i + 1]} `;
    return `${path}Z\n`;
  });
  return paths.join("");
}

export function outlinesToSvg(outlines, size, options) {
  const { color } = settings("outlinesToSvg", options, { color: "#e11d48" });
  if (typeof color !== "string") throw new TypeError(`color is a string such as "#e11d48", not ${color}`);
  const { width, height } = sizeOf(size);
  const safe = color.replace(/[<>&"']/g, "");
  // Points are pixel centres, so the picture's corner lies half a pixel before the origin.
  return `<svg xmlns="http://www.w3.org/2000/svg" viewBox="-0.5 -0.5 ${width} ${height}" width="${width}" `
    + `height="${height}">\n<path fill="#8884" fill-rule="evenodd" stroke="${safe}" stroke-linejoin="round" `
    + `d="${outlinesToSvgPath(outlines)}"/>\n</svg>\n`;
}
