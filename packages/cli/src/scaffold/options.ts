import type { Command, Option } from 'commander';
import { defaultScaffold } from 'stiltforge/scaffold';
import { ExitCode, UserError } from '../errors.js';
import { distance, positive } from '../option_values.js';
import type { OutputFormat } from '../output/formats.js';
import { checkScaffold } from './setting_ranges.js';
import type { ScaffoldJob } from './supports_geometry.js';

export interface ScaffoldOptions {
  tipDiameter: number;
  tipLength: number;
  pillarDiameter: number;
  footDiameter: number;
  footHeight: number;
  braceDiameter: number;
  braceReach: number;
  raft?: number;
  merge?: boolean;
}

/** How supports are built as geometry. */
export function addScaffoldOptions(command: Command): Command {
  const usual = defaultScaffold;
  return command
    .optionsGroup('Supports as geometry, with --format stl:')
    .option('--tip-diameter <mm>', 'where a support touches the part', positive, usual.tipDiameter)
    .option('--tip-length <mm>', 'height of the cone below it', positive, usual.tipLength)
    .option('--pillar-diameter <mm>', 'of the pillar below that', positive, usual.pillarDiameter)
    .option('--foot-diameter <mm>', 'where it stands on the plate', positive, usual.footDiameter)
    .option('--foot-height <mm>', 'height of the foot', distance, usual.footHeight)
    .option(
      '--brace-diameter <mm>',
      'of the rods between pillars that are ten times as high as wide',
      positive,
      usual.braceDiameter,
    )
    .option(
      '--brace-reach <mm>',
      'connect such pillars up to this far apart; 0 connects none',
      distance,
      usual.braceReach,
    )
    .option('--raft <mm>', 'a plate so thick below all supports; the part needs --lift', positive)
    .option('--merge', 'also write the part with its supports, part_with_supports.stl');
}

/**
 * What the words on the command line say; undefined without --format stl. Throws a UserError for an
 * option that is only for it.
 */
export function scaffoldJob(
  words: ScaffoldOptions & { format?: OutputFormat[]; lift?: number },
  command: Command,
): ScaffoldJob | undefined {
  if (!words.format?.includes('stl')) {
    const given = command.options.find(
      (option) => only.has(option.attributeName()) && isGiven(command, option),
    );
    if (given === undefined) return undefined;
    throw new UserError(
      ExitCode.usage,
      `${given.long}: it is for supports as geometry. Add --format stl.`,
    );
  }
  const { tipDiameter, tipLength, pillarDiameter, footDiameter, footHeight } = words;
  const { braceDiameter, braceReach, raft: raftThickness = 0, merge = false } = words;
  const job = {
    settings: {
      ...{ tipDiameter, tipLength, pillarDiameter, footDiameter, footHeight, raftThickness },
      ...{ braceDiameter, braceReach },
    },
    merge,
  };
  checkScaffold(job.settings, words.lift);
  return job;
}

const names: readonly (keyof ScaffoldOptions)[] = [
  ...(['tipDiameter', 'tipLength', 'pillarDiameter', 'footDiameter', 'footHeight'] as const),
  ...(['braceDiameter', 'braceReach', 'raft', 'merge'] as const),
];
const only = new Set<string>(names);

function isGiven(command: Command, option: Option): boolean {
  return command.getOptionValueSource(option.attributeName()) === 'cli';
}
