import type { Triangles } from 'stiltforge/slicing';

const floatsPerTriangle = 9;
const floatsPerCorner = 3;

/** The mesh with these of its triangles, by number, turned around; itself where there are none. */
export function turnedBack(mesh: Triangles, triangles: Uint32Array): Triangles {
  if (triangles.length === 0) return mesh;
  const turned = mesh.slice();
  for (const triangle of triangles) {
    const second = floatsPerTriangle * triangle + floatsPerCorner;
    const third = second + floatsPerCorner;
    turned.set(mesh.subarray(third, third + floatsPerCorner), second);
    turned.set(mesh.subarray(second, third), third);
  }
  return turned;
}
