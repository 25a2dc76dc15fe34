// Requests to a worker that answers each with its id and either a result or an error's sentence.

const GONE = "A part of the page could not be loaded.";

export class Calls {
  #worker;
  #waiting = new Map();
  #next = 0;
  #isGone = false; // its program could not be loaded: no answer will ever come

  constructor(address, options) {
    this.#worker = new Worker(address, options);
    this.#worker.onmessage = ({ data }) => this.#settle(data);
    this.#worker.onerror = (event) => this.#failAll(event.message);
  }

  ask(message, transfer = []) {
    if (this.#isGone) return Promise.reject(new Error(GONE));
    const id = ++this.#next;
    return new Promise((resolve, reject) => {
      this.#waiting.set(id, { resolve, reject });
      this.#worker.postMessage({ ...message, id }, transfer);
    });
  }

  #settle({ id, error, ...result }) {
    const { resolve, reject } = this.#waiting.get(id);
    this.#waiting.delete(id);
    if (error === undefined) resolve(result);
    else reject(new Error(error));
  }

  #failAll(message) {
    this.#isGone = message === undefined;
    for (const { reject } of this.#waiting.values()) reject(new Error(message ?? GONE));
    this.#waiting.clear();
  }
}
