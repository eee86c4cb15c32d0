// What a page in a browser shares with the command.
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { test } from 'node:test';
import { fileURLToPath } from 'node:url';

const importOf =
  /^(?:import|export)\s[^;]*?from\s+'([^']+)'|^import\s+'([^']+)'|import\('([^']+)'\)/gm;

/** Modules outside the package that a file reaches, by the file that names them. */
function reached(file, seen = new Set(), found = new Map()) {
  if (seen.has(file)) return found;
  seen.add(file);
  for (const [, from, alone, later] of readFileSync(file, 'utf8').matchAll(importOf)) {
    const name = from ?? alone ?? later;
    if (name.startsWith('.')) reached(fileURLToPath(new URL(name, `file://${file}`)), seen, found);
    else found.set(name, file);
  }
  return found;
}

test('the road of a part reaches nothing that browsers lack', () => {
  const found = reached(fileURLToPath(import.meta.resolve('stiltforge-cli/part')));
  assert.deepEqual([...found.keys()].sort(), [
    'fflate',
    'stiltforge-viewer',
    'stiltforge/analysis',
    'stiltforge/check',
    'stiltforge/orientation',
    'stiltforge/scaffold',
    'stiltforge/slicing',
  ]);
});

test('... and the viewer, which packs it, neither', () => {
  const found = reached(fileURLToPath(import.meta.resolve('stiltforge-viewer')));
  assert.deepEqual([...found.keys()].sort(), ['fflate', 'meshoptimizer/simplifier']);
});
