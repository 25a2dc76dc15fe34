// Outlines as SVG.
import { sizeOf } from "./check.js";

export function outlinesToSvgPath(outlines) {
  const paths = Array.from(outlines, (outline) => {
    let path = "M";
    for (let i = 0; i < outline.length; i += 2) path += `${i ? "L" : ""}${outline[i]},${outline[i + 1]} `;
    return `${path}Z\n`;
  });
  return paths.join("");
}

export function outlinesToSvg(outlines, size, { color = "#e11d48" } = {}) {
  const { width, height } = sizeOf(size);
  const safe = color.replace(/[<>&"']/g, "");
  // Points are pixel centres, so the picture's corner lies half a pixel before the origin.
  return `<svg xmlns="http://www.w3.org/2000/svg" viewBox="-0.5 -0.5 ${width} ${height}" width="${width}" `
    + `height="${height}">\n<path fill="#8884" fill-rule="evenodd" stroke="${safe}" stroke-linejoin="round" `
    + `d="${outlinesToSvgPath(outlines)}"/>\n</svg>\n`;
}
