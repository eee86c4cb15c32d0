// Makes the picture of docs/holding.md with the command itself: npm run docs:images
import { execFileSync } from 'node:child_process';
import { mkdtempSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';
import sharp from 'sharp';
import { demoMesh, writeStl } from '../bench/inputs.mjs';

const root = fileURLToPath(new URL('..', import.meta.url));
const pictureWidth = 1000;

const folder = mkdtempSync(join(tmpdir(), 'stiltforge-image-'));
try {
  const mesh = join(folder, 'bunny.stl');
  writeStl(demoMesh(), mesh);
  const fromBelow = async (name, ...options) => {
    const out = join(folder, name);
    const command = join(root, 'packages/cli/bin/stiltforge.mjs');
    execFileSync(process.execPath, [command, mesh, '--quiet', '--out', out, ...options]);
    return sharp(join(out, 'part_from_below.png')).resize({ width: pictureWidth }).toBuffer();
  };
  const pictures = [await fromBelow('analysed', '--as-analysed'), await fromBelow('finished')];
  const { height } = await sharp(pictures[0]).metadata();
  await sharp({
    create: { width: pictureWidth, height: 2 * height, channels: 3, background: '#ffffff' },
  })
    .composite(pictures.map((input, i) => ({ input, left: 0, top: i * height })))
    .png({ palette: true })
    .toFile(join(root, 'docs/images/finishing.png'));
} finally {
  rmSync(folder, { recursive: true });
}
