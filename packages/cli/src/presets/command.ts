import { Command } from 'commander';
import { resins, screens } from './presets.js';

const notes = `
Look the pixels and their size up in your printer's data sheet. Where no screen
is yours, give --screen and --pixel-size.

Example:
  stiltforge part.stl --preset 4k-143x90 --preset brittle`;

export function presetsCommand(): Command {
  return new Command('presets')
    .usage('[options]')
    .summary('print what --preset takes')
    .description('Prints the screens and kinds of resin that --preset takes.')
    .option('--json', 'print them as JSON, for programs')
    .helpOption('-h, --help', 'print this help')
    .addHelpText('after', notes)
    .action(printPresets);
}

function printPresets({ json }: { json?: boolean }): void {
  if (json) {
    process.stdout.write(`${JSON.stringify({ screens, resins }, null, 2)}\n`);
    return;
  }
  const screenLines = screens.map(({ name, about }) => `  ${name.padEnd(13)}${about}`);
  const resinLines = resins.map(({ name, about, settings }) => {
    const numbers = `${settings.supportArea} mm2, ${settings.criticalAngle} degrees`;
    return `  ${name.padEnd(13)}${numbers.padEnd(21)}${about}`;
  });
  process.stdout.write(
    `Screens: pixels of the screen and their size\n${screenLines.join('\n')}\n\n` +
      `Resins: area that one support holds, critical angle\n${resinLines.join('\n')}\n`,
  );
}
