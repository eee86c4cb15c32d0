import assert from 'node:assert/strict';
import { test } from 'node:test';
import { openPage, reportOf, sliceShown, withoutBrowser } from './browser.mjs';
import { smallPart } from './parts.mjs';

const skip = withoutBrowser;

const allHeld = { area: 12, beyondNear: 0, beyondFar: 0 };
const nothing = { area: 0, beyondNear: 0, beyondFar: 0 };

const good = {
  ...{ nearReach: 3, farReach: 5, islands: [], worst: [], closePairs: [] },
  ...{ overhang: allHeld, overhangWithoutRoom: nothing, overhangInSealedVoids: nothing },
  ...{ inNoMaterial: [], onHeldMaterial: [], withoutRoom: [], inSealedVoids: [] },
};

/** The small part, judged and finished. */
function judged(verdict, { reasons = [], dropped } = {}) {
  const source = smallPart();
  source.part.verdict = { ...good, ...verdict };
  source.part.dropped = dropped;
  source.part.supports.forEach((point, i) => {
    Object.assign(point, reasons[i]);
  });
  return source;
}

const open = async (t, source) => (await openPage(t, await reportOf(source))).page;

test('a part whose points hold everything says so', { skip }, async (t) => {
  const page = await open(t, judged({}));
  await page.getByText('All islands are held').waitFor();
  await page.getByText('100.0 % of the overhang within reach').waitFor();
  await page.getByRole('tab', { name: 'Settings' }).click();
  await page.getByText('forces and the resin').waitFor();
});

test('an island that nothing holds is a fault, with its place', { skip }, async (t) => {
  const island = { layer: 4, column: 12, row: 4, pixels: 4, hasRoom: false, isSealed: false };
  const page = await open(t, judged({ islands: [island] }));
  await page.getByText('1 island unheld').waitFor();
  const entry = page.locator('.entry', { hasText: '1 island that nothing holds' });
  assert.match(await entry.textContent(), /Below 1 of them no support fits/);
  assert.equal(await entry.getByRole('img').getAttribute('aria-label'), 'fault');
  await page.keyboard.press('Home');
  await sliceShown(page, 0);
  await entry.getByRole('button', { name: 'layer 4' }).click();
  await sliceShown(page, 4);
});

test('specks that nothing holds are not said to be held', { skip }, async (t) => {
  const speck = { layer: 4, column: 12, row: 4, pixels: 1, hasRoom: true, isSealed: false };
  const page = await open(t, judged({ islands: [speck] }));
  await page.getByText('All islands but specks held').waitFor();
  await page.getByText('1 island of a pixel that nothing holds').waitFor();
});

test('the first line warns of gaps where the findings do', { skip }, async (t) => {
  // Surface that nearly carries itself is beyond all reach, no place needs a point.
  const worst = [{ layer: 6, column: 6, row: 4, distance: 4.5 }];
  const page = await open(
    t,
    judged({ worst, overhang: { area: 12, beyondNear: 1, beyondFar: 0.5 } }),
  );
  await page.getByText('All islands are held').waitFor();
  const entry = page.locator('.entry', { hasText: 'Overhang up to 4.5 mm from a point' });
  assert.equal(await entry.getByRole('img').getAttribute('aria-label'), 'note');
});

test('the first line warns of no gap of a few pixels', { skip }, async (t) => {
  const worst = [{ layer: 6, column: 6, row: 4, distance: 5.001 }];
  const page = await open(
    t,
    judged({ worst, overhang: { area: 700, beyondNear: 14, beyondFar: 0.0025 } }),
  );
  await page.getByText('All islands are held').waitFor();
  await page.getByText('98.0 % of the overhang within reach').waitFor();
  const entry = page.locator('.entry', { hasText: 'Overhang up to 5.0 mm from a point' });
  assert.equal(await entry.getByRole('img').getAttribute('aria-label'), 'note');
});

test('overhang far from all points is told with the worst places first', { skip }, async (t) => {
  const worst = [
    { layer: 6, column: 6, row: 4, distance: 7.25 },
    { layer: 2, column: 5, row: 4, distance: 4 },
  ];
  const overhang = { area: 12, beyondNear: 3, beyondFar: 1 };
  const page = await open(t, judged({ worst, overhang }));
  await page.getByText('Gaps between points').waitFor();
  await page.getByText('75.0 % of the overhang within reach').waitFor();
  const entry = page.locator('.entry', { hasText: 'Overhang up to 7.3 mm from a point' });
  assert.match(await entry.textContent(), /25\.0 % of it lies beyond 3 mm, 8\.3 % beyond 5 mm/);
  assert.deepEqual(await entry.getByRole('button').allTextContents(), ['layer 6', 'layer 2']);
});

test('points that hold nothing are told', { skip }, async (t) => {
  const page = await open(t, judged({ onHeldMaterial: [1], withoutRoom: [0] }));
  await page.getByText('1 point where nothing overhangs').waitFor();
  await page.getByText('1 point without room').waitFor();
});

test('the list says why a point was added or stands for others', { skip }, async (t) => {
  const weight = { pixels: 20, resting: 16, overhanging: 4, owed: 9, supports: 2 };
  const reasons = [{ reason: 'addedForIsland' }, { reason: 'merged', standsFor: 2, weight }];
  const dropped = [
    { layer: 6, column: 7, row: 4, kind: 'overhang', reason: 'merged', into: 1 },
    { layer: 4, column: 12, row: 5, kind: 'island', reason: 'noRoom' },
  ];
  const page = await open(t, judged({}, { reasons, dropped }));
  await page.getByText('1 point merged into others').waitFor();
  await page.getByText('1 point left out: no room').waitFor();
  await page.getByText('point left out', { exact: true }).waitFor();
  await page.getByRole('tab', { name: /^Points/ }).click();
  await page.getByText('Added, because nothing else held the island.').waitFor();
  await page.getByText('of them added').waitFor();
  await page.getByLabel('Which points').selectOption('Added ones');
  assert.equal(await page.locator('.points .entry').count(), 1);
  await page.getByLabel('Which points').selectOption('All points');
  await page
    .getByText(
      'Of its 20.0 mm², 16.0 mm² rest on the layer below and 4.00 mm² hang over; nothing held 9.00 mm², ' +
        'for which it has 2 points. It stands for 2 other points, too.',
    )
    .waitFor();
});
