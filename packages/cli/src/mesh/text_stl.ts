import { STLLoader } from 'three/addons/loaders/STLLoader.js';
import { MeshError } from '../errors.js';
import { decodeText, lineNumberAt } from './text.js';
import { quietly, trianglesOf } from './three_geometry.js';
import type { Triangles } from './triangles.js';

const number = '[+-]?(?:\\d+\\.?\\d*|\\.\\d+)(?:[eE][+-]?\\d+)?';
const wholeVertex = new RegExp(`vertex\\s+${number}\\s+${number}\\s+${number}(?=\\s)`, 'y');

function occurrences(text: string, word: RegExp): number {
  let count = 0;
  while (word.exec(text) !== null) count++;
  return count;
}

export function parseTextStl(bytes: Uint8Array<ArrayBuffer>): Triangles {
  const text = decodeText(bytes);
  const corners = /\bvertex\b/g;
  let cornerCount = 0;
  for (let match = corners.exec(text); match !== null; match = corners.exec(text)) {
    wholeVertex.lastIndex = match.index;
    if (!wholeVertex.test(text)) {
      throw new MeshError(
        `line ${lineNumberAt(text, match.index)} of the text STL has a vertex without three numbers`,
        'The file is cut off or damaged; copy or export it again',
      );
    }
    cornerCount++;
  }
  const facets = occurrences(text, /\bendfacet\b/g);
  if (occurrences(text, /^\s*facet\b/gm) !== facets || !/\bendsolid\b/.test(text.slice(-1000))) {
    throw new MeshError(
      `the text STL is cut off after ${facets} whole triangles: its last "endsolid" is missing`,
      'Copy or export it again',
    );
  }
  if (cornerCount !== 3 * facets) {
    throw new MeshError(
      `the text STL has ${facets} facets but ${cornerCount} vertices, three each were expected`,
      'Export it again as triangles',
    );
  }
  // The loader takes a text this short for a damaged binary file.
  if (facets === 0) return new Float32Array(0);
  return trianglesOf(quietly(() => new STLLoader().parse(bytes.buffer)));
}
