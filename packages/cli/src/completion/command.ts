import { Argument, Command } from 'commander';
import { commandModel } from './model.js';
import { type Shell, scripts, shells } from './scripts.js';

const notes = `
Examples:
  bash: echo 'source <(stiltforge completion bash)' >> ~/.bashrc
  zsh:  stiltforge completion zsh > ~/.zfunc/_stiltforge   (a folder of fpath)
  fish: stiltforge completion fish > ~/.config/fish/completions/stiltforge.fish`;

export function completionCommand(): Command {
  return new Command('completion')
    .usage('<shell> [options]')
    .summary('print a script that completes words in a shell')
    .description('Prints a script with which a shell completes commands, options and their values.')
    .addArgument(new Argument('<shell>', 'the shell').choices(shells))
    .helpOption('-h, --help', 'print this help')
    .addHelpText('after', notes)
    .action((shell: Shell, _: object, command: Command) => {
      process.stdout.write(scripts[shell](commandModel(command.parent ?? command)));
    });
}
