// The camera's frames, one at a time: the next one is taken when the one before is on the screen.
const MASK_SIDE = 256;

const SENTENCES = {
  NotFoundError: "No camera was found.",
  NotAllowedError: "The browser was not allowed to use the camera.",
  NotReadableError: "The camera is in use by another program.",
  OverconstrainedError: "The camera has no suitable picture.",
};

export class Camera {
  #video;
  #stream;

  constructor(video) {
    this.#video = video;
  }

  get isOn() {
    return this.#stream !== undefined;
  }

  /** Another one each time that the camera is started; undefined while it is off. */
  get stream() {
    return this.#stream;
  }

  async start() {
    if (!navigator.mediaDevices) throw new Error("This page may not use a camera: it needs https or a loopback address.");
    try {
      this.#stream = await navigator.mediaDevices.getUserMedia({ video: { width: { ideal: 640 }, height: { ideal: 480 }, facingMode: "user" } });
    } catch (error) {
      throw new Error(SENTENCES[error.name] ?? `The camera does not start: ${error.message}`);
    }
    this.#video.srcObject = this.#stream;
    await this.#video.play();
  }

  stop() {
    this.#stream?.getTracks().forEach((track) => track.stop());
    this.#stream = this.#video.srcObject = undefined;
  }

  #next() {
    return new Promise((resolve) => {
      if (this.#video.requestVideoFrameCallback) this.#video.requestVideoFrameCallback(resolve);
      else requestAnimationFrame(resolve);
    });
  }

  /** The next frame, and the same at the network's size; undefined when the stream has ended meanwhile. */
  async frame(stream) {
    await this.#next();
    if (this.#stream !== stream) return undefined;
    const image = await createImageBitmap(this.#video);
    return { image, forMask: await createImageBitmap(image, { resizeWidth: MASK_SIDE, resizeHeight: MASK_SIDE }) };
  }
}
