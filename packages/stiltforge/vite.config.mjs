import { copyFileSync, readFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { dirname, join } from 'node:path';
import { defineConfig } from 'vite';

const here = import.meta.dirname;
const require = createRequire(import.meta.url);

/** The sources of the promise API, over the module in WebAssembly in place of binding.node. */
const overWebAssembly = {
  name: 'over-webassembly',
  enforce: 'pre',
  resolveId: (name) =>
    name === './native_binding.js' ? join(here, 'src/wasm/binding.mts') : undefined,
};

/** The module stands beside the script; bundlers know the address by its form, but not with a comment. */
const besideTheScript = {
  name: 'beside-the-script',
  renderChunk: (code) => code.replace('/* @vite-ignore */', ''),
  writeBundle: ({ dir }) =>
    copyFileSync(
      join(here, '../../build/wasm/src/wasm/stiltforge.wasm'),
      join(dir, 'stiltforge.wasm'),
    ),
};

/** What the bundle carries of @emnapi/core, @emnapi/runtime and @emnapi/wasi-threads has one licence. */
function notice() {
  const text = readFileSync(join(dirname(require.resolve('@emnapi/core')), 'LICENSE'), 'utf8');
  return `/*! This file carries emnapi.\n\n${text.trim()}\n*/`;
}

export default defineConfig({
  root: here,
  plugins: [overWebAssembly, besideTheScript],
  build: {
    outDir: join(here, 'dist/wasm/bundle'),
    target: 'es2022',
    minify: true,
    reportCompressedSize: false,
    lib: {
      entry: { index: join(here, 'src/wasm/index.mts'), node: join(here, 'src/wasm/node.mts') },
      formats: ['es'],
    },
    rolldownOptions: {
      external: /^node:/,
      output: { entryFileNames: '[name].mjs', chunkFileNames: '[name].mjs', banner: notice },
    },
  },
});
