import assert from 'node:assert/strict';
import { test } from 'node:test';
import { packPart, reportHtml } from 'stiltforge-viewer';
import { smallPart } from './parts.mjs';

test('what a page needs of the layers is taken from their runs', async () => {
  const { document } = await packPart(smallPart());
  assert.deepEqual(document.layers.regions, [1, 1, 1, 1, 2, 2, 2, 2]);
  assert.deepEqual(document.layers.material, [16, 16, 16, 16, 20, 20, 20, 20]);
  assert.deepEqual(document.layers.overhang, [0, 0, 0, 0, 4, 0, 0, 0]);
  assert.deepEqual(document.islands, [
    { layer: 4, region: 2, column: 13, row: 4, pixels: 4, points: 1 },
  ]);
  assert.deepEqual(document.slices.layers, [0, 1, 2, 3, 4, 5, 6, 7]);
  const { supports, braces, withoutWay, raft } = document.scaffold;
  assert.deepEqual([supports, braces, withoutWay, raft], [2, 0, [], undefined]);
});

test('the same part gives the same bytes', async () => {
  const [a, b] = [await packPart(smallPart()), await packPart(smallPart())];
  assert.deepEqual(a, b);
});

test('strength is passed on where it is known', async () => {
  const strength = { owed: Array(8).fill(1 / 3), given: Array(8).fill(15) };
  const { document } = await packPart({ ...smallPart(), strength });
  assert.deepEqual(document.layers.owed.slice(0, 2), [0.333, 0.333]);
  assert.deepEqual(document.layers.given.slice(0, 2), [15, 15]);
});

test('of a large part layers are left out, but none with points or islands', async () => {
  const part = smallPart({ layers: 100 });
  const { document, binary } = await packPart(part, { sliceBytes: 300 });
  const { layers, lengths, offset } = document.slices;
  assert.ok(layers.length < 50, `${layers.length} layers`);
  assert.ok(layers.includes(0) && layers.includes(4) && layers.includes(6));
  assert.equal(document.layers.regions.length, 100);
  assert.equal(offset + lengths.reduce((sum, length) => sum + length, 0), binary.length);
});

test('the work ends with the reason of its signal', async () => {
  const reason = new Error('enough');
  await assert.rejects(packPart(smallPart(), { signal: AbortSignal.abort(reason) }), reason);
});

test('layers that are missing are told', async () => {
  const part = smallPart();
  const runs = async (first) => part.slices.slice(first, first + 3);
  await assert.rejects(packPart({ ...part, runs }), {
    message: 'runs() gave 3 of the 8 layers from 0 on.',
  });
});

test('progress goes from nothing to all', async () => {
  const shares = [];
  await packPart(smallPart({ layers: 40 }), { progress: (share) => shares.push(share) });
  assert.equal(shares[0], 0);
  assert.equal(shares.at(-1), 1);
  assert.deepEqual(shares, shares.toSorted());
});

test('a template without a place for the data is refused', async () => {
  const packed = await packPart(smallPart());
  assert.throws(() => reportHtml('<p>nothing</p>', packed), /no place for its data/);
});

test('no text of a document ends its element', async () => {
  const packed = await packPart(smallPart({ file: '</script><!--<script>$&.stl' }));
  const page = reportHtml('before<!--stiltforge-data-->after', packed);
  assert.match(page, /^before<script type="application\/json" id="stiltforge-document">\{/);
  assert.equal(page.match(/<\/script/g).length, 2);
  assert.ok(!page.includes('<!--'));
  const [, json] = /id="stiltforge-document">(.*)<\/script>\n/.exec(page);
  assert.deepEqual(JSON.parse(json), packed.document);
});
