// From a mesh file to its supports, and from masks, without the types of Node.
import { Analysis, type SliceMask } from 'stiltforge/analysis';
import {
  analysisParameters,
  createMaskSlicer,
  createSlicer,
  defaultPrint,
  defaultSupport,
  findSettingConflict,
  type MaskSlicer,
  type MeshReport,
  readMesh,
  type SettingConflict,
} from 'stiltforge/slicing';

export async function supportsOf(file: Uint8Array): Promise<number> {
  const conflict: SettingConflict | undefined = findSettingConflict(defaultPrint, defaultSupport);
  if (conflict) throw new Error(`${conflict.setting}: ${conflict.range}`);
  const { positions, warnings } = await readMesh(file, { name: 'part.stl' });
  const slicer = createSlicer({ positions, ...defaultPrint, margin: 2 });
  const report: MeshReport = slicer.report;
  let supports = warnings.length + report.openEdges;
  await using analysis = Analysis.create(analysisParameters(defaultPrint, defaultSupport, slicer));
  for await (const { layer } of analysis.run(slicer)) {
    for (const group of layer.groups) supports += group.supports.length;
  }
  return supports;
}

export async function* slicesOf(masks: Iterable<Uint8Array>): AsyncGenerator<SliceMask> {
  const slicer: MaskSlicer = createMaskSlicer({
    maskWidth: 3840,
    maskHeight: 2400,
    ...{ layerHeight: 0.05, pixelSize: 0.05 },
  });
  for (const mask of masks) yield { mask, slicer };
  // @ts-expect-error a mask is bytes
  yield { mask: 'grey', slicer };
}
