// Scripts for shells: what is completed where. A shell that is not there is skipped.
import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { mkdir, writeFile } from 'node:fs/promises';
import { join } from 'node:path';
import { test } from 'node:test';
import { stiltforge, temporaryFolder } from './harness.mjs';

const lacks = (shell) =>
  spawnSync(shell, ['-c', 'true']).error === undefined ? false : `${shell} is not installed`;

/** Writes the script for a shell into a folder with a mesh; gives both. */
async function scriptFor(t, shell) {
  const folder = await temporaryFolder(t);
  await writeFile(join(folder, 'my part.stl'), '');
  await mkdir(join(folder, 'my results'));
  const { code, out } = await stiltforge(['completion', shell]);
  assert.equal(code, 0);
  const script = join(folder, `completion.${shell}`);
  await writeFile(script, out);
  return { folder, script };
}

/** What is offered for the last of the words. */
const offers = {
  bash: (script, words, cwd) => {
    const program = `source ${script}; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _stiltforge; printf '%s\n' "\${COMPREPLY[@]}"`;
    return linesOf(spawnSync('bash', ['-c', program, 'bash', ...words], { cwd }));
  },
  fish: (script, words, cwd) => {
    const program = `source ${script}; complete -C (string join ' ' -- $argv)`;
    const { stdout, stderr } = spawnSync('fish', ['--no-config', '-c', program, ...words], { cwd });
    return linesOf({ stdout, stderr }).map((line) => line.split('\t')[0].replaceAll('\\', ''));
  },
};

function linesOf({ stdout, stderr }) {
  assert.equal(String(stderr), '');
  return String(stdout).split('\n').filter(Boolean);
}

for (const shell of Object.keys(offers)) {
  test(`${shell} completes commands, options, their values and files`, {
    skip: lacks(shell),
  }, async (t) => {
    const { folder, script } = await scriptFor(t, shell);
    const offered = (...words) => offers[shell](script, ['stiltforge', ...words], folder);
    assert.deepEqual(offered('pre'), ['presets']);
    assert.deepEqual(offered('my').sort().at(0), 'my part.stl');
    assert.deepEqual(offered('--pre'), ['--preset']);
    assert.deepEqual(offered('params', '--js'), ['--json']);
    assert.deepEqual(offered('--preset', 'st'), ['standard', 'stiff']);
    assert.deepEqual(offered('--up', '').sort(), ['y', 'z']);
    assert.deepEqual(
      offered('--out', 'my').map((name) => name.replace(/\/$/, '')),
      ['my results'],
    );
    assert.deepEqual(offered('completion', '').sort(), ['bash', 'fish', 'zsh']);
    assert.deepEqual(offered('params', '--scale'), []);
  });
}

test('zsh takes its script', { skip: lacks('zsh') }, async (t) => {
  const { script } = await scriptFor(t, 'zsh');
  const { status, stderr } = spawnSync('zsh', ['-n', script]);
  assert.equal(status, 0, String(stderr));
});

test('an unknown shell is refused with those that there are', async () => {
  const { code, err } = await stiltforge(['completion', 'tcsh']);
  assert.equal(code, 2);
  assert.match(err, /Allowed choices are bash, zsh, fish/);
});
