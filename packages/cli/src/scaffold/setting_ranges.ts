import {
  findScaffoldConflict,
  type ScaffoldConflict,
  type ScaffoldSettings,
} from 'stiltforge/scaffold';
import { ExitCode, UserError } from '../errors.js';

/** The names of the settings, as the command calls them. */
const options: Record<ScaffoldConflict['setting'], string> = {
  tipDiameter: '--tip-diameter',
  tipLength: '--tip-length',
  penetration: 'penetration',
  pillarDiameter: '--pillar-diameter',
  footDiameter: '--foot-diameter',
  footHeight: '--foot-height',
  clearance: 'clearance',
  raftThickness: '--raft',
  braceDiameter: '--brace-diameter',
  braceReach: '--brace-reach',
};

/** Throws a UserError that names the option and its range when a setting can't be used. */
export function checkScaffold(settings: ScaffoldSettings, lift = 0): void {
  const conflict = findScaffoldConflict(settings, lift);
  if (conflict === undefined) return;
  const { setting, value, range } = conflict;
  throw new UserError(ExitCode.usage, `${options[setting]} ${value}: ${range}.`);
}
