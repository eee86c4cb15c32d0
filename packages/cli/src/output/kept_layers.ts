import type { LabelledRuns, LayerSlicer } from 'stiltforge/slicing';

/** Bytes of layers that are kept. */
const mostBytes = 96e6;

/** The layers of a print as runs: those that fit into some memory are decoded once. */
export class KeptLayers {
  private readonly kept = new Map<number, LabelledRuns>();
  private bytes = 0;

  constructor(private readonly slicer: Pick<LayerSlicer, 'runs'>) {}

  async runs(first: number, count: number): Promise<readonly LabelledRuns[]> {
    const known = Array.from({ length: count }, (_, i) => this.kept.get(first + i));
    if (known.every((runs) => runs !== undefined)) return known;
    const read = await this.slicer.runs(first, count);
    read.forEach((runs, i) => {
      this.keep(first + i, runs);
    });
    return read;
  }

  private keep(layer: number, runs: LabelledRuns): void {
    const bytes = bytesOf(runs) + bytesOf(runs.overhang);
    if (this.kept.has(layer) || this.bytes + bytes > mostBytes) return;
    this.kept.set(layer, runs);
    this.bytes += bytes;
  }
}

function bytesOf(runs: object): number {
  return Object.values(runs)
    .filter(ArrayBuffer.isView)
    .reduce((sum, { byteLength }) => sum + byteLength, 0);
}

/** Of layers whose material lies within the crop, what lies there. */
export function croppedRuns(
  runs: LabelledRuns,
  { column, row, height }: { column: number; row: number; height: number },
): LabelledRuns {
  const moved = (columns: Uint16Array): Uint16Array => columns.map((value) => value - column);
  const rows = <Rows extends Pick<LabelledRuns, 'rowStart' | 'begin' | 'end'>>(
    from: Rows,
  ): Rows => ({
    ...from,
    rowStart: from.rowStart.subarray(row, row + height + 1),
    begin: moved(from.begin),
    end: moved(from.end),
  });
  return { ...rows(runs), overhang: rows(runs.overhang) };
}
