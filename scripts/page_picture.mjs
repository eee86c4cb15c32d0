import { mkdtempSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { env } from 'node:process';
import { fileURLToPath, pathToFileURL } from 'node:url';
import { chromium } from 'playwright-core';
import sharp from 'sharp';

const root = fileURLToPath(new URL('..', import.meta.url));

/**
 * Opens a page of the repository from disk, shows by `show(page)` what the picture is to have, and writes
 * docs/images/<name>.png.
 */
export async function writePagePicture(file, name, show) {
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
    await page.goto(pathToFileURL(join(root, file)).href);
    await show(page);
    // Drawn in software.
    await page.waitForTimeout(2000);
    const picture = join(folder, 'page.png');
    await page.screenshot({ path: picture });
    await sharp(picture)
      .png({ palette: true, colours: 128, effort: 10 })
      .toFile(join(root, 'docs', 'images', `${name}.png`));
  } finally {
    await browser.close();
    rmSync(folder, { recursive: true });
  }
}
