import { PLYLoader } from 'three/addons/loaders/PLYLoader.js';
import { MeshError } from '../errors.js';
import { quietly, trianglesOf } from './three_geometry.js';
import type { Triangles } from './triangles.js';

const cutOff = 'It is cut off or damaged; copy or export it again';

const sizes: Record<string, number> = {
  char: 1,
  uchar: 1,
  int8: 1,
  uint8: 1,
  short: 2,
  ushort: 2,
  int16: 2,
  uint16: 2,
  int: 4,
  uint: 4,
  int32: 4,
  uint32: 4,
  float: 4,
  float32: 4,
  double: 8,
  float64: 8,
};

interface Property {
  name: string;
  type: string;
  /** Of a list: the type of the count that precedes its items. */
  countType?: string;
}

interface Element {
  name: string;
  count: number;
  properties: Property[];
}

interface Header {
  format: string;
  elements: Element[];
  /** Offset of the first byte after the header. */
  end: number;
}

export function parsePly(bytes: Uint8Array<ArrayBuffer>): Triangles {
  const header = readHeader(bytes);
  const next = header.format === 'ascii' ? textReader(bytes, header) : binaryReader(bytes, header);
  for (const element of header.elements) checkElement(element, next);
  return trianglesOf(quietly(() => new PLYLoader().parse(bytes.buffer)));
}

function readHeader(bytes: Uint8Array): Header {
  const head = new TextDecoder('latin1').decode(bytes.subarray(0, 65536));
  const match = /^ply\r?\n([\s\S]*?)\bend_header(?:\r\n|\r|\n)/.exec(head);
  if (match === null) throw new MeshError('the PLY header has no "end_header" line', cutOff);
  const header: Header = { format: '', elements: [], end: match[0].length };
  for (const line of match[1].split(/\r\n|\r|\n/)) {
    const words = line.trim().split(/\s+/);
    if (words[0] === 'format') {
      header.format = words[1];
    } else if (words[0] === 'element') {
      header.elements.push({ name: words[1], count: Number(words[2]), properties: [] });
    } else if (words[0] === 'property') {
      const property =
        words[1] === 'list'
          ? { countType: words[2], type: words[3], name: words[4] }
          : { type: words[1], name: words[2] };
      const known = property.type in sizes && (property.countType ?? 'uchar') in sizes;
      if (!known || header.elements.length === 0) {
        throw new MeshError(`the PLY header has the line "${line.trim()}"`, cutOff);
      }
      header.elements[header.elements.length - 1].properties.push(property);
    }
  }
  if (!['ascii', 'binary_little_endian', 'binary_big_endian'].includes(header.format)) {
    throw new MeshError(
      `the PLY format "${header.format}" is unknown`,
      'Export it as ascii, binary_little_endian or binary_big_endian',
    );
  }
  return header;
}

/** Reads the next value of a type; undefined when the file ends before it. */
type Reader = (type: string) => number | undefined;

function textReader(bytes: Uint8Array, header: Header): Reader {
  const text = new TextDecoder('latin1').decode(bytes.subarray(header.end));
  const word = /\S+/g;
  return () => {
    const match = word.exec(text);
    return match === null ? undefined : Number(match[0]);
  };
}

function binaryReader(bytes: Uint8Array, header: Header): Reader {
  const view = new DataView(bytes.buffer, bytes.byteOffset, bytes.byteLength);
  const little = header.format === 'binary_little_endian';
  let at = header.end;
  return (type) => {
    const here = at;
    at += sizes[type];
    if (at > bytes.length) return undefined;
    switch (type) {
      case 'char':
      case 'int8':
        return view.getInt8(here);
      case 'uchar':
      case 'uint8':
        return view.getUint8(here);
      case 'short':
      case 'int16':
        return view.getInt16(here, little);
      case 'ushort':
      case 'uint16':
        return view.getUint16(here, little);
      case 'int':
      case 'int32':
        return view.getInt32(here, little);
      case 'uint':
      case 'uint32':
        return view.getUint32(here, little);
      case 'float':
      case 'float32':
        return view.getFloat32(here, little);
      default:
        return view.getFloat64(here, little);
    }
  };
}

/** The loader drops what it can't read without a word, so each element is walked through here. */
function checkElement(element: Element, next: Reader): void {
  // Nothing to read would never reach the end of the file.
  if (element.count > 0 && element.properties.length === 0) {
    throw new MeshError(`the PLY header announces a ${element.name} without properties`, cutOff);
  }
  for (let i = 0; i < element.count; i++) {
    for (const property of element.properties) {
      const items = property.countType === undefined ? 1 : next(property.countType);
      if (element.name === 'face' && /^vertex_ind(ex|ices)$/.test(property.name)) {
        if (items !== undefined && items !== 3 && items !== 4) {
          throw new MeshError(
            `face ${i} has ${items} corners, faces of 3 or 4 corners are read`,
            'Export the PLY as triangles',
          );
        }
      }
      for (let item = 0; item < (items ?? 1); item++) {
        const value = items === undefined ? undefined : next(property.type);
        if (value === undefined) {
          throw new MeshError(
            `the PLY ends in ${element.name} ${i} of the ${element.count} that its header announces`,
            cutOff,
          );
        }
        if (element.name === 'vertex' && /^[xyz]$/.test(property.name) && !Number.isFinite(value)) {
          throw new MeshError(
            `${property.name} of vertex ${i} is not a number`,
            'Repair the mesh in a modelling program and export it again',
          );
        }
      }
    }
  }
}
