import { join } from 'node:path';
import { defineConfig } from 'vite';
import { pageBuild, singleFile } from './single_file.mjs';

export default defineConfig({
  root: join(import.meta.dirname, 'page'),
  plugins: [singleFile({ fileName: 'report.html' })],
  build: { ...pageBuild, outDir: join(import.meta.dirname, 'dist') },
});
