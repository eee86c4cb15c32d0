import {
  buildScaffold,
  defaultScaffold,
  type Scaffold,
  type ScaffoldSettings,
  type Stand,
} from 'stiltforge/scaffold';
import { codeOf, ExitCode, messageOf, UserError } from '../errors.js';
import type { ScaffoldRecord, SupportsDocument } from '../output/documents.js';
import type { SupportedPart } from '../supported_part.js';
import { counted } from '../wording.js';

export interface ScaffoldJob {
  settings: ScaffoldSettings;
  /** The part with its supports is written, too. */
  merge: boolean;
}

export interface BuiltPart {
  scaffold: Scaffold;
  /** The document of the part, and what was built. */
  document: SupportsDocument;
  /** What building adds to the warnings of the document. */
  warnings: string[];
}

/**
 * Builds the supports of a part as geometry, off the main thread. `progress` is told the share that is
 * done, from 0 to 1. Throws a UserError when the part can't be used, the signal's reason when it is
 * aborted.
 */
export async function buildSupports(
  part: Pick<SupportedPart, 'document' | 'mesh' | 'slicer'>,
  { settings, merge }: ScaffoldJob,
  progress?: (share: number) => void,
  signal?: AbortSignal,
): Promise<BuiltPart> {
  const { document, mesh, slicer } = part;
  const { supports: points, print, model } = document;
  const { layerHeight } = print;
  const { plateZ } = slicer;
  const scaffold = await buildScaffold({
    ...{ positions: mesh, points, plateZ, layerHeight },
    ...{ ...settings, progress, signal },
  }).catch((error) => {
    signal?.throwIfAborted();
    if (codeOf(error) !== 'ERR_STILTFORGE_MESH') throw error;
    throw new UserError(ExitCode.mesh, `${model.file}: ${messageOf(error)}`, { cause: error });
  });
  const stands = { plate: 0, bridge: 0, part: 0, low: 0 } satisfies Record<Stand, number>;
  for (const { stand } of scaffold.supports) stands[stand]++;
  const record: ScaffoldRecord = {
    ...{ ...defaultScaffold, ...settings },
    merged: merge,
    built: scaffold.supports.length,
    stands,
    braces: scaffold.braces.length,
    alone: scaffold.alone,
    leftOut: scaffold.leftOut.map(({ point, reason }) => ({ support: point, reason })),
  };
  const warnings = [...leftOutWarnings(record, document), ...edgeWarnings(part, scaffold)];
  return {
    ...{ scaffold, warnings },
    document: {
      ...document,
      model: { ...model, warnings: [...model.warnings, ...warnings] },
      scaffold: record,
    },
  };
}

/** With the place of the first. */
function leftOutWarnings({ leftOut }: ScaffoldRecord, { supports }: SupportsDocument): string[] {
  const sentence = (
    reason: ScaffoldRecord['leftOut'][number]['reason'],
    why: string,
    remedy: string,
  ): string[] => {
    const found = leftOut.filter((left) => left.reason === reason);
    if (found.length === 0) return [];
    const { x, y, z } = supports[found[0].support];
    const count = counted(found.length, 'support was', 'supports were');
    const where = `${found.length === 1 ? 'at' : 'the first at'} ${x}, ${y}, ${z} mm`;
    return [`${count} not built, ${where}: ${why}. ${remedy}`];
  };
  return [
    ...sentence(
      'noWay',
      'the part is in the way wherever a pillar might go',
      'Turn the part, or make tips and pillars thinner.',
    ),
    ...sentence('tooLow', 'it is less than a layer above what it would stand on', 'Lift the part.'),
  ];
}

function edgeWarnings(
  { slicer, document }: Pick<SupportedPart, 'document' | 'slicer'>,
  { positions }: Scaffold,
): string[] {
  const { screenWidth, screenHeight, pixelSize } = document.print;
  const { originX, originY } = slicer;
  let over = 0;
  for (let i = 0; i < positions.length; i += 3) {
    const x = positions[i] - originX;
    const y = originY - positions[i + 1];
    over = Math.max(over, -x, x - screenWidth * pixelSize, -y, y - screenHeight * pixelSize);
  }
  return over > 0
    ? [
        `The supports reach ${over.toFixed(1)} mm over the edge of the screen: make feet smaller, or ` +
          'turn the part.',
      ]
    : [];
}
