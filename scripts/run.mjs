// Other programs, run so that a failure is a sentence with what they said.
import { spawnSync } from 'node:child_process';
import { closeSync, openSync, readFileSync } from 'node:fs';

function checked(program, words, { log, ...options }) {
  const file = log === undefined ? undefined : openSync(log, 'w');
  const stdio = file === undefined ? 'pipe' : ['ignore', file, file];
  const settings = { encoding: 'utf8', maxBuffer: 1 << 28, stdio, ...options };
  const result = spawnSync(program, words, settings);
  if (file !== undefined) closeSync(file);
  if (result.error?.code === 'ENOENT') throw new Error(`${program} is missing: install it`);
  if (result.error) throw result.error;
  if (result.status !== 0) {
    const said = log === undefined ? `${result.stdout}${result.stderr}` : readFileSync(log, 'utf8');
    const last = said.trim().split('\n').slice(-30).join('\n');
    throw new Error(`${program} ${words.join(' ')} failed:\n${last}`);
  }
  return result;
}

/**
 * Runs it to its end; what it prints is seen only when it fails. It goes into the file `log` where that is
 * given, for programs that cannot write into a pipe.
 */
export function run(program, words, { cwd, env, log } = {}) {
  checked(program, words, { cwd, log, env: { ...process.env, ...env } });
}

/** Its standard output. */
export function capture(program, words, { cwd, env } = {}) {
  return checked(program, words, { cwd, env: { ...process.env, ...env } }).stdout;
}
