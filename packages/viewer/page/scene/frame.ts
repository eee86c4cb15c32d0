import { BoxGeometry, EdgesGeometry, LineBasicMaterial, LineSegments, Vector3 } from 'three';
import type { Palette } from '../palette.js';

/** A part that is thinner in two directions, as a share of its longest, is a line in the picture. */
const slender = 0.06;

/** The box that is kept in the picture. It is drawn around a part that is a mere line there, to be found. */
export class Frame {
  /** mm from its middle to its sides; it stands on the plate. */
  readonly half: Vector3;
  readonly lines: LineSegments<EdgesGeometry, LineBasicMaterial>;

  /** size: mm, of the part over its plate. */
  constructor(size: Vector3) {
    const least = slender * Math.max(...size.toArray());
    this.half = new Vector3(...size.toArray().map((side) => Math.max(side, least) / 2));
    const box = new BoxGeometry(...this.half.clone().multiplyScalar(2).toArray());
    this.lines = new LineSegments(new EdgesGeometry(box), new LineBasicMaterial());
    this.lines.position.z = this.half.z;
    this.lines.visible = size.toArray().filter((side) => side < least).length > 1;
  }

  setPalette(palette: Palette): void {
    this.lines.material.color.set(palette.outline);
  }
}
