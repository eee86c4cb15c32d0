import assert from 'node:assert/strict';
import { test } from 'node:test';
import sharp from 'sharp';
import {
  lookAlike,
  openPage,
  pictureOfScene,
  pixelsOf,
  reportOf,
  sceneDrawn,
  sliceShown,
  withoutBrowser,
} from './browser.mjs';
import { boxesMesh, runsOf, smallPart } from './parts.mjs';

const skip = withoutBrowser;
const slice = '.slice canvas';

const open = async (t, source, options) => openPage(t, await reportOf(source), options);

test('the page opens from disk, asks for nothing and complains of nothing', { skip }, async (t) => {
  const { page, asked, complaints } = await open(t, smallPart());
  assert.equal(await page.title(), 'post.stl: support report');
  await page.getByRole('heading', { name: 'post.stl', exact: true }).waitFor();
  // The layer with the most points is shown first.
  await sliceShown(page, 4);
  await page.getByText('2 regions · 1 island · 4.00 mm² overhang · 1 new point').waitFor();
  await sceneDrawn(page);
  assert.deepEqual(asked, []);
  assert.deepEqual(complaints, []);
});

test('the page may ask for nothing: its policy says so', { skip }, async (t) => {
  const { page } = await open(t, smallPart());
  const isRefused = await page.evaluate(() =>
    fetch('https://example.org/').then(
      () => false,
      () => true,
    ),
  );
  assert.ok(isRefused);
  const ran = await page.evaluate(() => {
    const script = document.createElement('script');
    script.textContent = 'globalThis.ran = true';
    document.body.append(script);
    return globalThis.ran ?? false;
  });
  assert.equal(ran, false);
});

test('a slice shows regions, islands, overhang and points', { skip }, async (t) => {
  const { page } = await open(t, smallPart());
  await sliceShown(page, 4);
  assert.ok((await pixelsOf(page, slice, '#aed6b4')) > 1000, 'the region');
  assert.ok((await pixelsOf(page, slice, '#c40f1a')) > 30, 'the point under the island');
  const box = await page.locator(slice).boundingBox();
  await page.mouse.move(box.x + 2, box.y + 2);
  await page.getByText(/^x -?\d+\.\d\d, y -?\d+\.\d\d mm$/).waitFor();
  await page.mouse.move(box.x + box.width * 0.25, box.y + box.height / 2);
  await page.getByText(/ · region 1$/).waitFor();
});

test('the slider and the keys change the layer', { skip }, async (t) => {
  const { page } = await open(t, smallPart());
  await sliceShown(page, 4);
  await page.keyboard.press('ArrowRight');
  await sliceShown(page, 5);
  await page.keyboard.press('ArrowLeft');
  await page.keyboard.press('ArrowLeft');
  await sliceShown(page, 3);
  await page.keyboard.press('End');
  await sliceShown(page, 7);
  await page.keyboard.press('Shift+ArrowLeft');
  await sliceShown(page, 0);
  const slider = page.getByRole('slider', { name: 'Layer' });
  await slider.focus();
  await page.keyboard.press('ArrowRight');
  await sliceShown(page, 1);
  assert.equal(
    await slider.getAttribute('aria-valuetext'),
    'layer 1 of 7, 1.00 mm above the plate',
  );
});

test('layers lie above a first layer of its own height', { skip }, async (t) => {
  const source = smallPart();
  source.part.print.firstLayerHeight = 1.5;
  const { page } = await open(t, source);
  const slider = page.getByRole('slider', { name: 'Layer' });
  for (const [layer, height] of [
    [0, '0.00'],
    [3, '3.50'],
  ]) {
    await slider.fill(String(layer));
    await sliceShown(page, layer);
    const told = await slider.getAttribute('aria-valuetext');
    assert.equal(told, `layer ${layer} of 7, ${height} mm above the plate`);
  }
  await page.getByRole('tab', { name: 'Settings' }).click();
  await page.locator('.settings div', { hasText: /^First layer1\.50* mm$/ }).waitFor();
});

test('a press on the charts goes to the layer', { skip }, async (t) => {
  const { page } = await open(t, smallPart());
  await sliceShown(page, 4);
  const box = await page.locator('.plots canvas').first().boundingBox();
  await page.mouse.click(box.x + box.width - 10, box.y + box.height / 2);
  await sliceShown(page, 7);
});

test('a point in the list is shown in its place, and says why it is there', { skip }, async (t) => {
  const { page } = await open(t, smallPart());
  await page.getByRole('tab', { name: /^Points/ }).click();
  const row = page.getByRole('button', { name: /Overhang of region 1/ });
  await row.click();
  await sliceShown(page, 6);
  assert.equal(await row.getAttribute('aria-current'), 'true');
  assert.ok((await pixelsOf(page, slice, '#1f5fd1')) > 30, 'a ring round it');
  await page.getByRole('tab', { name: /^Settings/ }).click();
  await page.keyboard.press('p');
  await sliceShown(page, 4);
  await page.getByRole('button', { name: /Island, region 2.*begins here in the air/ }).waitFor();
});

test('a point in the picture of a slice can be chosen', { skip }, async (t) => {
  const { page } = await open(t, smallPart());
  await sliceShown(page, 4);
  const box = await page.locator(slice).boundingBox();
  // The island's point is in column 8 of 12 and row 2 of 6, and the picture is as wide as the slice.
  const scale = (0.94 * box.width) / 12;
  const [x, y] = [(8.5 - 6) * scale, (2.5 - 3) * scale];
  await page.mouse.click(box.x + box.width / 2 + x, box.y + box.height / 2 + y);
  const row = page.getByRole('button', { name: /Island, region 2/ });
  await row.waitFor();
  assert.equal(await row.getAttribute('aria-current'), 'true');
});

test('a press on a finding goes to its place', { skip }, async (t) => {
  const warnings = ['layer 2 floats above nothing'];
  const part = smallPart({ warnings });
  part.part.supports = part.part.supports.slice(1);
  const { page } = await open(t, part);
  const place = page.getByRole('button', { name: 'layer 4', exact: true }).first();
  await place.click();
  await sliceShown(page, 4);
  assert.equal(await place.getAttribute('aria-current'), 'true');
  await page.getByText('1 island without a point of its own').waitFor();
  await page.getByText(warnings[0]).click();
  await sliceShown(page, 2);
  await page.keyboard.press('f');
  await sliceShown(page, 4);
});

test('tabs, settings and help work with keys alone', { skip }, async (t) => {
  const { page } = await open(t, smallPart());
  await page.getByRole('tab', { name: /^Findings/ }).focus();
  await page.keyboard.press('ArrowRight');
  await page.keyboard.press('ArrowRight');
  await page.getByText('Area that a support holds').waitFor();
  assert.equal(await page.getByRole('tab', { selected: true }).textContent(), 'Settings');
  await page.keyboard.press('?');
  await page.getByRole('dialog').waitFor();
  await page.keyboard.press('Escape');
  await page.getByRole('dialog').waitFor({ state: 'hidden' });
});

test('it is light or dark as the system is, until somebody chooses', { skip }, async (t) => {
  const { page } = await open(t, smallPart(), { colorScheme: 'dark' });
  const groundIs = (colour) =>
    page.waitForFunction(
      (wanted) => getComputedStyle(document.documentElement).backgroundColor === wanted,
      colour,
    );
  const [light, dark] = ['rgb(238, 241, 244)', 'rgb(13, 18, 23)'];
  await groundIs(dark);
  await page.emulateMedia({ colorScheme: 'light' });
  await groundIs(light);
  await page.keyboard.press('t');
  await groundIs(dark);
});

for (const [wish, reducedMotion, behavior] of [
  ['nothing to move by itself gets jumps', 'reduce', 'auto'],
  ['nothing special gets a smooth way', 'no-preference', 'smooth'],
]) {
  test(`who wants ${wish} to a place out of sight`, { skip }, async (t) => {
    const { page } = await open(t, smallPart(), {
      viewport: { width: 390, height: 400 },
      reducedMotion,
    });
    await sliceShown(page, 4);
    await page.evaluate(() => {
      globalThis.ways = [];
      const scroll = Element.prototype.scrollIntoView;
      Element.prototype.scrollIntoView = function (options) {
        globalThis.ways.push(options.behavior);
        scroll.call(this, options);
      };
    });
    await page.getByRole('tab', { name: /^Points/ }).click();
    await page.getByRole('button', { name: /Overhang of region 1/ }).click();
    await sliceShown(page, 6);
    assert.deepEqual(await page.evaluate(() => globalThis.ways), [behavior]);
    await page.waitForFunction(
      () => Math.abs(document.querySelector('.scene').getBoundingClientRect().top) < 2,
    );
  });
}

test('a narrow window shows all, one below the other', { skip }, async (t) => {
  const { page } = await open(t, smallPart(), { viewport: { width: 390, height: 800 } });
  await sliceShown(page, 4);
  const { scroll, inner } = await page.evaluate(() => ({
    scroll: document.documentElement.scrollWidth,
    inner: innerWidth,
  }));
  assert.ok(scroll <= inner, `${scroll} pixels of ${inner}`);
  await page.getByRole('slider', { name: 'Layer' }).isVisible();
});

test('names that are HTML stay text', { skip }, async (t) => {
  const file = '</script><script>globalThis.hacked = 1</script><img src=x onerror="hacked=2">.stl';
  const warnings = ['<b id="bold">layer 3</b> &amp; $& </title>'];
  const { page, asked, complaints } = await open(t, smallPart({ file, warnings }));
  await page.getByRole('heading', { name: file, exact: true }).waitFor();
  await page.getByText(warnings[0]).waitFor();
  assert.equal(await page.evaluate(() => globalThis.hacked), undefined);
  assert.equal(await page.locator('#bold').count(), 0);
  assert.deepEqual([...asked, ...complaints], []);
});

test('without WebGL a sentence stands for the part, and the rest works', { skip }, async (t) => {
  const { page } = await open(t, smallPart(), { webgl: false });
  await page.getByText('This browser draws no 3D here').waitFor();
  await page.keyboard.press('ArrowRight');
  await sliceShown(page, 5);
  await page.keyboard.press('n');
  await sliceShown(page, 6);
});

test('the part is drawn, and cut open on demand', { skip }, async (t) => {
  const { page } = await open(t, smallPart());
  const cut = await pictureOfScene(page);
  await page.keyboard.press('c');
  assert.ok(!(await lookAlike(cut, await pictureOfScene(page))));
  assert.equal(
    await page.getByRole('button', { name: 'Cut', exact: true }).getAttribute('aria-pressed'),
    'false',
  );
});

test('supports stand as they are built, up to the cut, until somebody hides them', {
  skip,
}, async (t) => {
  const source = smallPart();
  // A second support leans from a foot far aside, and a raft lies below both.
  source.scaffold = {
    rings: Float64Array.of(
      ...[8, 2.5, 0, 0.5, 8, 2.5, 4, 0.5],
      ...[5.5, -6, 0, 1.5, 5.5, -6, 1, 0.5, 5.5, -2, 5, 0.5, 5.5, 1, 6, 0.2],
    ),
    supports: [
      { firstRing: 0, rings: 2 },
      { firstRing: 2, rings: 4 },
    ],
    braces: [],
    leftOut: [{ point: 1, reason: 'noWay' }],
    positions: boxesMesh([[4, -8, 0, 9, 4, 0.4]]),
    raftTriangles: 12,
  };
  const { page, complaints } = await open(t, source);
  const supports = page.getByRole('button', { name: 'Supports', exact: true });
  const isPressed = () => supports.getAttribute('aria-pressed');
  assert.equal(await isPressed(), 'true');
  await page.keyboard.press('c');
  const whole = await pictureOfScene(page);
  await page.keyboard.press('s');
  const without = await pictureOfScene(page);
  assert.ok(!(await lookAlike(without, whole)));
  assert.equal(await isPressed(), 'false');
  await supports.click();
  assert.ok(!(await lookAlike(without, await pictureOfScene(page))));
  assert.equal(await isPressed(), 'true');
  await page.keyboard.press('c');
  await page.keyboard.press('Home');
  await sliceShown(page, 0);
  // The raft is below the cut.
  const low = await pictureOfScene(page);
  await page.keyboard.press('s');
  assert.ok(!(await lookAlike(low, await pictureOfScene(page))));
  await page.getByText('1 point without a way for a pillar').waitFor();
  assert.deepEqual(complaints, []);
});

/** smallPart() so many layers above the plate. */
function liftedPart(lift) {
  const { part, slices, ...source } = smallPart();
  const { print, supports } = part;
  const empty = runsOf(Array(print.crop.height).fill([]));
  return {
    ...source,
    part: {
      ...part,
      print: { ...print, lift, layers: print.layers + lift },
      supports: supports.map((point) => ({ ...point, layer: point.layer + lift })),
    },
    runs: async (first, count) =>
      [...Array(lift).fill(empty), ...slices].slice(first, first + count),
    scaffold: undefined,
  };
}

test('below a lifted part nothing of it is cut open', { skip }, async (t) => {
  const { page } = await open(t, liftedPart(6));
  const pictureOf = async (layer) => {
    await page.getByRole('slider', { name: 'Layer' }).fill(String(layer));
    await sliceShown(page, layer);
    return pictureOfScene(page);
  };
  const lowest = await pictureOf(0);
  assert.ok(await lookAlike(lowest, await pictureOf(4)), 'the part begins in layer 6');
  assert.ok(!(await lookAlike(lowest, await pictureOf(8))));
});

test('a layer of a 12K screen is there at once', { skip }, async (t) => {
  // A comb of 11,520 x 5,120 pixels: 40 teeth, one of which moves from layer to layer.
  const [width, height, layers] = [11_520, 5120, 6];
  const part = smallPart({ layers });
  const slices = Array.from({ length: layers }, (_, layer) =>
    runsOf(
      Array.from({ length: height }, (_, y) =>
        Array.from({ length: 40 }, (_, tooth) => {
          const begin = 288 * tooth + ((y >> 4) % 60) + (tooth === 7 ? layer : 0);
          return [begin, begin + 200, tooth + 1];
        }),
      ),
    ),
  );
  part.part.print.crop = { column: 0, row: 0, width, height };
  part.part.supports = [];
  const { page } = await open(t, {
    ...part,
    runs: async (first, count) => slices.slice(first, first + count),
  });
  await sliceShown(page, 3);
  for (const layer of [4, 5]) {
    await page.keyboard.press('ArrowRight');
    await sliceShown(page, layer);
  }
  const times = await page.evaluate(() =>
    performance.getEntriesByName('layer shown').map(({ duration }) => Math.round(duration)),
  );
  t.diagnostic(`layers of 204,800 runs were shown in ${times.join(', ')} ms`);
});

test('an island of one pixel of a 12K screen is ringed, however small', { skip }, async (t) => {
  const [width, height] = [11_520, 5120];
  const part = smallPart({ layers: 2 });
  const plate = runsOf(Array.from({ length: height }, (_, y) => (y < 4000 ? [[0, 9000, 1]] : [])));
  const above = runsOf(
    Array.from({ length: height }, (_, y) =>
      y < 4000 ? [[0, 9000, 1]] : y === 4500 ? [[10_000, 10_001, 2]] : [],
    ),
  );
  part.part.print.crop = { column: 0, row: 0, width, height };
  part.part.supports = [];
  const { page } = await open(t, {
    ...part,
    runs: async (first, count) => [plate, above].slice(first, first + count),
  });
  await page.keyboard.press('End');
  await sliceShown(page, 1);
  const ring = await pixelsOf(page, slice, '#c40f1a', 60);
  assert.ok(ring > 20, `${ring} pixels`);
});

test('for a slice that was left out the nearest below is shown, and that is said', {
  skip,
}, async (t) => {
  const html = await reportOf(smallPart({ layers: 100 }), { sliceBytes: 300 });
  const [, layers] = /"slices":\{"layers":\[([\d,]+)\]/.exec(html);
  const kept = layers.split(',').map(Number);
  const gone = kept.findIndex((layer, place) => layer !== place);
  const { page } = await openPage(t, html);
  await page.getByRole('slider', { name: 'Layer' }).fill(String(gone));
  await sliceShown(page, gone);
  await page.getByText(`slice of layer ${gone - 1}, the nearest that was kept`).waitFor();
  await page.getByRole('tab', { name: 'Settings' }).click();
  await page.getByText(/^\d+ of 100: all with points or islands/).waitFor();
});

test('damaged slices and a damaged mesh are sentences', { skip }, async (t) => {
  const html = await reportOf(smallPart());
  const code = /(?<=id="stiltforge-binary">)[^<]+/;
  const damaged = html.replace(code, (text) => `${'A'.repeat(text.length - 2)}==`);
  const { page, complaints } = await openPage(t, damaged);
  await page.getByText(/^The part can't be shown: /).waitFor();
  await page.getByText(/^This slice can't be shown: /).waitFor();
  assert.deepEqual(complaints, []);
});

/** Of a picture, the share of its width and of its height that what is drawn dark takes. */
async function darkExtent(picture) {
  const { data, info } = await sharp(picture)
    .greyscale()
    .raw()
    .toBuffer({ resolveWithObject: true });
  const { width, height, channels } = info;
  const [columns, rows] = [new Set(), new Set()];
  for (let pixel = 0; pixel < width * height; pixel++) {
    if (data[pixel * channels] > 180) continue;
    columns.add(pixel % width);
    rows.add(Math.floor(pixel / width));
  }
  const extent = (places, all) => (Math.max(...places) - Math.min(...places)) / all;
  return [extent(columns, width), extent(rows, height)];
}

for (const [what, size, isFilled] of [
  ['stands', [0.3, 0.3, 60], ([, high]) => high > 0.8],
  ['lies', [60, 0.3, 0.3], ([wide]) => wide > 0.8],
]) {
  test(`a needle that ${what} fills the picture, with a box around it`, { skip }, async (t) => {
    const source = smallPart();
    Object.assign(source.part.model, { min: [0, 0, 0], max: size });
    source.part.supports = [];
    const { page } = await open(t, {
      ...source,
      positions: boxesMesh([[0, 0, 0, ...size]]),
      scaffold: undefined,
    });
    await page.keyboard.press('c');
    await page.keyboard.press('2');
    const extent = await darkExtent(await pictureOfScene(page));
    assert.ok(isFilled(extent), `${extent}`);
    assert.ok(Math.min(...extent) > 0.04, `${extent}`);
  });
}

/** Counts, in the page, the bytes that each of its tasks for a frame hands to the graphics card. */
function countUploads() {
  globalThis.uploads = [0];
  const request = globalThis.requestAnimationFrame.bind(globalThis);
  globalThis.requestAnimationFrame = (task) =>
    request((time) => {
      globalThis.uploads.push(0);
      task(time);
    });
  const { bufferData } = WebGL2RenderingContext.prototype;
  WebGL2RenderingContext.prototype.bufferData = function (target, data, ...rest) {
    globalThis.uploads[globalThis.uploads.length - 1] += data.byteLength ?? 0;
    return bufferData.call(this, target, data, ...rest);
  };
}

test('a mesh of many triangles comes into the picture in pieces, between which others have their turn', {
  skip,
}, async (t) => {
  const source = smallPart();
  const { max } = source.part.model;
  const side = 220;
  const corner = (i, j) => [
    (max[0] * i) / side,
    (max[1] * j) / side,
    max[2] * (0.5 + 0.5 * Math.sin(i / 9) * Math.cos(j / 7)),
  ];
  const positions = new Float32Array(18 * side * side);
  for (let i = 0, at = 0; i < side; i++) {
    for (let j = 0; j < side; j++, at += 18) {
      const [a, b, c, d] = [corner(i, j), corner(i + 1, j), corner(i + 1, j + 1), corner(i, j + 1)];
      positions.set([...a, ...b, ...c, ...a, ...c, ...d], at);
    }
  }
  const { page } = await open(t, { ...source, positions }, { before: countUploads });
  await sceneDrawn(page);
  const uploads = await page.evaluate(() => globalThis.uploads);
  const triangles = positions.length / 9;
  const [whole, most] = [uploads.reduce((sum, bytes) => sum + bytes), Math.max(...uploads)];
  // Positions, normals and colours.
  assert.ok(whole >= 3 * 36 * triangles, `${whole}`);
  assert.ok(most < 0.4 * whole, `${uploads}`);
});
