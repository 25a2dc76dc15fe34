// Sizes of picture files by their first bytes: whether a picture is too large should be known before
// its pixels take memory.
export const MOST_PIXELS = 50e6;

const HEAD = 1 << 18; // bytes; where the sizes of AVIF files are
const MOST_SEGMENTS = 10000;

const viewOf = async (blob, at, size) => new DataView(await blob.slice(at, at + size).arrayBuffer());

function ofPng(view) {
  return { width: view.getUint32(16), height: view.getUint32(20) };
}

/** Walks over the segments up to the frame's header: profiles and previews of any length come before it. */
async function ofJpeg(view, blob) {
  for (let at = 2, count = 0; count < MOST_SEGMENTS; ++count) {
    const segment = await viewOf(blob, at, 9);
    if (segment.byteLength < 9) return undefined;
    const marker = segment.getUint16(0);
    const isFrame = marker >= 0xffc0 && marker <= 0xffcf && ![0xffc4, 0xffc8, 0xffcc].includes(marker);
    if (isFrame) return { width: segment.getUint16(7), height: segment.getUint16(5) };
    at += marker === 0xffff ? 1 : 2 + segment.getUint16(2); // markers may be padded
  }
  return undefined;
}

/** Lossy, lossless and extended files. */
function ofWebp(view) {
  const kind = String.fromCharCode(view.getUint8(15));
  if (kind === " ") return { width: view.getUint16(26, true) & 0x3fff, height: view.getUint16(28, true) & 0x3fff };
  if (kind === "L") {
    const bits = view.getUint32(21, true);
    return { width: (bits & 0x3fff) + 1, height: ((bits >>> 14) & 0x3fff) + 1 };
  }
  const three = (at) => view.getUint16(at, true) + (view.getUint8(at + 2) << 16) + 1;
  return { width: three(24), height: three(27) };
}

function ofGif(view) {
  return { width: view.getUint16(6, true), height: view.getUint16(8, true) };
}

/** Rows from the top down have a negative height. */
function ofBmp(view) {
  if (view.getUint32(14, true) === 12) return { width: view.getUint16(18, true), height: view.getUint16(20, true) };
  return { width: view.getInt32(18, true), height: Math.abs(view.getInt32(22, true)) };
}

/** The largest of the sizes ("ispe") in it: there are those of tiles and previews, too. */
async function ofAvif(view, blob) {
  const head = await viewOf(blob, 0, HEAD);
  let largest;
  for (let at = 0; at + 16 <= head.byteLength; ++at) {
    if (head.getUint32(at) !== 0x69737065) continue;
    const size = { width: head.getUint32(at + 8), height: head.getUint32(at + 12) };
    if (!largest || size.width * size.height > largest.width * largest.height) largest = size;
  }
  return largest;
}

// Where the bytes lie that a kind of file is known by, those bytes, and what reads its size.
const KINDS = [
  [0, "\x89PNG", ofPng], [0, "\xff\xd8", ofJpeg], [8, "WEBP", ofWebp], [0, "GIF8", ofGif], [0, "BM", ofBmp], [4, "ftyp", ofAvif],
];

/** undefined for other kinds of files. */
export async function pictureSize(blob) {
  const view = await viewOf(blob, 0, 30);
  if (view.byteLength < 30) return undefined;
  const text = String.fromCharCode(...new Uint8Array(view.buffer));
  const [, , size] = KINDS.find(([at, mark]) => text.startsWith(mark, at)) ?? [];
  return size?.(view, blob);
}
