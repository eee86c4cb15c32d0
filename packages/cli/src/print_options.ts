import { basename, extname } from 'node:path';
import { type Command, InvalidArgumentError } from 'commander';
import type { SupportSettings } from 'stiltforge/slicing';
import type { PrintJob } from './analyse_print.js';
import { ExitCode, UserError } from './errors.js';
import type { RegionToInspect } from './inspected_regions.js';
import type { OutputFormat } from './output/formats.js';
import { openPrint } from './printed_file.js';

export interface PrintOptions {
  threshold?: number;
  channels?: boolean;
}

/** How the layers of a printer file are read. */
export function addPrintOptions(command: Command): Command {
  return command
    .optionsGroup('Layers of a printer file:')
    .option(
      '--threshold <grey>',
      'the lowest grey, 1 to 255, that is material (default: 128)',
      greyLevel,
    )
    .option('--channels', 'RGB pictures carry material, stroke and support value');
}

function greyLevel(text: string): number {
  const value = /^\d{1,3}$/.test(text) ? Number(text) : 0;
  if (value >= 1 && value <= 255) return value;
  throw new InvalidArgumentError('It must be a whole number from 1 to 255.');
}

/** What the words on the command line say, as far as a print needs it. */
interface Words extends PrintOptions {
  layerHeight: number;
  pixelSize: number;
  out?: string;
  force?: boolean;
  format?: OutputFormat[];
  asAnalysed?: boolean;
  memory?: number;
  pictures: boolean;
  report?: boolean;
  inspect: RegionToInspect[];
}

/** Options that a print's file leaves no room for, and why. */
const meshOptions = new Map(
  ['units', 'up', 'rotate', 'height', 'scale', 'center', 'plate', 'copies', 'gap'].map((name) => [
    name,
    'its layers are cut already: the part can only be moved in a mesh',
  ]),
).set('screen', 'the file says how many pixels its layers have');

/** Whether it stands on the command line. */
function isGiven(command: Command, name: string): boolean {
  return command.getOptionValueSource(name) === 'cli';
}

/** Throws a UserError for an option that is only for printer files. */
export function requireNoPrintOptions(name: string, command: Command): void {
  for (const option of ['threshold', 'channels']) {
    if (!isGiven(command, option)) continue;
    throw new UserError(
      ExitCode.usage,
      `--${option}: ${name} is a mesh; the option is for layers of a printer file.`,
    );
  }
}

/** The job for a printer file. Throws a UserError when it can't be opened or an option is for meshes. */
export async function printJob(
  name: string,
  words: Words,
  support: SupportSettings,
  parameters: PrintJob['parameters'],
  command: Command,
): Promise<PrintJob> {
  for (const [option, reason] of meshOptions) {
    if (!isGiven(command, option)) continue;
    throw new UserError(ExitCode.usage, `--${option}: of ${name} ${reason}. Leave the option out.`);
  }
  for (const format of words.format ?? []) {
    if (format === 'json' || format === 'csv') continue;
    throw new UserError(
      ExitCode.usage,
      `--format ${format}: it needs the mesh, and ${name} has layers alone. Give the mesh that it was ` +
        'sliced from, or choose json or csv.',
    );
  }
  const given = {
    layerHeight: isGiven(command, 'layerHeight') ? words.layerHeight : undefined,
    pixelSize: isGiven(command, 'pixelSize') ? words.pixelSize : undefined,
    // That of a preset is for a file that does not say it.
    usualPixelSize:
      command.getOptionValueSource('pixelSize') === 'default' ? undefined : words.pixelSize,
    threshold: words.threshold,
    isReadAgain: words.report,
  };
  return {
    name,
    printed: await openPrint(name, given),
    channels: words.channels,
    support,
    parameters,
    asAnalysed: words.asAnalysed,
    folder: words.out ?? `${basename(name, extname(name))}-supports`,
    force: words.force,
    formats: words.format,
    pictures: words.pictures,
    report: words.report,
    inspect: words.inspect,
    memory: words.memory === undefined ? undefined : 1e9 * words.memory,
  };
}
