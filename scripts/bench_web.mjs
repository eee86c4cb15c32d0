// Times the page against the command: a rabbit of 60 mm in layers of 0.05 mm, from the file to its report.
// Usage: node scripts/bench_web.mjs [runs]
import { execFileSync } from 'node:child_process';
import { mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { fileURLToPath, pathToFileURL } from 'node:url';
import { chromium } from 'playwright-core';
import { binaryStl } from '../packages/cli/test/meshes.mjs';
import { rabbit } from '../packages/web/test/rabbit.mjs';

const root = fileURLToPath(new URL('..', import.meta.url));
const runs = Number(process.argv[2] ?? 3);
const height = 60; // mm

const executablePath = process.env.STILTFORGE_CHROMIUM ?? '/usr/bin/chromium';
const browser = await chromium.launch({ executablePath, args: ['--no-sandbox'] });
const folder = mkdtempSync(join(tmpdir(), 'stiltforge-bench-'));
const mesh = join(folder, 'rabbit.stl');

function secondsOfCommand() {
  const words = [mesh, '--up', 'y', '--height', height, '--no-pictures', '--report', '-q'];
  const began = performance.now();
  execFileSync(
    process.execPath,
    [join(root, 'packages/cli/bin/stiltforge.mjs'), ...words, '--out', join(folder, 'out')],
    { stdio: 'ignore' },
  );
  return (performance.now() - began) / 1000;
}

async function secondsOfPage(page) {
  await page.goto(pathToFileURL(join(root, 'packages/web/dist/stiltforge.html')).href);
  await page.getByText('Units, axis, place').click();
  await page.getByLabel('Up in the file').selectOption('y');
  await page.getByLabel('Height', { exact: true }).fill(String(height));
  const began = performance.now();
  await page.locator('input[type=file]').setInputFiles(mesh);
  await page.getByRole('heading', { name: 'rabbit.stl', level: 1 }).waitFor({ timeout: 300_000 });
  return (performance.now() - began) / 1000;
}

try {
  writeFileSync(mesh, binaryStl(rabbit()));
  const page = await browser.newPage();
  const times = { page: Infinity, command: Infinity };
  for (let run = 0; run < runs; run++) {
    times.page = Math.min(times.page, await secondsOfPage(page));
    times.command = Math.min(times.command, secondsOfCommand());
  }
  const ratio = (times.page / times.command).toFixed(1);
  process.stdout.write(
    `A rabbit of ${height} mm in layers of 0.05 mm, from the file to its report, best of ${runs}:\n` +
      `  the page in Chromium ${browser.version()}  ${times.page.toFixed(1)} s\n` +
      `  the command, --report               ${times.command.toFixed(1)} s\n` +
      `  ratio                               ${ratio}\n`,
  );
} finally {
  await browser.close();
  rmSync(folder, { recursive: true });
}
