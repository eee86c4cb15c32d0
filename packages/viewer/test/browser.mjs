// Pages in Debian's Chromium, opened from disk.
import { existsSync, mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import { readFile } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { after } from 'node:test';
import { fileURLToPath, pathToFileURL } from 'node:url';
import { chromium } from 'playwright-core';
import sharp from 'sharp';
import { packPart, reportHtml } from 'stiltforge-viewer';

const program = process.env.STILTFORGE_CHROMIUM ?? '/usr/bin/chromium';

/** Why no page can be opened here; false when all is well. */
export const withoutBrowser =
  !existsSync(program) && `${program} is missing: install the Debian package chromium`;

/** Drawn in software, so that the tests need no graphics card. */
const softwareGl = ['--use-gl=angle', '--use-angle=swiftshader', '--enable-unsafe-swiftshader'];
const withoutGl = ['--disable-gpu', '--disable-3d-apis'];

const template = fileURLToPath(import.meta.resolve('stiltforge-viewer/report.html'));

/** The report of a part, as one text. */
export async function reportOf(source, options) {
  return reportHtml(await readFile(template, 'utf8'), await packPart(source, options));
}

/** Only something broken takes so long, on a busy machine too; milliseconds. */
const longest = 180_000;

/** Browsers of this process, by whether they have WebGL. */
const browsers = new Map();

function browserWith(webgl) {
  // The sandbox of Chromium does not work for root, as whom containers run.
  const args = ['--no-sandbox', ...(webgl ? softwareGl : withoutGl)];
  if (!browsers.has(webgl)) {
    browsers.set(webgl, chromium.launch({ executablePath: program, args, timeout: longest }));
  }
  return browsers.get(webgl);
}

after(async () => {
  for (const browser of browsers.values()) await (await browser).close();
});

/**
 * Opens a file in a window that goes with the test; `before` runs there before the page does. `asked` collects what the page requests beyond
 * itself, `complaints` its errors and warnings.
 */
export async function openFile(t, file, { webgl = true, before, ...options } = {}) {
  const browser = await browserWith(webgl);
  const page = await browser.newPage({ viewport: { width: 1280, height: 800 }, ...options });
  t.after(() => page.close());
  page.setDefaultTimeout(longest);
  if (before) await page.addInitScript(before);
  const address = pathToFileURL(file).href;
  const asked = [];
  const complaints = [];
  page.on('request', (request) => {
    if (request.url() !== address && !/^(data|blob):/.test(request.url()))
      asked.push(request.url());
  });
  page.on('pageerror', ({ message }) => complaints.push(message));
  page.on('console', (message) => {
    // What the driver says of software drawing is not the page's.
    if (
      ['error', 'warning'].includes(message.type()) &&
      !/GPU stall|GL Driver/.test(message.text())
    )
      complaints.push(message.text());
  });
  await page.goto(address);
  return { page, asked, complaints };
}

/** The same for the text of a page. */
export async function openPage(t, html, options) {
  const folder = mkdtempSync(join(tmpdir(), 'stiltforge-page-'));
  t.after(() => rmSync(folder, { recursive: true, force: true }));
  const file = join(folder, 'report.html');
  writeFileSync(file, html);
  return openFile(t, file, options);
}

/** Resolves when the slice of that layer is shown. */
export const sliceShown = (page, layer) =>
  page.getByRole('heading', { name: `Slice of layer ${layer}`, exact: true }).waitFor();

/** Resolves when the part is drawn as it stays until somebody does something. */
export const sceneDrawn = (page) => page.locator('.scene .canvas[aria-busy=false]').waitFor();

/** The picture of the part then. */
export async function pictureOfScene(page) {
  await sceneDrawn(page);
  return page.locator('.scene canvas').screenshot();
}

/** Whether two pictures look the same: a browser does not shade a background twice to the last bit. */
export async function lookAlike(...pictures) {
  const [first, second] = await Promise.all(
    pictures.map((picture) => sharp(picture).raw().toBuffer()),
  );
  const isClose = (value, i) => Math.abs(value - second[i]) <= 2;
  return first.length === second.length && first.every(isClose);
}

/** Of a canvas, how many pixels have this colour, "#rrggbb", but for so much of each channel. */
export function pixelsOf(page, selector, hex, tolerance = 12) {
  const count = (canvas, { colour, most }) => {
    const { width, height } = canvas;
    const copy = new OffscreenCanvas(width, height).getContext('2d');
    copy.drawImage(canvas, 0, 0);
    const { data } = copy.getImageData(0, 0, width, height);
    const wanted = [1, 3, 5].map((at) => Number.parseInt(colour.slice(at, at + 2), 16));
    let found = 0;
    for (let i = 0; i < data.length; i += 4) {
      const isNear = wanted.every((value, channel) => Math.abs(data[i + channel] - value) < most);
      if (isNear && data[i + 3] > 200) found += 1;
    }
    return found;
  };
  return page.locator(selector).evaluate(count, { colour: hex, most: tolerance });
}
