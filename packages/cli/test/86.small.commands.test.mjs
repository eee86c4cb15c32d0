// The parameters, presets and the state of an installation, as commands tell them.
import assert from 'node:assert/strict';
import { readFile, writeFile } from 'node:fs/promises';
import { join } from 'node:path';
import { test } from 'node:test';
import { parameterTable } from 'stiltforge/analysis';
import { stiltforge, temporaryFolder } from './harness.mjs';
import { binaryStl, box, footAndIsland } from './meshes.mjs';

const coarse = ['--pixel-size', '0.1', '--layer-height', '0.1', '--no-pictures', '-q'];

async function withPart(t) {
  const folder = await temporaryFolder(t);
  await writeFile(join(folder, 'part.stl'), binaryStl(footAndIsland()));
  const run = (words, options) => stiltforge(words, { cwd: folder, ...options });
  const document = async () =>
    JSON.parse(await readFile(join(folder, 'part-supports', 'supports.json'), 'utf8'));
  return { folder, run, document };
}

test('params prints all parameters with their values, and the same as JSON', async () => {
  const { code, out } = await stiltforge(['params']);
  assert.equal(code, 0);
  for (const { name, summary } of parameterTable()) {
    assert.ok(out.includes(`  ${name} `), name);
    assert.ok(out.replace(/\s+/g, ' ').includes(summary), summary);
  }
  assert.ok(
    out.split('\n').every((line) => line.length <= 80),
    'it fits a terminal',
  );
  const json = await stiltforge(['params', '--json', '--pixel-size', '0.1', '--set', 'maxGhost=7']);
  const rows = JSON.parse(json.out);
  assert.equal(rows.length, 28);
  const values = Object.fromEntries(rows.map(({ name, value }) => [name, value]));
  assert.equal(values.supportStrength, 1500);
  assert.equal(values.maxGhost, 7);
  assert.equal(values.width, undefined);
});

test('--params and --set put parameters in the place of others, the last one counts', async (t) => {
  const { folder, run, document } = await withPart(t);
  const given = { ghostRadius: 11, ghostPart: 0.5 };
  await writeFile(join(folder, 'mine.json'), JSON.stringify(given));
  const words = ['--params', 'mine.json', '--set', 'ghostRadius=12', '--set', 'ghostRadius=13'];
  const { code, err } = await run(['part.stl', ...coarse, ...words]);
  assert.equal(code, 0, err);
  const { parameters } = await document();
  assert.equal(parameters.ghostRadius, 13);
  assert.equal(parameters.ghostPart, 0.5);
  assert.equal(parameters.maxGhost, 10000);
});

test('a parameter that is wrong is named, with what it must be', async (t) => {
  const { folder, run } = await withPart(t);
  await writeFile(join(folder, 'unknown.json'), '{"ghostRadios": 3}');
  await writeFile(join(folder, 'list.json'), '[3]');
  await writeFile(join(folder, 'cut.json'), '{"ghost');
  for (const [words, message] of [
    [['--set', 'ghostRadius'], /like ghostRadius=80/],
    [['--set', 'gostRadius=3'], /no parameter gostRadius\. Did you mean ghostRadius\?/],
    [['--set', 'xyzzy=3'], /no parameter xyzzy\. stiltforge params lists them/],
    [['--set', 'width=30'], /width follows from the part and can't be set/],
    [['--set', 'ghostRadius=4097'], /ghostRadius must be a number from 0 to 4096, not 4097/],
    [['--set', 'ghostPart=-1'], /ghostPart must be a number from 0, not -1/],
    [['--set', 'ghostPart=much'], /ghostPart must be a number from 0, not "much"/],
    [['--set', 'supportStrength=0.5'], /supportStrength is 0\.5, with which no region gets a/],
    [['--set', 'ghostPart=true'], /ghostPart must be a number from 0, not true/],
    [
      ['--params', 'unknown.json'],
      /--params unknown\.json: .*ghostRadios\. Did you mean ghostRadius/,
    ],
    [['--params', 'list.json'], /it must hold an object of parameters/],
    [['--params', 'cut.json'], /--params cut\.json: it can't be read/],
    [
      ['--params', 'none.json'],
      /--params none\.json: it can't be read \(no such file or directory\)/,
    ],
  ]) {
    const { code, err } = await run(['part.stl', ...words]);
    assert.equal(code, 2, words.join(' '));
    assert.match(err, message);
  }
});

test('presets lists screens and resins, each of which is taken', async () => {
  const { out } = await stiltforge(['presets']);
  const { screens, resins } = JSON.parse((await stiltforge(['presets', '--json'])).out);
  const names = [...screens, ...resins].map(({ name }) => name);
  assert.equal(new Set(names).size, names.length);
  for (const name of names) assert.ok(out.includes(`  ${name} `), name);
  for (const { name, settings } of screens) {
    const { pixelSize, screenWidth, screenHeight } = settings;
    const size = [screenWidth, screenHeight].map((pixels) => Math.round(pixels * pixelSize));
    assert.ok(name.endsWith(`k-${size.join('x')}`), name);
  }
});

test('--preset sets the screen and the resin, and options beside it count more', async (t) => {
  const { run, document } = await withPart(t);
  const words = ['--preset', '4k-143x90', '--layer-height', '0.1', '--no-pictures', '-q'];
  assert.equal((await run(['part.stl', ...words, '--preset', 'brittle'])).code, 0);
  const { print, settings } = await document();
  assert.deepEqual(
    [print.pixelSize, print.screenWidth, print.screenHeight, print.layerHeight],
    [0.035, 4098, 2560, 0.1],
  );
  assert.deepEqual([settings.criticalAngle, settings.supportArea], [45, 8]);
  assert.equal((await run(['part.stl', '--pixel-size', '0.07', ...words])).code, 0);
  assert.equal((await document()).print.pixelSize, 0.07);
});

test('a preset that is wrong is named, with the one that was probably meant', async (t) => {
  const { run } = await withPart(t);
  for (const [words, message] of [
    [['4k-143x89'], /--preset 4k-143x89: .*Did you mean 4k-143x90\? stiltforge presets/],
    [['stif'], /Did you mean stiff\?/],
    [['stiff', 'soft'], /--preset soft: stiff is given, too: both are kinds of resin/],
    [['4k-134x84', '4k-143x90'], /both are screens/],
  ]) {
    const { code, err } = await run(['part.stl', ...words.flatMap((name) => ['--preset', name])]);
    assert.equal(code, 2);
    assert.match(err, message);
  }
});

test('doctor tells what there is, and exits with 1 when a binary is missing', async (t) => {
  const { code, out } = await stiltforge(['doctor']);
  assert.equal(code, 0, out);
  for (const what of [
    'Node',
    'binding.node',
    'stiltforge.node',
    'vector path',
    'cores',
    'memory',
  ]) {
    assert.match(out, new RegExp(`^  ok +${what} `, 'm'));
  }
  const env = { STILTFORGE_BINARIES: await temporaryFolder(t) };
  const without = await stiltforge(['doctor'], { env });
  assert.equal(without.code, 1);
  assert.match(without.out, /^ {2}missing {2}binding\.node +There is no binding\.node that .*\.$/m);
  const { well, findings } = JSON.parse((await stiltforge(['doctor', '--json'], { env })).out);
  assert.equal(well, false);
  assert.ok(findings.some(({ what, well }) => what === 'Node' && well));
});

test('--verbose tells what a run went by, beside its summary', async (t) => {
  const { run, document } = await withPart(t);
  const words = coarse.filter((word) => word !== '-q');
  const plain = await run(['part.stl', ...words]);
  const { code, out } = await run(['part.stl', ...words, '--verbose', '--scale', '2']);
  assert.equal(code, 0);
  const { parameters, settings } = await document();
  for (const [name, value] of Object.entries({ ...parameters, ...settings })) {
    assert.ok(out.replace(/ +/g, ' ').includes(` ${name} ${value}\n`), name);
  }
  assert.match(out, /^ {4}binding\.node +.*binding\.node$/m);
  assert.match(out, /^ {4}scale +2$/m);
  assert.doesNotMatch(plain.out, /binding\.node/);
  const both = await run(['part.stl', '--verbose', '--quiet']);
  assert.equal(both.code, 2);
  assert.match(both.err, /cannot be used with/);
});

test('a mistake in a command leads to its own help, and a mistyped command to the right one', async (t) => {
  const cwd = await temporaryFolder(t);
  for (const command of ['check', 'orient', 'inspect', 'completion']) {
    const { code, err } = await stiltforge([command], { cwd });
    assert.equal(code, 2);
    assert.ok(err.endsWith(`Try: stiltforge ${command} --help\n`), err);
  }
  const { code, err } = await stiltforge(['chek', 'part.stl'], { cwd });
  assert.equal(code, 2);
  assert.equal(
    err,
    'stiltforge: chek: there is neither a file nor a command of this name. Did you mean stiltforge check?\n',
  );
  await writeFile(join(cwd, 'chek'), binaryStl(box([0, 0, 0], [4, 4, 3])));
  assert.equal((await stiltforge(['chek', '--no-pictures', '--quiet'], { cwd })).code, 0);
});

test('standard input is refused, a file of its name is not', async (t) => {
  const cwd = await temporaryFolder(t);
  const { code, err } = await stiltforge(['-'], { cwd });
  assert.equal(code, 2);
  assert.equal(
    err,
    'stiltforge: -: standard input is not read. Save the part as a file, and name that.\n',
  );
  await writeFile(join(cwd, '-'), binaryStl(box([0, 0, 0], [4, 4, 3])));
  assert.equal((await stiltforge(['-', '--no-pictures', '--quiet'], { cwd })).code, 0);
});
