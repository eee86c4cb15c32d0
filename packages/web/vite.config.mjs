import { existsSync, readFileSync } from 'node:fs';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { deflateRawSync } from 'node:zlib';
import { build, defineConfig } from 'vite';
import { pageBuild, singleFile } from '../viewer/single_file.mjs';

const { version } = JSON.parse(
  readFileSync(join(import.meta.dirname, '../cli/package.json'), 'utf8'),
);

/** The licence in a package, of which `name` is a module. */
function licenceOf(name) {
  let folder = dirname(fileURLToPath(import.meta.resolve(name)));
  for (;;) {
    const found = ['LICENSE', 'LICENSE.md'].find((file) => existsSync(join(folder, file)));
    if (found !== undefined) return join(folder, found);
    folder = dirname(folder);
  }
}

/** What the worker carries, and the licences of it. */
const carried = {
  fflate: licenceOf('fflate'),
  meshoptimizer: licenceOf('meshoptimizer/simplifier'),
  emnapi: licenceOf('@emnapi/core'),
};

/** In the worker the promise API is that of WebAssembly. */
const alias = Object.fromEntries(
  ['analysis', 'check', 'orientation', 'scaffold', 'slicing'].map((name) => [
    `stiltforge/${name}`,
    'stiltforge/wasm',
  ]),
);

const define = {
  __GENERATOR__: JSON.stringify(`stiltforge ${version}`),
  // The module is handed over: nothing lies beside a script that is part of a page.
  'import.meta.url': JSON.stringify('file:///'),
};

/** The script of the worker, which runs from a blob and so has to be one piece. */
async function workerCode() {
  const { output } = await build({
    configFile: false,
    logLevel: 'warn',
    root: import.meta.dirname,
    resolve: { alias },
    define,
    build: {
      ...pageBuild,
      write: false,
      // The module stands in the page by itself.
      assetsInlineLimit: () => false,
      rolldownOptions: {
        input: join(import.meta.dirname, 'worker/worker.ts'),
        output: { format: 'iife' },
      },
    },
  });
  return output.find(({ type }) => type === 'chunk').code;
}

const fileOf = (name) => readFileSync(fileURLToPath(import.meta.resolve(name)));

/** What page/embedded.ts reads. */
async function embeddedParts() {
  const parts = {
    worker: await workerCode(),
    core: fileOf('stiltforge/wasm/stiltforge.wasm'),
    template: fileOf('stiltforge-viewer/report.html'),
  };
  return Object.entries(parts)
    .map(([name, content]) => {
      const code = deflateRawSync(content, { level: 9 }).toString('base64');
      return `<script type="text/plain" id="stiltforge-${name}">${code}</script>`;
    })
    .join('\n    ');
}

export default defineConfig({
  root: join(import.meta.dirname, 'page'),
  resolve: { alias: { 'stiltforge/load': join(import.meta.dirname, 'page/no_binary.ts') } },
  plugins: [
    singleFile({
      fileName: 'stiltforge.html',
      carried,
      scripts: ["'wasm-unsafe-eval'", 'blob:'],
      rules: ['worker-src blob:'],
      data: embeddedParts,
    }),
  ],
  build: {
    ...pageBuild,
    outDir: join(import.meta.dirname, 'dist'),
    rolldownOptions: {
      ...pageBuild.rolldownOptions,
      // What is not used of the packages stays out.
      treeshake: { moduleSideEffects: (id) => /\/page\//.test(id) },
    },
  },
});
