// Sizes of picture files by their first bytes: whether a picture is too large should be known before
// its pixels take memory.
export const MOST_PIXELS = 50e6;

const HEAD = 1 << 18; // bytes; profiles and previews of a JPEG come before its size

function ofPng(view) {
  return { width: view.getUint32(16), height: view.getUint32(20) };
}

/** Walks over the segments up to the frame's header. */
function ofJpeg(view) {
  for (let at = 2; at + 9 < view.byteLength; at += 2 + view.getUint16(at + 2)) {
    const marker = view.getUint16(at);
    const isFrame = marker >= 0xffc0 && marker <= 0xffcf && ![0xffc4, 0xffc8, 0xffcc].includes(marker);
    if (isFrame) return { width: view.getUint16(at + 7), height: view.getUint16(at + 5) };
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

/** undefined for other kinds of files. */
export async function pictureSize(blob) {
  const view = new DataView(await blob.slice(0, HEAD).arrayBuffer());
  if (view.byteLength < 30) return undefined;
  if (view.getUint32(0) === 0x89504e47) return ofPng(view);
  if (view.getUint16(0) === 0xffd8) return ofJpeg(view);
  if (view.getUint32(0) === 0x52494646 && view.getUint32(8) === 0x57454250) return ofWebp(view);
  return undefined;
}
