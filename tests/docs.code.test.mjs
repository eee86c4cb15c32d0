// Every block of code in the documents is run: commands as a person would, programs with what they
// take for granted (docs/given.mjs). Those of docs/embedding.md but its commands are built by
// install.test.mjs.
import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import {
  chmodSync,
  cpSync,
  mkdirSync,
  mkdtempSync,
  rmSync,
  symlinkSync,
  writeFileSync,
} from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { after, test } from 'node:test';
import { pathToFileURL } from 'node:url';
import { binaryStl, box, obj, table, threeMf } from '../packages/cli/test/meshes.mjs';
import { png, screen, sl1 } from '../packages/cli/test/prints.mjs';
import { complaintsAbout } from './consumer.mjs';
import { codeBlocks, documents, root } from './docs/markdown.mjs';

const folder = mkdtempSync(join(tmpdir(), 'stiltforge-docs-'));
after(() => rmSync(folder, { recursive: true, force: true }));
symlinkSync(join(root, 'node_modules'), join(folder, 'node_modules'), 'junction');
writeFileSync(join(folder, 'package.json'), '{ "type": "module" }\n');

const blocks = documents.flatMap((path) =>
  codeBlocks(path).map((block) => ({ ...block, document: path })),
);

/** A post and, beside it, a block that hangs in the air. */
const part = [...box([0, 0, 0], [2, 2, 4]), ...box([3, 0, 3], [4, 1, 4])];

/** A print that holds as it is: a block that stands on the plate. */
function block() {
  const grey = new Uint8Array(screen.width * screen.height);
  for (let row = 40; row < 60; row++)
    grey.fill(255, row * screen.width + 60, row * screen.width + 100);
  return sl1(Array.from({ length: 20 }, () => png(screen.width, screen.height, grey)));
}

/** A folder for the blocks of a document, with the files that they speak of. */
function desk(name) {
  const path = join(folder, name.replaceAll('/', '_'));
  mkdirSync(join(path, 'jobs'), { recursive: true });
  const write = (file, bytes) => writeFileSync(join(path, file), bytes);
  for (const file of ['part.stl', 'foot.stl', 'jobs/one.stl', 'jobs/two.stl']) {
    write(file, binaryStl(part));
  }
  write('arm.stl', binaryStl(table()));
  write('part.3mf', threeMf(part));
  write('statue.obj', obj(box([0, 0, 0], [1, 8, 1])));
  write('plate.sl1', block());
  write('printer.ini', 'printer_technology = SLA\nlayer_height = 0.05\n');
  return path;
}

/** The command under the names by which the documents call it. */
const programs = join(folder, 'programs');
mkdirSync(programs);
for (const [name, words] of [
  ['stiltforge', `${process.execPath} ${join(root, 'packages/cli/bin/stiltforge.mjs')}`],
  ['npx', ''],
]) {
  writeFileSync(join(programs, name), `#!/bin/sh\nexec ${words} "$@"\n`);
  chmodSync(join(programs, name), 0o755);
}
const env = { ...process.env, PATH: `${programs}:${process.env.PATH}` };

function run(command, words, cwd, place) {
  const { status, stdout, stderr } = spawnSync(command, words, { cwd, env, encoding: 'utf8' });
  assert.equal(status, 0, `${place}: ${words.at(-1)}\n${stdout}\n${stderr}`);
}

const hasProgram = (name) => spawnSync('which', [name]).status === 0;

/** Commands that are not run here, and who does instead. */
const elsewhere = [
  [/^(npm|git) /, 'the links test knows the scripts; packages.test.mjs installs the packages'],
  [/^cmake /, 'install.test.mjs installs the library'],
  [/^(redis-server|cd examples\/queue|([A-Z_]+=\S+ )*node dist\/)/, 'the tests of examples/queue'],
  [/^docker /, 'there is no engine; the tests of examples/queue read the recipes'],
  ...(hasProgram('prusa-slicer') ? [] : [[/^prusa-slicer /, 'not installed here']]),
];

/** Lines of a block, those that go on joined, without comments. */
const commandsOf = ({ text }) =>
  text
    .replaceAll(/\\\n\s*/g, '')
    .split('\n')
    .filter((line) => line !== '' && !line.startsWith('#'));

for (const document of new Set(blocks.map(({ document }) => document))) {
  const own = blocks.filter((block) => block.document === document && block.language === 'sh');
  if (own.length === 0) continue;
  test(`the commands of ${document} do what they are said to`, () => {
    const cwd = desk(document);
    for (const block of own) {
      for (const command of commandsOf(block)) {
        if (elsewhere.some(([pattern]) => pattern.test(command))) continue;
        run('bash', ['-c', command], cwd, block.place);
      }
    }
  });
}

const scripts = blocks.filter(({ language }) => language === 'js');

/** Where a program is put, as a module of TypeScript for its types and of JavaScript to run. */
const programName = ({ place }, extension) => `${place.replaceAll(/\W/g, '_')}.${extension}`;

test('the programs of the documents have the types that they need', async () => {
  assert.ok(scripts.length >= 8);
  for (const block of scripts) {
    writeFileSync(join(folder, programName(block, 'mts')), `${block.text}export {};\n`);
  }
  cpSync(join(root, 'tests/docs/given.d.ts'), join(folder, 'given.d.ts'));
  const files = ['given.d.ts', ...scripts.map((block) => programName(block, 'mts'))];
  const settings = { module: 'nodenext', moduleResolution: 'nodenext', skipLibCheck: true };
  const types = { types: ['node'], lib: ['es2023'] };
  assert.equal(await complaintsAbout(folder, files, { ...settings, ...types }), '');
});

cpSync(join(root, 'tests/docs/given.mjs'), join(folder, 'given.mjs'));

for (const block of scripts) {
  test(`the program of ${block.place} runs`, () => {
    const program = join(folder, programName(block, 'mjs'));
    writeFileSync(program, block.text);
    const words = ['--import', pathToFileURL(join(folder, 'given.mjs')).href, program];
    run(process.execPath, words, desk(programName(block, 'desk')), block.place);
  });
}

test('no block is of a language that nobody runs', () => {
  for (const { language, place, document } of blocks) {
    const known =
      document === 'docs/embedding.md' ? /^(sh|c|cpp|cmake|make|python)$/ : /^(sh|js)?$/;
    assert.match(language, known, `${place}: nothing here runs ${language}; teach this test to`);
  }
});
