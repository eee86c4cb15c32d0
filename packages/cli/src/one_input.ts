import { basename, extname } from 'node:path';
import type { Command } from 'commander';
import { isPrinterFile, type PrintSettings, type SupportSettings } from 'stiltforge/slicing';
import { analyseMesh, type Job } from './analyse_mesh.js';
import { analysePrint } from './analyse_print.js';
import type { RegionToInspect } from './inspected_regions.js';
import { loadMesh } from './mesh/load.js';
import type { OutputFormat } from './output/formats.js';
import { givenParameters, type ParameterOptions } from './params/given.js';
import {
  type FinishOptions,
  type PartOptions,
  type PrinterOptions,
  printSettings,
  supportSettings,
} from './part_options.js';
import { placedMesh, placementOf } from './placement.js';
import { partOfMeshes, type ReadMesh } from './plate/part_of_meshes.js';
import { type PrintOptions, printJob, requireNoPrintOptions } from './print_options.js';
import type { JobWatcher } from './run_into_folder.js';
import { type ScaffoldOptions, scaffoldJob } from './scaffold/options.js';
import type { ScaffoldJob } from './scaffold/supports_geometry.js';
import { checkSettings } from './setting_ranges.js';
import type { Summary } from './summary.js';

export interface Options
  extends PartOptions,
    PrinterOptions,
    PrintOptions,
    SupportSettings,
    FinishOptions,
    ScaffoldOptions,
    ParameterOptions {
  out?: string;
  force?: boolean;
  format?: OutputFormat[];
  /** GB */
  memory?: number;
  pictures: boolean;
  report?: boolean;
  inspect: RegionToInspect[];
  plate?: boolean;
  copies: number;
  /** mm */
  gap: number;
  json?: boolean;
  quiet?: boolean;
  verbose?: boolean;
}

/** A mesh or a printer file that is read, and what is to be done with it. */
export type Run = (watcher: JobWatcher) => Promise<Summary>;

/** Where the results of an input, or of several on one plate, go unless an option says otherwise. */
export function usualFolder(files: readonly string[]): string {
  const [file] = files;
  return `${files.length === 1 ? basename(file, extname(file)) : 'plate'}-supports`;
}

/** One input, or several on one plate. Throws a UserError when one or an option can't be used. */
export async function openRun(
  files: readonly string[],
  options: Options,
  command: Command,
  signal?: AbortSignal,
): Promise<Run> {
  const { minHeight: minimumHeight, minSpacing: minimumSpacing } = options;
  const support = { ...supportSettings(options), minimumHeight, minimumSpacing };
  const scaffold = scaffoldJob(options, command);
  const print = files.find((file) => isPrinterFile(file));
  return print !== undefined
    ? printRun(print, options, support, command)
    : meshRun(files, options, support, scaffold, command, signal);
}

async function meshRun(
  files: readonly string[],
  options: Options,
  support: SupportSettings,
  scaffold: ScaffoldJob | undefined,
  command: Command,
  signal?: AbortSignal,
): Promise<Run> {
  for (const file of files) requireNoPrintOptions(file, command);
  // Before a large mesh is read.
  const print = printSettings(options);
  checkSettings(print, support);
  const parameters = givenParameters(options);
  const job: Job = {
    ...(await partOf(files, options, print, signal)),
    placement: placementOf(options),
    print,
    support,
    parameters,
    asAnalysed: options.asAnalysed,
    folder: options.out ?? usualFolder(files),
    force: options.force,
    formats: options.format,
    scaffold,
    pictures: options.pictures,
    report: options.report,
    inspect: options.inspect,
    memory: options.memory === undefined ? undefined : 1e9 * options.memory,
  };
  return (watcher) => analyseMesh(job, watcher);
}

async function partOf(
  files: readonly string[],
  options: Options,
  print: PrintSettings,
  signal?: AbortSignal,
): Promise<Pick<Job, 'name' | 'mesh' | 'meshWarnings' | 'plate'>> {
  const meshes: ReadMesh[] = [];
  for (const name of files) {
    const file = await loadMesh(name, signal);
    meshes.push({ name, mesh: placedMesh(file, name, options), warnings: file.warnings });
  }
  return partOfMeshes(meshes, options, print);
}

async function printRun(
  name: string,
  options: Options,
  support: SupportSettings,
  command: Command,
): Promise<Run> {
  const job = await printJob(name, options, support, givenParameters(options), command);
  return (watcher) => analysePrint(job, watcher);
}
