// supports.json against its schema, for parts of all kinds.
import assert from 'node:assert/strict';
import { readFile, writeFile } from 'node:fs/promises';
import { createRequire } from 'node:module';
import { join } from 'node:path';
import { before, test } from 'node:test';
import { Ajv2020 } from 'ajv/dist/2020.js';
import { parameterTable } from 'stiltforge/analysis';
import { stiltforge, temporaryFolder } from './harness.mjs';
import { binaryStl, box, footAndIsland, footAndSpike, table } from './meshes.mjs';
import { sl1 } from './prints.mjs';

const schema = createRequire(import.meta.url)('stiltforge-cli/schema/supports.schema.json');

let validate;
before(() => {
  validate = new Ajv2020({ allErrors: true, strict: true, allowUnionTypes: true }).compile(schema);
});

const coarse = ['--pixel-size', '0.1', '--layer-height', '0.1', '--no-pictures', '-q'];

async function documentOf(t, triangles, words = []) {
  const folder = await temporaryFolder(t);
  await writeFile(join(folder, 'part.stl'), binaryStl(triangles));
  const { code, err } = await stiltforge(['part.stl', ...coarse, ...words], { cwd: folder });
  assert.equal(code, 0, err);
  return JSON.parse(await readFile(join(folder, 'part-supports', 'supports.json'), 'utf8'));
}

function complaints(document) {
  validate(document);
  return (validate.errors ?? []).map(({ instancePath, message }) => `${instancePath} ${message}`);
}

/** A closed box within a box: a sealed void. */
function hollow() {
  const inner = box([2, 2, 2], [8, 8, 8]).map(([a, b, c]) => [a, c, b]);
  return [...box([0, 0, 0], [10, 10, 10]), ...inner];
}

for (const [what, triangles, words] of [
  ['a part with supports', table()],
  ['a part without', box([0, 0, 0], [4, 4, 4])],
  ['an island', footAndIsland()],
  ['a tip of a single pixel', footAndSpike()],
  ['points as the analysis placed them', table(), ['--as-analysed']],
  ['an open mesh', table().slice(1)],
  ['a mesh with a flat triangle', [...table(), table()[0].with(1, table()[0][0])]],
  ['a sealed void', hollow()],
  ['a part that is turned and moved', footAndIsland(), ['--up', 'y', '--center']],
  ['a lifted part', footAndIsland(), ['--lift', '2.5']],
  ['supports as geometry', table(), ['--format', 'json,stl', '--merge']],
  ['copies on a plate', footAndIsland(), ['--copies', '3']],
  ['many points', table(), ['--support-area', '1']],
  ['a resin and parameters of its own', table(), ['--preset', 'soft', '--set', 'ghostPart=0.7']],
]) {
  test(`the schema holds for ${what}`, async (t) => {
    assert.deepEqual(complaints(await documentOf(t, triangles, words)), []);
  });
}

test('the schema holds for a printer file', async (t) => {
  const folder = await temporaryFolder(t);
  await writeFile(join(folder, 'part.sl1'), sl1());
  const { code, err } = await stiltforge(['part.sl1', '--no-pictures', '-q'], { cwd: folder });
  assert.equal(code, 0, err);
  const text = await readFile(join(folder, 'part-supports', 'supports.json'), 'utf8');
  assert.deepEqual(complaints(JSON.parse(text)), []);
});

test('the schema refuses what supports.json never says', async (t) => {
  const document = await documentOf(t, table());
  for (const [change, complaint] of [
    [(copy) => delete copy.summary, /must have required property 'summary'/],
    [(copy) => delete copy.supports[0].z, /supports\/0 must have required property 'z'/],
    [(copy) => Object.assign(copy.print, { dpi: 300 }), /print must NOT have additional/],
    [(copy) => Object.assign(copy.supports[0], { layer: 1.5 }), /layer must be integer/],
    [(copy) => Object.assign(copy.supports[0], { kind: 'tree' }), /kind must be equal to one of/],
    [(copy) => Object.assign(copy, { schemaVersion: 1 }), /schemaVersion must be equal to/],
  ]) {
    const copy = structuredClone(document);
    change(copy);
    assert.match(complaints(copy).join('\n'), complaint);
  }
});

test('the schema names the parameters of the analysis', () => {
  const names = parameterTable().map(({ name }) => name);
  assert.deepEqual(Object.keys(schema.properties.parameters.properties), names);
});
