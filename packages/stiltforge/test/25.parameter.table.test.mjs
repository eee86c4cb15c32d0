import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { test } from 'node:test';
import { Analysis, parameterTable } from 'stiltforge/analysis';
import { parameters } from './harness.mjs';

const table = parameterTable();
const names = table.map(({ name }) => name);
const read = (file) => readFileSync(new URL(file, import.meta.url), 'utf8');

test('the table has 28 parameters, each with a range, a unit and a sentence', () => {
  assert.equal(new Set(names).size, 28);
  for (const { name, kind, least, most, unit, summary } of table) {
    assert.match(kind, /^(flag|integer|number)$/, name);
    assert.ok(least < most, name);
    assert.match(unit, /^\w+$/, name);
    assert.match(summary, /^[A-Z].*[^.]$/, name);
  }
});

test('the defaults lie in their ranges; only the size has none', () => {
  const withoutDefault = table.filter((row) => row.default === undefined);
  assert.deepEqual(
    withoutDefault.map(({ name }) => name),
    ['width', 'height'],
  );
  const defaults = Object.fromEntries(table.map((row) => [row.name, row.default]));
  // What a support holds depends on the size of pixels: the default, 0, places none.
  assert.equal(defaults.supportStrength, 0);
  return Analysis.create({ ...defaults, width: 8, height: 6, addSupport: false }).close();
});

test('the declarations name the parameters of the table, flags as booleans', () => {
  const [, body] = /interface AnalysisParameters \{(.*?)\n {2}\}/s.exec(read('../index.d.cts'));
  const declared = [...body.matchAll(/^ {4}(\w+): (\w+);$/gm)].map(([, name, type]) => [
    name,
    type,
  ]);
  const expected = table.map(({ name, kind }) => [name, kind === 'flag' ? 'boolean' : 'number']);
  assert.deepEqual(declared.sort(), expected.sort());
});

test('docs/parameters.md explains the parameters of the table, each in its unit', () => {
  const [, section] = read('../../../docs/parameters.md').split('\n## The 28\n');
  const rows = section.split('\n').filter((line) => /^\| `/.test(line));
  const explained = rows.flatMap((row) => {
    const [, keys, unit] = /^\| (.*?) \| ([^,|]*)/.exec(row);
    return [...keys.matchAll(/`(\w+)`/g)].map(([, name]) => [name, unit.trim()]);
  });
  const expected = table.map(({ name, unit }) => [name, unit === 'flag' ? 'yes or no' : unit]);
  assert.deepEqual(explained.sort(), expected.sort());
});

test('the parameters of these tests are those of the table', () => {
  assert.deepEqual(Object.keys(parameters()).sort(), [...names].sort());
});
