import assert from 'node:assert/strict';
import { closeSync, existsSync, openSync } from 'node:fs';
import { access, constants, readdir, readFile, writeFile } from 'node:fs/promises';
import { join } from 'node:path';
import { test } from 'node:test';
import { outputNames, start, stiltforge, temporaryFolder } from './harness.mjs';
import { binaryStl, box, table } from './meshes.mjs';

test('--help explains the command, its options and its exit codes', async () => {
  const { code, out } = await stiltforge(['--help']);
  assert.equal(code, 0);
  for (const text of ['Usage: stiltforge <part...>', 'The printer:', 'Exit codes:', 'Examples:']) {
    assert.ok(out.includes(text), text);
  }
  assert.ok(
    out.split('\n').every((line) => line.length <= 80),
    'it fits a terminal',
  );
});

test('npm finds the command before anything is built', async () => {
  const manifest = new URL('../package.json', import.meta.url);
  const { bin } = JSON.parse(await readFile(manifest, 'utf8'));
  assert.doesNotMatch(bin.stiltforge, /dist/);
  await access(new URL(bin.stiltforge, manifest), constants.X_OK);
});

test('--version prints the version of the package', async () => {
  const { code, out } = await stiltforge(['--version']);
  assert.equal(code, 0);
  assert.match(out, /^\d+\.\d+\.\d+\n$/);
});

test('wrong words on the command line exit with 2 and say what is wrong', async () => {
  for (const [words, message] of [
    [[], /^stiltforge: no part is named\. Name one\.\nTry: stiltforge --help\n$/],
    [['part.stl', '--layer-height', '0'], /plain number above 0/],
    [['part.stl', '--critical-angle', '90'], /between 0 and 90/],
    [['part.stl', '--screen', '0x100'], /1 to 65535/],
    [['part.stl', '--up', 'x'], /z, y/],
    [['part.stl', '--height', '5', '--scale', '2'], /cannot be used with/],
    [['part.stl', '--bogus'], /unknown option/],
    [['part.stl', '--inspect', '4'], /like 120:1/],
  ]) {
    const { code, err } = await stiltforge(words);
    assert.equal(code, 2, words.join(' '));
    assert.match(err, message);
  }
});

test('a mesh that cannot be used exits with 3, names the file and writes nothing', async (t) => {
  const folder = await temporaryFolder(t);
  await writeFile(join(folder, 'broken.stl'), binaryStl(table()).subarray(0, 500));
  const { code, err, out } = await stiltforge(['broken.stl'], { cwd: folder });
  assert.equal(code, 3);
  assert.match(err, /^stiltforge: broken\.stl: .*cut off/);
  assert.equal(out, '');
  assert.deepEqual(await readdir(folder), ['broken.stl']);
});

test('a part that does not fit the screen exits with 3 and says by how much', async (t) => {
  const folder = await temporaryFolder(t);
  await writeFile(join(folder, 'wide.stl'), binaryStl(box([0, 0, 0], [300, 10, 10])));
  const { code, err } = await stiltforge(['wide.stl'], { cwd: folder });
  assert.equal(code, 3);
  assert.match(err, /wide\.stl: .*mm/);
  assert.deepEqual(await readdir(folder), ['wide.stl']);
});

test('without a native binary the command says in one sentence what to do', async (t) => {
  const folder = await temporaryFolder(t);
  await writeFile(join(folder, 'table.stl'), binaryStl(table()));
  const env = { STILTFORGE_BINARIES: folder };
  const { code, err } = await stiltforge(['table.stl'], { cwd: folder, env });
  assert.equal(code, 1);
  assert.match(err, /^stiltforge: There is no binding\.node that .* STILTFORGE_BINARIES .*\.\n$/);
  assert.deepEqual(await readdir(folder), ['table.stl']);
  assert.equal((await stiltforge(['--help'], { env })).code, 0);
});

test('an output folder that cannot be made exits with 4', async (t) => {
  const folder = await temporaryFolder(t);
  await writeFile(join(folder, 'table.stl'), binaryStl(table()));
  await writeFile(join(folder, 'taken'), 'a file where the folder should be');
  const { code, err } = await stiltforge(['table.stl', '--out', 'taken', '--no-pictures'], {
    cwd: folder,
  });
  assert.equal(code, 4);
  assert.match(err, /taken.*can't be written.*--out/);
});

test('an output folder where the system takes none exits with 4', {
  skip: existsSync('/proc/self') ? false : 'needs /proc',
}, async (t) => {
  const folder = await temporaryFolder(t);
  await writeFile(join(folder, 'table.stl'), binaryStl(table()));
  const { code, err } = await stiltforge(['table.stl', '--out', '/proc/x/y', '--no-pictures'], {
    cwd: folder,
  });
  assert.equal(code, 4);
  assert.match(err, /\/proc\/x.*can't be written.*--out/);
});

test('a region that is not there exits with 2 and leaves no outputs', async (t) => {
  const folder = await temporaryFolder(t);
  await writeFile(join(folder, 'table.stl'), binaryStl(table()));
  const words = ['table.stl', '--no-pictures', '--inspect', '3:99'];
  const { code, err } = await stiltforge(words, { cwd: folder });
  assert.equal(code, 2);
  assert.match(err, /--inspect 3:99: layer 3 of table\.stl has 1 region\./);
  assert.deepEqual(await readdir(folder), ['table.stl']);
});

test('a layer that is not there exits with 2 before anything is analysed', async (t) => {
  const folder = await temporaryFolder(t);
  await writeFile(join(folder, 'table.stl'), binaryStl(table()));
  const words = ['table.stl', '--no-pictures', '--inspect', '90:1'];
  const { code, err } = await stiltforge(words, { cwd: folder });
  assert.equal(code, 2);
  assert.equal(err, 'stiltforge: --inspect 90:1: table.stl has the layers 0 to 89.\n');
  assert.deepEqual(await readdir(folder), ['table.stl']);
});

test('a reader of the messages that goes away does not end the run', async (t) => {
  const folder = await temporaryFolder(t);
  await writeFile(join(folder, 'cube.stl'), binaryStl(box([0, 0, 0], [4, 4, 4])));
  const { child, done } = start(['cube.stl', '--no-pictures'], { cwd: folder });
  child.stdout.destroy();
  const { code, err } = await done;
  assert.equal(err, '');
  assert.equal(code, 0);
  assert.ok((await readdir(folder)).includes('cube-supports'));
});

const full = '/dev/full';
test('standard output that cannot be written exits with 4 and says so', {
  skip: !existsSync(full),
}, async (t) => {
  const folder = await temporaryFolder(t);
  await writeFile(join(folder, 'cube.stl'), binaryStl(box([0, 0, 0], [4, 4, 4])));
  const stdout = openSync(full, 'w');
  t.after(() => closeSync(stdout));
  const words = ['cube.stl', '--no-pictures'];
  const { code, err } = await start(words, { cwd: folder, stdout }).done;
  assert.equal(code, 4);
  assert.match(err, /^stiltforge: standard output can't be written \(ENOSPC/);
  assert.deepEqual(await outputNames(join(folder, 'cube-supports')), [
    'points.csv',
    'supports.json',
  ]);
});

test('an open mesh gives supports, and a warning in one sentence', async (t) => {
  const folder = await temporaryFolder(t);
  await writeFile(join(folder, 'open.stl'), binaryStl(table().slice(1)));
  const { code, err } = await stiltforge(['open.stl', '--no-pictures', '-q'], { cwd: folder });
  assert.equal(code, 0);
  assert.match(err, /^stiltforge: warning: open\.stl: The mesh has 3 open edges/m);
});

test('--quiet prints nothing about a sound mesh', async (t) => {
  const folder = await temporaryFolder(t);
  await writeFile(join(folder, 'cube.stl'), binaryStl(box([0, 0, 0], [4, 4, 4])));
  assert.deepEqual(await stiltforge(['cube.stl', '--no-pictures', '-q'], { cwd: folder }), {
    code: 0,
    signal: null,
    out: '',
    err: '',
  });
});

for (const signal of ['SIGINT', 'SIGTERM']) {
  test(`${signal} ends the run with 130 and leaves nothing behind`, async (t) => {
    const folder = await temporaryFolder(t);
    await writeFile(join(folder, 'tall.stl'), binaryStl(box([0, 0, 0], [60, 60, 200])));
    const words = ['tall.stl', '--layer-height', '0.01', '--no-pictures'];
    const { child, done } = start(words, { cwd: folder });
    // The output folder shows that the work has begun.
    const deadline = Date.now() + 30_000;
    while (!(await readdir(folder)).includes('tall-supports') && Date.now() < deadline) {
      await new Promise((resolve) => setTimeout(resolve, 10));
    }
    child.kill(signal);
    const { code, err } = await done;
    assert.equal(code, 130, err);
    assert.match(err, /interrupted, nothing was written/);
    assert.deepEqual(await readdir(folder), ['tall.stl']);
  });
}

test('SIGINT while pictures are drawn ends the run with 130, too', async (t) => {
  const folder = await temporaryFolder(t);
  await writeFile(join(folder, 'table.stl'), binaryStl(table()));
  const outputs = join(folder, 'table-supports');
  const { child, done } = start(['table.stl', '--pixel-size', '0.01'], { cwd: folder });
  // The points are written when the layers are done, the pictures after them.
  const written = async () => (await readdir(outputs, { recursive: true })).join(' ');
  while (child.exitCode === null && !/points\.csv/.test(await written().catch(() => ''))) {
    await new Promise((resolve) => setTimeout(resolve, 5));
  }
  child.kill('SIGINT');
  const { code, err } = await done;
  assert.equal(code, 130, err);
  assert.match(err, /interrupted, nothing was written/);
  assert.deepEqual(await readdir(folder), ['table.stl']);
});
