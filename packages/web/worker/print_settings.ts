import type { PrintSettings } from 'stiltforge/slicing';
import { ExitCode, type PartOptions, UserError } from 'stiltforge-cli/part';

/** Throws a UserError when a part is to be moved whose layers are cut already. */
export function requireAsItIs(
  name: string,
  { units, up, rotate, height, scale, center }: PartOptions,
  { lift = 0 }: PrintSettings,
): void {
  const moves: [option: string, isGiven: boolean][] = [
    ['--units', units !== undefined],
    ['--up', up !== 'z'],
    ['--rotate', rotate !== undefined],
    ['--height', height !== undefined],
    ['--scale', scale !== undefined],
    ['--center', center !== undefined],
    ['--lift', lift > 0],
  ];
  const [option] = moves.find(([, isGiven]) => isGiven) ?? [];
  if (option === undefined) return;
  throw new UserError(
    ExitCode.usage,
    `${option}: the layers of ${name} are cut already, so the part can't be moved. Leave it as it is ` +
      'in the file, or choose its mesh.',
  );
}
