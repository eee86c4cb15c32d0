import { existsSync } from 'node:fs';
import { Command, CommanderError, InvalidArgumentError, Option } from 'commander';
import { type CheckAction, checkCommand } from './check/command.js';
import { completionCommand } from './completion/command.js';
import { doctorCommand } from './doctor/command.js';
import { codeOf, ExitCode, Interrupted, messageOf, Told, UserError } from './errors.js';
import { inspectCommand } from './inspect/command.js';
import type { RegionToInspect } from './inspected_regions.js';
import { nearestName } from './nearest_name.js';
import { mostCopies } from './number_rules.js';
import type { Options } from './one_input.js';
import { distance, folderName, outputFormats, positive, wholeNumber } from './option_values.js';
import { orientCommand } from './orient/command.js';
import { paramsCommand } from './params/command.js';
import { addParameterOptions } from './params/given.js';
import {
  addFinishOptions,
  addPartOptions,
  addPrinterOptions,
  addSupportOptions,
} from './part_options.js';
import { usualGap } from './plate/arrange.js';
import { presetsCommand } from './presets/command.js';
import { applyPresets } from './presets/option.js';
import { addPrintOptions } from './print_options.js';
import { addScaffoldOptions } from './scaffold/options.js';
import { tell } from './terminal_text.js';
import { version } from './version.js';

const description =
  'Finds where a part needs supports when it is printed in resin: under islands, which begin in ' +
  "the air, and under overhangs that what is below can't hold. Writes the points to supports.json " +
  'and points.csv, and pictures of them.';

const notes = `
The defaults are those of a 4K screen of 192 x 120 mm. Set what your printer
has: the layer height as you will slice, pixel size and screen from its data
sheet, or one of those that "stiltforge presets" lists.

Lengths are in millimetres, plain numbers like 0.05. The part keeps its own
coordinates: supports.json and points.csv give them, next to pixels of the
screen, in whose middle it stands. Of a printer file they are those of the
plate, from its left front corner. A region is a connected piece of a layer;
supports.json gives layer and region of every point.

Several inputs run side by side, as many as there are cores and as --memory
allows, which then counts for all together. Each has a folder of its own, and
one that fails does not stop the others. With --plate they are one print:
x = y = 0 is then the middle of the plate, and supports.json tells where each
mesh and each of its --copies stands, and which supports are its own.

Exit codes:
  0    done
  1    something unexpected failed; please report it
  2    the command line is wrong
  3    the mesh or the printer file can't be used
  4    the outputs can't be written
  5    there is not enough memory
  130  interrupted; nothing was written
Of several inputs it is that of the first that failed; those that were done
stay written.

Examples:
  stiltforge part.stl
  stiltforge part.3mf --preset 6k-198x124 --layer-height 0.03
  stiltforge statue.obj --up y --height 80 --out statue-supports
  stiltforge jobs/*.stl plate.sl1 --out supports --no-pictures
  stiltforge foot.stl arm.stl --plate --copies 2 --preset 8k-219x123
  stiltforge part.stl --screen 4098x2560 --pixel-size 0.035 --format 3mf
  stiltforge part.stl --lift 5 --format stl --raft 1 --merge`;

/** Several parts on one plate. */
function addPlateOptions(command: Command): Command {
  return command
    .optionsGroup('The plate:')
    .option('--plate', 'put all meshes side by side on one plate, for one print')
    .option('--copies <n>', 'print each mesh so many times', wholeNumber(1, mostCopies), 1)
    .option('--gap <mm>', 'space between parts on a plate', distance, usualGap);
}

/** What the words on the command line lead to. */
export type Action = (files: string[], options: Options, command: Command) => Promise<void>;

/** What the commands do whose inputs run side by side. */
export interface Actions {
  analyse: Action;
  check: CheckAction;
}

function buildCommand({ analyse, check }: Actions): Command {
  const command = new Command('stiltforge')
    .usage('<part...> [options]')
    .description(description)
    .argument(
      '<part...>',
      'a mesh (STL, OBJ, PLY, 3MF), a printer file (SL1, NanoDLP, GOO), or a zip or folder of numbered PNG layers',
    );
  addPartOptions(command);
  addPlateOptions(command);
  addPrinterOptions(command);
  addPrintOptions(command);
  addSupportOptions(command);
  addFinishOptions(command);
  addParameterOptions(command);
  addScaffoldOptions(command);
  command
    .optionsGroup('The results:')
    .option(
      '-o, --out <folder>',
      'where they go (default: "<part>-supports"); of several inputs, where their folders go',
      folderName,
    )
    .option('--force', 'overwrite files there that no earlier run wrote')
    .option(
      '--format <name>',
      'what the points go to: json, csv, 3mf for PrusaSlicer, or stl, supports as geometry; may be repeated (default: json and csv)',
      outputFormats,
    )
    .option('--no-pictures', 'write the points only')
    .option('--report', 'also write report.html, a page to look at it all, layer by layer')
    .addOption(
      new Option(
        '--inspect <layer:region>',
        'also show how a region was sampled, like 36:1; may be repeated',
      )
        .argParser(regionToInspect)
        .default([], 'none'),
    )
    .optionsGroup('The run:')
    .option('--memory <GB>', 'memory that it may take (default: what the machine has)', positive)
    .option('--json', 'print what became of each input for machines')
    .option('-q, --quiet', 'print only warnings and errors')
    .addOption(
      new Option(
        '-v, --verbose',
        'also print what the run went by, and the installation',
      ).conflicts(['quiet', 'json']),
    )
    .version(version, '-V, --version', 'print the version')
    .helpOption('-h, --help', 'print this help')
    .addHelpText('after', notes)
    .showHelpAfterError('Try: stiltforge --help')
    .configureOutput({
      outputError: (text, write) => write(ownWords(text)),
    })
    .exitOverride()
    // Or those after the name of a command would be taken for this one's.
    .enablePositionalOptions()
    .helpCommand(false)
    .hook('preAction', (_, called) => applyPresets(called))
    .action(async (files, options, called) => {
      requireNoMistypedCommand(files[0], command);
      requireFiles(files);
      await analyse(files, options, called);
    });
  for (const other of [
    checkCommand(check),
    orientCommand(),
    inspectCommand(),
    paramsCommand(),
    presetsCommand(),
    doctorCommand(),
    completionCommand(),
  ]) {
    other.copyInheritedSettings(command);
    command.addCommand(other.showHelpAfterError(`Try: stiltforge ${other.name()} --help`));
  }
  return command;
}

/** What the parser of the words has to say, as this command says things. */
function ownWords(text: string): string {
  return text
    .replace(/^error: missing required argument '(\w+)'/, 'error: no $1 is named. Name one.')
    .replace(/^error: /, 'stiltforge: ');
}

/** Throws a UserError when the first word is no file, but almost a command. */
function requireNoMistypedCommand(word: string, { commands }: Command): void {
  const names = commands.map((command) => command.name());
  const meant = existsSync(word) ? undefined : nearestName(word, names);
  if (meant === undefined) return;
  throw new UserError(
    ExitCode.usage,
    `${word}: there is neither a file nor a command of this name. Did you mean stiltforge ${meant}?`,
  );
}

/** Throws a UserError for "-", which stands for standard input elsewhere: a part is read more than once. */
function requireFiles(names: readonly string[]): void {
  if (!names.includes('-') || existsSync('-')) return;
  throw new UserError(
    ExitCode.usage,
    '-: standard input is not read. Save the part as a file, and name that.',
  );
}

/** Runs the command with the given words and returns the exit code. */
export async function runCommand(words: readonly string[], actions: Actions): Promise<ExitCode> {
  try {
    await buildCommand(actions).parseAsync(words, { from: 'user' });
    return ExitCode.done;
  } catch (error) {
    if (error instanceof CommanderError) {
      return error.exitCode === 0 ? ExitCode.done : ExitCode.usage;
    }
    if (error instanceof Interrupted) {
      process.stderr.write('stiltforge: interrupted, nothing was written\n');
      return ExitCode.interrupted;
    }
    if (error instanceof Told) return error.exitCode;
    if (error instanceof UserError) {
      tell(process.stderr, `stiltforge: ${error.message}\n`);
      return error.exitCode;
    }
    if (codeOf(error) === 'ERR_STILTFORGE_BINARY') {
      process.stderr.write(`stiltforge: ${messageOf(error)}\n`);
      return ExitCode.failure;
    }
    const trace = error instanceof Error ? error.stack : messageOf(error);
    process.stderr.write(`stiltforge: unexpected failure, please report it:\n${trace}\n`);
    return ExitCode.failure;
  }
}

function regionToInspect(text: string, earlier: RegionToInspect[]): RegionToInspect[] {
  const match = /^(\d+):(\d+)$/.exec(text);
  if (match === null || Number(match[2]) === 0) {
    throw new InvalidArgumentError('It must be a layer from 0 and a region from 1, like 120:1.');
  }
  return [...earlier, { layer: Number(match[1]), region: Number(match[2]) }];
}
