import {
  BoxGeometry,
  type BufferGeometry,
  Group,
  InstancedMesh,
  Matrix4,
  Mesh,
  MeshBasicMaterial,
  MeshLambertMaterial,
  OctahedronGeometry,
  SphereGeometry,
  TorusGeometry,
  Vector3,
} from 'three';
import { type Mark, markColour, markOf, marks } from '../marks.js';
import type { Palette } from '../palette.js';
import type { ViewedPart } from '../part.js';

/** The points in the scene: rhombs under islands, balls under overhangs, cubes for added ones. */
export class PointMarks {
  readonly group = new Group();
  /** Of each point, in mm of the scene. */
  readonly places: readonly Vector3[];
  readonly radius: number;
  private readonly materials = {
    island: new MeshLambertMaterial(),
    overhang: new MeshLambertMaterial(),
    added: new MeshLambertMaterial(),
  };
  private readonly ringMaterial = new MeshBasicMaterial({ depthTest: false, transparent: true });
  private readonly meshes: Record<Mark, InstancedMesh>;
  private readonly indices: Record<Mark, number[]> = { island: [], overhang: [], added: [] };
  private readonly ring: Mesh;

  constructor(
    private readonly part: ViewedPart,
    diagonal: number,
  ) {
    const { points, min, max, plateZ } = part;
    const [middleX, middleY] = [(min[0] + max[0]) / 2, (min[1] + max[1]) / 2];
    this.places = points.map(({ x, y, z }) => new Vector3(x - middleX, y - middleY, z - plateZ));
    this.radius = Math.max(0.007 * diagonal, 0.05);
    // By layer, so that those up to one are the first ones.
    const order = points.map((_, index) => index).sort((a, b) => points[a].layer - points[b].layer);
    for (const index of order) this.indices[markOf(points[index])]?.push(index);
    const cube = 1.7 * this.radius;
    const shapes: Record<Mark, BufferGeometry> = {
      island: new OctahedronGeometry(1.45 * this.radius),
      overhang: new SphereGeometry(this.radius, 20, 14),
      added: new BoxGeometry(cube, cube, cube),
    };
    const [island, overhang, added] = marks.map((mark) => {
      const list = this.indices[mark];
      const mesh = new InstancedMesh(shapes[mark], this.materials[mark], list.length);
      list.forEach((index, i) => {
        const { x, y, z } = this.places[index];
        mesh.setMatrixAt(i, new Matrix4().makeTranslation(x, y, z));
      });
      // Their box is that of the part.
      mesh.frustumCulled = false;
      this.group.add(mesh);
      return mesh;
    });
    this.meshes = { island, overhang, added };
    this.ring = new Mesh(
      new TorusGeometry(2.2 * this.radius, 0.28 * this.radius, 10, 40),
      this.ringMaterial,
    );
    this.ring.visible = false;
    this.ring.renderOrder = 10;
    this.group.add(this.ring);
  }

  setPalette(palette: Palette): void {
    // They glow a little: most hang where the light does not reach.
    for (const mark of marks) {
      const colour = markColour(mark, palette);
      this.materials[mark].color.set(colour);
      this.materials[mark].emissive.set(colour).multiplyScalar(0.45);
    }
    this.ringMaterial.color.set(palette.accent);
  }

  /** Shows the points up to a layer. */
  showUpTo(layer: number): void {
    const { points } = this.part;
    const countUpTo = (list: readonly number[]): number => {
      const end = list.findIndex((index) => points[index].layer > layer);
      return end < 0 ? list.length : end;
    };
    for (const mark of marks) this.meshes[mark].count = countUpTo(this.indices[mark]);
  }

  /** Rings a place of the scene, or none. */
  ringAt(place: Vector3 | null): void {
    this.ring.visible = place !== null;
    if (place !== null) this.ring.position.copy(place);
  }

  /** The ring looks at who looks at it. */
  face(eye: Vector3): void {
    this.ring.lookAt(eye);
  }
}
