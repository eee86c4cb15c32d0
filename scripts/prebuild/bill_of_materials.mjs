// The software bill of materials of a release, as CycloneDX 1.5: our packages, what npm installs beside
// them, and what they carry inside. `npm sbom` leaves out what a workspace needs both to run and to be
// developed, and knows nothing of what is linked in.
import { existsSync, readFileSync } from 'node:fs';
import { join } from 'node:path';
import { bundledIn } from './notice.mjs';
import { workspacePackages } from './packages.mjs';
import { targets } from './targets.mjs';

const manifestOf = (folder) => JSON.parse(readFileSync(join(folder, 'package.json'), 'utf8'));

/** A package URL: scopes and signs are escaped. */
const npmUrl = (name, version) => `pkg:npm/${name.replace('@', '%40')}@${version}`;

function component(name, version, licence, purl) {
  // An expression of several licences has a field of its own.
  const isExpression = / (WITH|OR|AND) /.test(licence ?? '');
  const licences = isExpression ? [{ expression: licence }] : [{ license: { id: licence } }];
  return {
    type: 'library',
    'bom-ref': purl,
    name,
    version,
    purl,
    ...(licence ? { licenses: licences } : {}),
  };
}

const ofFolder = (folder) => {
  const { name, version, license } = manifestOf(folder);
  return component(name, version, license, npmUrl(name, version));
};

/** The package URL of a library that was compiled in, as Debian has it. */
function debianUrl({ package: name, version, sha256 }) {
  const url = `pkg:deb/debian/${name}@${encodeURIComponent(version)}`;
  return sha256 ? `${url}?arch=source` : url;
}

/**
 * `made`: the folder that the packages were written to; `needed`: folders of what npm installs; `found`:
 * which libraries were compiled in, see `prepareLibraries`.
 */
export function billOfMaterials(made, needed, found, time) {
  const debianUrls = new Map(found.map((one) => [one.name, debianUrl(one)]));
  const components = new Map();
  const dependencies = new Map();
  const add = (one) => {
    components.set(one['bom-ref'], one);
    return one['bom-ref'];
  };
  for (const folder of needed) add(ofFolder(folder));

  const refOf = new Map([...components.values()].map(({ name, 'bom-ref': ref }) => [name, ref]));
  const own = [
    ...targets.map((target) => ({ folder: target.name, parts: bundledIn('', target) })),
    ...workspacePackages.map((folder) => ({ folder, parts: bundledIn(folder) })),
  ].filter(({ folder }) => existsSync(join(made, folder)));
  for (const { folder } of own) {
    const one = ofFolder(join(made, folder));
    refOf.set(one.name, add(one));
  }
  for (const { folder, parts } of own) {
    const manifest = manifestOf(join(made, folder));
    const wanted = Object.keys({ ...manifest.dependencies, ...manifest.optionalDependencies });
    const inside = parts.map(({ name, version, licence, purl }) =>
      add(component(name, version, licence, purl ?? debianUrls.get(name) ?? npmUrl(name, version))),
    );
    const installed = wanted.map((name) => refOf.get(name)).filter(Boolean);
    dependencies.set(refOf.get(manifest.name), [...new Set([...installed, ...inside])].sort());
  }

  const command = manifestOf(join(made, 'cli'));
  return {
    bomFormat: 'CycloneDX',
    specVersion: '1.5',
    version: 1,
    metadata: {
      timestamp: time.toISOString(),
      component: {
        ...component(command.name, command.version, command.license, refOf.get(command.name)),
        type: 'application',
      },
    },
    components: [...components.values()].filter(({ name }) => name !== command.name),
    dependencies: [...dependencies].map(([ref, dependsOn]) => ({ ref, dependsOn })),
  };
}
