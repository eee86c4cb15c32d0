// Other programs, run so that a failure is a sentence with what they said.
import { spawnSync } from 'node:child_process';

function checked(program, words, options) {
  const result = spawnSync(program, words, { encoding: 'utf8', maxBuffer: 1 << 28, ...options });
  if (result.error?.code === 'ENOENT') throw new Error(`${program} is missing: install it`);
  if (result.error) throw result.error;
  if (result.status !== 0) {
    const said = `${result.stdout ?? ''}${result.stderr ?? ''}`.trim().split('\n').slice(-30);
    throw new Error(`${program} ${words.join(' ')} failed:\n${said.join('\n')}`);
  }
  return result;
}

/** Runs it to its end; what it prints is seen only when it fails. */
export function run(program, words, { cwd, env } = {}) {
  checked(program, words, { cwd, env: { ...process.env, ...env } });
}

/** Its standard output. */
export function capture(program, words, { cwd, env } = {}) {
  return checked(program, words, { cwd, env: { ...process.env, ...env } }).stdout;
}
