import assert from 'node:assert/strict';
import { existsSync } from 'node:fs';
import { mkdir, readdir, readFile, writeFile } from 'node:fs/promises';
import { availableParallelism } from 'node:os';
import { join } from 'node:path';
import { PassThrough } from 'node:stream';
import { text } from 'node:stream/consumers';
import { test } from 'node:test';
import { setTimeout } from 'node:timers/promises';
import { stripVTControlCharacters } from 'node:util';
import { displayBars } from '../dist/batch/display_bars.js';
import { MemoryBudget } from '../dist/batch/memory_budget.js';
import { outputNames, start, stiltforge, temporaryFolder } from './harness.mjs';
import { binaryStl, box, footAndIsland, table } from './meshes.mjs';
import { sl1 } from './prints.mjs';

/** Small pixels make a run long enough to be interrupted. */
const long = ['--pixel-size', '0.004', '--screen', '60000x60000', '--layer-height', '0.005'];

async function folderWith(t, files) {
  const folder = await temporaryFolder(t);
  for (const [name, content] of Object.entries(files)) {
    await mkdir(join(folder, name, '..'), { recursive: true });
    await writeFile(join(folder, name), content);
  }
  return folder;
}

test('several inputs each have what a run of their own writes', async (t) => {
  const cwd = await folderWith(t, {
    'table.stl': binaryStl(table()),
    'island.stl': binaryStl(footAndIsland()),
    'plate.sl1': sl1(),
  });
  const words = ['table.stl', 'island.stl', 'plate.sl1'];
  const { code, out, err } = await stiltforge([...words, '--out', 'all/of/them'], { cwd });
  assert.equal(code, 0, err);
  assert.deepEqual(await readdir(join(cwd, 'all/of/them')), [
    'island-supports',
    'plate-supports',
    'table-supports',
  ]);
  for (const name of words) {
    assert.equal((await stiltforge([name, '--quiet'], { cwd })).code, 0);
    const folder = `${name.replace(/\..*/, '')}-supports`;
    const names = await outputNames(join(cwd, folder));
    assert.deepEqual(await outputNames(join(cwd, 'all/of/them', folder)), names);
    for (const file of names.filter((name) => name.includes('.'))) {
      const one = await readFile(join(cwd, folder, file));
      assert.ok(one.equals(await readFile(join(cwd, 'all/of/them', folder, file))), file);
    }
  }
  const lines = out.trimEnd().split('\n');
  assert.match(lines[0], /^ +points +held +time +written to$/);
  assert.match(
    lines[2],
    /^island\.stl +2 +1 of 1 island, .* +\d+ s +all\/of\/them\/island-supports\/$/,
  );
  assert.equal(lines.length, 4);
});

test('an input that fails does not stop the others, and its code is that of the command', async (t) => {
  const cwd = await folderWith(t, {
    'broken.stl': binaryStl(table()).subarray(0, 500),
    'table.stl': binaryStl(table()),
    'wide.stl': binaryStl(box([0, 0, 0], [300, 10, 10])),
  });
  const words = ['broken.stl', 'table.stl', 'missing.stl', 'wide.stl', '--no-pictures'];
  const { code, out, err } = await stiltforge(words, { cwd });
  assert.equal(code, 3);
  assert.deepEqual(await outputNames(cwd), [
    'broken.stl',
    'table-supports',
    'table.stl',
    'wide.stl',
  ]);
  assert.match(err, /^stiltforge: broken\.stl: .*cut off/m);
  assert.match(err, /^stiltforge: missing\.stl: /m);
  assert.match(out, /^broken\.stl +FAILED, see below$/m);
  assert.match(out, /^table\.stl +\d+ /m);
  assert.match(out, /\n\n3 of 4 inputs failed:\n {2}broken\.stl: .*\n {2}missing\.stl: /);
});

test('--json tells what became of each input, in the order of the command line', async (t) => {
  const cwd = await folderWith(t, {
    'island.stl': binaryStl(footAndIsland()),
    'broken.stl': 'solid',
  });
  const options = ['--json', '--no-pictures', '--format', 'json'];
  const { code, out } = await stiltforge(['broken.stl', 'island.stl', ...options], { cwd });
  assert.equal(code, 3);
  const { schemaVersion, generator, files } = JSON.parse(out);
  assert.deepEqual([schemaVersion, generator.name], [1, 'stiltforge']);
  assert.deepEqual(
    files.map(({ file }) => file),
    ['broken.stl', 'island.stl'],
  );
  assert.equal(files[0].exitCode, 3);
  assert.match(files[0].error, /^broken\.stl: /);
  const { summary } = JSON.parse(await readFile(join(cwd, 'island-supports/supports.json')));
  assert.deepEqual(files[1].summary, summary);
  assert.deepEqual(files[1].files, ['supports.json']);
  assert.equal(files[1].folder, 'island-supports');

  const one = await stiltforge(['island.stl', ...options], { cwd });
  assert.equal(one.code, 0);
  assert.deepEqual(JSON.parse(one.out).files[0].summary, summary);
  const none = await stiltforge(['broken.stl', ...options], { cwd });
  assert.equal(none.code, 3);
  assert.deepEqual(JSON.parse(none.out).files, [files[0]]);
});

test('inputs that would write to the same folder are refused before any work', async (t) => {
  const cwd = await folderWith(t, {
    'a/part.stl': binaryStl(table()),
    'b/part.obj': 'v 0 0 0',
    'b/Part.stl': binaryStl(table()),
  });
  for (const [one, other] of [
    ['a/part.stl', 'b/part.obj'],
    ['a/part.stl', 'a/part.stl'],
    ['a/part.stl', 'b/Part.stl'],
  ]) {
    const { code, err } = await stiltforge([one, other], { cwd });
    assert.equal(code, 2);
    assert.ok(err.startsWith(`stiltforge: ${one} and ${other} would both write to `), err);
  }
  assert.deepEqual(await readdir(cwd), ['a', 'b']);
});

test('--inspect is for one input', async (t) => {
  const cwd = await folderWith(t, {});
  const { code, err } = await stiltforge(['a.stl', 'b.stl', '--inspect', '3:1'], { cwd });
  assert.equal(code, 2);
  assert.match(err, /--inspect 3:1: it names a region of one part, and 2 inputs are given/);
});

test('--quiet leaves warnings and errors, --verbose tells each run as a single one does', async (t) => {
  const cwd = await folderWith(t, {
    'table.stl': binaryStl(table()),
    'island.stl': binaryStl(footAndIsland()),
  });
  const words = ['table.stl', 'island.stl', '--no-pictures'];
  const quiet = await stiltforge([...words, '--quiet'], { cwd });
  assert.deepEqual([quiet.code, quiet.out], [0, '']);
  const { err } = await stiltforge([...words, '--verbose'], { cwd });
  assert.match(err, /^table\.stl\n {2}size/m);
  assert.match(err, /^island\.stl\n {2}size/m);
  assert.match(err, /^ {4}numSupport|^ {4}supportStrength/m);
});

test('Ctrl-C ends all runs; those that were done stay, nothing is left of the others', async (t) => {
  const cwd = await folderWith(t, {
    'missing.stl': '',
    'one.stl': binaryStl(table()),
    'two.stl': binaryStl(table()),
  });
  const words = ['missing.stl', 'one.stl', 'two.stl', '--no-pictures', ...long];
  const { child, done } = start(words, { cwd });
  while (!existsSync(join(cwd, 'one-supports'))) await setTimeout(20);
  child.kill('SIGINT');
  const { code, err } = await done;
  assert.equal(code, 130);
  assert.match(
    err,
    /interrupted; 0 of 3 inputs had been done, nothing was written of the others\n$/,
  );
  assert.deepEqual(await readdir(cwd), ['missing.stl', 'one.stl', 'two.stl']);
});

test('a run whose process is killed fails alone', {
  skip: process.platform !== 'linux',
}, async (t) => {
  const cwd = await folderWith(t, { 'one.stl': binaryStl(table()), 'two.stl': binaryStl(table()) });
  const { child, done } = start(['one.stl', 'two.stl', '--no-pictures', ...long], { cwd });
  while (!existsSync(join(cwd, 'one-supports'))) await setTimeout(20);
  const children = `/proc/${child.pid}/task/${child.pid}/children`;
  const processes = (await readFile(children, 'utf8')).trim().split(' ').map(Number);
  process.kill(processes[0], 'SIGKILL');
  const { code, out } = await done;
  assert.equal(code, 5);
  assert.match(out, /one\.stl: its process was killed, as systems do when memory runs out/);
  assert.match(out, /^two\.stl +\d/m);
});

test('when the command is killed its processes end, and leave nothing', {
  skip: process.platform !== 'linux',
}, async (t) => {
  const cwd = await folderWith(t, { 'one.stl': binaryStl(table()), 'two.stl': binaryStl(table()) });
  const { child, done } = start(['one.stl', 'two.stl', '--no-pictures', ...long], { cwd });
  while (!existsSync(join(cwd, 'one-supports'))) await setTimeout(20);
  child.kill('SIGKILL');
  assert.equal((await done).signal, 'SIGKILL');
  while ((await readdir(cwd)).length > 2) await setTimeout(20);
  assert.deepEqual(await readdir(cwd), ['one.stl', 'two.stl']);
});

test('what one input alone may not take is refused, what all may not waits its turn', async (t) => {
  const cwd = await folderWith(t, { 'one.stl': binaryStl(table()), 'two.stl': binaryStl(table()) });
  const words = ['one.stl', 'two.stl', '--no-pictures'];
  const { code, out } = await stiltforge([...words, '--memory', '0.01'], { cwd });
  assert.equal(code, 5);
  assert.match(out, /one\.stl|more than the 10 MB/);
  // More than one takes, less than two.
  const both = await stiltforge([...words, '--memory', '0.2'], { cwd });
  assert.equal(both.code, 0, both.err);
});

test('memory is given in the order in which it was asked for, and never more than there is', async () => {
  const budget = new MemoryBudget(100);
  const admitted = [];
  const ask = (name, bytes) => budget.admit(bytes).then(() => admitted.push(name));
  ask('a', 60);
  ask('b', 60);
  ask('c', 30);
  await setTimeout();
  assert.deepEqual(admitted, ['a'], 'c does not overtake b');
  budget.release(60);
  await setTimeout();
  assert.deepEqual(admitted, ['a', 'b', 'c']);
  budget.release(60);
  budget.release(30);
  ask('too large', 1000);
  await setTimeout();
  assert.equal(admitted.at(-1), 'too large', 'one alone always begins');
});

test('a terminal shows a bar for all inputs and one for each in work', async () => {
  const terminal = Object.assign(new PassThrough(), { isTTY: true, columns: 100 });
  const display = displayBars(terminal, 3);
  const one = display.begin('some/where/one.stl');
  one.start(100, 0);
  const other = display.begin('a-name-that-is-longer-than-any-column.stl');
  other.start(10, 0);
  other.layers(5);
  display.say(`stiltforge: ${'a long sentence '.repeat(10)}\n`);
  await setTimeout(250);
  one.stop();
  await setTimeout(250);
  other.stop();
  display.stop();
  const shown = stripVTControlCharacters(await text(terminal.end()));
  assert.match(shown, /all +[█░]+ +33% \| 1 of 3 inputs/);
  assert.match(shown, /one\.stl +[█░]+ +0% \| layer 0 of 100/);
  assert.match(shown, /a-name-that-is-lo\.\.\. [█░]+/);
  for (const line of shown.match(/stiltforge: a long.*|^ {2}a? ?long.*/gm))
    assert.ok(line.length < 100);
});

test('as many inputs run at once as there are cores', {
  skip: process.platform !== 'linux',
}, async (t) => {
  const files = Array.from({ length: availableParallelism() + 2 }, (_, i) => `part${i}.stl`);
  const cwd = await folderWith(
    t,
    Object.fromEntries(files.map((name) => [name, binaryStl(table())])),
  );
  const { child, done } = start([...files, '--no-pictures'], { cwd });
  const children = `/proc/${child.pid}/task/${child.pid}/children`;
  let most = 0;
  const watch = async () => {
    while (child.exitCode === null && existsSync(children)) {
      const list = await readFile(children, 'utf8').catch(() => '');
      most = Math.max(most, list.trim().split(' ').filter(Boolean).length);
      await setTimeout(5);
    }
  };
  await Promise.all([watch(), done]);
  assert.equal((await done).code, 0);
  assert.ok(most >= 1 && most <= availableParallelism(), `${most}`);
});
