import { Command, Option } from 'commander';
import { defaultSupport } from 'stiltforge/slicing';
import { angle, folderName, positive, wholeNumber } from '../option_values.js';
import { addPartOptions, addPrinterOptions } from '../part_options.js';
import { severities } from './check_files.js';
import type { CheckOptions } from './options.js';

/** What the words on the command line lead to. */
export type CheckAction = (
  files: string[],
  options: CheckOptions,
  command: Command,
) => Promise<void>;

const description =
  'Tells whether prints hold as they are: what begins in the air, hangs over too far, stands on ' +
  'nothing, is cut off by the edge of the screen, traps resin or sucks at the film.';

const notes = `
Printer files (SL1, NanoDLP, GOO, other zips of PNGs) are checked with the
supports in their layers, and say layer height and pixel size themselves unless
the options do. A mesh (STL, OBJ, PLY, 3MF) is sliced with the settings of the
printer and checked with the supports of --points, or as if it had none. Each
cause is one finding, without what follows from it.

Several files are checked side by side, as many as there are cores and as
--memory allows. One that fails does not stop the others.

Exit codes:
  0    nothing would fail
  1    something would fail, or as bad as --fail-on says
  2    the command line is wrong
  3    a file can't be used; the others were checked
  4    a report can't be written; the others were checked
  5    there is not enough memory for a file; the others were checked
  130  interrupted
Of several files that can't be used it is the code of the first.

Examples:
  stiltforge check part.stl --points part-supports/points.csv
  stiltforge check plate.sl1 --report
  stiltforge check jobs/*.goo --json > findings.json`;

/** stiltforge check FILE... */
export function checkCommand(run: CheckAction): Command {
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
    .option(
      '--memory <GB>',
      'memory that files side by side may take together (default: what the machine has)',
      positive,
    )
    .option('-q, --quiet', 'print only warnings and errors')
    .helpOption('-h, --help', 'print this help')
    .addHelpText('after', notes)
    .action(run);
}
