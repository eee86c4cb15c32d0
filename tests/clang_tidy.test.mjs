import assert from 'node:assert/strict';
import { mkdirSync, mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { test } from 'node:test';
import { clangTidy } from '../scripts/clang_tidy.mjs';

const configuration = "Checks: '-*,modernize-use-nullptr'\nWarningsAsErrors: '*'\n";
const sound = (name) => `int *${name}() { return nullptr; }\n`;
const flawed = (name) => `int *${name}() { return 0; }\n`;

/** A project of these files, all compiled alike; `check()` gives what clangTidy() does for them. */
function project(t, sources) {
  const root = mkdtempSync(join(tmpdir(), 'stiltforge-tidy-'));
  t.after(() => rmSync(root, { recursive: true }));
  const write = (name, text) => writeFileSync(join(root, name), text);
  write('.clang-tidy', configuration);
  for (const [name, text] of Object.entries(sources)) write(name, text);
  const files = Object.keys(sources).filter((name) => name.endsWith('.cpp'));
  const database = join(root, 'database');
  mkdirSync(database);
  const command = (name) => `c++ -std=c++20 -o ${name}.o -c ${join(root, name)}`;
  writeFileSync(
    join(database, 'compile_commands.json'),
    JSON.stringify(
      files.map((name) => ({ directory: root, file: join(root, name), command: command(name) })),
    ),
  );
  return {
    write,
    check: (chosen = files) => clangTidy({ root, database, files: chosen, jobs: 2 }),
  };
}

test('one flawed file among sound ones is found, and only that', async (t) => {
  const { check } = project(t, { 'a.cpp': sound('a'), 'b.cpp': flawed('b'), 'c.cpp': sound('c') });
  const { unchanged, checked, findings } = await check();
  assert.deepEqual([unchanged, checked, findings.length], [0, 3, 1]);
  assert.match(findings[0], /b\.cpp:1:\d+: error: use nullptr/);
});

test('a flaw in a header is found', async (t) => {
  const { check } = project(t, {
    'flawed.h': `#pragma once\ninline ${flawed('f')}`,
    'a.cpp': `#include "flawed.h"\n`,
    'b.cpp': `#include "flawed.h"\n`,
  });
  const { findings } = await check();
  assert.match(findings.join(), /flawed\.h:2:\d+: error: use nullptr/);
});

test('a flaw in a header is found beside one in a file that does not include it', async (t) => {
  const { check } = project(t, {
    'flawed.h': `#pragma once\ninline ${flawed('f')}`,
    'a.cpp': `#include "flawed.h"\n`,
    'b.cpp': flawed('b'),
  });
  const { findings } = await check();
  assert.deepEqual(findings.map((text) => /(\w+\.\w+):\d/.exec(text)[1]).sort(), [
    'b.cpp',
    'flawed.h',
  ]);
});

test('flaws in files that cannot stand together are found', async (t) => {
  const { check } = project(t, {
    'a.cpp': `static int twice = 1;\n${flawed('a')}int b() { return twice; }\n`,
    'c.cpp': `static int twice = 2;\n${sound('c')}int d() { return twice; }\n`,
    'e.cpp': `static int twice = 3;\n${flawed('e')}int f() { return twice; }\n`,
  });
  const { findings } = await check();
  assert.deepEqual(findings.map((text) => /(.)\.cpp:2/.exec(text)[1]).sort(), ['a', 'e']);
});

test('a file that does not compile is found', async (t) => {
  const { check } = project(t, { 'a.cpp': 'int a() { return unknown; }\n', 'b.cpp': sound('b') });
  const { findings } = await check();
  assert.equal(findings.length, 1);
  assert.match(findings[0], /a\.cpp:1:18: error: use of undeclared identifier 'unknown'/);
});

test('files that nothing compiles are named', async (t) => {
  const { check } = project(t, { 'a.cpp': sound('a') });
  assert.deepEqual((await check(['a.cpp', 'b.cpp'])).commandless, ['b.cpp']);
});

test('a flawed file is told every time, a sound one is checked once', async (t) => {
  const { check } = project(t, { 'a.cpp': sound('a'), 'b.cpp': flawed('b'), 'c.cpp': sound('c') });
  await check();
  const { unchanged, checked, findings } = await check();
  assert.deepEqual([unchanged, checked, findings.length], [2, 1, 1]);
});

test('a sound file is checked again when it, a header of it or the configuration changes', async (t) => {
  const { write, check } = project(t, {
    'deep.h': '#pragma once\n',
    'used.h': '#pragma once\n#include "deep.h"\n',
    'a.cpp': `#include "used.h"\n${sound('a')}`,
    'b.cpp': sound('b'),
  });
  assert.equal((await check()).checked, 2);
  assert.equal((await check()).checked, 0);
  write('b.cpp', flawed('b'));
  assert.deepEqual(
    (({ checked, findings: { length } }) => [checked, length])(await check()),
    [1, 1],
  );
  write('b.cpp', sound('b'));
  write('deep.h', `#pragma once\ninline ${flawed('f')}`);
  const { checked, findings } = await check();
  assert.equal(checked, 1);
  assert.match(findings.join(), /deep\.h/);
  write('.clang-tidy', configuration.replace('modernize-use-nullptr', 'modernize-use-using'));
  assert.deepEqual(
    (({ checked, findings: { length } }) => [checked, length])(await check()),
    [2, 0],
  );
});
