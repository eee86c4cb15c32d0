import type { CommandModel, OptionModel } from './model.js';

export const shells = ['bash', 'zsh', 'fish'] as const;

export type Shell = (typeof shells)[number];

/** Scripts that complete the words of a command, by shell. */
export const scripts: Record<Shell, (root: CommandModel) => string> = { bash, zsh, fish };

function bash(root: CommandModel): string {
  const all = [root, ...root.commands];
  const values = all.flatMap(({ name, options }) =>
    options
      .filter(({ value }) => value !== 'none')
      .map((option) => {
        const places = option.names.map((option) => `'${name} ${option}'`);
        return `    ${places.join(' | ')}) ${bashValue(option)}return ;;`;
      }),
  );
  const optionWords = all.map(
    ({ name, options }) =>
      `      ${name}) words='${options.flatMap(({ names }) => names).join(' ')}' ;;`,
  );
  const argumentWords = all
    .filter(({ words }) => words.length > 0)
    .map(({ name, words }) => `    ${name}) words='${words.join(' ')}' ;;`);
  const commands = root.commands.map(({ name }) => name);
  return `# Completes the words of ${root.name} in bash.
_${root.name}_words() {
  COMPREPLY+=($(compgen -W "$1" -- "$current"))
}
_${root.name}_paths() {
  local IFS=$'\\n'
  COMPREPLY+=($(compgen "$1" -- "$current"))
}
_${root.name}() {
  local current=\${COMP_WORDS[COMP_CWORD]} previous=\${COMP_WORDS[COMP_CWORD-1]}
  local command=${root.name} words=
  COMPREPLY=()
  if ((COMP_CWORD > 1)); then
    case \${COMP_WORDS[1]} in
      ${commands.join(' | ')}) command=\${COMP_WORDS[1]} ;;
    esac
  fi
  case "$command $previous" in
${values.join('\n')}
  esac
  if [[ $current == -* ]]; then
    case $command in
${optionWords.join('\n')}
    esac
    _${root.name}_words "$words"
    return
  fi
  case $command in
${argumentWords.join('\n')}
  esac
  if [[ -n $words ]]; then
    _${root.name}_words "$words"
    return
  fi
  ((COMP_CWORD == 1)) && _${root.name}_words '${commands.join(' ')}'
  _${root.name}_paths -f
}
complete -o filenames -F _${root.name} ${root.name}
`;

  function bashValue({ value, words }: OptionModel): string {
    if (words.length > 0) return `_${root.name}_words '${words.join(' ')}'; `;
    if (value === 'word') return '';
    return `_${root.name}_paths ${value === 'file' ? '-f' : '-d'}; `;
  }
}

function zsh(root: CommandModel): string {
  const cases = root.commands.map(
    (command) => `    ${command.name})
      shift words
      ((CURRENT--))
      _arguments ${zshSpecs(command).join(' \\\n        ')}
      ;;`,
  );
  const commands = root.commands.map(({ name, about }) => zshQuoted(`${name}:${about}`));
  return `#compdef ${root.name}
# Completes the words of ${root.name} in zsh.
_${root.name}_first() {
  local -a commands=(
    ${commands.join('\n    ')}
  )
  _describe command commands
  _files
}
_${root.name}() {
  local command=
  ((CURRENT > 2)) && command=$words[2]
  case $command in
${cases.join('\n')}
    *)
      _arguments ${zshSpecs({ ...root, words: [] }, `_${root.name}_first`).join(' \\\n        ')}
      ;;
  esac
}
if [[ $funcstack[1] == _${root.name} ]]; then _${root.name} "$@"; else compdef _${root.name} ${root.name}; fi
`;
}

function zshSpecs({ options, words }: CommandModel, first = '_files'): string[] {
  const argument = words.length > 0 ? `(${words.join(' ')})` : first;
  return [
    ...options.flatMap((option) =>
      option.names.map((name) => {
        const about = option.about.replace(/[[\]:]/g, ' ');
        return zshQuoted(`*${name}[${about}]${zshValue(option)}`);
      }),
    ),
    zshQuoted(`*: :${argument}`),
  ];
}

function zshValue({ value, words }: OptionModel): string {
  const found = { none: '', file: ':file:_files', folder: ':folder:_files -/', word: ':value: ' };
  return words.length > 0 ? `:value:(${words.join(' ')})` : found[value];
}

function zshQuoted(text: string): string {
  return `'${text.replaceAll("'", "'\\''")}'`;
}

function fish(root: CommandModel): string {
  const names = root.commands.map(({ name }) => name).join(' ');
  const lines = [
    ...root.commands.map(({ name, about }) =>
      fishLine(root.name, '__fish_use_subcommand', `-a ${name} -d ${fishQuoted(about)}`),
    ),
    ...fishOptions(root.name, root, `not __fish_seen_subcommand_from ${names}`),
    ...root.commands.flatMap((command) => {
      const condition = `__fish_seen_subcommand_from ${command.name}`;
      const words =
        command.words.length > 0
          ? [fishLine(root.name, condition, `-f -a ${fishQuoted(command.words.join(' '))}`)]
          : [];
      return [...fishOptions(root.name, command, condition), ...words];
    }),
  ];
  return `# Completes the words of ${root.name} in fish.\n${lines.join('\n')}\n`;
}

function fishOptions(program: string, { options }: CommandModel, condition: string): string[] {
  return options.map(({ names, about, value, words }) => {
    const flags = names.map((name) =>
      name.startsWith('--') ? `-l ${name.slice(2)}` : `-s ${name.slice(1)}`,
    );
    const found = {
      none: [],
      file: ['-r', '-F'],
      folder: ['-x', "-a '(__fish_complete_directories)'"],
      word: words.length > 0 ? ['-x', `-a ${fishQuoted(words.join(' '))}`] : ['-x'],
    };
    const rest = [...flags, ...found[value], `-d ${fishQuoted(about)}`];
    return fishLine(program, condition, rest.join(' '));
  });
}

function fishLine(program: string, condition: string, rest: string): string {
  return `complete -c ${program} -n '${condition}' ${rest}`;
}

function fishQuoted(text: string): string {
  return `'${text.replace(/[\\']/g, '\\$&')}'`;
}
