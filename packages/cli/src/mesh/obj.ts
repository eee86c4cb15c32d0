import { OBJLoader } from 'three/addons/loaders/OBJLoader.js';
import { MeshError } from '../errors.js';
import { decodeText } from './text.js';
import { quietly, trianglesOfTree } from './three_geometry.js';
import type { Triangles } from './triangles.js';

const remedy = 'The file is cut off or damaged; copy or export it again';

export function parseObj(bytes: Uint8Array<ArrayBuffer>): Triangles {
  const text = decodeText(bytes);
  checkLines(text);
  return trianglesOfTree(quietly(() => new OBJLoader().parse(text)));
}

/** Refuses vertices without three numbers and faces that name a vertex that isn't there. */
function checkLines(text: string): void {
  let vertices = 0;
  let lineNumber = 0;
  for (let start = 0; start < text.length; ) {
    const newline = text.indexOf('\n', start);
    const end = newline === -1 ? text.length : newline;
    lineNumber++;
    const first = text.charCodeAt(start);
    const isFace = first === 0x66; // f
    const isVertex = first === 0x76 && text.charCodeAt(start + 1) <= 0x20; // v
    if (isVertex || isFace) {
      const words = text.slice(start, end).trim().replace(/\\$/, '').split(/\s+/);
      if (isVertex) {
        vertices++;
        if (words.length < 4 || words.slice(1, 4).some((word) => !Number.isFinite(Number(word)))) {
          throw new MeshError(`line ${lineNumber} has a vertex without three numbers`, remedy);
        }
      } else {
        checkFace(words, vertices, lineNumber);
      }
    }
    start = end + 1;
  }
}

function checkFace(words: string[], vertices: number, lineNumber: number): void {
  for (const word of words.slice(1)) {
    const index = Number.parseInt(word, 10);
    const vertex = index < 0 ? vertices + index + 1 : index;
    if (!(vertex >= 1 && vertex <= vertices)) {
      throw new MeshError(
        `line ${lineNumber} has a face with corner "${word}", but ${vertices} vertices precede it`,
        remedy,
      );
    }
  }
}
