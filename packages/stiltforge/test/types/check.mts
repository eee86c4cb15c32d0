import { type CheckReport, checkPrint, type Finding, type Severity } from 'stiltforge/check';
import { createSlicer } from 'stiltforge/slicing';

export async function use(positions: Float32Array<ArrayBuffer>): Promise<Severity[]> {
  const print = { layerHeight: 0.05, screenWidth: 3840, screenHeight: 2400 };
  const slicer = createSlicer({ positions, ...print, pixelSize: 0.05 });
  const report: CheckReport = await checkPrint(slicer, {
    ...print,
    pixelWidth: 0.05,
    points: [{ layer: 3, column: 5, row: 7 }],
    progress: (layers: number, total: number) => console.log(layers / total),
    signal: new AbortController().signal,
  });
  const worst: Finding | undefined = report.findings[0];
  console.log(report.counts.fails, worst.place?.x, worst.box?.min[2], worst.takenIn ?? 0);
  // @ts-expect-error a pixel has a size
  await checkPrint(slicer, print);
  // @ts-expect-error there are no such layers
  await checkPrint([], { ...print, pixelWidth: 0.05 });
  return report.findings.map(({ severity }) => severity);
}
