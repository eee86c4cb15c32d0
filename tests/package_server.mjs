// A registry on this machine with a few packed packages, to install from without a network.
import { readFileSync } from 'node:fs';
import { createServer } from 'node:http';
import { join, sep } from 'node:path';
import { pack } from '../scripts/prebuild/packages.mjs';

const manifestOf = (folder) => JSON.parse(readFileSync(join(folder, 'package.json'), 'utf8'));

/** Packs installed packages as their registry has them; see `pack`. */
export function packInstalled(folders, tarballs) {
  for (const folder of folders) {
    if (!folder.includes(`node_modules${sep}`)) throw new Error(`${folder} was not installed`);
  }
  return pack(folders, tarballs);
}

/**
 * Serves what was packed into the folder `tarballs`. Resolves to the address and a function that ends it.
 */
export async function servePackages(packed, tarballs) {
  const documents = new Map();
  const server = createServer((request, response) => {
    const path = decodeURIComponent(request.url.slice(1));
    if (path.endsWith('.tgz')) {
      response.end(readFileSync(join(tarballs, path.slice(path.lastIndexOf('/') + 1))));
      return;
    }
    const document = documents.get(path);
    response.statusCode = document ? 200 : 404;
    response.setHeader('content-type', 'application/json');
    response.end(JSON.stringify(document ?? { error: 'not found' }));
  });
  await new Promise((listening) => server.listen(0, '127.0.0.1', listening));
  const address = `http://127.0.0.1:${server.address().port}/`;

  for (const { name, version, filename, integrity, shasum, folder } of packed) {
    const document = documents.get(name) ?? { name, 'dist-tags': {}, versions: {} };
    document['dist-tags'].latest = version;
    document.versions[version] = {
      ...manifestOf(folder),
      dist: { tarball: `${address}-/${filename}`, integrity, shasum },
    };
    documents.set(name, document);
  }
  return { address, close: () => new Promise((closed) => server.close(closed)) };
}
