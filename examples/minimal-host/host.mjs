// The least that a program in Node does: a mesh in, support points out.
// Usage: node host.mjs part.stl
import { defaultPrint, defaultSupport, loadMesh, placeSupports } from 'stiltforge-cli';

const [name] = process.argv.slice(2);
const { positions: mesh } = await loadMesh(name);
const { document } = await placeSupports({
  ...{ name, mesh },
  print: defaultPrint,
  support: defaultSupport,
});
for (const sentence of document.model.warnings) console.error(sentence);
for (const { x, y, z, kind } of document.supports) console.log(x, y, z, kind);
