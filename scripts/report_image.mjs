// Makes the picture of a report for the README, from the demo's: npm run docs:images
import { mkdtempSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { env } from 'node:process';
import { fileURLToPath, pathToFileURL } from 'node:url';
import { chromium } from 'playwright-core';
import sharp from 'sharp';

const root = fileURLToPath(new URL('..', import.meta.url));
const report = pathToFileURL(join(root, 'out', 'demo', 'report.html')).href;

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
  await page.goto(report);
  // The first point of the layer that is shown, then the whole slice and the whole part.
  for (const key of ['n', '0', '1']) await page.keyboard.press(key);
  // Drawn in software.
  await page.waitForTimeout(2000);
  const picture = join(folder, 'report.png');
  await page.screenshot({ path: picture });
  await sharp(picture)
    .png({ palette: true, colours: 128, effort: 10 })
    .toFile(join(root, 'docs', 'images', 'report.png'));
} finally {
  await browser.close();
  rmSync(folder, { recursive: true });
}
