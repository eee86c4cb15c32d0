import { join } from 'node:path';
import { Command } from 'commander';
import { analyseMesh } from '../analyse_mesh.js';
import { untilInterrupted } from '../interrupting.js';
import { wholeNumber } from '../option_values.js';
import { isFree } from '../params/given.js';
import { noProgress } from '../progress.js';
import { progressOn } from '../progress_on.js';
import { earlierRun, modelOf, requireSameMesh } from './earlier_run.js';

interface Options {
  layer: number;
  region: number;
  model?: string;
  quiet?: boolean;
}

const description =
  'Shows how a region of an earlier run was sampled: eight images and a labelled sheet, in the ' +
  'folder inspect of its results. The part is analysed again, with the settings of that run.';

const notes = `
supports.json gives layer and region of every point.

Example:
  stiltforge inspect part-supports --layer 36 --region 1`;

export function inspectCommand(): Command {
  return new Command('inspect')
    .usage('<folder> [options]')
    .summary('show how a region of an earlier run was sampled')
    .description(description)
    .argument('<folder>', 'the results of the run, with supports.json')
    .requiredOption('--layer <n>', 'layer, from 0', wholeNumber(0, 65535))
    .requiredOption('--region <k>', 'region of the layer, from 1', wholeNumber(1, 2 ** 31))
    .option('--model <file>', 'the mesh (default: its name, here or beside the folder)')
    .option('-q, --quiet', 'print only warnings and errors')
    .helpOption('-h, --help', 'print this help')
    .addHelpText('after', notes)
    .action(inspect);
}

async function inspect(folder: string, options: Options): Promise<void> {
  const document = earlierRun(folder);
  const { print, settings, parameters } = document;
  const { layerHeight, pixelSize, screenWidth, screenHeight, lift } = print;
  const { asAnalysed, ...support } = settings;
  const { name, mesh } = await modelOf(folder, document, options.model);
  requireSameMesh(name, mesh, document);
  const { layer, region } = options;
  const { files } = await untilInterrupted(async (signal) =>
    analyseMesh(
      {
        ...{ name, mesh, folder, support, asAnalysed },
        print: { layerHeight, pixelSize, screenWidth, screenHeight, ...(lift ? { lift } : {}) },
        parameters: Object.fromEntries(
          Object.entries(parameters).filter(([parameter]) => isFree(parameter)),
        ),
        ...{ formats: [], pictures: false, inspect: [{ layer, region }], keep: true },
      },
      {
        progress: options.quiet ? noProgress : await progressOn(process.stderr),
        signal,
        // They were told by the run.
        warn: () => {},
      },
    ),
  );
  if (options.quiet) return;
  for (const written of files) process.stdout.write(`${join(folder, written)}\n`);
}
