import {
  BufferAttribute,
  BufferGeometry,
  CircleGeometry,
  Color,
  DirectionalLight,
  DoubleSide,
  FrontSide,
  Group,
  HemisphereLight,
  LineBasicMaterial,
  LineSegments,
  Mesh,
  MeshBasicMaterial,
  MeshLambertMaterial,
  Plane,
  Scene,
  Vector3,
} from 'three';
import type { ScaffoldIndex } from '../../src/document.js';
import type { GridMesh } from '../../src/mesh_codec.js';
import type { RingPairs } from '../../src/scaffold_codec.js';
import type { Palette } from '../palette.js';
import type { ViewedPart } from '../part.js';
import { CutFace } from './cut_face.js';
import { Frame } from './frame.js';
import { PointMarks } from './point_marks.js';
import { ScaffoldMesh } from './scaffold_mesh.js';
import { type ShadedSurface, shadedSurface } from './surface.js';

const gridSteps = 65_535;

/** How dense what lies above the cut is. */
const ghost = 0.2;

/** A part of the mesh: its tints, and the colours that follow from them. */
interface Piece {
  tints: Float32Array;
  colours: BufferAttribute;
}

/** The part over its plate in three dimensions, in mm, its box centred on x = y = 0, the plate at z = 0. */
export class PartScene {
  readonly scene = new Scene();
  /** mm, from the plate on. */
  readonly size: Vector3;
  readonly frame: Frame;
  readonly marks: PointMarks;
  readonly cutFace: CutFace;
  private readonly scaffold = new ScaffoldMesh();
  /** To be seen from above only. */
  readonly plate: Group;
  private readonly below = new Plane(new Vector3(0, 0, -1), 0);
  private readonly above = new Plane(new Vector3(0, 0, 1), 0);
  private readonly solid = new MeshLambertMaterial({ side: DoubleSide, vertexColors: true });
  private readonly hint = new MeshLambertMaterial({
    transparent: true,
    opacity: ghost,
    depthWrite: false,
    side: FrontSide,
  });
  /** Lets only the nearest surface of the hint be seen, not all that lie behind each other. */
  private readonly hintDepth = new MeshBasicMaterial({
    transparent: true,
    colorWrite: false,
    side: FrontSide,
  });
  private readonly hints = new Group();
  private readonly plateFace = new MeshBasicMaterial({ side: FrontSide });
  private readonly plateLines = new LineBasicMaterial();
  private readonly light = new DirectionalLight(0xffffff, 1.7);
  private readonly sky = new HemisphereLight(0xffffff, 0xb4bdc8, 1.6);
  private readonly pieces: Piece[] = [];
  private palette: Palette | null = null;
  private isTinted = true;

  constructor(private readonly part: ViewedPart) {
    const { min, max, plateZ } = part;
    this.size = new Vector3(max[0] - min[0], max[1] - min[1], max[2] - plateZ);
    this.frame = new Frame(this.size);
    this.marks = new PointMarks(part, this.size.length());
    this.cutFace = new CutFace(part);
    this.plate = this.makePlate();
    this.scene.add(this.light, this.light.target, this.sky, this.plate);
    this.scene.add(this.marks.group, this.cutFace.mesh, this.scaffold.group, this.frame.lines);
    this.scene.add(this.hints);
  }

  /** Takes the mesh in, which comes later than the rest, in steps that leave time for others between. */
  *takeMesh(mesh: GridMesh): Generator<void> {
    const { settings } = this.part.document.part;
    const { criticalAngle = 45 } = (settings ?? {}) as { criticalAngle?: number };
    const { min, max } = this.part;
    const scale = max.map((top, axis) => (top - min[axis]) / gridSteps);
    for (const surface of shadedSurface(mesh, scale, criticalAngle)) {
      if (surface !== undefined) this.addPiece(surface);
      yield;
    }
  }

  private addPiece({ positions, normals, tints }: ShadedSurface): void {
    for (let i = 0; i < positions.length; i += 3) {
      positions[i] -= this.size.x / 2;
      positions[i + 1] -= this.size.y / 2;
      positions[i + 2] += this.part.lift;
    }
    const colours = new BufferAttribute(new Float32Array(positions.length), 3);
    const geometry = new BufferGeometry()
      .setAttribute('position', new BufferAttribute(positions, 3))
      .setAttribute('normal', new BufferAttribute(normals, 3))
      .setAttribute('color', colours);
    const depth = new Mesh(geometry, this.hintDepth);
    const hint = new Mesh(geometry, this.hint);
    depth.renderOrder = 1;
    hint.renderOrder = 2;
    this.hints.add(depth, hint);
    this.scene.add(new Mesh(geometry, this.solid));
    const piece = { tints, colours };
    this.pieces.push(piece);
    this.paint([piece]);
  }

  /** Takes the supports in as they are built, which come later, too. */
  setScaffold(
    { pairs, raft }: { pairs: RingPairs; raft?: GridMesh },
    { raft: section }: ScaffoldIndex,
  ): void {
    const { min, max, plateZ } = this.part;
    const offset = [-(min[0] + max[0]) / 2, -(min[1] + max[1]) / 2, -plateZ] as const;
    this.scaffold.setPieces(pairs, offset);
    if (raft === undefined || section === undefined) return;
    const scale = section.max.map((top, axis) => (top - section.min[axis]) / gridSteps);
    const origin = section.min.map((value, axis) => value + offset[axis]);
    this.scaffold.setRaft(raft, scale, origin);
  }

  showScaffold(isShown: boolean): void {
    this.scaffold.group.visible = isShown;
  }

  /** Cuts the part open above `z`, mm above the plate; null leaves it whole. */
  cut(z: number | null): void {
    this.solid.clippingPlanes = z === null ? [] : [this.below];
    this.scaffold.cut(z === null ? [] : [this.below]);
    this.hint.clippingPlanes = [this.above];
    this.hintDepth.clippingPlanes = [this.above];
    this.hints.visible = z !== null;
    this.cutFace.mesh.visible = z !== null;
    if (z === null) return;
    this.below.constant = z;
    this.above.constant = -z;
    this.cutFace.mesh.position.z = z;
  }

  setPalette(palette: Palette): void {
    this.palette = palette;
    this.plateFace.color.set(palette.plate);
    this.plateLines.color.set(palette.plateLines);
    this.frame.setPalette(palette);
    this.hint.color.set(palette.part);
    this.marks.setPalette(palette);
    this.scaffold.setPalette(palette);
    this.paint();
  }

  setTinted(isTinted: boolean): void {
    if (isTinted === this.isTinted) return;
    this.isTinted = isTinted;
    this.paint();
  }

  /** The light comes from beside who looks. */
  lightFrom(direction: Vector3, right: Vector3, up: Vector3): void {
    this.light.position.copy(direction).addScaledVector(right, -0.45).addScaledVector(up, 0.55);
  }

  private paint(pieces: readonly Piece[] = this.pieces): void {
    if (this.palette === null) return;
    const plain = new Color(this.palette.part);
    const tint = this.isTinted ? new Color(this.palette.tint) : plain;
    for (const { tints, colours } of pieces) {
      for (let corner = 0; corner < tints.length; corner++) {
        const { r, g, b } = tints[corner] > 0 ? tint : plain;
        colours.setXYZ(corner, r, g, b);
      }
      colours.needsUpdate = true;
    }
  }

  /** A disc with lines, every 10 mm mostly. */
  private makePlate(): Group {
    const { half } = this.frame;
    const radius = 1.44 * Math.hypot(half.x, half.y);
    const disc = new Mesh(new CircleGeometry(radius, 96), this.plateFace);
    disc.position.z = -0.002 * radius;
    const ends: number[] = [];
    const step = radius > 200 ? 50 : 10;
    for (let at = -Math.floor(radius / step) * step; at <= radius; at += step) {
      const half = Math.sqrt(Math.max(0, radius ** 2 - at ** 2));
      ends.push(at, -half, 0, at, half, 0, -half, at, 0, half, at, 0);
    }
    const lines = new LineSegments(
      new BufferGeometry().setAttribute(
        'position',
        new BufferAttribute(Float32Array.from(ends), 3),
      ),
      this.plateLines,
    );
    lines.position.z = -0.001 * radius;
    return new Group().add(disc, lines);
  }
}
