import { constants } from 'node:buffer';
import { MeshError } from '../errors.js';

export function decodeText(bytes: Uint8Array): string {
  if (bytes.length > constants.MAX_STRING_LENGTH) {
    throw new MeshError(
      `the text file has ${bytes.length} bytes, more than can be read as text`,
      'Export it as binary STL or binary PLY',
    );
  }
  return new TextDecoder().decode(bytes);
}

/** The number, from 1, of the line that holds the character at `index`. */
export function lineNumberAt(text: string, index: number): number {
  let line = 1;
  for (let end = text.indexOf('\n'); end !== -1 && end < index; end = text.indexOf('\n', end + 1)) {
    line++;
  }
  return line;
}
