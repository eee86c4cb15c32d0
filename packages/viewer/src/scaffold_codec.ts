import { VarintReader, VarintWriter } from './varint.js';

/** Rings of a closed surface, one behind the other, the lowest first. */
export interface RingSpan {
  firstRing: number;
  rings: number;
}

/** Finer than a pixel of a screen shows. */
const perMillimetre = 100;

/**
 * The rings of surfaces as bytes, which deflate shrinks further. `rings`: four numbers each, x, y and z of
 * the middle and the radius, mm. Each is told as what it differs by from the one before, in hundredths of a
 * millimetre.
 */
export function encodeRings(
  rings: Float64Array,
  surfaces: readonly RingSpan[],
): Uint8Array<ArrayBuffer> {
  const writer = new VarintWriter();
  const before = [0, 0, 0, 0];
  for (const { firstRing, rings: count } of surfaces) {
    writer.unsigned(count);
    for (let at = 4 * firstRing; at < 4 * (firstRing + count); at++) {
      const value = Math.round(rings[at] * perMillimetre);
      writer.signed(value - before[at % 4]);
      before[at % 4] = value;
    }
  }
  return writer.finish();
}

/** A piece of a surface: from a ring to the one above it, eight numbers, mm. */
export type RingPairs = Float32Array<ArrayBuffer>;

/** What goes straight from one ring to the next. Throws a RangeError for bytes that are none of encodeRings(). */
export function decodeRings(bytes: Uint8Array, surfaces: number): RingPairs {
  const reader = new VarintReader(bytes);
  const pairs: number[] = [];
  let before = [0, 0, 0, 0];
  for (let surface = 0; surface < surfaces; surface++) {
    const count = reader.unsigned();
    for (let ring = 0; ring < count; ring++) {
      const here = before.map((value) => value + reader.signed());
      if (ring > 0) pairs.push(...before, ...here);
      before = here;
    }
  }
  return Float32Array.from(pairs, (value) => value / perMillimetre);
}
