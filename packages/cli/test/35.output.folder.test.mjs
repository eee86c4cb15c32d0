// Whose files the command replaces, and that its own appear together or not at all.
import assert from 'node:assert/strict';
import { existsSync } from 'node:fs';
import { mkdir, readdir, readFile, rm, writeFile } from 'node:fs/promises';
import { hostname } from 'node:os';
import { join } from 'node:path';
import { test } from 'node:test';
import { OutputFolder } from '../dist/output/output_folder.js';
import { outputNames, start, stiltforge, temporaryFolder } from './harness.mjs';
import { binaryStl, box, table } from './meshes.mjs';

const words = ['table.stl', '--out', 'out', '--no-pictures'];

/** A folder with table.stl and, in out/, the given files. */
async function folderWith(t, files = {}) {
  const folder = await temporaryFolder(t);
  await writeFile(join(folder, 'table.stl'), binaryStl(table()));
  await mkdir(join(folder, 'out'));
  for (const [name, text] of Object.entries(files)) {
    await writeFile(join(folder, 'out', name), text);
  }
  return folder;
}

const everything = async (folder) => {
  const names = (await readdir(folder, { recursive: true, withFileTypes: true }))
    .filter((entry) => entry.isFile())
    .map((entry) => join(entry.parentPath ?? entry.path, entry.name))
    .sort();
  return Promise.all(names.map(async (name) => [name, await readFile(name, 'latin1')]));
};

test('a run replaces what an earlier run wrote and leaves other files alone', async (t) => {
  const folder = await folderWith(t, { 'mine.txt': 'keep' });
  assert.equal((await stiltforge(words, { cwd: folder })).code, 0);
  const other = [...words, '--support-area', '3'];
  assert.equal((await stiltforge(other, { cwd: folder })).code, 0);
  const document = JSON.parse(await readFile(join(folder, 'out', 'supports.json'), 'utf8'));
  assert.equal(document.settings.supportArea, 3);
  assert.deepEqual(await outputNames(join(folder, 'out')), [
    'mine.txt',
    'points.csv',
    'supports.json',
  ]);
});

test("a file of somebody else's in the way is an error before the work begins", async (t) => {
  const folder = await folderWith(t, { 'points.csv': 'mine' });
  const before = await everything(folder);
  const { code, err } = await stiltforge(words, { cwd: folder });
  assert.equal(code, 4);
  assert.match(err, /out.points\.csv: this file was not written by stiltforge.*--out.*--force/);
  assert.deepEqual(await everything(folder), before);
});

test('--force overwrites it', async (t) => {
  const folder = await folderWith(t, { 'points.csv': 'mine' });
  assert.equal((await stiltforge([...words, '--force'], { cwd: folder })).code, 0);
  assert.match(await readFile(join(folder, 'out', 'points.csv'), 'utf8'), /^x_mm,/);
});

test('an output that somebody changed since counts as theirs', async (t) => {
  const folder = await folderWith(t);
  assert.equal((await stiltforge(words, { cwd: folder })).code, 0);
  await writeFile(join(folder, 'out', 'points.csv'), 'moved by hand');
  const { code, err } = await stiltforge(words, { cwd: folder });
  assert.equal(code, 4);
  assert.match(err, /points\.csv: this file was not written by stiltforge, or changed since/);
});

test('pictures that no run wrote are not deleted', async (t) => {
  const folder = await folderWith(t, { 'part.png': 'a photograph' });
  assert.equal((await stiltforge(words, { cwd: folder })).code, 0);
  assert.equal(await readFile(join(folder, 'out', 'part.png'), 'utf8'), 'a photograph');
  assert.equal((await stiltforge(words, { cwd: folder })).code, 0);
  assert.equal(await readFile(join(folder, 'out', 'part.png'), 'utf8'), 'a photograph');
});

test('pictures of an earlier run go, for they show other supports; what was inspected stays', async (t) => {
  const folder = await folderWith(t);
  const out = join(folder, 'out');
  const drawn = ['table.stl', '--out', 'out', '--inspect', '70:1'];
  assert.equal((await stiltforge(drawn, { cwd: folder })).code, 0);
  assert.ok((await readdir(join(out, 'slices'))).length > 0);
  await writeFile(join(out, 'slices', 'mine.png'), 'keep');
  assert.equal((await stiltforge(words, { cwd: folder })).code, 0);
  assert.deepEqual(await outputNames(out), ['inspect', 'points.csv', 'slices', 'supports.json']);
  assert.deepEqual(await readdir(join(out, 'slices')), ['mine.png']);
  assert.equal((await stiltforge(drawn, { cwd: folder })).code, 0, 'they are still its own');
});

test('--out "" is an error', async (t) => {
  const folder = await folderWith(t);
  const { code, err } = await stiltforge(['table.stl', '--out', ''], { cwd: folder });
  assert.equal(code, 2);
  assert.match(err, /--out.*name of a folder/);
  assert.deepEqual((await readdir(folder)).sort(), ['out', 'table.stl']);
});

for (const name of ['points.csv', 'slices']) {
  test(`something else named ${name} in the way: nothing appears`, async (t) => {
    const folder = await folderWith(t);
    const out = join(folder, 'out');
    if (name === 'slices') await writeFile(join(out, name), 'a file');
    else await mkdir(join(out, name));
    const { code, err } = await stiltforge(['table.stl', '--out', 'out'], { cwd: folder });
    assert.equal(code, 4, err);
    assert.match(err, new RegExp(`${name.replace('.', '\\.')}.*can't be written`));
    assert.deepEqual(await readdir(out), [name]);
  });
}

test('a file that cannot be moved to its place: all is as it was before', async (t) => {
  const folder = join(await folderWith(t), 'out');
  const earlier = OutputFolder.open(folder, { expected: [], force: false });
  await earlier.write('a.txt', 'old a');
  await earlier.write('retired.txt', 'old');
  earlier.commit(() => false);
  earlier.discard();
  const before = await everything(folder);

  const later = OutputFolder.open(folder, { expected: [], force: false });
  await later.write('a.txt', 'new a');
  await later.write('new/b.txt', 'b');
  await later.write('c.txt', 'c');
  const [staging] = (await readdir(folder)).filter((name) => /^\.stiltforge-.*-\d+$/.test(name));
  await rm(join(folder, staging, 'c.txt'));
  assert.throws(() => later.commit(() => false), {
    exitCode: 4,
    message: /c\.txt.*can't be written/,
  });
  later.discard();
  assert.deepEqual(await everything(folder), before);
  assert.ok(!existsSync(join(folder, 'new')));
});

test('a folder where the record of the run goes is an error before the work begins', async (t) => {
  const folder = await folderWith(t);
  await mkdir(join(folder, 'out', '.stiltforge.json'));
  const { code, err } = await stiltforge(words, { cwd: folder });
  assert.equal(code, 4);
  assert.match(err, /out.\.stiltforge\.json: the file can't be written \(it is no file\)/);
  assert.deepEqual(await readdir(join(folder, 'out')), ['.stiltforge.json']);
});

test('a record that cannot be written when all is done: all is as it was before', async (t) => {
  const folder = await folderWith(t);
  const out = OutputFolder.open(join(folder, 'out'), { expected: ['points.csv'], force: false });
  await out.write('points.csv', 'points');
  await mkdir(join(folder, 'out', '.stiltforge.json'));
  assert.throws(() => out.commit(() => false), {
    name: 'UserError',
    exitCode: 4,
    message: /\.stiltforge\.json: the file can't be written/,
  });
  out.discard();
  assert.deepEqual(await readdir(join(folder, 'out')), ['.stiltforge.json']);
});

test('what a killed run left goes with the next run, what other runs are writing stays', async (t) => {
  const folder = await temporaryFolder(t);
  await writeFile(join(folder, 'tall.stl'), binaryStl(box([0, 0, 0], [60, 60, 200])));
  const out = join(folder, 'tall-supports');
  const hidden = async () =>
    existsSync(out) ? (await readdir(out)).filter((name) => name.startsWith('.stiltforge-')) : [];
  const long = ['tall.stl', '--layer-height', '0.01', '--no-pictures'];
  const { child, done } = start(long, { cwd: folder });
  while ((await hidden()).length === 0) await new Promise((resolve) => setTimeout(resolve, 10));
  child.kill('SIGKILL');
  await done;
  assert.equal((await hidden()).length, 1, 'nobody could remove it');

  const machine = hostname().replace(/[^\w.-]/g, '_');
  const running = [`.stiltforge-${machine}-${process.pid}-0`, '.stiltforge-elsewhere-1-0'];
  for (const name of running) await mkdir(join(out, name));
  const short = ['tall.stl', '--layer-height', '1', '--no-pictures'];
  assert.equal((await stiltforge(short, { cwd: folder })).code, 0);
  assert.deepEqual((await hidden()).sort(), running.sort());
});

test('a record that leads out of the folder is not followed', async (t) => {
  const folder = await folderWith(t);
  assert.equal((await stiltforge(words, { cwd: folder })).code, 0);
  const record = join(folder, 'out', '.stiltforge.json');
  const { files, ...rest } = JSON.parse(await readFile(record, 'utf8'));
  await writeFile(join(folder, 'copy.csv'), await readFile(join(folder, 'out', 'points.csv')));
  files['../copy.csv'] = files['points.csv'];
  await writeFile(record, JSON.stringify({ ...rest, files }));
  assert.equal((await stiltforge(words, { cwd: folder })).code, 0);
  assert.ok(existsSync(join(folder, 'copy.csv')));
});
