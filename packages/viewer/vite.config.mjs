import { createHash } from 'node:crypto';
import { readFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { dirname, join } from 'node:path';
import { defineConfig } from 'vite';

const require = createRequire(import.meta.url);

/** Licences of what the page carries, for the head of the file. */
function notices() {
  const licences = {
    three: join(dirname(require.resolve('three')), '..', 'LICENSE'),
    Roboto: require.resolve('@fontsource/roboto/LICENSE'),
  };
  return Object.entries(licences).map(([name, file]) => {
    const text = readFileSync(file, 'utf8').trim();
    // Two hyphens may not stand in a comment.
    return `This page carries ${name}.\n\n${text}`.replace(/-{2,}/g, '-');
  });
}

const hashOf = (text) => `'sha256-${createHash('sha256').update(text).digest('base64')}'`;

/**
 * Puts the script and the style sheet into the page, so that one file is all there is, and allows it
 * nothing but these two: a page that is opened from disk asks no one for anything.
 */
function singleFile() {
  return {
    name: 'single-file',
    enforce: 'post',
    generateBundle(_, bundle) {
      const files = Object.values(bundle);
      const page = files.find(({ fileName }) => fileName.endsWith('.html'));
      const script = files.find(({ type }) => type === 'chunk');
      const style = files.find(({ fileName }) => fileName.endsWith('.css'));
      const code = script.code.replace(/<(\/script|!--)/gi, '\\x3c$1').trim();
      const css = String(style.source).trim();
      const policy = [
        "default-src 'none'",
        `script-src ${hashOf(code)}`,
        `style-src ${hashOf(css)}`,
        'font-src data:',
        'img-src data: blob:',
        "base-uri 'none'",
        "form-action 'none'",
      ].join('; ');
      page.source = String(page.source)
        .replace(/^\s*<script type="module"[^>]*><\/script>\n/m, '')
        .replace(/^\s*<link rel="stylesheet"[^>]*>\n/m, '')
        .replace('<!--policy-->', () => policyTag(policy))
        .replace('<!--style-->', () => `<style>${css}</style>`)
        .replace('<!--script-->', () => `<script>${code}</script>`)
        .replace('<!doctype html>', () => `<!doctype html>\n<!--\n${notices().join('\n\n')}\n-->`);
      for (const name of Object.keys(bundle)) if (bundle[name] !== page) delete bundle[name];
      page.fileName = 'report.html';
    },
  };
}

const policyTag = (policy) => `<meta http-equiv="Content-Security-Policy" content="${policy}" />`;

export default defineConfig({
  root: join(import.meta.dirname, 'page'),
  plugins: [singleFile()],
  build: {
    outDir: join(import.meta.dirname, 'dist'),
    emptyOutDir: false,
    target: 'es2022',
    assetsInlineLimit: 100_000,
    modulePreload: false,
    cssCodeSplit: false,
    reportCompressedSize: false,
    rolldownOptions: { output: { format: 'iife' } },
  },
});
