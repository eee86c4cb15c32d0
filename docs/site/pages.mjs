// What the site consists of. A page is a document of the repository, or made from sources.
import { existsSync, readdirSync } from 'node:fs';
import { join } from 'node:path';
import { cPages } from './c_pages.mjs';
import { commandPage } from './command_page.mjs';
import { root } from './root.mjs';
import { typescriptPages } from './typescript_pages.mjs';

/** The sections in the order of the site; a document that is not there yet is left out. */
const sections = [
  {
    title: 'Start',
    pages: [
      ['index', 'README.md', 'What it is'],
      ['concepts', 'docs/concepts.md', 'Concepts'],
    ],
  },
  {
    title: 'The command',
    pages: [
      ['cli', 'packages/cli/README.md', 'Overview'],
      ['command', commandPage, 'Commands and options'],
      ['parameters', 'docs/parameters.md', 'Parameters'],
      ['orientation', 'docs/orientation.md', 'Orientation'],
      ['check', 'docs/check.md', 'Check'],
      ['geometry', 'docs/geometry.md', 'Supports as geometry'],
      ['handover', 'docs/handover.md', 'Handover to PrusaSlicer'],
      ['formats', 'docs/formats.md', 'File formats'],
      ['browser', 'docs/browser.md', 'In a browser'],
    ],
  },
  {
    title: 'For programs',
    pages: [
      ['stiltforge', 'packages/stiltforge/README.md', 'Node: overview'],
      ['embedding', 'docs/embedding.md', 'C, C++ and Python: overview'],
      ['scale-out', 'docs/scale-out.md', 'Many machines'],
      ['queue', 'examples/queue/README.md', 'A worker for a queue'],
      ['viewer', 'packages/viewer/README.md', 'The viewer'],
    ],
  },
  { title: 'Interfaces', pages: [...typescriptPages, ...cPages] },
  {
    title: 'How it works',
    pages: [
      ['algorithm', 'docs/algorithm.md', 'Algorithm'],
      ['holding', 'docs/holding.md', 'Holding and finishing'],
      ['safety', 'docs/safety.md', 'Safety'],
      ['performance', 'docs/performance.md', 'Performance'],
    ],
  },
  {
    title: 'The project',
    pages: [
      ['contributing', 'CONTRIBUTING.md', 'Contributing'],
      ['releasing', 'docs/releasing.md', 'Releasing'],
      ['changelog', 'CHANGELOG.md', 'Changelog'],
    ],
  },
];

const named = new Set(sections.flatMap(({ pages }) => pages.map(([, source]) => source)));

/** Documents that no section names. */
const others = readdirSync(join(root, 'docs'))
  .filter((name) => name.endsWith('.md') && !named.has(`docs/${name}`))
  .map((name) => [name.replace('.md', ''), `docs/${name}`, name.replace('.md', '')]);
sections.push({ title: 'More', pages: others });

/** `[{ title, pages: [{ slug, title, source }] }]`; a source is a path, or a function that gives text. */
export const site = sections
  .map(({ title, pages }) => ({
    title,
    pages: pages
      .filter(([, source]) => typeof source !== 'string' || existsSync(join(root, source)))
      .map(([slug, source, name]) => ({ slug, source, title: name })),
  }))
  .filter(({ pages }) => pages.length > 0);
