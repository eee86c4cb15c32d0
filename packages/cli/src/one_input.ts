import { basename, extname } from 'node:path';
import type { Command } from 'commander';
import { isPrinterFile, type SupportSettings } from 'stiltforge/slicing';
import { analyseMesh, type Job, type JobWatcher, type RegionToInspect } from './analyse_mesh.js';
import { analysePrint } from './analyse_print.js';
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
import { type PrintOptions, printJob, requireNoPrintOptions } from './print_options.js';
import { checkSettings } from './setting_ranges.js';
import type { Summary } from './summary.js';

export interface Options
  extends PartOptions,
    PrinterOptions,
    PrintOptions,
    SupportSettings,
    FinishOptions,
    ParameterOptions {
  out?: string;
  force?: boolean;
  format?: OutputFormat[];
  /** GB */
  memory?: number;
  pictures: boolean;
  report?: boolean;
  inspect: RegionToInspect[];
  json?: boolean;
  quiet?: boolean;
  verbose?: boolean;
}

/** A mesh or a printer file that is read, and what is to be done with it. */
export type Run = (watcher: JobWatcher) => Promise<Summary>;

/** Where the results of an input go unless an option says otherwise. */
export function usualFolder(file: string): string {
  return `${basename(file, extname(file))}-supports`;
}

/** Throws a UserError when the input or an option can't be used. */
export async function openRun(
  file: string,
  options: Options,
  command: Command,
  signal?: AbortSignal,
): Promise<Run> {
  const { minHeight: minimumHeight, minSpacing: minimumSpacing } = options;
  const support = { ...supportSettings(options), minimumHeight, minimumSpacing };
  return isPrinterFile(file)
    ? printRun(file, options, support, command)
    : meshRun(file, options, support, command, signal);
}

async function meshRun(
  name: string,
  options: Options,
  support: SupportSettings,
  command: Command,
  signal?: AbortSignal,
): Promise<Run> {
  requireNoPrintOptions(name, command);
  // Before a large mesh is read.
  const print = printSettings(options);
  checkSettings(print, support);
  const parameters = givenParameters(options);
  const file = await loadMesh(name, signal);
  const job: Job = {
    name,
    mesh: placedMesh(file, name, options),
    meshWarnings: file.warnings,
    placement: placementOf(options),
    print,
    support,
    parameters,
    asAnalysed: options.asAnalysed,
    folder: options.out ?? usualFolder(name),
    force: options.force,
    formats: options.format,
    pictures: options.pictures,
    report: options.report,
    inspect: options.inspect,
    memory: options.memory === undefined ? undefined : 1e9 * options.memory,
  };
  return (watcher) => analyseMesh(job, watcher);
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
