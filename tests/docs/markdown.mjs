// The documents of the repository as Markdown has them: blocks of code, links and headings.
import { execFileSync } from 'node:child_process';
import { readFileSync } from 'node:fs';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';
import GithubSlugger from 'github-slugger';
import MarkdownIt from 'markdown-it';

export const root = fileURLToPath(new URL('../..', import.meta.url));

const markdown = new MarkdownIt({ html: true });

/** Paths from the root, with slashes. New ones count before they are added to git. */
export const documents = execFileSync(
  'git',
  ['ls-files', '--cached', '--others', '--exclude-standard', '*.md'],
  { cwd: root, encoding: 'utf8' },
)
  .trim()
  .split('\n');

const tokensOf = (path) => markdown.parse(readFileSync(join(root, path), 'utf8'), {});

/** Fenced blocks in their order: the language after the fence, the text, the line of the fence. */
export function codeBlocks(path) {
  return tokensOf(path)
    .filter(({ type }) => type === 'fence')
    .map(({ info, content, map }) => ({
      language: info.trim(),
      text: content,
      place: `${path}:${map[0] + 1}`,
    }));
}

/** Pieces of code within the text. */
export function inlineCode(path) {
  const inline = tokensOf(path).flatMap(({ children }) => children ?? []);
  return inline.filter(({ type }) => type === 'code_inline').map(({ content }) => content);
}

/** What links and images lead to, as it is written. */
export function links(path) {
  const inline = tokensOf(path).flatMap(({ children }) => children ?? []);
  return inline.flatMap((token) => token.attrGet('href') ?? token.attrGet('src') ?? []);
}

/** The names by which headings can be linked to. */
export function anchors(path) {
  const slugger = new GithubSlugger();
  const tokens = tokensOf(path);
  return new Set(
    tokens.flatMap(({ type }, i) => {
      if (type !== 'heading_open') return [];
      const pieces = tokens[i + 1].children.filter(({ content }) => content !== '');
      return [slugger.slug(pieces.map(({ content }) => content).join(''))];
    }),
  );
}
