import { createHash } from 'node:crypto';
import { readFileSync } from 'node:fs';
import { isAbsolute, join } from 'node:path';

/** The hidden file in which a folder keeps what the last run wrote into it. */
export const recordName = '.stiltforge.json';

const about = 'Files in this folder that stiltforge wrote. The next run replaces them.';

/** Digests of the contents that a file may have and still be a run's own, by the file's name. */
export type RunRecord = ReadonlyMap<string, readonly string[]>;

/** Of a content that comes in pieces. */
export class Digest {
  private readonly hash = createHash('sha256');

  update(piece: string | Uint8Array): void {
    this.hash.update(piece);
  }

  text(): string {
    return this.hash.digest('hex');
  }
}

export function digestOf(data: string | Uint8Array): string {
  const digest = new Digest();
  digest.update(data);
  return digest.text();
}

export function recordText(record: RunRecord): string {
  return `${JSON.stringify({ about, files: Object.fromEntries(record) }, null, 2)}\n`;
}

/** What the last run wrote into `folder`; nothing when there is no record that can be read. */
export function readRecord(folder: string): RunRecord {
  let files: unknown;
  try {
    files = (JSON.parse(readFileSync(join(folder, recordName), 'utf8')) as { files?: unknown })
      .files;
  } catch {
    return new Map();
  }
  const entries = Object.entries(Object(files)).filter(
    (entry): entry is [string, string[]] => staysInside(entry[0]) && Array.isArray(entry[1]),
  );
  return new Map(entries);
}

/** A record that somebody made must not lead to files elsewhere. */
function staysInside(name: string): boolean {
  return !isAbsolute(name) && !name.split(/[/\\]/).includes('..');
}
