/** Width and height in pixels; every picture is one. */
export interface Size {
  readonly width: number;
  readonly height: number;
}

/**
 * Bytes of a pixel in memory order. Frames ("nv12", "nv21") hold a plane of brightness, then one of
 * chroma pairs: rounded-up half the height, rounded-up half the width times 2 bytes.
 */
export type Format = "gray" | "rgb" | "rgba" | "bgr" | "bgra" | "nv12" | "nv21";

/** What every call returns: rows without padding in memory of its own. */
export interface Picture<F extends Format = Format> extends Size {
  readonly format: F;
  readonly data: PixelData;
}

/** The type that `new ImageData()` takes in every version of TypeScript. */
export type PixelData = ReturnType<typeof Uint8ClampedArray.from>;

/**
 * Pixels in an array, `ImageData` among them. Without a format one byte a pixel is gray, three are
 * rgb and four are rgba. Floats from 0 to 1 are gray and taken times 255, as networks deliver masks.
 */
export interface Pixels extends Size {
  readonly data: Uint8Array | Uint8ClampedArray | Float32Array;
  readonly format?: Format;
}

/** `ImageBitmap`, or anything else with a size that a canvas draws; read as rgba. */
export interface Drawable extends Size {
  readonly data?: undefined;
}

export type Source = Pixels | Drawable;

/**
 * A mask: gray, inside bright. Colours are averaged; `alphaOf()` takes a mask that lies in alpha.
 */
export type Mask = Source;

/** Points in pixels, (0, 0) the centre of the top-left one: x0, y0, x1, y1, ... or a list. */
export type Points =
  | ArrayLike<number>
  | readonly { readonly x: number; readonly y: number }[]
  | readonly (readonly [number, number])[];

/** x0, y0, x1, y1, ... in pixels. */
export type Outline = Int32Array;

/** A box of pixels; all four edges belong to it. */
export interface Box {
  readonly left: number;
  readonly top: number;
  readonly right: number;
  readonly bottom: number;
}

export interface SmoothOptions {
  /** Moves edges along their rows to the strongest colour edge near by. */
  snap?: boolean;
  /**
   * Working size in pixels: larger is finer and slower. Below the photograph's larger side only
   * mask pixels above 250 count as inside; from there on the mask is enlarged as it is, without
   * snapping. 640 by default.
   */
  limit?: number;
}

export type Filter = "mean" | "median" | "gaussian" | "bilateral";

export interface BlurOptions {
  /** "gaussian" by default. */
  filter?: Filter;
  /**
   * Two whole numbers from 0: for "gaussian" across and down in pixels, [0, 0] derives them from
   * the kernel; for "bilateral" in colour space and in pixels, [40, 40] by default.
   */
  sigma?: readonly [number, number];
}

export type OutlineMode =
  | "stroke"
  | "fill-stroke"
  | "hull-fill-stroke"
  | "polar"
  | "hull-polar"
  | "polar-center"
  | "vector"
  | "hull-vector"
  | "vector-center";

export interface OutlineOptions {
  /**
   * How shapes grow: "stroke", "fill-stroke" and "hull-fill-stroke" by the same distance
   * everywhere, the polar ones scaled about their centroids or `center`, the vector ones moved
   * right and down. "stroke" by default.
   */
  mode?: OutlineMode;
  /** Pixels to grow by, 0 to 500; 12 by default. */
  expand?: number;
  /** Smoothing, 0 to 5 per cent of an outline's length; 0 by default. */
  smooth?: number;
  /** "all" boundary pixels (the default), or "simple": the ends of straight runs. */
  points?: "all" | "simple";
  /** Simplifies outlines to within 1 % of their length. */
  polygon?: boolean;
  /** For the modes "polar-center" and "vector-center". */
  center?: { readonly x: number; readonly y: number };
  /** Pixels above it are shape, 0 to 253; 127 by default. */
  threshold?: number;
}

export interface StickerOptions {
  /** Width of the border in pixels, 0 to 500; by default a 50th of the larger side. */
  expand?: number;
  /** Of the border: "#rrggbb" or [red, green, blue]; white by default. */
  color?: string | readonly [number, number, number];
  /** Returns no more than the sticker's box. */
  crop?: boolean;
  /** Scales the box into a square of this side; messengers want 512. */
  fit?: number;
  /** Takes the mask as it is, instead of a soft edge that shows no background. */
  hardEdge?: boolean;
  /** As in `smoothMask()`. */
  snap?: boolean;
  /** As in `smoothMask()`; by default a quarter of the larger side, at least 512. */
  limit?: number;
}

export type ResizeMethod = "nearest" | "linear" | "cubic" | "area";

export interface LoadOptions {
  /**
   * Where morvik.wasm comes from: an address, a `Response`, its bytes, or a `WebAssembly.Module`
   * that another thread has compiled. By default it lies beside the module.
   */
  wasm?: string | object;
  /** Most bytes that the instance may take, from 32 MiB; 4 GiB by default. */
  maxMemory?: number;
}

/**
 * The library in memory of its own. Calls return when their work is done and leave nothing behind.
 * Wrong arguments throw TypeError or RangeError with a sentence; a call for which there is not
 * enough memory throws OutOfMemoryError, and the next one works again. Results are the native
 * library's bytes. Where the order of colours matters not, as in `blur()`, results have the format
 * that was given.
 */
export class Morvik {
  private constructor();

  static load(options?: LoadOptions): Promise<Morvik>;

  /** One line that names the library and its version. */
  readonly version: string;
  /** The compiled code, which `Morvik.load({ wasm })` takes in another thread. */
  readonly module: object;
  /** Bytes of memory in use by this instance; it grows to what the largest call needs. */
  readonly memoryBytes: number;

  /**
   * Enlarges a network's coarse mask to the size of its photograph, with smooth edges. The mask has
   * at most 520 x 520 pixels, is smaller than the photograph in both directions and covers all of
   * it.
   */
  smoothMask(photo: Source, mask: Mask, options?: SmoothOptions): Picture<"gray">;
  /** Makes a mask black and white (255 above `level`, 127 by default) and fills its holes. */
  fillHoles(mask: Mask, options?: { level?: number }): Picture<"gray">;
  /**
   * Grows (`amount` above 0) or shrinks a mask with an ellipse of `abs(amount) + 1` pixels, so by
   * about half the amount on each side; -200 to 200 without 0.
   */
  morph(mask: Mask, amount: number): Picture<"gray">;
  /** Blurs with a kernel of odd size, 1 to 199 pixels; 9 by default. Alpha is kept as it is. */
  blur(image: Source, kernel?: number, options?: BlurOptions): Picture<Exclude<Format, "nv12" | "nv21">>;
  /** A mask: 255 inside a polygon and on its border. It closes itself; fractions are rounded. */
  fillPolygon(points: Points, size: Size): Picture<"gray">;
  /** The box around the pixels that are `level` (1 to 254, 128 by default) or more. */
  bbox(mask: Mask, options?: { level?: number }): Box | null;
  /** Grows the shapes of a mask and traces where they end, holes included where the mode keeps them. */
  outlines(mask: Mask, options?: OutlineOptions): Outline[];
  /**
   * Cuts out what a mask covers, with a border around it, transparent beyond. A mask of the
   * photograph's size is taken as it is, a finer one scaled, a coarse one enlarged as by
   * `smoothMask()`. The photograph's alpha limits the sticker's.
   */
  sticker(photo: Source, mask: Mask, options?: StickerOptions): Picture<"rgba">;

  /**
   * Predicts 11 points of the forehead's outline from 106 landmarks (the layout that detectors
   * deliver) or 96 (the internal layout) in an image of `size`: x, y in pixels, up from the side of
   * contour point 0, the apex (index 5), and down on the other side.
   */
  forehead(landmarks: Points, size: Size): Int32Array;
  /** As the function of this name. */
  landmarksFromMesh: typeof landmarksFromMesh;

  /**
   * The image in another format, of the same size. Gray is the mean of the three colours, rounded
   * down, and of a frame its brightness; YUV is BT.601 in limited range. From gray to frames of odd
   * sizes the even part is written, the last column and row are black.
   */
  convert<F extends Format>(image: Source, to: F): Picture<F>;
  /** The image scaled to `size`, by "area" unless another method is named. Frames have even sizes. */
  resize(image: Source, size: Size, options?: { method?: ResizeMethod }): Picture;
  /** The image turned clockwise by 0, 90, 180 or 270 degrees. */
  rotate(image: Source, angle: 0 | 90 | 180 | 270): Picture;
}

/** No memory for a call. The instance that threw it works on. */
export class OutOfMemoryError extends Error {}

/**
 * 106 landmarks (x, y in pixels) of a face mesh of 468 points: flat x, y, z triples, or objects with
 * x and y, both from 0 to 1 across and down the image. Of a refined mesh of 478 points give the first
 * 468.
 */
export function landmarksFromMesh(
  mesh: ArrayLike<number> | readonly { readonly x: number; readonly y: number }[],
  size: Size,
): Float32Array;

/**
 * The points of a landmark file, a line each: x0, y0, x1, ... (and z for `dims` 3). Fields that are
 * missing or no number are 0.
 */
export function parseLandmarks(text: string, options?: { separator?: string; dims?: 2 | 3 }): Float32Array;
/**
 * Points as the text of a landmark file. Whole numbers are written as they are, others with six
 * significant digits.
 */
export function formatLandmarks(points: ArrayLike<number>, options?: { separator?: string; dims?: 2 | 3 }): string;

/** The outlines as the `d` of an SVG path; fill it with the rule "evenodd". */
export function outlinesToSvgPath(outlines: readonly ArrayLike<number>[]): string;
/** The outlines as an SVG picture with one path, "#e11d48" unless another CSS colour is given. */
export function outlinesToSvg(outlines: readonly ArrayLike<number>[], size: Size, options?: { color?: string }): string;

/** The alpha of an rgba or bgra picture, as a mask. */
export function alphaOf(image: Source): Picture<"gray">;

type Shown = typeof globalThis extends { ImageData: { prototype: infer T } } ? T : never;
/** A picture (not a frame) as `ImageData`; of rgba the memory is shared. */
export function toImageData(picture: Picture): Shown;
