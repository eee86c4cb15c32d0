import { analyseInputs } from './analyse_inputs.js';
import { checkInputs } from './check/check_inputs.js';
import { runCommand } from './command.js';
import { ExitCode } from './errors.js';

// A reader of the messages that goes away, like `| head`, is no reason to lose the run.
process.stderr.on('error', () => {});
process.stdout.on('error', (error: NodeJS.ErrnoException) => {
  if (error.code === 'EPIPE') return;
  process.stderr.write(`stiltforge: standard output can't be written (${error.message})\n`);
  process.exitCode = ExitCode.output;
});

const words = process.argv.slice(2);
const code = await runCommand(words, {
  analyse: analyseInputs(words),
  check: checkInputs(words),
});
process.exitCode ||= code;
