import { VarintReader, VarintWriter } from './varint.js';

/** A mesh on a grid: corner c lies at min + step * grid coordinate along each axis. */
export interface GridMesh {
  /** Three whole numbers a vertex, 0 to 65535. */
  corners: Uint16Array;
  /** Three vertices a triangle, counter-clockwise from outside. */
  triangles: Uint32Array;
}

/**
 * The mesh as bytes, which deflate shrinks further: vertices in the order in which triangles first use
 * them, each as what it differs by from the one before.
 */
export function encodeMesh({ corners, triangles }: GridMesh): {
  bytes: Uint8Array<ArrayBuffer>;
  vertices: number;
} {
  const order: number[] = [];
  const place = new Map<number, number>();
  const writer = new VarintWriter();
  for (const vertex of triangles) {
    const known = place.get(vertex);
    // 0 stands for the next new vertex.
    writer.unsigned(known === undefined ? 0 : order.length - known);
    if (known !== undefined) continue;
    place.set(vertex, order.length);
    order.push(vertex);
  }
  for (let axis = 0; axis < 3; axis++) {
    let before = 0;
    for (const vertex of order) {
      const value = corners[3 * vertex + axis];
      writer.signed(value - before);
      before = value;
    }
  }
  return { bytes: writer.finish(), vertices: order.length };
}

/** Throws a RangeError for bytes that are none of encodeMesh(). */
export function decodeMesh(bytes: Uint8Array, vertices: number, triangleCount: number): GridMesh {
  const reader = new VarintReader(bytes);
  const triangles = new Uint32Array(3 * triangleCount);
  let known = 0;
  for (let i = 0; i < triangles.length; i++) {
    const back = reader.unsigned();
    if (back > known) throw new RangeError('the mesh of this page is damaged');
    triangles[i] = back === 0 ? known++ : known - back;
  }
  if (known !== vertices) throw new RangeError('the mesh of this page is damaged');
  const corners = new Uint16Array(3 * vertices);
  for (let axis = 0; axis < 3; axis++) {
    let value = 0;
    for (let vertex = 0; vertex < vertices; vertex++) {
      value += reader.signed();
      corners[3 * vertex + axis] = value;
    }
  }
  return { corners, triangles };
}
