import { type Command, Option } from 'commander';
import { ExitCode, UserError } from '../errors.js';
import { suggestion } from '../nearest_name.js';
import { type Preset, resins, screens } from './presets.js';

/** Adds --preset to the options of a command. Its values hold once applyPresets() has seen them. */
export function addPresetOption(command: Command): Command {
  return command.addOption(
    new Option(
      '--preset <name>',
      'a common screen or kind of resin, as stiltforge presets lists them; one of each may be ' +
        'given, and options beside it count more',
    )
      .argParser((name: string, earlier: string[]) => [...earlier, name])
      .default([], 'none'),
  );
}

/** Sets the options that presets give and the command line does not. Throws a UserError for a wrong name. */
export function applyPresets(command: Command): void {
  const names = (command.opts().preset ?? []) as string[];
  const chosen = new Map<unknown, string>();
  for (const name of names) {
    const screen = screens.find((preset) => preset.name === name);
    const resin = resins.find((preset) => preset.name === name);
    requireOne(chosen, screen === undefined ? resins : screens, name, screen ?? resin);
    if (screen !== undefined) {
      const { pixelSize, screenWidth, screenHeight } = screen.settings;
      fill(command, { pixelSize, screen: [screenWidth, screenHeight] });
    } else if (resin !== undefined) {
      fill(command, { ...resin.settings });
    }
  }
}

function requireOne(
  chosen: Map<unknown, string>,
  kind: unknown,
  name: string,
  preset: Preset<unknown> | undefined,
): void {
  if (preset === undefined) {
    const like = suggestion(
      name,
      [...screens, ...resins].map((known) => known.name),
    );
    throw new UserError(
      ExitCode.usage,
      `--preset ${name}: there is none of this name.${like} stiltforge presets lists them.`,
    );
  }
  const other = chosen.get(kind);
  if (other !== undefined && other !== name) {
    const what = kind === screens ? 'screens' : 'kinds of resin';
    throw new UserError(
      ExitCode.usage,
      `--preset ${name}: ${other} is given, too: both are ${what}.`,
    );
  }
  chosen.set(kind, name);
}

function fill(command: Command, values: Record<string, unknown>): void {
  for (const [option, value] of Object.entries(values)) {
    if (command.getOptionValueSource(option) === 'default') {
      command.setOptionValueWithSource(option, value, 'preset');
    }
  }
}
