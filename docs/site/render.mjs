// Markdown to HTML: headings that can be linked to, coloured code, links that lead where the site has
// what the repository has.
import { existsSync } from 'node:fs';
import { join, posix } from 'node:path';
import GithubSlugger from 'github-slugger';
import highlighter from 'highlight.js/lib/core';
import bash from 'highlight.js/lib/languages/bash';
import c from 'highlight.js/lib/languages/c';
import cmake from 'highlight.js/lib/languages/cmake';
import cpp from 'highlight.js/lib/languages/cpp';
import javascript from 'highlight.js/lib/languages/javascript';
import json from 'highlight.js/lib/languages/json';
import makefile from 'highlight.js/lib/languages/makefile';
import python from 'highlight.js/lib/languages/python';
import typescript from 'highlight.js/lib/languages/typescript';
import MarkdownIt from 'markdown-it';
import { root } from './root.mjs';

const languages = { sh: bash, c, cmake, cpp, js: javascript, json, make: makefile, python };
for (const [name, language] of Object.entries({ ...languages, ts: typescript })) {
  highlighter.registerLanguage(name, language);
}

const markdown = new MarkdownIt({
  html: true,
  highlight: (text, language) =>
    highlighter.getLanguage(language) ? highlighter.highlight(text, { language }).value : '',
});

// A table may be wider than a telephone: it is moved by itself, by keys too.
markdown.renderer.rules.table_open = () => '<div class="table" tabindex="0"><table>\n';
markdown.renderer.rules.table_close = () => '</table></div>\n';
const fence = markdown.renderer.rules.fence;
markdown.renderer.rules.fence = (...words) =>
  fence(...words).replace('<pre>', '<pre tabindex="0">');

/**
 * Renders a page. `source` is its path in the repository, from which its links go out; `pageOf` gives
 * the page of a path; `fileOf` takes a file of the repository into the site and gives its address.
 */
export function render(text, { source, pageOf, fileOf }) {
  const slugger = new GithubSlugger();
  const headings = [];
  const tokens = markdown.parse(text, {});
  tokens.forEach((token, i) => {
    if (token.type === 'heading_open') {
      const title = tokens[i + 1].children
        .filter(({ type }) => type === 'text' || type === 'code_inline')
        .map(({ content }) => content)
        .join('');
      const id = slugger.slug(title);
      token.attrSet('id', id);
      headings.push({ level: Number(token.tag.slice(1)), title, id });
    }
    for (const child of token.children ?? []) {
      for (const name of ['href', 'src']) {
        const link = child.attrGet(name);
        if (link !== null) child.attrSet(name, addressOf(link, source, pageOf, fileOf));
      }
    }
  });
  return { html: markdown.renderer.render(tokens, markdown.options, {}), headings };
}

function addressOf(link, source, pageOf, fileOf) {
  if (/^([a-z]+:|#)/i.test(link)) return link;
  const [path, anchor] = link.split('#');
  const target = posix.join(posix.dirname(source), decodeURI(path));
  const page = pageOf(target);
  if (page !== undefined) return anchor === undefined ? page : `${page}#${anchor}`;
  if (!existsSync(join(root, target))) throw new Error(`${source}: ${link} leads nowhere`);
  return fileOf(target);
}
