// Makes the picture of docs/geometry.md with the command itself: npm run docs:images
import { execFileSync } from 'node:child_process';
import { mkdtempSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';
import sharp from 'sharp';
import { demoMesh, writeStl } from '../bench/inputs.mjs';

const root = fileURLToPath(new URL('..', import.meta.url));

const folder = mkdtempSync(join(tmpdir(), 'stiltforge-image-'));
try {
  const mesh = join(folder, 'bunny.stl');
  writeStl(demoMesh(), mesh);
  const command = join(root, 'packages/cli/bin/stiltforge.mjs');
  const built = ['--format', 'stl', '--lift', '4', '--raft', '0.8'];
  execFileSync(process.execPath, [command, mesh, '--quiet', '--out', folder, ...built]);
  await sharp(join(folder, 'part.png'))
    .png({ palette: true })
    .toFile(join(root, 'docs/images/geometry.png'));
} finally {
  rmSync(folder, { recursive: true });
}
