// The help of the command and of its commands, as they print it.
import { execFileSync } from 'node:child_process';
import { join } from 'node:path';
import { root } from './root.mjs';

const program = join(root, 'packages/cli/bin/stiltforge.mjs');

function helpOf(...words) {
  const env = { ...process.env, COLUMNS: '80', NO_COLOR: '1' };
  return execFileSync(process.execPath, [program, ...words, '--help'], { encoding: 'utf8', env });
}

/** The names in the list of commands; what follows a name are its arguments. */
function commandsIn(help) {
  const [, list = ''] = help.split(/^Commands:\n/m);
  return [...list.split('\n\n')[0].matchAll(/^ {2}(\w+)/gm)].map(([, name]) => name);
}

const block = (text) => `\`\`\`\n${text.trimEnd()}\n\`\`\`\n`;

export function commandPage() {
  const help = helpOf();
  const commands = commandsIn(help);
  if (commands.length === 0) throw new Error('the help of the command lists no commands');
  return [
    '# Commands and options\n',
    'What `stiltforge --help` prints, and the help of each command.\n',
    '## stiltforge\n',
    block(help),
    ...commands.flatMap((name) => [`## stiltforge ${name}\n`, block(helpOf(name))]),
  ].join('\n');
}
