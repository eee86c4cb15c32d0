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
  const tables = new RowTables();
  global.DOMParser = class {
    parseFromString(text: string, type: string): Document {
      const document = new XmlParser().parseFromString(tables.takeFrom(text), type);
      parsed(document);
      return document;
    }
  };
  const prototypes = [Element.prototype, Document.prototype] as unknown as Selecting[];
  for (const prototype of prototypes) {
    prototype.querySelectorAll = function (selector) {
      const tags = selector.split(' ');
      return tables.rowsOf(this, tags) ?? descendants(this, tags);
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

/**
 * The long lists of a mesh, kept out of the document: a million triangles as elements would take more
 * memory than a process has.
 */
class RowTables {
  private readonly tables: Row[][] = [];
  private static readonly rowTags: Record<string, string> = {
    vertices: 'vertex',
    triangles: 'triangle',
  };

  /** The text with each list replaced by an empty element that names it. */
  takeFrom(text: string): string {
    const kept: string[] = [];
    let end = 0;
    const opening = /<(vertices|triangles)\b[^>]*?(\/?)>/g;
    for (let match = opening.exec(text); match !== null; match = opening.exec(text)) {
      const [tag, list, selfClosed] = match;
      const close = text.indexOf(`</${list}>`, opening.lastIndex);
      if (selfClosed !== '' || close === -1) continue;
      const rows = text.slice(match.index + tag.length, close);
      kept.push(text.slice(end, match.index), `<${list} table="${this.tables.length}"/>`);
      this.tables.push(rowsIn(rows, RowTables.rowTags[list]));
      end = close + list.length + 3;
      opening.lastIndex = end;
    }
    return kept.join('') + text.slice(end);
  }

  /** The rows of the lists below `root`, if the selector asks for rows. */
  rowsOf(root: Node, [list, row]: string[]): Row[] | undefined {
    if (row === undefined || RowTables.rowTags[list] !== row) return undefined;
    return descendants(root, [list]).flatMap(
      (element) => this.tables[Number((element as Element).getAttribute('table') ?? -1)] ?? [],
    );
  }
}

function rowsIn(text: string, tag: string): Row[] {
  const rows: Row[] = [];
  const element = new RegExp(`<${tag}\\b[^>]*>`, 'g');
  for (let match = element.exec(text); match !== null; match = element.exec(text)) {
    rows.push(new Row(match[0]));
  }
  return rows;
}

/** As much of an element as the loader asks of a vertex or a triangle. */
class Row {
  private static readonly attributes = new Map<string, RegExp>();

  constructor(private readonly tag: string) {}

  getAttribute(name: string): string | null {
    let attribute = Row.attributes.get(name);
    if (attribute === undefined) {
      attribute = new RegExp(`\\s${name}\\s*=\\s*["']([^"']*)["']`);
      Row.attributes.set(name, attribute);
    }
    return attribute.exec(this.tag)?.[1] ?? null;
  }
}

interface Selecting extends Node {
  querySelectorAll?(selector: string): (Node | Row)[];
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
