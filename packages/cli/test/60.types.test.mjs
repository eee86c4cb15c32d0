import assert from 'node:assert/strict';
import { writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { test } from 'node:test';
import { complaintsAbout, projectWith } from '../../../tests/consumer.mjs';

const program = `
import { analyseMesh, defaultPrint, defaultSupport, loadMesh, noProgress, type Summary } from 'stiltforge-cli';

const { signal } = new AbortController();
export async function analyse(name: string): Promise<Summary> {
  const { positions: mesh, warnings: meshWarnings } = await loadMesh(name, signal);
  const settings = { print: defaultPrint, support: defaultSupport };
  const output = { folder: 'out', pictures: false, inspect: [] };
  const warn = (sentence: string) => console.warn(sentence);
  return analyseMesh({ name, mesh, meshWarnings, ...settings, ...output }, { progress: noProgress, signal, warn });
}
`;

test('a TypeScript program needs no types but those that the package brings', async (t) => {
  const project = await projectWith(t, 'stiltforge', 'cli');
  writeFileSync(join(project, 'program.mts'), program);
  for (const [module, moduleResolution] of [
    ['nodenext', 'nodenext'],
    ['esnext', 'bundler'],
  ]) {
    const settings = { module, moduleResolution, lib: ['es2022'] };
    assert.equal(await complaintsAbout(project, ['program.mts'], settings), '', module);
  }
});
