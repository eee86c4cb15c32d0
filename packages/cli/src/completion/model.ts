import type { Command, Option } from 'commander';
import { formatNames } from '../output/formats.js';
import { resins, screens } from '../presets/presets.js';

/** What can be typed, as the scripts of the shells need it. */
export interface CommandModel {
  name: string;
  about: string;
  options: OptionModel[];
  /** Words that its argument may be; a file where there are none. */
  words: readonly string[];
  commands: CommandModel[];
}

export interface OptionModel {
  /** "--out", and "-o" where there is one. */
  names: string[];
  about: string;
  /** What follows it. */
  value: 'none' | 'file' | 'folder' | 'word';
  /** Words that may follow it, where they are known. */
  words: readonly string[];
}

/** Values that options don't list by themselves. */
const known: Record<string, readonly string[]> = {
  '--preset': [...screens, ...resins].map(({ name }) => name),
  '--format': formatNames,
};

export function commandModel(command: Command): CommandModel {
  return {
    name: command.name(),
    about: command.summary() || command.description(),
    options: command.createHelp().visibleOptions(command).map(optionModel),
    words: command.registeredArguments[0]?.argChoices ?? [],
    commands: command.commands.map(commandModel),
  };
}

function optionModel(option: Option): OptionModel {
  const { long, short, flags, argChoices } = option;
  const [, path] = /<(file|folder)>/.exec(flags) ?? [];
  return {
    names: [long, short].filter((name) => name !== undefined),
    about: option.description,
    value: option.required ? ((path as 'file' | 'folder' | undefined) ?? 'word') : 'none',
    words: argChoices ?? known[long ?? ''] ?? [],
  };
}
