import type { Command } from 'commander';
import type { Severity } from 'stiltforge/check';
import { defaultSupport } from 'stiltforge/slicing';
import { type PartOptions, type PrinterOptions, printSettings } from '../part_options.js';
import { checkSettings } from '../setting_ranges.js';
import type { FileCheck } from './check_files.js';
import type { InputOptions } from './input.js';
import { loadPoints } from './points.js';

/** Of stiltforge check. */
export interface CheckOptions extends PartOptions, PrinterOptions {
  points?: string;
  criticalAngle: number;
  threshold?: number;
  failOn: Severity;
  json?: boolean;
  report?: boolean;
  out?: string;
  force?: boolean;
  memory?: number;
  quiet?: boolean;
}

/** What the words of the command line say of every file. Throws a UserError for what can't be used. */
export async function checkRun(
  options: CheckOptions,
  command: Command,
): Promise<Omit<FileCheck, 'progress' | 'signal' | 'warn'>> {
  const { points, criticalAngle, force } = options;
  const print = printSettings(options);
  checkSettings(print, { ...defaultSupport, criticalAngle });
  return {
    part: options,
    print,
    given: givenOf(options, command),
    supports: points === undefined ? undefined : await loadPoints(points),
    criticalAngle,
    force,
  };
}

/** What a person says of printer files; a preset is for those that do not say it themselves. */
function givenOf(options: CheckOptions, command: Command): InputOptions['given'] {
  const from = (name: string): unknown => command.getOptionValueSource(name);
  const { layerHeight, pixelSize, threshold } = options;
  return {
    layerHeight: from('layerHeight') === 'cli' ? layerHeight : undefined,
    pixelSize: from('pixelSize') === 'cli' ? pixelSize : undefined,
    usualPixelSize: from('pixelSize') === 'default' ? undefined : pixelSize,
    threshold,
  };
}
