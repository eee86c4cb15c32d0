// Runs the command as a user would, in a child process.
import { spawn } from 'node:child_process';
import { mkdtemp, readdir, rm } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';

const main = fileURLToPath(new URL('../bin/stiltforge.mjs', import.meta.url));

/** Starts `stiltforge ...words`; `done` resolves to { code, signal, out, err }. */
export function start(words, { cwd, env = {}, stdout = 'pipe' } = {}) {
  const child = spawn(process.execPath, [main, ...words], {
    cwd,
    env: { ...process.env, ...env },
    stdio: ['ignore', stdout, 'pipe'],
  });
  let out = '';
  let err = '';
  child.stdout?.on('data', (text) => {
    out += text;
  });
  child.stderr.on('data', (text) => {
    err += text;
  });
  const done = new Promise((resolve, reject) => {
    child.on('error', reject);
    child.on('close', (code, signal) => resolve({ code, signal, out, err }));
  });
  return { child, done };
}

export const stiltforge = (words, options) => start(words, options).done;

/** What a person sees in a folder of results, sorted: hidden files are left out. */
export async function outputNames(folder) {
  return (await readdir(folder)).filter((name) => !name.startsWith('.')).sort();
}

/** A folder that goes with the test. */
export async function temporaryFolder(t) {
  const folder = await mkdtemp(join(tmpdir(), 'stiltforge-cli-'));
  t.after(() => rm(folder, { recursive: true, force: true }));
  return folder;
}
