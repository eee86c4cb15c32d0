import type { Scaffold } from 'stiltforge/scaffold';
import type { Slicer, Triangles } from 'stiltforge/slicing';
import type { SupportsDocument } from './output/documents.js';
import { usualScaffold } from './output/usual_scaffold.js';

/** Parts of up to so many have their supports built for the pictures alone. */
export const mostDrawnBuilt = { triangles: 100_000, supports: 1000 };

interface ShownPart {
  document: SupportsDocument;
  mesh: Triangles;
  slicer: Slicer;
  built?: Scaffold;
}

/**
 * The part with the supports that its report and its pictures show, as they are built. Of a large part they
 * are built for a report only: that takes longer than drawing it. `progress` is told the share that is
 * done, from 0 to 1. Throws the signal's reason.
 */
export async function withShownSupports<Part extends ShownPart>(
  { report, pictures }: { report?: boolean; pictures: boolean },
  part: Part,
  progress?: (share: number) => void,
  signal?: AbortSignal,
): Promise<Part> {
  const { document, mesh, slicer } = part;
  const isSmall =
    slicer.report.triangles <= mostDrawnBuilt.triangles &&
    document.supports.length <= mostDrawnBuilt.supports;
  if (part.built || !(report || (pictures && isSmall))) return part;
  const built = await usualScaffold({
    ...{ positions: mesh, points: document.supports, plateZ: slicer.plateZ },
    ...{ layerHeight: document.print.layerHeight, progress, signal },
  });
  return { ...part, built };
}
