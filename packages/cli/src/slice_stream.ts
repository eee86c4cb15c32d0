import type { Slicer } from './slicer.js';

/** Slices prepared beyond the one that is being analysed. */
const ahead = 2;

/** Slices in memory at once: those ahead, the one being cut and the two that the analysis holds. */
export const slicesInHand = ahead + 3;

/** The slices of a model, bottom first, each cut while earlier ones are analysed. */
export class SliceStream implements AsyncIterable<ArrayBuffer> {
  /** Pixels of material in the slices so far. */
  materialPixels = 0;
  private readonly given: ArrayBuffer[] = [];
  private readonly free: ArrayBuffer[] = [];

  constructor(private readonly slicer: Slicer) {}

  async *[Symbol.asyncIterator](): AsyncGenerator<ArrayBuffer> {
    const { slicer } = this;
    const pending: ReturnType<Slicer['slice']>[] = [];
    for (let index = 0; index < slicer.layerCount; index++) {
      while (pending.length <= ahead && index + pending.length < slicer.layerCount) {
        const slice = slicer.slice(index + pending.length, this.free.pop());
        // One that fails after the stream was left must not end the process.
        slice.catch(() => {});
        pending.push(slice);
      }
      const slice = await pending.shift();
      if (slice === undefined) return;
      this.materialPixels += slice.materialPixels;
      this.given.push(slice.pixels);
      yield slice.pixels;
    }
  }

  /** The oldest slice still given away has been analysed: its memory takes a later one. */
  recycle(): void {
    const pixels = this.given.shift();
    if (pixels !== undefined) this.free.push(pixels);
  }
}
