// apt with lists of its own, so that it needs no root and changes nothing of the machine's.
import { existsSync, mkdirSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { capture, run } from '../run.mjs';

const keys = '/usr/share/keyrings/debian-archive-keyring.gpg';

/** The repositories of Debian that this machine has its packages from, as lines of a list. */
function repositories() {
  const format = '$(REPO_URI) $(CODENAME) $(COMPONENT)';
  const words = ['indextargets', '--format', format, 'Created-By: Packages', 'Origin: Debian'];
  const known = () => [...new Set(capture('apt-get', words).split('\n').filter(Boolean))];
  // A machine that has never asked knows none.
  if (known().length === 0) run('apt-get', ['-qq', 'update']);
  return known();
}

/**
 * Options for apt-get and apt-cache: the repositories' sources (`kind` deb-src) or packages (deb), with
 * lists and caches in `folder`. More settings of apt go into `settings`.
 */
export function aptOptions(folder, kind, settings = {}) {
  const lines = repositories();
  if (lines.length === 0) {
    throw new Error(
      'apt knows no repository of Debian: name one in /etc/apt/sources.list.d, and run "apt-get update"',
    );
  }
  const list = join(folder, 'sources.list');
  mkdirSync(join(folder, 'lists/partial'), { recursive: true });
  mkdirSync(join(folder, 'archives/partial'), { recursive: true });
  const signed = existsSync(keys) ? `[signed-by=${keys}] ` : '';
  writeFileSync(list, lines.map((line) => `${kind} ${signed}${line}\n`).join(''));
  const all = {
    'APT::Sandbox::User': '',
    'Dir::Etc::SourceList': list,
    'Dir::Etc::SourceParts': '/dev/null',
    'Dir::State::Lists': join(folder, 'lists'),
    'Dir::Cache': folder,
    ...settings,
  };
  return Object.entries(all).flatMap(([key, value]) => ['-o', `${key}=${value}`]);
}
