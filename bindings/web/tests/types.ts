// Compiled with tsc --strict, never run: what the types let through and what they refuse.
import { Morvik, OutOfMemoryError, alphaOf, formatLandmarks, outlinesToSvg, parseLandmarks, toImageData } from "morvik";
import type { Box, Outline, Picture } from "morvik";

export async function everything(bitmap: ImageBitmap, pixels: ImageData, mesh: { x: number; y: number; z: number }[]) {
  const morvik: Morvik = await Morvik.load({ wasm: new URL("https://example.org/morvik.wasm"), maxMemory: 2 ** 28 });
  const mask = { width: 2, height: 2, data: new Float32Array(4) };
  const smooth: Picture<"gray"> = morvik.smoothMask(bitmap, mask, { snap: true, limit: 400 });
  const box: Box | null = morvik.bbox(morvik.fillHoles(morvik.morph(smooth, -3), { level: 9 }));
  const outlines: Outline[] = morvik.outlines(alphaOf(pixels), { mode: "polar-center", center: { x: 1, y: 2 } });
  const sticker = morvik.sticker(pixels, smooth, { color: [1, 2, 3], fit: 512 });
  const frame: Picture<"nv21"> = morvik.convert(pixels, "nv21");
  const points = parseLandmarks(formatLandmarks(morvik.landmarksFromMesh(mesh, pixels), { dims: 2 }));
  morvik.forehead(points, bitmap);
  morvik.fillPolygon([[1, 2], [3, 4]], { width: 5, height: 5 });
  morvik.blur(morvik.rotate(morvik.resize(frame, { width: 2, height: 2 }, { method: "area" }), 90), 5, { filter: "mean" });
  const shown: ImageData = toImageData(sticker);
  const copied: ImageData = new ImageData(sticker.data, sticker.width, sticker.height);
  new Worker("worker.js").postMessage(morvik.module);

  // @ts-expect-error: load() makes instances
  new Morvik();
  // @ts-expect-error: not an option
  morvik.blur(pixels, 3, { fliter: "mean" });
  // @ts-expect-error: not a mode
  morvik.outlines(mask, { mode: "round" });
  // @ts-expect-error: not an angle
  morvik.rotate(pixels, 45);
  // @ts-expect-error: a mask has a size
  morvik.bbox(new Uint8Array(4));
  return { box, shown, copied, svg: outlinesToSvg(outlines, pixels, { color: "red" }), OutOfMemoryError };
}
