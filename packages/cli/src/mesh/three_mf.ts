import { Document, Element, type Node, DOMParser as XmlParser } from '@xmldom/xmldom';
import { ThreeMFLoader } from 'three/addons/loaders/3MFLoader.js';
import { MeshError, messageOf } from '../errors.js';
import { quietly, trianglesOfTree } from './three_geometry.js';
import { scaled, type Triangles } from './triangles.js';

const millimetresPerUnit: Record<string, number> = {
  micron: 0.001,
  millimeter: 1,
  centimeter: 10,
  inch: 25.4,
  foot: 304.8,
  meter: 1000,
};

/** The build items of a 3MF archive, each where its transform puts it, in millimetres. */
export function parse3mf(bytes: Uint8Array<ArrayBuffer>): Triangles {
  if (!hasZipDirectory(bytes)) {
    throw new MeshError(
      'the 3MF archive is cut off: the directory at its end is missing',
      'Copy or export it again',
    );
  }
  let unit = 'millimeter';
  const restore = provideDomParser((document) => {
    const root = document.documentElement;
    if (root?.nodeName === 'model') unit = root.getAttribute('unit') || unit;
  });
  let triangles: Triangles;
  try {
    triangles = trianglesOfTree(quietly(() => new ThreeMFLoader().parse(bytes.buffer)));
  } catch (error) {
    throw new MeshError(
      `the 3MF archive can't be read (${messageOf(error).split('\n')[0]})`,
      'It is damaged or holds no printable model; export it again',
    );
  } finally {
    restore();
  }
  if (!(unit in millimetresPerUnit)) {
    throw new MeshError(`the 3MF's unit "${unit}" is unknown`, 'Export it in millimetres');
  }
  return unit === 'millimeter' ? triangles : scaled(triangles, millimetresPerUnit[unit]);
}

/** A zip archive ends with its directory's end record and a comment of at most 65,535 bytes. */
function hasZipDirectory(bytes: Uint8Array): boolean {
  const tail = Buffer.from(bytes.buffer, bytes.byteOffset, bytes.byteLength).subarray(-65557);
  return tail.lastIndexOf('PK\x05\x06', undefined, 'latin1') !== -1;
}

/**
 * The loader was written for browsers: it asks for a global DOMParser and for querySelector with tag
 * names only. Gives it both for the time of one parse; the returned function takes them away again.
 */
function provideDomParser(parsed: (document: Document) => void): () => void {
  const global = globalThis as { DOMParser?: unknown };
  const before = global.DOMParser;
  global.DOMParser = class {
    parseFromString(text: string, type: string): Document {
      const document = new XmlParser().parseFromString(text, type);
      parsed(document);
      return document;
    }
  };
  const prototypes = [Element.prototype, Document.prototype] as unknown as Selecting[];
  for (const prototype of prototypes) {
    prototype.querySelectorAll = function (selector) {
      return descendants(this, selector.split(' '));
    };
    prototype.querySelector = function (selector) {
      return descendants(this, selector.split(' '))[0] ?? null;
    };
  }
  return () => {
    if (before === undefined) delete global.DOMParser;
    else global.DOMParser = before;
    for (const prototype of prototypes) {
      delete prototype.querySelectorAll;
      delete prototype.querySelector;
    }
  };
}

interface Selecting extends Node {
  querySelectorAll?(selector: string): Node[];
  querySelector?(selector: string): Node | null;
}

/** Elements named by the last of `tags`, each below an element of every earlier tag. */
function descendants(root: Node, [tag, ...rest]: string[]): Node[] {
  const found: Node[] = [];
  const visit = (node: Node): void => {
    for (let child = node.firstChild; child !== null; child = child.nextSibling) {
      if (child.nodeName === tag) {
        if (rest.length === 0) found.push(child);
        else found.push(...descendants(child, rest));
      }
      visit(child);
    }
  };
  visit(root);
  return found;
}
