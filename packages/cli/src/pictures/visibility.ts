/** Samples along a side of a pixel: edges are smoothed over them. */
export const fine = 2;

/** The surface number of what lies behind everything. */
export const nothing = -1;

/** Which surface is in front, and how far away, at each sample of a picture. */
export class Visibility {
  /** Millimetres along the line of sight, Infinity where there is nothing. */
  readonly depth: Float32Array;
  readonly surface: Int32Array;

  constructor(
    readonly width: number,
    readonly height: number,
  ) {
    this.depth = new Float32Array(width * height).fill(Infinity);
    this.surface = new Int32Array(width * height).fill(nothing);
  }

  /**
   * Triangles of nine floats: column, row and depth of their corners. They are surfaces `first`,
   * `first + 1` and so on. Neighbours leave no gap: each sample's centre lies in one of them.
   */
  drawTriangles(corners: Float32Array, first: number): void {
    for (let i = 0, surface = first; i < corners.length; i += 9, surface++) {
      this.drawTriangle(corners, i, surface);
    }
  }

  /** The same for triangles that are one surface. */
  drawSurface(corners: Float32Array, surface: number): void {
    for (let i = 0; i < corners.length; i += 9) this.drawTriangle(corners, i, surface);
  }

  private drawTriangle(corners: Float32Array, i: number, surface: number): void {
    const { width, depth, surface: surfaces } = this;
    // From the lowest row to the highest, so that neighbours compute their common edge alike.
    let a = i;
    let b = i + 3;
    let c = i + 6;
    if (corners[b + 1] < corners[a + 1]) [a, b] = [b, a];
    if (corners[c + 1] < corners[b + 1]) [b, c] = [c, b];
    if (corners[b + 1] < corners[a + 1]) [a, b] = [b, a];
    const ax = corners[a];
    const ay = corners[a + 1];
    const az = corners[a + 2];
    const bx = corners[b];
    const by = corners[b + 1];
    const cx = corners[c];
    const cy = corners[c + 1];
    const firstRow = Math.max(0, Math.ceil(ay - 0.5));
    const endRow = Math.min(this.height, Math.ceil(cy - 0.5));
    if (firstRow >= endRow) return;
    const area = (bx - ax) * (cy - ay) - (by - ay) * (cx - ax);
    if (area === 0) return;

    const bz = corners[b + 2] - az;
    const cz = corners[c + 2] - az;
    const perColumn = (bz * (cy - ay) - cz * (by - ay)) / area;
    const perRow = (cz * (bx - ax) - bz * (cx - ax)) / area;
    const longSlope = (cx - ax) / (cy - ay);
    const lowSlope = (bx - ax) / (by - ay);
    const highSlope = (cx - bx) / (cy - by);
    for (let row = firstRow; row < endRow; row++) {
      const y = row + 0.5;
      const long = ax + (y - ay) * longSlope;
      const short = y < by ? ax + (y - ay) * lowSlope : bx + (y - by) * highSlope;
      const begin = Math.max(0, Math.ceil((long < short ? long : short) - 0.5));
      const end = Math.min(width, Math.ceil((long < short ? short : long) - 0.5));
      let at = az + (begin + 0.5 - ax) * perColumn + (y - ay) * perRow;
      for (let sample = row * width + begin; sample < row * width + end; sample++) {
        if (at < depth[sample]) {
          depth[sample] = at;
          surfaces[sample] = surface;
        }
        at += perColumn;
      }
    }
  }
}
