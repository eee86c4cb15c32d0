import type { Triangles } from 'stiltforge/slicing';
import type { Breather } from '../breather.js';

/** Triangles as numbers of corners, each position counted once, in the order in which they come. */
export interface IndexedMesh {
  /** x, y, z of each corner. */
  vertices: Float32Array;
  /** Three corners a triangle. Triangles with two corners at one position are left out. */
  triangles: Uint32Array;
}

const free = 0xffffffff;

/** Numbers between two breaths. */
const atOnce = 9 * 4096;

/** Throws what the breather does. */
export async function indexedMesh(positions: Triangles, breather: Breather): Promise<IndexedMesh> {
  const corners = new CornerTable(positions);
  const triangles = new Uint32Array(positions.length / 3);
  let used = 0;
  for (let i = 0; i < positions.length; i += 9) {
    if (i % atOnce === 0) await breather.breathe();
    const a = corners.numberOf(i);
    const b = corners.numberOf(i + 3);
    const c = corners.numberOf(i + 6);
    if (a === b || b === c || c === a) continue;
    triangles[used++] = a;
    triangles[used++] = b;
    triangles[used++] = c;
  }
  return { vertices: corners.vertices(), triangles: triangles.subarray(0, used) };
}

/** Numbers positions by an open hash table over their bits. */
class CornerTable {
  /** Where in the positions each corner was first seen. */
  private firsts = new Uint32Array(1024);
  private count = 0;
  private slots = new Uint32Array(2048).fill(free);

  constructor(private readonly positions: Triangles) {}

  /** Of the position whose x stands at index `at`. */
  numberOf(at: number): number {
    const { positions, firsts, slots } = this;
    const mask = slots.length - 1;
    for (let slot = this.hashOf(at) & mask; ; slot = (slot + 1) & mask) {
      const number = slots[slot];
      if (number === free) return this.added(at, slot);
      const first = firsts[number];
      if (
        positions[first] === positions[at] &&
        positions[first + 1] === positions[at + 1] &&
        positions[first + 2] === positions[at + 2]
      ) {
        return number;
      }
    }
  }

  vertices(): Float32Array {
    const vertices = new Float32Array(3 * this.count);
    for (let i = 0; i < this.count; i++) {
      const first = this.firsts[i];
      // Adding 0 leaves no -0, which some readers of numbers take for a mistake.
      for (let axis = 0; axis < 3; axis++)
        vertices[3 * i + axis] = this.positions[first + axis] + 0;
    }
    return vertices;
  }

  private added(at: number, slot: number): number {
    const number = this.count++;
    this.slots[slot] = number;
    this.firsts[number] = at;
    if (this.count === this.firsts.length) this.grow();
    return number;
  }

  private grow(): void {
    const firsts = new Uint32Array(2 * this.firsts.length);
    firsts.set(this.firsts);
    this.firsts = firsts;
    this.slots = new Uint32Array(2 * this.slots.length).fill(free);
    const mask = this.slots.length - 1;
    for (let number = 0; number < this.count; number++) {
      let slot = this.hashOf(firsts[number]) & mask;
      while (this.slots[slot] !== free) slot = (slot + 1) & mask;
      this.slots[slot] = number;
    }
  }

  private hashOf(at: number): number {
    let hash = 0;
    for (let axis = 0; axis < 3; axis++) {
      bits.float[0] = this.positions[at + axis] + 0;
      hash = Math.imul(hash ^ bits.integer[0], 0x9e3779b1);
      hash ^= hash >>> 15;
    }
    return hash >>> 0;
  }
}

const bits = (() => {
  const float = new Float32Array(1);
  return { float, integer: new Int32Array(float.buffer) };
})();
