// Which packages of others a package needs to run, as they are installed here.
import { readFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { join } from 'node:path';

const manifestOf = (folder) => JSON.parse(readFileSync(join(folder, 'package.json'), 'utf8'));

/** The installed folder of a package that the package in `folder` asks for, or undefined. */
export function installedFolder(folder, name) {
  const places = createRequire(join(folder, 'package.json')).resolve.paths(name);
  for (const place of places) {
    try {
      manifestOf(join(place, name));
      return join(place, name);
    } catch {}
  }
  return undefined;
}

/**
 * The folders of all packages that those in `folders` need to run, and that are installed here. `own`: names
 * of packages that are not followed.
 */
export function neededFolders(folders, own) {
  const found = new Set();
  const follow = (folder) => {
    const { dependencies, optionalDependencies } = manifestOf(folder);
    for (const name of Object.keys({ ...dependencies, ...optionalDependencies })) {
      const place = own.includes(name) ? undefined : installedFolder(folder, name);
      if (place === undefined || found.has(place)) continue;
      found.add(place);
      follow(place);
    }
  };
  for (const folder of folders) follow(folder);
  return [...found];
}
