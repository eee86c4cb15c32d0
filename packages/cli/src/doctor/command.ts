import { Command } from 'commander';
import { ExitCode } from '../errors.js';
import { counted } from '../wording.js';
import { examination } from './examination.js';

const description =
  'Tells what this installation has and what it lacks: binaries, vector path, cores, memory, Node. ' +
  'The exit code is 1 when something is missing.';

export function doctorCommand(): Command {
  return new Command('doctor')
    .usage('[options]')
    .summary('tell what this installation has and lacks')
    .description(description)
    .option('--json', 'print it as JSON, for programs')
    .helpOption('-h, --help', 'print this help')
    .action(examine);
}

async function examine({ json }: { json?: boolean }): Promise<void> {
  const findings = await examination();
  const missing = findings.filter(({ well }) => !well).length;
  const lines = findings.map(
    ({ what, state, well }) => `  ${well ? 'ok     ' : 'missing'}  ${what.padEnd(18)}${state}`,
  );
  const verdict = missing === 0 ? 'All is there.' : `${counted(missing, 'thing')} to mend.`;
  process.stdout.write(
    json
      ? `${JSON.stringify({ well: missing === 0, findings }, null, 2)}\n`
      : `${lines.join('\n')}\n${verdict}\n`,
  );
  if (missing > 0) process.exitCode = ExitCode.failure;
}
