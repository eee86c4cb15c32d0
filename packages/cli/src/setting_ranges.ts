import {
  findSettingConflict,
  type PrintSettings,
  type SettingConflict,
  type SupportSettings,
} from 'stiltforge/slicing';
import { ExitCode, UserError } from './errors.js';

/** How the command calls the settings. */
const options: Record<SettingConflict['setting'], string> = {
  layerHeight: '--layer-height',
  pixelSize: '--pixel-size',
  screenWidth: '--screen',
  screenHeight: '--screen',
  lift: '--lift',
  criticalAngle: '--critical-angle',
  inset: '--inset',
  supportArea: '--support-area',
  minimumHeight: '--min-height',
  minimumSpacing: '--min-spacing',
};

/**
 * Throws a UserError that names the option and its range when a setting makes no sense or can't work
 * with the others.
 */
export function checkSettings(print: PrintSettings, support: SupportSettings): void {
  const conflict = findSettingConflict(print, support);
  if (conflict === undefined) return;
  const { setting, value, range } = conflict;
  throw new UserError(ExitCode.usage, `${options[setting]} ${value}: ${range}.`);
}
