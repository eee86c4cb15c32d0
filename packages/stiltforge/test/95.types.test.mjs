import assert from 'node:assert/strict';
import { cpSync } from 'node:fs';
import { test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { complaints, complaintsAbout, projectWith } from '../../../tests/consumer.mjs';

const here = (name) => fileURLToPath(new URL(name, import.meta.url));

for (const [resolution, file] of [
  ['Node', 'tsconfig.json'],
  ['a bundler', 'tsconfig.bundler.json'],
]) {
  test(`resolved as by ${resolution}, the declarations fit the uses in types/ and refuse the wrong ones`, async () => {
    assert.equal(await complaints(here(`types/${file}`)), '');
  });
}

test('a program without the types of Node compiles against the packed package', async (t) => {
  const project = await projectWith(t, 'stiltforge');
  cpSync(here('consumer'), project, { recursive: true });
  const both = ['analysis.mts', 'functions.mts', 'slicing.mts', 'wasm.mts'];
  const all = [...both, 'functions.cts'];
  for (const [module, moduleResolution, lib, files] of [
    ['node16', 'node16', ['es2022'], all],
    ['nodenext', 'nodenext', ['es2022'], all],
    ['esnext', 'bundler', ['es2022'], both],
    ['preserve', 'bundler', ['es2022'], all],
    ['nodenext', 'nodenext', ['es2022', 'dom'], [...all, 'browser.mts']],
    ['esnext', 'bundler', undefined, [...both, 'browser.mts']],
  ]) {
    const settings = { module, moduleResolution, lib };
    assert.equal(await complaintsAbout(project, files, settings), '', JSON.stringify(settings));
  }
});
