// docs/formats.md tells the limits of the readers as they are in the code.
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { test } from 'node:test';

const read = (path) => readFileSync(new URL(`../${path}`, import.meta.url), 'utf8');

/** A constant of a limits.h: a number, a shifted one, or a multiple of another. */
function valueIn(expression, known) {
  const [factor, other] = expression.split(' * ');
  if (other !== undefined) return Number(factor) * known.get(other);
  const [number, shift] = expression.replace(/(?:std::)?uint64_t\{(\d+)\}/, '$1').split(' << ');
  return Number(number.replaceAll("'", '')) * 2 ** Number(shift ?? 0);
}

function shown(number, name) {
  if (name.endsWith('Pixels')) return number.toLocaleString('en-US');
  if (number % 2 ** 30 === 0) return `${number / 2 ** 30} GiB`;
  if (number % 2 ** 20 === 0) return `${number / 2 ** 20} MiB`;
  return number.toLocaleString('en-US');
}

function requireTold(file, heading, atLeast) {
  const limits = new Map();
  for (const [, name, value] of read(file).matchAll(/(\w+) = ([^;]+);/g)) {
    limits.set(name, valueIn(value, limits));
  }
  assert.ok(limits.size >= atLeast);
  const table = read('docs/formats.md').split(`| ${heading} | |`)[1].split('\n\n')[0];
  const told = table.split(/ *[|;\n] */);
  for (const [name, value] of limits) assert.ok(told.includes(shown(value, name)), name);
}

test('docs/formats.md tells the limits of the mesh readers', () => {
  requireTold('src/mesh/limits.h', 'limit', 11);
});

test('docs/formats.md tells the limits of the readers of printer files', () => {
  requireTold('src/printer_files/limits.h', 'limit of printer files', 7);
});
