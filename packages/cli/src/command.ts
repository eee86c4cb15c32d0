import { basename, extname } from 'node:path';
import { Command, CommanderError, InvalidArgumentError, Option } from 'commander';
import type { Triangles } from 'stiltforge/slicing';
import { defaultPrint, defaultSupport } from 'stiltforge/slicing';
import { analyseMesh, type RegionToInspect } from './analyse_mesh.js';
import { codeOf, ExitCode, Interrupted, messageOf, UserError } from './errors.js';
import { loadMesh } from './mesh/load.js';
import { boundingBox, scaled, turnedFromYUp } from './mesh/triangles.js';
import { noProgress, type Progress, progressLines } from './progress.js';
import { checkSettings } from './setting_ranges.js';
import { summaryText } from './summary.js';
import { version } from './version.js';

interface Options {
  out?: string;
  force?: boolean;
  layerHeight: number;
  pixelSize: number;
  screen: [width: number, height: number];
  up: 'z' | 'y';
  height?: number;
  scale?: number;
  criticalAngle: number;
  inset: number;
  supportArea: number;
  memory?: number;
  pictures: boolean;
  report?: boolean;
  inspect: RegionToInspect[];
  quiet?: boolean;
}

const description =
  'Finds where a part needs supports when it is printed in resin: under islands, which begin in ' +
  "the air, and under overhangs that what is below can't hold. Writes the points to supports.json " +
  'and points.csv, and pictures of them.';

const notes = `
The defaults are those of a 4K screen of 192 x 120 mm. Set what your printer
has: the layer height as you will slice, pixel size and screen from its data
sheet.

Lengths are in millimetres, plain numbers like 0.05. The part keeps its own
coordinates: supports.json and points.csv give them, next to pixels of the
screen, in whose middle it stands. A region is a connected piece of a layer;
supports.json gives layer and region of every point.

Exit codes:
  0    done
  1    something unexpected failed; please report it
  2    the command line is wrong
  3    the mesh can't be used
  4    the outputs can't be written
  5    there is not enough memory
  130  interrupted; nothing was written

Examples:
  stiltforge part.stl
  stiltforge part.3mf --screen 5760x3600 --pixel-size 0.035 --layer-height 0.03
  stiltforge statue.obj --up y --height 80 --out statue-supports`;

function buildCommand(run: (meshFile: string, options: Options) => Promise<void>): Command {
  return new Command('stiltforge')
    .usage('<mesh> [options]')
    .description(description)
    .argument('<mesh>', 'the part: an STL, OBJ, PLY or 3MF file')
    .optionsGroup('The part:')
    .addOption(
      new Option('--up <axis>', 'axis of the mesh that points up').choices(['z', 'y']).default('z'),
    )
    .addOption(
      new Option('--height <mm>', 'scale the part to this height')
        .argParser(positive)
        .conflicts('scale'),
    )
    .option('--scale <factor>', 'scale the part by this factor', positive)
    .optionsGroup('The printer:')
    .option('--layer-height <mm>', 'height of a layer', positive, defaultPrint.layerHeight)
    .option('--pixel-size <mm>', 'side of a pixel of the screen', positive, defaultPrint.pixelSize)
    .addOption(
      new Option('--screen <WxH>', 'pixels of the screen, across and up')
        .argParser(screenSize)
        .default(
          [defaultPrint.screenWidth, defaultPrint.screenHeight],
          `${defaultPrint.screenWidth}x${defaultPrint.screenHeight}`,
        ),
    )
    .optionsGroup('The supports:')
    .option(
      '--support-area <mm2>',
      'area of a layer that one support holds: less gives more supports',
      positive,
      defaultSupport.supportArea,
    )
    .option(
      '--critical-angle <degrees>',
      'surfaces that lie flatter than this, measured from the plate, need supports',
      angle,
      defaultSupport.criticalAngle,
    )
    .option(
      '--inset <mm>',
      'keep supports this far from the contour where there is a choice',
      distance,
      defaultSupport.inset,
    )
    .optionsGroup('The results:')
    .option('-o, --out <folder>', 'where they go (default: "<mesh>-supports")', folderName)
    .option('--force', 'overwrite files there that no earlier run wrote')
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
    .option('-q, --quiet', 'print only warnings and errors')
    .version(version, '-V, --version', 'print the version')
    .helpOption('-h, --help', 'print this help')
    .addHelpText('after', notes)
    .showHelpAfterError('Try: stiltforge --help')
    .configureOutput({
      outputError: (text, write) => write(text.replace(/^error: /, 'stiltforge: ')),
    })
    .exitOverride()
    .action(run);
}

/** Runs the command with the given words and returns the exit code. */
export async function runCommand(words: readonly string[]): Promise<ExitCode> {
  try {
    await buildCommand(analyse).parseAsync(words, { from: 'user' });
    return ExitCode.done;
  } catch (error) {
    if (error instanceof CommanderError) {
      return error.exitCode === 0 ? ExitCode.done : ExitCode.usage;
    }
    if (error instanceof Interrupted) {
      process.stderr.write('stiltforge: interrupted, nothing was written\n');
      return ExitCode.interrupted;
    }
    if (error instanceof UserError) {
      process.stderr.write(`stiltforge: ${error.message}\n`);
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

async function analyse(meshFile: string, options: Options): Promise<void> {
  const { layerHeight, pixelSize, criticalAngle, inset, supportArea } = options;
  const [screenWidth, screenHeight] = options.screen;
  const print = { layerHeight, pixelSize, screenWidth, screenHeight };
  const support = { criticalAngle, inset, supportArea };
  // Before a large mesh is read.
  checkSettings(print, support);
  const { positions, warnings } = await loadMesh(meshFile);
  const mesh = transformed(positions, options);
  const summary = await untilInterrupted(async (signal) =>
    analyseMesh(
      {
        name: meshFile,
        mesh,
        meshWarnings: warnings,
        print,
        support,
        folder: options.out ?? `${basename(meshFile, extname(meshFile))}-supports`,
        force: options.force,
        pictures: options.pictures,
        report: options.report,
        inspect: options.inspect,
        memory: options.memory === undefined ? undefined : 1e9 * options.memory,
      },
      {
        progress: options.quiet ? noProgress : await progressOn(process.stderr),
        signal,
        warn: (sentence) => process.stderr.write(`stiltforge: warning: ${sentence}\n`),
      },
    ),
  );
  if (!options.quiet) process.stdout.write(summaryText(summary));
}

/** A bar, or lines where standard error is not a terminal. */
export async function progressOn(stream: NodeJS.WriteStream): Promise<Progress> {
  if (!stream.isTTY) return progressLines(stream);
  const { progressBar } = await import('./progress_bar.js');
  return progressBar(stream);
}

function transformed(mesh: Triangles, { up, height, scale }: Options): Triangles {
  const standing = up === 'y' ? turnedFromYUp(mesh) : mesh;
  if (height !== undefined) {
    const { min, max } = boundingBox(standing);
    return resized(standing, height / (max[2] - min[2]), `--height ${height}`);
  }
  return scale === undefined ? standing : resized(standing, scale, `--scale ${scale}`);
}

function resized(mesh: Triangles, factor: number, option: string): Triangles {
  const result = scaled(mesh, factor);
  const { min, max } = boundingBox(result);
  const size = max.map((value, axis) => value - min[axis]);
  if (size.every((length) => Number.isFinite(length) && length > 0)) return result;
  throw new UserError(
    ExitCode.usage,
    `${option}: it makes the part too ${factor > 1 ? 'large' : 'small'} to be sliced.`,
  );
}

/** Ctrl-C ends the work at the next layer; a second one ends the process at once. */
export async function untilInterrupted<T>(work: (signal: AbortSignal) => Promise<T>): Promise<T> {
  const controller = new AbortController();
  const interrupt = (): void => {
    if (controller.signal.aborted) process.exit(ExitCode.interrupted);
    controller.abort(new Interrupted());
  };
  process.on('SIGINT', interrupt).on('SIGTERM', interrupt);
  try {
    return await work(controller.signal);
  } finally {
    process.off('SIGINT', interrupt).off('SIGTERM', interrupt);
  }
}

function folderName(text: string): string {
  if (text.trim() === '') throw new InvalidArgumentError('It must be the name of a folder.');
  return text;
}

/** Digits with a decimal point, if any: no other notation, so that "0x10" or "5e" is no length. */
const plainNumber = /^(\d+\.?\d*|\.\d+)$/;

function numberFrom(text: string, accepts: (value: number) => boolean, wanted: string): number {
  const value = plainNumber.test(text) ? Number(text) : Number.NaN;
  if (!Number.isFinite(value) || !accepts(value))
    throw new InvalidArgumentError(`It must be ${wanted}.`);
  return value;
}

function positive(text: string): number {
  return numberFrom(text, (value) => value > 0, 'a plain number above 0, like 0.05');
}

function distance(text: string): number {
  return numberFrom(text, (value) => value >= 0, 'a plain number from 0, like 0.4');
}

function angle(text: string): number {
  return numberFrom(
    text,
    (value) => value > 0 && value < 90,
    'a plain number of degrees between 0 and 90, like 45',
  );
}

function screenSize(text: string): [number, number] {
  const match = /^(\d{1,5})x(\d{1,5})$/i.exec(text);
  const size = match === null ? [0, 0] : [Number(match[1]), Number(match[2])];
  if (size.some((side) => side < 1 || side > 65535)) {
    throw new InvalidArgumentError(
      'It must be two numbers of pixels from 1 to 65535, like 3840x2400.',
    );
  }
  return size as [number, number];
}

function regionToInspect(text: string, earlier: RegionToInspect[]): RegionToInspect[] {
  const match = /^(\d+):(\d+)$/.exec(text);
  if (match === null || Number(match[2]) === 0) {
    throw new InvalidArgumentError('It must be a layer from 0 and a region from 1, like 120:1.');
  }
  return [...earlier, { layer: Number(match[1]), region: Number(match[2]) }];
}
