// Makes the picture of the page for the README, with the demo's rabbit: npm run docs:images
import { mkdtempSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { env } from 'node:process';
import { fileURLToPath, pathToFileURL } from 'node:url';
import { chromium } from 'playwright-core';
import sharp from 'sharp';
import { binaryStl } from '../packages/cli/test/meshes.mjs';
import { rabbit } from '../packages/web/test/rabbit.mjs';

const root = fileURLToPath(new URL('..', import.meta.url));
const built = pathToFileURL(join(root, 'packages/web/dist/stiltforge.html')).href;

const browser = await chromium.launch({
  executablePath: env.STILTFORGE_CHROMIUM ?? '/usr/bin/chromium',
  args: ['--no-sandbox', '--use-gl=angle', '--use-angle=swiftshader'],
});
const folder = mkdtempSync(join(tmpdir(), 'stiltforge-image-'));
try {
  const page = await browser.newPage({
    viewport: { width: 1440, height: 900 },
    colorScheme: 'light',
    reducedMotion: 'reduce',
  });
  page.setDefaultTimeout(300_000);
  await page.goto(built);
  await page.getByText('Units, axis, place').click();
  await page.getByLabel('Up in the file').selectOption('y');
  await page.getByLabel('Height', { exact: true }).fill('60');
  await page.locator('input[type=file]').setInputFiles({
    name: 'rabbit.stl',
    mimeType: 'model/stl',
    buffer: binaryStl(rabbit()),
  });
  await page.getByRole('heading', { name: 'rabbit.stl', level: 1 }).waitFor();
  // The whole part, not cut.
  for (const key of ['c', '1']) await page.keyboard.press(key);
  // Drawn in software.
  await page.waitForTimeout(2000);
  const picture = join(folder, 'page.png');
  await page.screenshot({ path: picture });
  await sharp(picture)
    .png({ palette: true, colours: 128, effort: 10 })
    .toFile(join(root, 'docs', 'images', 'page.png'));
} finally {
  await browser.close();
  rmSync(folder, { recursive: true });
}
