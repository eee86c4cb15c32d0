import { Command, Option } from 'commander';
import type { Severity } from 'stiltforge/check';
import { defaultSupport } from 'stiltforge/slicing';
import { ExitCode, Told, UserError } from '../errors.js';
import { untilInterrupted } from '../interrupting.js';
import { angle, folderName, wholeNumber } from '../option_values.js';
import { separateFolders } from '../output/separate_folders.js';
import {
  addPartOptions,
  addPrinterOptions,
  type PartOptions,
  type PrinterOptions,
  printSettings,
} from '../part_options.js';
import { noProgress } from '../progress.js';
import { progressOn } from '../progress_on.js';
import { checkSettings } from '../setting_ranges.js';
import { checkFiles, isAsBadAs, severities } from './check_files.js';
import { checkDocument } from './document.js';
import type { InputOptions } from './input.js';
import { loadPoints } from './points.js';
import { checkFolder } from './report_folder.js';
import { fileText, overviewText } from './text.js';

interface Options extends PartOptions, PrinterOptions {
  points?: string;
  criticalAngle: number;
  threshold?: number;
  failOn: Severity;
  json?: boolean;
  report?: boolean;
  out?: string;
  force?: boolean;
  quiet?: boolean;
}

const description =
  'Tells whether prints hold as they are: what begins in the air, hangs over too far, stands on ' +
  'nothing, is cut off by the edge of the screen, traps resin or sucks at the film.';

const notes = `
Printer files (SL1, NanoDLP, GOO, other zips of PNGs) are checked with the
supports in their layers, and say layer height and pixel size themselves unless
the options do. A mesh (STL, OBJ, PLY, 3MF) is sliced with
the settings of the printer and checked with the supports of --points, or as if
it had none. Each cause is one finding, without what follows from it.

Exit codes:
  0    nothing would fail
  1    something would fail, or as bad as --fail-on says
  2    the command line is wrong
  3    a file can't be used; the others were checked
  4    a report can't be written; the others were checked
  5    there is not enough memory for a file; the others were checked
  130  interrupted

Examples:
  stiltforge check part.stl --points part-supports/points.csv
  stiltforge check plate.sl1 --report
  stiltforge check jobs/*.goo --json > findings.json`;

/** stiltforge check FILE... */
export function checkCommand(): Command {
  const command = new Command('check')
    .usage('<file...> [options]')
    .summary('tell whether prints hold as they are')
    .description(description)
    .argument('<file...>', 'printer files, folders of numbered PNGs, or meshes');
  addPartOptions(command);
  addPrinterOptions(command);
  return command
    .optionsGroup('The check:')
    .option(
      '--threshold <grey>',
      'the lowest grey, 1 to 255, that is material in the layers of a printer file (default: 128)',
      wholeNumber(1, 255),
    )
    .option('--points <file>', 'supports of the mesh: a points.csv or supports.json')
    .option(
      '--critical-angle <degrees>',
      'surfaces that lie flatter than this, measured from the plate, do not carry themselves',
      angle,
      defaultSupport.criticalAngle,
    )
    .addOption(
      new Option('--fail-on <severity>', 'exit with 1 for findings as bad as this')
        .choices(severities)
        .default('fails'),
    )
    .option('--json', 'print the findings for machines')
    .option('--report', 'also write report.html, a page to look at it all, layer by layer')
    .option(
      '-o, --out <folder>',
      'where the page goes (default: "<file>-check"); of several files, where their folders go',
      folderName,
    )
    .option('--force', 'overwrite a page there that no earlier run wrote')
    .optionsGroup('The run:')
    .option('-q, --quiet', 'print only warnings and errors')
    .helpOption('-h, --help', 'print this help')
    .addHelpText('after', notes)
    .showHelpAfterError('Try: stiltforge check --help')
    .action(check);
}

async function check(files: string[], options: Options, command: Command): Promise<void> {
  const { points, criticalAngle, failOn, json, report, force, quiet } = options;
  const print = printSettings(options);
  checkSettings(print, { ...defaultSupport, criticalAngle });
  if (points !== undefined && files.length > 1) {
    throw new UserError(
      ExitCode.usage,
      `--points ${points}: it holds the supports of one mesh, and ${files.length} files are given. ` +
        'Check them one by one.',
    );
  }
  const supports = points === undefined ? undefined : await loadPoints(points);
  const say = (text: string): void => {
    if (!quiet && !json) process.stdout.write(text);
  };
  const checked = await untilInterrupted(async (signal) =>
    checkFiles(files, {
      part: options,
      print,
      given: givenOf(options, command),
      supports,
      criticalAngle,
      ...(report ? { reportFolder: foldersOf(files, options) } : {}),
      force,
      progress: quiet ? noProgress : await progressOn(process.stderr),
      signal,
      warn: (sentence) => process.stderr.write(`stiltforge: warning: ${sentence}\n`),
      done: (one) => {
        if (one.error) process.stderr.write(`stiltforge: ${one.error.message}\n`);
        else say(`${fileText(one.file, one.report)}\n`);
      },
    }),
  );
  if (json) process.stdout.write(`${JSON.stringify(checkDocument(checked), undefined, 2)}\n`);
  if (checked.length > 1) say(overviewText(checked));
  const unusable = checked.find(({ error }) => error !== undefined)?.error;
  if (unusable) throw new Told(unusable.exitCode);
  if (checked.some(({ report }) => report && isAsBadAs(report, failOn)))
    throw new Told(ExitCode.failure);
}

/** Throws a UserError when two files would share a folder. */
function foldersOf(files: readonly string[], { out }: Options): (file: string) => string {
  const folders =
    files.length === 1 ? [out ?? checkFolder(files[0])] : separateFolders(files, checkFolder, out);
  return (file) => folders[files.indexOf(file)];
}

/** What a person says of printer files; a preset is for those that do not say it themselves. */
function givenOf(options: Options, command: Command): InputOptions['given'] {
  const from = (name: string): unknown => command.getOptionValueSource(name);
  const { layerHeight, pixelSize, threshold } = options;
  return {
    layerHeight: from('layerHeight') === 'cli' ? layerHeight : undefined,
    pixelSize: from('pixelSize') === 'cli' ? pixelSize : undefined,
    usualPixelSize: from('pixelSize') === 'default' ? undefined : pixelSize,
    threshold,
  };
}
