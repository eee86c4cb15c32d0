import type { LabelledRuns } from 'stiltforge/slicing';

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
