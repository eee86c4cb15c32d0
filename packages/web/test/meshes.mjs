export { binaryStl, box, footAndIsland, table } from '../../cli/test/meshes.mjs';

const rings = 60;
const segments = 120;

/** A ball of 40 mm with bumps, which takes a while: three corners a triangle. */
export function bumpyBall() {
  const corner = (ring, segment) => {
    const polar = (Math.PI * ring) / rings;
    const around = (2 * Math.PI * (segment % segments)) / segments;
    const radius = 20 + 1.5 * Math.sin(9 * polar) * Math.cos(7 * around);
    const across = ring === 0 || ring === rings ? 0 : radius * Math.sin(polar);
    const height = ring === 0 ? 20 : ring === rings ? -20 : radius * Math.cos(polar);
    return [across * Math.cos(around), across * Math.sin(around), height];
  };
  const triangles = [];
  for (let ring = 0; ring < rings; ring++) {
    for (let segment = 0; segment < segments; segment++) {
      const [a, b] = [corner(ring, segment), corner(ring, segment + 1)];
      const [c, d] = [corner(ring + 1, segment), corner(ring + 1, segment + 1)];
      if (ring > 0) triangles.push([a, c, b]);
      if (ring < rings - 1) triangles.push([b, c, d]);
    }
  }
  return triangles;
}
