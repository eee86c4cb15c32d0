import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { test } from 'node:test';
import { nodeFolders, order, readSources, violations } from '../scripts/include_order.mjs';

const file = (path, ...includes) => ({
  path,
  text: `#pragma once\n\n${includes.map((name) => `#include ${name}\n`).join('')}`,
});

test('no include in src/ runs upwards, aside or in a circle', () => {
  const sources = readSources();
  assert.ok(sources.length > 100);
  assert.deepEqual(violations(sources), []);
});

test('the order itself has no circle', () => {
  const below = (folder, trail = []) => {
    assert.ok(!trail.includes(folder), [...trail, folder].join(' -> '));
    for (const next of order[folder]) below(next, [...trail, folder]);
  };
  for (const folder of Object.keys(order)) below(folder);
});

test('an include of a lower folder or of the same one is allowed', () => {
  const sources = [
    file('runtime/pool.h', '<vector>'),
    file('analysis/run.h', '"runtime/pool.h"'),
    file('analysis/layer.h', '"analysis/run.h"', '"runtime/pool.h"'),
    file('addon/module.cpp', '<napi.h>', '"analysis/layer.h"'),
  ];
  assert.deepEqual(violations(sources), []);
});

test('an include of a higher folder is named with its place and what is allowed', () => {
  const sources = [file('support/plan.h'), file('analysis/layer.cpp', '"support/plan.h"')];
  assert.deepEqual(violations(sources), [
    'src/analysis/layer.cpp:3: analysis includes support/plan.h of support; it may include runtime',
  ]);
});

test('... also when it is written relative to the file, or in angle brackets', () => {
  for (const name of ['"../support/plan.h"', '<support/plan.h>']) {
    const sources = [file('support/plan.h'), file('runtime/pool.h', name)];
    assert.equal(violations(sources).length, 1, name);
  }
});

test('an include of a neighbour is refused', () => {
  const sources = [file('slicing/slicer.h'), file('mesh/stl.cpp', '"slicing/slicer.h"')];
  assert.match(
    violations(sources).join(),
    /mesh includes slicing\/slicer\.h of slicing; .*runtime$/,
  );
});

test("Node's headers are refused below the doors, in a folder inside them too", () => {
  for (const header of ['napi.h', 'node_api.h', 'js_native_api.h', 'uv.h']) {
    for (const folder of Object.keys(order)) {
      const found = violations([file(`${folder}/deep/er.cpp`, `<${header}>`)]);
      assert.equal(found.length, nodeFolders.includes(folder) ? 0 : 1, `${folder} ${header}`);
    }
  }
});

test("the doors reach the host's memory in one place alone, which WebAssembly has another one for", () => {
  const own =
    /\.Data\(\)|napi_get_(arraybuffer|buffer)_info|TypedArrayOf|Napi::(Big)?(Ui|I)nt\d+Array|Napi::Float\d+Array|Napi::Buffer/;
  const found = readSources()
    .filter(({ path, text }) => path.startsWith('binding/') && own.test(text))
    .map(({ path, text }) => `${path}: ${own.exec(text)[0]}`);
  assert.deepEqual(found, []);
});

test('files that include each other are a circle', () => {
  const sources = [
    file('analysis/a.h', '"analysis/b.h"'),
    file('analysis/b.h', '"analysis/c.h"'),
    file('analysis/c.h', '"analysis/a.h"'),
  ];
  assert.deepEqual(violations(sources), [
    'src/analysis/a.h includes src/analysis/b.h includes src/analysis/c.h includes src/analysis/a.h: a circle',
  ]);
});

test('a folder without a place in the order is named', () => {
  assert.match(violations([file('news/item.h')]).join(), /the folder news has no place/);
});

test('CONTRIBUTING.md explains every folder of src/', () => {
  const page = readFileSync(new URL('../CONTRIBUTING.md', import.meta.url), 'utf8');
  const folders = new Set(readSources().map(({ path }) => path.split('/')[0]));
  for (const folder of folders) {
    const row = new RegExp(`^\\| \`src/${folder}\` \\| .+ \\|$`, 'm');
    assert.ok(
      row.test(page),
      `CONTRIBUTING.md: no row of its table of folders explains src/${folder}`,
    );
  }
});
