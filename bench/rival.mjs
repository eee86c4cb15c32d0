import { execFileSync, spawnSync } from 'node:child_process';
import { existsSync, mkdirSync, renameSync, rmSync } from 'node:fs';
import { join } from 'node:path';

function run(program, words, cwd) {
  const { status, stdout, stderr, error } = spawnSync(program, words, { cwd, encoding: 'utf8' });
  if (error) throw error;
  if (status !== 0) throw new Error(`${program} ${words.join(' ')} failed:\n${stdout}${stderr}`);
}

/**
 * The folder of this repository as it was at a commit, built. It is built once and stays in
 * build/rivals/.
 */
export function builtRival(root, reference, say) {
  const git = (...words) => execFileSync('git', words, { cwd: root, encoding: 'utf8' }).trim();
  const commit = git('rev-parse', '--verify', '--short', `${reference}^{commit}`);
  const folder = join(root, 'build/rivals', commit);
  if (existsSync(folder)) return { commit, folder };
  say(`building ${commit} to compare with`);
  const unfinished = `${folder}.unfinished`;
  rmSync(unfinished, { recursive: true, force: true });
  mkdirSync(unfinished, { recursive: true });
  const archive = execFileSync('git', ['archive', commit], { cwd: root, maxBuffer: 2 ** 28 });
  execFileSync('tar', ['-x', '-C', unfinished], { input: archive });
  run('npm', ['run', 'build'], unfinished);
  // CMake's cache names the old folder, but nothing is built there again.
  renameSync(unfinished, folder);
  return { commit, folder };
}
