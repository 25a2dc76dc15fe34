// The compiled library in memory of its own, and calls into it.
import createLoader from "./loader.mjs";
import { CODES, FORMATS, isFrame, lengthOf } from "./pictures.js";

const PAGE = 65536;
const FIRST_PAGES = 256;
const MOST_PAGES = 65536;
const BAD_ARGUMENT = 2;
const RECORD_BYTES = 44;

/** No memory for a call. The instance that threw it works on. */
export class OutOfMemoryError extends Error {
  name = "OutOfMemoryError";
}

function outOfMemory(cause) {
  return new OutOfMemoryError("there is not enough memory for this call", { cause });
}

async function bytesFrom(address) {
  if (address.protocol === "file:" && globalThis.process?.versions?.node) {
    const { readFile } = await import(/* webpackIgnore: true */ /* @vite-ignore */ "node:fs/promises");
    return readFile(address);
  }
  return fetch(address);
}

/** The compiled code of whatever `Morvik.load()` was given. */
export async function compile(source = new URL("./morvik.wasm", import.meta.url)) {
  if (source instanceof WebAssembly.Module) return source;
  const isAddress = typeof source === "string" || source instanceof URL;
  const base = globalThis.location?.href ?? import.meta.url;
  const bytes = isAddress ? await bytesFrom(new URL(source, base)) : source;
  if (typeof Response === "undefined" || !(bytes instanceof Response)) return WebAssembly.compile(bytes);
  if (!bytes.ok) throw new Error(`${bytes.url || "morvik.wasm"} was not loaded: ${bytes.status} ${bytes.statusText}`);
  // Servers that do not know the type of .wasm files are common.
  const typed = bytes.headers.get("content-type")?.startsWith("application/wasm");
  return typed ? WebAssembly.compileStreaming(bytes) : WebAssembly.compile(await bytes.arrayBuffer());
}

function makeMemory(maxMemory) {
  try {
    return new WebAssembly.Memory({ initial: FIRST_PAGES, maximum: Math.min(Math.floor(maxMemory / PAGE), MOST_PAGES) });
  } catch (error) {
    throw outOfMemory(error);
  }
}

export class Wasm {
  #loader;
  #memory;
  #kept; // memory as it was before the first call: [{ at, bytes }]

  static async start(module, maxMemory) {
    const memory = makeMemory(maxMemory);
    const loader = await new Promise((resolve, reject) => {
      createLoader({
        wasmMemory: memory,
        print() {},
        printErr() {},
        instantiateWasm(imports, done) {
          WebAssembly.instantiate(module, imports).then((instance) => done(instance, module), reject);
          return {};
        },
      }).then(resolve, reject);
    });
    return new Wasm(loader, memory);
  }

  constructor(loader, memory) {
    this.#loader = loader;
    this.#memory = memory;
    const heap = loader._web_start_of_heap() >>> 0;
    const end = loader._web_end_of_heap() >>> 0;
    this.#kept = [
      { at: 0, bytes: this.bytes.slice(0, loader._web_end_of_data() >>> 0) },
      { at: heap, bytes: this.bytes.slice(heap, end) },
    ];
  }

  get bytes() {
    return new Uint8Array(this.#memory.buffer);
  }

  get words() {
    return new Uint32Array(this.#memory.buffer);
  }

  get memoryBytes() {
    return this.#memory.buffer.byteLength;
  }

  text(at) {
    const end = this.bytes.indexOf(0, at);
    return new TextDecoder().decode(this.bytes.slice(at, end));
  }

  /** Runs work(call); the memory that the call took is free afterwards. */
  run(work) {
    const call = new Call(this, this.#loader);
    const stack = this.#loader.stackSave();
    try {
      const result = work(call);
      call.release();
      return result;
    } catch (error) {
      this.#restore();
      // A C++ exception comes as a number, and memory is the one reason for it; where none can be
      // thrown, the loader aborts.
      throw typeof error === "number" || /^Aborted/.test(error?.message) ? outOfMemory(error) : error;
    } finally {
      this.#loader.stackRestore(stack);
    }
  }

  /** Nothing was unwound: what the call took, it still has. */
  #restore() {
    for (const { at, bytes } of this.#kept) this.bytes.set(bytes, at);
  }
}

/** Memory for one call and what is done in it. Images are { at, width, height, code, bytes }. */
class Call {
  #wasm;
  #loader;
  #taken = [];

  constructor(wasm, loader) {
    this.#wasm = wasm;
    this.#loader = loader;
  }

  take(size) {
    const at = this.#loader._malloc(size) >>> 0;
    if (at === 0) throw outOfMemory();
    this.#taken.push(at);
    return at;
  }

  /** Before the end of the call, where much memory is needed twice. */
  free(image) {
    this.#loader._free(image.at);
    this.#taken.splice(this.#taken.indexOf(image.at), 1);
  }

  release() {
    for (const at of this.#taken) this.#loader._free(at);
  }

  /** A copy of a typed array. */
  put(array) {
    const at = this.take(array.byteLength);
    this.#wasm.bytes.set(new Uint8Array(array.buffer, array.byteOffset, array.byteLength), at);
    return at;
  }

  /** An image without content; frames are black, as not every call writes their odd last pixels. */
  image(format, { width, height }, code = FORMATS[format].code) {
    const bytes = lengthOf(format, { width, height });
    const at = this.take(bytes);
    if (isFrame(format)) this.view(at, bytes).fill(0).fill(128, width * height);
    return { at, width, height, code, bytes, format };
  }

  /** A picture in the library's memory. */
  upload({ width, height, format, data }, code = FORMATS[format].code) {
    return { at: this.put(data), width, height, code, bytes: data.length, format };
  }

  /** The picture that an image holds. */
  download({ at, width, height, bytes, format }) {
    return { width, height, format, data: this.copy(at, bytes) };
  }

  copy(at, size) {
    try {
      return new Uint8ClampedArray(this.#wasm.bytes.buffer.slice(at, at + size));
    } catch (error) {
      throw outOfMemory(error);
    }
  }

  view(at, size) {
    return this.#wasm.bytes.subarray(at, at + size);
  }

  words(at, count) {
    return this.#wasm.words.subarray(at >>> 2, (at >>> 2) + count);
  }

  /** Calls a function of the library; images are passed as records. */
  run(name, ...values) {
    const code = this.#loader[`_${name}`](...values.map((value) => (typeof value === "object" ? this.#record(value) : value)));
    if (code === BAD_ARGUMENT) throw new RangeError(`${name} refused its arguments`);
    return code;
  }

  /** A QX_OFFSCREEN, on the stack until the end of the call. */
  #record({ at, width, height, code, format }) {
    const record = this.#loader.stackAlloc(RECORD_BYTES);
    const pitch = width * (code === CODES.ABGR ? 4 : FORMATS[format].bytes || 1);
    const chroma = isFrame(format) ? [at + width * height, 2 * Math.ceil(width / 2)] : [0, 0];
    this.words(record, 11).set([code, width, height, at, chroma[0], 0, 0, pitch, chroma[1], 0, 0]);
    return record;
  }
}
