import { basename, extname } from 'node:path';
import { Command, Option } from 'commander';
import type { OrientationWeights } from 'stiltforge/orientation';
import type { SupportSettings } from 'stiltforge/slicing';
import { untilInterrupted } from '../interrupting.js';
import { loadMesh } from '../mesh/load.js';
import { folderName, positive, wholeNumber } from '../option_values.js';
import {
  addPartOptions,
  addPrinterOptions,
  addRoomOptions,
  addSupportOptions,
  type PartOptions,
  type PrinterOptions,
  printSettings,
  type RoomOptions,
  supportSettings,
} from '../part_options.js';
import { placedMesh } from '../placement.js';
import { checkSettings } from '../setting_ranges.js';
import { tell } from '../terminal_text.js';
import { orientMesh } from './orient_mesh.js';
import { directionFrom, weightsFrom } from './preferences.js';
import { tableText } from './report.js';

interface Options extends PartOptions, PrinterOptions, SupportSettings, RoomOptions {
  prefer?: OrientationWeights;
  keepClean?: [x: number, y: number, z: number];
  directions: number;
  list: number;
  out?: string;
  force?: boolean;
  pictures: boolean;
  /** GB */
  memory?: number;
  json?: boolean;
  quiet?: boolean;
}

const description =
  'Finds which way a part should stand: tries its flat sides, a spread of tilts and what is near ' +
  'the best of them, each with the analysis at a coarser grid, and ranks them by supports, ' +
  'overhanging surface, islands, height and cups. The best are measured again as they will be ' +
  'printed. Writes the turned mesh (oriented.stl), the list (orientations.json) and a picture ' +
  '(orientations.png).';

const notes = `
Preferences for --prefer, with commas: few-points, little-overhang, few-islands,
low, no-cups, clean. Each weighs ten times what it does by itself; few-points=3
gives the weight, which is 1 by itself, and 0 leaves a measure out.

Sides for --keep-clean: front, back, left, right, top, bottom, an axis like -x,
or a direction like 0,-1,0.5. The front is the side of the smaller y. A side is
marked where it lies on the plate or needs supports.

The cost of about 1 is that of an average orientation of the part.

Examples:
  stiltforge orient part.stl
  stiltforge orient statue.obj --up y --height 80 --keep-clean front
  stiltforge orient part.3mf --prefer low,few-points --json`;

/** The command `stiltforge orient`. */
export function orientCommand(): Command {
  const command = new Command('orient')
    .usage('<mesh> [options]')
    .summary('find which way a part should stand')
    .description(description)
    .argument('<mesh>', 'the part: an STL, OBJ, PLY or 3MF file')
    .optionsGroup('What counts:')
    .addOption(
      new Option('--prefer <list>', 'what weighs more, like few-points,low').argParser(weightsFrom),
    )
    .option('--keep-clean <side>', 'a side that should carry no marks, like front', directionFrom)
    .option(
      '--directions <n>',
      'tilts that are tried before those near the best',
      wholeNumber(1, 100000),
      200,
    )
    .option('--list <n>', 'orientations that are shown', wholeNumber(1, 100), 6);
  addPartOptions(command);
  addPrinterOptions(command);
  addSupportOptions(command);
  addRoomOptions(command);
  return command
    .optionsGroup('The results:')
    .option('-o, --out <folder>', 'where they go (default: "<mesh>-orientation")', folderName)
    .option('--force', 'overwrite files there that no earlier run wrote')
    .option('--no-pictures', 'write no picture')
    .option('--json', 'print the list as JSON')
    .optionsGroup('The run:')
    .option('--memory <GB>', 'memory that it may take (default: what the machine has)', positive)
    .option('-q, --quiet', 'print only warnings and errors')
    .helpOption('-h, --help', 'print this help')
    .addHelpText('after', notes)
    .action(run);
}

async function run(meshFile: string, options: Options): Promise<void> {
  const print = printSettings(options);
  const { minHeight: minimumHeight, minSpacing: minimumSpacing, memory } = options;
  const support = { ...supportSettings(options), minimumHeight, minimumSpacing };
  // Before a large mesh is read.
  checkSettings(print, support);
  // What draws a bar takes longer to load than a small part to analyse.
  const { orientProgress } = await import('./progress.js');
  const progress = options.quiet ? undefined : orientProgress(process.stderr);
  const report = await untilInterrupted(async (signal) => {
    const file = await loadMesh(meshFile, signal);
    for (const warning of file.warnings) {
      tell(process.stderr, `stiltforge: warning: ${meshFile}: ${warning}\n`);
    }
    try {
      return await orientMesh(
        {
          name: meshFile,
          mesh: placedMesh(file, meshFile, options),
          print,
          support,
          weights: options.prefer,
          keepClean: options.keepClean,
          directions: options.directions,
          listed: options.list,
          folder: options.out ?? `${basename(meshFile, extname(meshFile))}-orientation`,
          force: options.force,
          pictures: options.pictures,
          memory: memory === undefined ? undefined : 1e9 * memory,
        },
        { progress: (done, total) => progress?.show(done, total), signal },
      );
    } finally {
      progress?.stop();
    }
  });
  if (options.json) process.stdout.write(report.json);
  else if (!options.quiet) tell(process.stdout, tableText(report));
}
