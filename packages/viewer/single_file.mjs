import { createHash } from 'node:crypto';
import { readFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { dirname, join } from 'node:path';

const require = createRequire(import.meta.url);

/** Licences of what a page carries, for the head of the file. */
const licences = {
  three: join(dirname(require.resolve('three')), '..', 'LICENSE'),
  Roboto: require.resolve('@fontsource/roboto/LICENSE'),
};

function notices(files) {
  return Object.entries(files).map(([name, file]) => {
    const text = readFileSync(file, 'utf8').trim();
    // Two hyphens may not stand in a comment.
    return `This page carries ${name}.\n\n${text}`.replace(/-{2,}/g, '-');
  });
}

const hashOf = (text) => `'sha256-${createHash('sha256').update(text).digest('base64')}'`;

/** What stands first in the head of every page. */
const headOf = (policy) => `<meta charset="utf-8" />
    <meta http-equiv="Content-Security-Policy" content="${policy}" />
    <meta name="viewport" content="width=device-width, initial-scale=1" />
    <meta name="color-scheme" content="light dark" />
    <meta name="referrer" content="no-referrer" />
    <link rel="icon" href="data:," />`;

/**
 * Puts the script and the style sheet into the page, so that one file is all there is, and allows it
 * nothing but these two: a page that is opened from disk asks no one for anything. `fileName`: of the page;
 * `scripts`, `rules`: what its policy allows beyond, as sources of scripts and as further directives;
 * `carried`: files with the licences of what it carries besides, by name; `data`: promises the text that
 * stands for the mark <!--data-->.
 */
export function singleFile({ fileName, scripts = [], rules = [], carried = {}, data }) {
  return {
    name: 'single-file',
    enforce: 'post',
    async generateBundle(_, bundle) {
      const files = Object.values(bundle);
      const page = files.find((file) => file.fileName.endsWith('.html'));
      const script = files.find(({ type }) => type === 'chunk');
      const style = files.find((file) => file.fileName.endsWith('.css'));
      const code = script.code.replace(/<(\/script|!--)/gi, '\\x3c$1').trim();
      const css = String(style.source).trim();
      const policy = [
        "default-src 'none'",
        ['script-src', hashOf(code), ...scripts].join(' '),
        `style-src ${hashOf(css)}`,
        'font-src data:',
        'img-src data: blob:',
        "base-uri 'none'",
        "form-action 'none'",
        ...rules,
      ].join('; ');
      const licenceText = notices({ ...licences, ...carried }).join('\n\n');
      const dataText = (await data?.()) ?? '';
      page.source = String(page.source)
        .replace(/^\s*<script type="module"[^>]*><\/script>\n/m, '')
        .replace(/^\s*<link rel="stylesheet"[^>]*>\n/m, '')
        .replace('<!--head-->', () => headOf(policy))
        .replace('<!--style-->', () => `<style>${css}</style>`)
        .replace('<!--data-->', () => dataText)
        .replace('<!--script-->', () => `<script>${code}</script>`)
        .replace('<!doctype html>', () => `<!doctype html>\n<!--\n${licenceText}\n-->`);
      for (const name of Object.keys(bundle)) if (bundle[name] !== page) delete bundle[name];
      page.fileName = fileName;
    },
  };
}

/** The options of a page's build. */
export const pageBuild = {
  emptyOutDir: false,
  target: 'es2022',
  assetsInlineLimit: 100_000,
  modulePreload: false,
  cssCodeSplit: false,
  reportCompressedSize: false,
  rolldownOptions: { output: { format: 'iife' } },
};
