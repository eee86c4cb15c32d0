import {
  BufferAttribute,
  BufferGeometry,
  DoubleSide,
  Group,
  InstancedBufferGeometry,
  InstancedInterleavedBuffer,
  InterleavedBufferAttribute,
  Mesh,
  MeshLambertMaterial,
  type Plane,
} from 'three';
import type { GridMesh } from '../../src/mesh_codec.js';
import type { RingPairs } from '../../src/scaffold_codec.js';
import type { Palette } from '../palette.js';
import { shadedSurface } from './surface.js';

/** Of a ring; of very many fewer do, for nobody sees them all from near. */
const sides = 16;
const sidesOfMany = 8;
const many = 1_000;

/** Supports as they are built: pieces between level rings, drawn as one shape in many places, and a raft. */
export class ScaffoldMesh {
  readonly group = new Group();
  private readonly material = new MeshLambertMaterial({ side: DoubleSide });
  private readonly raftMaterial = new MeshLambertMaterial({ side: DoubleSide });

  constructor() {
    this.material.onBeforeCompile = (shader) => {
      shader.vertexShader = shader.vertexShader
        .replace('#include <common>', `#include <common>\n${declarations}`)
        .replace('#include <beginnormal_vertex>', normalOfPiece)
        .replace('#include <begin_vertex>', placeOnPiece);
      shader.fragmentShader = capped(shader.fragmentShader);
    };
    this.raftMaterial.onBeforeCompile = (shader) => {
      shader.fragmentShader = capped(shader.fragmentShader);
    };
  }

  /** Pieces from ring to ring, mm; they move by `offset` into the scene. */
  setPieces(pairs: RingPairs, [x, y, z]: readonly [number, number, number]): void {
    const count = pairs.length / 8;
    const geometry = new InstancedBufferGeometry();
    const unit = unitPiece(count > many ? sidesOfMany : sides);
    geometry.setIndex(unit.index);
    geometry.setAttribute('position', unit.positions);
    const buffer = new InstancedInterleavedBuffer(
      pairs.map((value, i) => value + [x, y, z, 0][i % 4]),
      8,
    );
    geometry.setAttribute('low', new InterleavedBufferAttribute(buffer, 4, 0));
    geometry.setAttribute('high', new InterleavedBufferAttribute(buffer, 4, 4));
    geometry.instanceCount = count;
    this.add(geometry, this.material);
  }

  /** scale: mm for a step of the grid along each axis; `origin`: of the grid, in the scene. */
  setRaft(mesh: GridMesh, scale: readonly number[], origin: readonly number[]): void {
    for (const surface of shadedSurface(mesh, scale, 0)) {
      if (surface === undefined) continue;
      const geometry = new BufferGeometry()
        .setAttribute('position', new BufferAttribute(surface.positions, 3))
        .setAttribute('normal', new BufferAttribute(surface.normals, 3))
        .translate(origin[0], origin[1], origin[2]);
      this.add(geometry, this.raftMaterial);
    }
  }

  setPalette({ support }: Palette): void {
    this.material.color.set(support);
    this.raftMaterial.color.set(support);
  }

  /** Shows what lies on one side of the planes: what is printed by then. */
  cut(planes: Plane[]): void {
    this.material.clippingPlanes = planes;
    this.raftMaterial.clippingPlanes = planes;
  }

  private add(geometry: BufferGeometry, material: MeshLambertMaterial): void {
    const mesh = new Mesh(geometry, material);
    // The box of the shape is not that of its places.
    mesh.frustumCulled = false;
    this.group.add(mesh);
  }
}

/** A tube of radius 1 from z = 0 to 1. */
function unitPiece(around: number): { positions: BufferAttribute; index: BufferAttribute } {
  const positions: number[] = [];
  const index: number[] = [];
  for (let side = 0; side < around; side++) {
    const angle = (2 * Math.PI * side) / around;
    const [x, y] = [Math.cos(angle), Math.sin(angle)];
    positions.push(x, y, 0, x, y, 1);
    const [low, next] = [2 * side, 2 * ((side + 1) % around)];
    index.push(low, next, next + 1, low, next + 1, low + 1);
  }
  return {
    positions: new BufferAttribute(Float32Array.from(positions), 3),
    index: new BufferAttribute(Uint16Array.from(index), 1),
  };
}

const declarations = `
attribute vec4 low;
attribute vec4 high;`;

const placeOnPiece = `
vec4 ring = mix(low, high, position.z);
vec3 transformed = vec3(ring.xy + ring.w * position.xy, ring.z);`;

/** Across the line from ring to ring and the ring itself. */
const normalOfPiece = `
vec4 rise = high - low;
vec3 objectNormal = normalize(vec3(position.xy * rise.z, -dot(rise.xy, position.xy) - rise.w));`;

/** Where it is cut one sees its inside: lit as the face of the cut, it looks filled. */
function capped(fragmentShader: string): string {
  return fragmentShader.replace(
    '#include <normal_fragment_begin>',
    `#include <normal_fragment_begin>
if (!gl_FrontFacing) normal = normalize((viewMatrix * vec4(0.0, 0.0, 1.0, 0.0)).xyz);`,
  );
}
