// Full disks, missing permissions, and ends at any moment: the outputs appear whole or not at all.
import assert from 'node:assert/strict';
import { spawn, spawnSync } from 'node:child_process';
import { chmod, mkdir, readdir, readFile, writeFile } from 'node:fs/promises';
import { join } from 'node:path';
import { test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { pngOfRows } from '../../../tests/pictures.mjs';
import { OutputFolder } from '../dist/output/output_folder.js';
import { outputNames, start, stiltforge, temporaryFolder } from './harness.mjs';
import { binaryStl, box, table } from './meshes.mjs';
import { goo, nanoDlp, png, screen, sl1, tablePngs, zip } from './prints.mjs';

const main = fileURLToPath(new URL('../bin/stiltforge.mjs', import.meta.url));

async function folderWith(t, files) {
  const folder = await temporaryFolder(t);
  for (const [name, content] of Object.entries(files)) await writeFile(join(folder, name), content);
  return folder;
}

const parts = { 'table.stl': binaryStl(table()), 'plate.sl1': sl1() };

/** Runs a script of the shell where it may mount what it likes, unseen by others. */
function inOwnMounts(cwd, script) {
  const words = ['--mount', '--user', '--map-root-user', 'sh', '-c', script];
  return spawnSync('unshare', words, { cwd, encoding: 'utf8' });
}

const withoutMounts =
  inOwnMounts('/', 'mount -t tmpfs tmpfs /mnt').status !== 0 &&
  'no file system can be mounted here';

/** The command with a small disk for its outputs; `left` is what it leaves there. */
function onDisk(cwd, size, words) {
  const { status, stderr, stdout } = inOwnMounts(
    cwd,
    `mkdir -p disk && mount -t tmpfs -o size=${size} tmpfs disk || exit 99
     "${process.execPath}" "${main}" ${words} --out disk/out > said 2> failed; code=$?
     cd disk; find . -type f; exit $code`,
  );
  assert.notEqual(status, 99, stderr);
  return { code: status, left: stdout.split('\n').filter(Boolean) };
}

for (const part of ['table.stl', 'plate.sl1']) {
  test(`a disk that fills up is told, and nothing of ${part} is left`, {
    skip: withoutMounts,
  }, async (t) => {
    const cwd = await folderWith(t, parts);
    let failed = 0;
    // From next to nothing to enough for all: it fills up at one output after the other.
    for (const size of ['4k', '8k', '16k', '32k', '64k', '128k', '256k', '1m', '64m']) {
      const { code, left } = onDisk(cwd, size, `${part} --report --quiet`);
      const err = await readFile(join(cwd, 'failed'), 'utf8');
      if (code === 0) {
        assert.ok(left.includes('./out/report.html'), size);
        continue;
      }
      failed++;
      assert.equal(code, 4, err);
      assert.match(
        err,
        /^stiltforge: disk\/out.*can't be written \(no space left on device.*Choose another folder with --out\.$/m,
      );
      assert.deepEqual(left, [], size);
    }
    assert.ok(failed >= 4 && failed < 9, `${failed} disks were too small`);
  });
}

test('a disk without room for a page of findings is told', { skip: withoutMounts }, async (t) => {
  const cwd = await folderWith(t, parts);
  const { code, left } = onDisk(cwd, '64k', 'check plate.sl1 --report --quiet');
  assert.equal(code, 4);
  assert.match(
    await readFile(join(cwd, 'failed'), 'utf8'),
    /report\.html.*no space left on device/,
  );
  assert.deepEqual(left, []);
});

test('a disk that may only be read is told before any work', { skip: withoutMounts }, async (t) => {
  const cwd = await folderWith(t, parts);
  for (const words of ['table.stl', 'plate.sl1', 'orient table.stl', 'check plate.sl1 --report']) {
    const { status, stderr } = inOwnMounts(
      cwd,
      `mkdir -p disk && mount -t tmpfs -o ro tmpfs disk || exit 99
       "${process.execPath}" "${main}" ${words} --out disk/out`,
    );
    assert.equal(status, 4, stderr);
    assert.match(
      stderr,
      /stiltforge: disk\/out: the folder can't be written \(read-only file system/,
    );
  }
});

/** As somebody whom permissions bind. */
function asNobody(cwd, words) {
  const isRoot = process.getuid?.() === 0;
  const { status, stderr } = spawnSync(process.execPath, [main, ...words], {
    ...{ cwd, encoding: 'utf8' },
    ...(isRoot ? { uid: 65534, gid: 65534 } : {}),
  });
  return { code: status, err: stderr };
}

test('what may not be read or written is told', {
  skip: process.platform === 'win32',
}, async (t) => {
  let cwd = '';
  // Before the folder itself goes.
  t.after(() => chmod(cwd, 0o755));
  cwd = await folderWith(t, { ...parts, 'mine.stl': parts['table.stl'], 'mine.sl1': sl1() });
  await mkdir(join(cwd, 'out'));
  await mkdir(join(cwd, 'pictures'));
  for (const name of ['mine.stl', 'mine.sl1', 'pictures']) await chmod(join(cwd, name), 0);
  for (const name of ['out', '.']) await chmod(join(cwd, name), 0o555);
  for (const [words, code, message] of [
    [['mine.stl'], 3, /^stiltforge: mine\.stl: .*([Pp]ermission|can't be read)/],
    [['mine.sl1'], 3, /^stiltforge: mine\.sl1: .*([Pp]ermission|can't be read)/],
    [['pictures'], 3, /^stiltforge: pictures: .*([Pp]ermission|can't be read)/],
    [
      ['table.stl'],
      4,
      /^stiltforge: table-supports: the folder can't be written \(permission denied/,
    ],
    [
      ['plate.sl1', '--out', 'out'],
      4,
      /^stiltforge: out: the folder can't be written \(permission denied/,
    ],
    [['check', 'mine.sl1'], 3, /^stiltforge: mine\.sl1: .*([Pp]ermission|can't be read)/],
    [['check', 'plate.sl1', '--report'], 4, /^stiltforge: plate-check: .*permission denied/],
    [
      ['check', 'table.stl', '--points', 'mine.stl'],
      3,
      /^stiltforge: mine\.stl: .*permission denied/,
    ],
    [['orient', 'mine.stl'], 3, /^stiltforge: mine\.stl: /],
  ]) {
    const result = asNobody(cwd, words);
    assert.equal(result.code, code, `${words}: ${result.err}`);
    assert.match(result.err, message);
  }
});

/** A PNG of a kilobyte that announces more pixels than any screen has. */
const bomb = () => zip([['0.png', pngOfRows(65_535, 65_535, Buffer.alloc(1e6))]]);

test('printer files with mistakes exit with 3 and one sentence, and leave nothing', async (t) => {
  const cut = (bytes, from) => bytes.subarray(0, from);
  const flipped = (bytes, at) => Buffer.from(bytes).fill(bytes[at] ^ 0xff, at, at + 1);
  const pngs = tablePngs.slice(0, 4);
  const numbered = (numbers) => zip(numbers.map((number, i) => [`${number}.png`, pngs[i]]));
  const small = png(4, 4, Buffer.alloc(16));
  const climbing = zip(pngs.map((one, i) => [`../../${i}.png`, one]));
  const config = Buffer.from('jobDir = table\nlayerHeight = 0.05\nnumFast = 99\n');
  const named = pngs.map((one, i) => [`table0000${i}.png`, one]);
  const contradictory = zip([['config.ini', config], ...named]);
  const settings = ['--layer-height', '0.1', '--pixel-size', '0.1'];
  for (const [name, content, message] of [
    ['cut.sl1', cut(sl1(), 3000), /archive is cut off/],
    ['cut.goo', cut(goo(), -300), /layer 49 .*cut off|cut off.*layer/],
    ['cut.nanodlp', cut(nanoDlp(), -40), /archive is cut off/],
    ['empty.sl1', '', /./],
    ['empty.goo', '', /./],
    ['sum.goo', flipped(goo(), goo().length - 4), /layer 49 .*checksum/],
    ['sum.sl1', flipped(sl1(), sl1().indexOf('IDAT') + 20), /layer 0 .*checksum/],
    ['sizes.sl1', sl1(tablePngs.with(9, small)), /layer 9 .* has 4 x 4 pixels/],
    ['config.sl1', contradictory, /tells of 99 layers, but the archive has pictures of 4/],
    ['missing.zip', numbered([0, 1, 3, 4]), /number 2|2 is missing|no 2/],
    ['doubled.zip', numbered([0, 1, '01', 2]), /1/],
    ['start.zip', numbered([5, 6, 7, 8]), /5/],
    ['climbing.zip', climbing, /\.\.\/|leads? out/],
    ['none.zip', zip([['readme.txt', Buffer.from('none')]]), /PNG/],
    ['garbage.zip', Buffer.from('PK\x03\x04 and then nothing'), /./],
    ['bomb.zip', bomb(), /./],
  ]) {
    const cwd = await folderWith(t, { [name]: content });
    const words = /zip$/.test(name) ? [name, ...settings] : [name];
    for (const command of [words, ['check', ...words]]) {
      const { code, out, err } = await stiltforge(command, { cwd });
      assert.equal(code, 3, `${command}: ${err}`);
      assert.match(err, message);
      assert.match(err, new RegExp(`^stiltforge: ${name.replace('.', '\\.')}: [^\n]*\\.\n$`), err);
      assert.doesNotMatch(out, /holds/);
      assert.deepEqual(await readdir(cwd), [name]);
    }
  }
});

/** The table's print twenty times as high: it takes long enough to be ended in the middle. */
const long = sl1(
  Array.from({ length: 1500 }, (_, layer) => {
    const grey = Buffer.alloc(screen.width * screen.height);
    for (let y = 20; y < 80; y++) {
      grey.fill(255, y * screen.width + 20, y * screen.width + 40 + ((7 * layer) % 90));
    }
    return png(screen.width, screen.height, grey);
  }),
);

for (const [name, content] of [
  ['tall.stl', binaryStl(box([0, 0, 0], [60, 60, 90]))],
  ['tall.sl1', long],
]) {
  test(`${name} may be killed at any moment: what is there is whole, and the next run takes over`, async (t) => {
    const cwd = await folderWith(t, { [name]: content });
    const words = [name, '--report', '--quiet'];
    const out = join(cwd, 'tall-supports');
    const begun = performance.now();
    assert.equal((await stiltforge(words, { cwd })).code, 0);
    const whole = performance.now() - begun;
    const names = await outputNames(out);
    const contents = await Promise.all(
      names.filter((file) => file !== 'slices').map((file) => readFile(join(out, file))),
    );
    for (const share of [0.1, 0.3, 0.5, 0.7, 0.9, 0.97]) {
      const { child, done } = start(words, { cwd });
      setTimeout(() => child.kill('SIGKILL'), share * whole);
      await done;
      assert.deepEqual(await outputNames(out), names, `${share}`);
      for (const [i, file] of names.filter((file) => file !== 'slices').entries()) {
        assert.ok(contents[i].equals(await readFile(join(out, file))), `${file} at ${share}`);
      }
    }
    assert.equal((await stiltforge(words, { cwd })).code, 0);
    const hidden = (await readdir(out)).filter((file) => file.startsWith('.'));
    assert.deepEqual(hidden, ['.stiltforge.json']);
  });

  test(`${name} may be interrupted at any moment`, async (t) => {
    const cwd = await folderWith(t, { [name]: content });
    for (const delay of [50, 150, 300, 500, 800]) {
      const { child, done } = start([name, '--report'], { cwd });
      setTimeout(() => child.kill('SIGINT'), delay);
      const { code, signal } = await done;
      // Before the work begins nobody needs to hear it.
      assert.ok(code === 130 || code === 0 || signal === 'SIGINT', `${code} ${signal}`);
      if (code === 0) break;
      assert.deepEqual(await readdir(cwd), [name]);
    }
  });
}

/** Writes outputs anew in a process that is killed at its `number`th move of a file. */
async function killedAtMove(folder, number) {
  const module = new URL('../dist/output/output_folder.js', import.meta.url).href;
  const script = `
    import fs from 'node:fs';
    import { syncBuiltinESMExports } from 'node:module';
    const { renameSync } = fs;
    let moves = 0;
    fs.renameSync = (from, to) => {
      if (moves++ === ${number}) process.kill(process.pid, 'SIGKILL');
      renameSync(from, to);
    };
    syncBuiltinESMExports();
    const { OutputFolder } = await import(${JSON.stringify(module)});
    const outputs = OutputFolder.open(process.argv[1], { expected: [], force: false });
    for (const name of ['a.txt', 'b.txt', 'new.txt']) await outputs.write(name, 'new ' + name);
    outputs.commit(() => false);
  `;
  const child = spawn(process.execPath, ['--input-type=module', '-e', script, folder]);
  const [code] = await new Promise((resolve) => child.on('close', (...end) => resolve(end)));
  return code === 0;
}

test('a run that is killed while it moves its files: the next one finds what was there before', async (t) => {
  for (let number = 0; ; number++) {
    const folder = join(await temporaryFolder(t), 'out');
    const earlier = OutputFolder.open(folder, { expected: [], force: false });
    for (const name of ['a.txt', 'b.txt', 'retired.txt']) await earlier.write(name, `old ${name}`);
    earlier.commit(() => false);
    earlier.discard();
    if (await killedAtMove(folder, number)) {
      assert.ok(number > 5, 'each move was tried');
      break;
    }
    // One that fails before it has anything to write ...
    OutputFolder.open(folder, { expected: [], force: false }).discard();
    for (const name of ['a.txt', 'b.txt', 'retired.txt']) {
      assert.equal(await readFile(join(folder, name), 'utf8'), `old ${name}`, `move ${number}`);
    }
    // ... and one that writes.
    const later = OutputFolder.open(folder, {
      expected: ['a.txt', 'b.txt', 'new.txt'],
      force: false,
    });
    await later.write('a.txt', 'newest');
    later.commit(() => false);
    later.discard();
    assert.deepEqual(
      (await readdir(folder)).sort(),
      ['.stiltforge.json', 'a.txt'],
      `move ${number}`,
    );
    assert.equal(await readFile(join(folder, 'a.txt'), 'utf8'), 'newest');
  }
});

test('a name that would command the terminal is shown without its commands', {
  skip: process.platform === 'win32' && 'no file has such a name there',
}, async (t) => {
  const red = 'a\u001b[31m\u0007.stl';
  const cwd = await folderWith(t, { [red]: parts['table.stl'], 'b.stl': 'no mesh' });
  const nowhere = `${red}.ply`;
  for (const words of [[red], [nowhere], [red, 'b.stl'], ['check', red], ['check', nowhere, red]]) {
    const { out, err } = await stiltforge(
      [...words, ...(words[0] === 'check' ? [] : ['--no-pictures'])],
      {
        cwd,
      },
    );
    assert.ok(`${out}${err}`.includes('a?[31m?.stl'), words.join(' '));
    assert.doesNotMatch(`${out}${err}`, /[^\P{Cc}\n]/u);
  }
});

/** A line for a shell, in which %s stands for a name that is not UTF-8. */
function withStrangeName(cwd, line) {
  const words = line.replaceAll('%s', '"$name"').replace('stiltforge', '"$node" "$main"');
  const script = `name=$(printf 'caf\\351'); ${words}`;
  const env = { ...process.env, node: process.execPath, main };
  const { status, stderr } = spawnSync('sh', ['-c', script], { cwd, env, encoding: 'utf8' });
  return { code: status, err: stderr };
}

const strange = Buffer.from('caf\xe9', 'latin1');
const quickly = '--pixel-size 0.2 --layer-height 0.5 --no-pictures --quiet';

test('a mesh whose name is not UTF-8 is told, with what to do', {
  skip: process.platform !== 'linux',
}, async (t) => {
  const cwd = await folderWith(t, parts);
  const { code, err } = withStrangeName(cwd, `mv table.stl %s.stl; stiltforge %s.stl ${quickly}`);
  assert.equal(code, 3);
  assert.match(
    err,
    /: there is no such file\. Rename it if its name, or .* is not valid UTF-8\.\n$/,
  );
  const left = await readdir(cwd, { encoding: 'buffer' });
  assert.equal(left.length, 2);
});

test('no folder gets another name than the one that was meant', {
  skip: process.platform !== 'linux',
}, async (t) => {
  const cwd = await folderWith(t, parts);
  const { code, err } = withStrangeName(cwd, `stiltforge table.stl --out %s ${quickly}`);
  assert.equal(code, 2);
  assert.match(err, /a folder of this name can't be made, since it is not valid UTF-8/);
  assert.deepEqual(await outputNames(cwd), ['plate.sl1', 'table.stl']);
});

test('a run in a folder whose name is not UTF-8 writes there', {
  skip: process.platform !== 'linux',
}, async (t) => {
  const cwd = await folderWith(t, parts);
  const { code, err } = withStrangeName(
    cwd,
    `mkdir %s; mv table.stl %s; cd %s; stiltforge table.stl ${quickly}`,
  );
  assert.equal(code, 0, err);
  const separator = Buffer.from('/');
  const folder = Buffer.concat([Buffer.from(cwd), separator, strange]);
  assert.deepEqual((await readdir(folder)).sort(), ['table-supports', 'table.stl']);
  assert.equal((await readdir(cwd)).length, 2);
});
