// The interfaces of the packages, from their sources, by typedoc.
import { existsSync, mkdtempSync, readFileSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { basename, dirname, join } from 'node:path';
import { Application } from 'typedoc';
import { load } from 'typedoc-plugin-markdown';
import { root } from './root.mjs';

/** The TypeScript sources of what a package exports, with the names to import them by. */
function entriesOf(folder) {
  const { name, exports } = JSON.parse(readFileSync(join(root, folder, 'package.json'), 'utf8'));
  return Object.entries(exports).flatMap(([path, { types = '' }]) => {
    const source = join(folder, types.replace('dist/', 'src/').replace(/\.d\.(m?ts)$/, '.$1'));
    const isSource = types.startsWith('./dist/') && existsSync(join(root, source));
    return isSource ? [{ folder, source, name: path.replace('.', name) }] : [];
  });
}

/** Sources in a folder of their own may have a configuration of its name. */
function configurationOf(folder, source) {
  const own = join(root, folder, `tsconfig.${basename(dirname(source))}.json`);
  return existsSync(own) ? own : join(root, folder, 'tsconfig.json');
}

async function pageOf({ folder, source, name }) {
  const out = mkdtempSync(join(tmpdir(), 'stiltforge-typedoc-'));
  try {
    const options = {
      plugin: [load],
      tsconfig: configurationOf(folder, source),
      entryPoints: [join(root, source)],
      out,
      name,
      readme: 'none',
      outputFileStrategy: 'modules',
      entryFileName: 'page',
      hideBreadcrumbs: true,
      hidePageHeader: true,
      disableSources: true,
      excludePrivate: true,
      excludeExternals: true,
      parametersFormat: 'table',
      interfacePropertiesFormat: 'table',
      classPropertiesFormat: 'table',
      typeDeclarationFormat: 'table',
      logLevel: 'Error',
    };
    const app = await Application.bootstrapWithPlugins(options);
    const project = await app.convert();
    if (project === undefined) throw new Error(`${source}: typedoc cannot read it`);
    await app.generateOutputs(project);
    return readFileSync(join(out, 'page.md'), 'utf8')
      .replace(/^# .*$/m, `# ${name}`)
      .replaceAll('__namedParameters', 'options');
  } finally {
    rmSync(out, { recursive: true });
  }
}

export const typescriptPages = ['packages/stiltforge', 'packages/cli']
  .flatMap(entriesOf)
  .map((entry) => [`api-${entry.name.replaceAll('/', '-')}`, () => pageOf(entry), entry.name]);
