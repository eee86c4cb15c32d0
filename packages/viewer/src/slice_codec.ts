import { VarintReader, VarintWriter } from './varint.js';

/** Runs of pixels by rows, each with a number. Row y has the runs from rowStart[y] to before rowStart[y + 1]. */
export interface ValuedRuns {
  readonly rowStart: Uint32Array;
  readonly begin: Uint16Array;
  readonly end: Uint16Array;
  readonly value: Uint32Array;
}

/** A slice as the viewer shows it, in pixels of the crop. */
export interface ViewerSlice {
  /** The runs of material, their values the numbers of their regions from 1. */
  material: ValuedRuns;
  /** Material that is not fully supported, its values levels of `overhangLevels`. */
  overhang: ValuedRuns;
}

/** A slice as the slicer gives it. */
export interface LabelledRuns {
  readonly rowStart: Uint32Array;
  readonly begin: Uint16Array;
  readonly end: Uint16Array;
  /** Of each run, from 1. */
  readonly region: Uint32Array;
  readonly overhang: {
    readonly rowStart: Uint32Array;
    readonly begin: Uint16Array;
    readonly end: Uint16Array;
    /** Support value of each pixel, row by row. */
    readonly blue: Uint8Array;
  };
}

/** How much an overhanging pixel hangs: held in part, or next to freely. */
export const overhangLevels = { partly: 1, freely: 2 } as const;

/** Support values below this hang freely. */
const freelyBelow = 128;

/**
 * The slice as bytes, which deflate shrinks further. Numbers are written as what they differ by from
 * the run with the same place in the row above, all of a kind together: contours go straight on mostly.
 */
export function encodeSlice(runs: LabelledRuns): Uint8Array<ArrayBuffer> {
  const writer = new VarintWriter();
  const { rowStart, begin, end, region } = runs;
  writeRuns(writer, { rowStart, begin, end, value: region });
  writeRuns(writer, overhangOf(runs));
  return writer.finish();
}

/** `height`: rows of the slice. Throws a RangeError for bytes that are none of encodeSlice(). */
export function decodeSlice(bytes: Uint8Array, height: number): ViewerSlice {
  const reader = new VarintReader(bytes);
  return { material: readRuns(reader, height), overhang: readRuns(reader, height) };
}

/** The overhanging pixels as runs of the same level. */
function overhangOf({ overhang }: LabelledRuns): ValuedRuns {
  const { blue } = overhang;
  const rowStart = new Uint32Array(overhang.rowStart.length);
  const begin: number[] = [];
  const end: number[] = [];
  const value: number[] = [];
  let pixel = 0;
  for (let y = 0; y + 1 < rowStart.length; y++) {
    for (let run = overhang.rowStart[y]; run < overhang.rowStart[y + 1]; run++) {
      let level = 0;
      for (let x = overhang.begin[run]; x < overhang.end[run]; x++) {
        const here = blue[pixel++] < freelyBelow ? overhangLevels.freely : overhangLevels.partly;
        if (here !== level) {
          if (level !== 0) end.push(x);
          begin.push(x);
          value.push(here);
          level = here;
        }
      }
      end.push(overhang.end[run]);
    }
    rowStart[y + 1] = begin.length;
  }
  return {
    rowStart,
    begin: Uint16Array.from(begin),
    end: Uint16Array.from(end),
    value: Uint32Array.from(value),
  };
}

function writeRuns(writer: VarintWriter, { rowStart, begin, end, value }: ValuedRuns): void {
  const height = rowStart.length - 1;
  let first = 0;
  while (first < height && rowStart[first + 1] === 0) first++;
  let last = height;
  while (last > first && rowStart[last - 1] === rowStart[last]) last--;
  writer.unsigned(first);
  writer.unsigned(last - first);
  for (let y = first; y < last; y++) writer.unsigned(rowStart[y + 1] - rowStart[y]);
  const total = rowStart[height];
  const above = aboveOf(rowStart, first, last, total);
  for (let run = 0; run < total; run++) writer.signed(begin[run] - guess(begin, run, above));
  for (let run = 0; run < total; run++) {
    writer.signed(end[run] - begin[run] - guessLength(begin, end, run, above));
  }
  for (let run = 0; run < total; run++) writer.signed(value[run] - guess(value, run, above));
}

function readRuns(reader: VarintReader, height: number): ValuedRuns {
  const first = reader.unsigned();
  const rows = reader.unsigned();
  if (first + rows > height) throw new RangeError('a slice of this page has too many rows');
  const rowStart = new Uint32Array(height + 1);
  for (let y = first; y < first + rows; y++) rowStart[y + 1] = rowStart[y] + reader.unsigned();
  const total = rowStart[first + rows];
  rowStart.fill(total, first + rows);
  const above = aboveOf(rowStart, first, first + rows, total);
  const begin = new Uint16Array(total);
  const end = new Uint16Array(total);
  const value = new Uint32Array(total);
  for (let run = 0; run < total; run++) begin[run] = reader.signed() + guess(begin, run, above);
  for (let run = 0; run < total; run++) {
    end[run] = begin[run] + reader.signed() + guessLength(begin, end, run, above);
  }
  for (let run = 0; run < total; run++) value[run] = reader.signed() + guess(value, run, above);
  return { rowStart, begin, end, value };
}

/** Of each run the one with the same place in the row above, or the one before it, or -1. */
function aboveOf(rowStart: Uint32Array, first: number, last: number, total: number): Int32Array {
  const above = new Int32Array(total);
  for (let y = first; y < last; y++) {
    const before = y > first ? rowStart[y] - rowStart[y - 1] : 0;
    for (let run = rowStart[y]; run < rowStart[y + 1]; run++) {
      const place = run - rowStart[y];
      above[run] = place < before ? rowStart[y - 1] + place : run - 1;
    }
  }
  return above;
}

function guess(numbers: Uint16Array | Uint32Array, run: number, above: Int32Array): number {
  return above[run] < 0 ? 0 : numbers[above[run]];
}

function guessLength(begin: Uint16Array, end: Uint16Array, run: number, above: Int32Array): number {
  return above[run] < 0 ? 0 : end[above[run]] - begin[above[run]];
}
