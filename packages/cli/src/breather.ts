/** Milliseconds of work after which signals and other work have their turn. */
const longestBreath = 20;

/** Lets long work be interrupted, in Node and in browsers. */
export class Breather {
  private last = performance.now();

  constructor(private readonly signal?: AbortSignal) {}

  /** To be called often. Throws the signal's reason. */
  async breathe(): Promise<void> {
    if (performance.now() - this.last > longestBreath) {
      await new Promise((resolve) => setTimeout(resolve));
      this.last = performance.now();
    }
    this.signal?.throwIfAborted();
  }
}
