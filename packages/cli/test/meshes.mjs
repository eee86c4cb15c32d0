// Small meshes in each format, made here.
import { strToU8, zipSync } from 'fflate';
import { faces } from '../../stiltforge/test/boxes.mjs';

/** The twelve triangles of a box, outward, as an array of three corners each; mm. */
export function box([x0, y0, z0], [x1, y1, z1]) {
  const corner = (i) => [i & 1 ? x1 : x0, i & 2 ? y1 : y0, i & 4 ? z1 : z0];
  return faces.flatMap(([a, b, c, d]) => [
    [corner(a), corner(b), corner(c)],
    [corner(a), corner(c), corner(d)],
  ]);
}

/** A plate, a post and a wide table on top of it: it hangs over on all sides. */
export function table() {
  return [
    ...box([0, 0, 0], [12, 12, 1]),
    ...box([5, 5, 0.5], [7, 7, 4]),
    ...box([0, 0, 3.5], [12, 12, 4.5]),
  ];
}

/** A foot on the plate and, beside it, a block that hangs in the air from 2 mm on: an island. */
export function footAndIsland() {
  return [...box([0, 0, 0], [4, 4, 3]), ...box([6, 0, 2], [10, 4, 3])];
}

/** A foot on the plate and, beside it, a steep spike that points down: its tip is a single pixel. */
export function footAndSpike() {
  const tip = [8, 2, 1];
  const [a, b, c, d] = [
    [7, 1, 4],
    [9, 1, 4],
    [9, 3, 4],
    [7, 3, 4],
  ];
  const sides = [
    [tip, b, a],
    [tip, c, b],
    [tip, d, c],
    [tip, a, d],
  ];
  return [...box([0, 0, 0], [4, 4, 4]), ...sides, [a, b, c], [a, c, d]];
}

export function binaryStl(triangles) {
  const bytes = Buffer.alloc(84 + 50 * triangles.length);
  bytes.writeUInt32LE(triangles.length, 80);
  triangles.flat(2).forEach((value, i) => {
    bytes.writeFloatLE(value, 84 + 50 * Math.floor(i / 9) + 12 + 4 * (i % 9));
  });
  return bytes;
}

export function textStl(triangles) {
  const facets = triangles.map(
    (corners) =>
      `facet normal 0 0 0\nouter loop\n${corners.map((c) => `vertex ${c.join(' ')}`).join('\n')}\nendloop\nendfacet`,
  );
  return `solid part\n${facets.join('\n')}\nendsolid part\n`;
}

export function obj(triangles) {
  const vertices = triangles.flat().map((c) => `v ${c.join(' ')}`);
  const faces = triangles.map((_, i) => `f ${3 * i + 1} ${3 * i + 2} ${3 * i + 3}`);
  return `${[...vertices, ...faces].join('\n')}\n`;
}

export function textPly(triangles) {
  const header = [
    'ply',
    'format ascii 1.0',
    `element vertex ${3 * triangles.length}`,
    'property float x',
    'property float y',
    'property float z',
    `element face ${triangles.length}`,
    'property list uchar int vertex_indices',
    'end_header',
  ];
  const vertices = triangles.flat().map((c) => c.join(' '));
  const faces = triangles.map((_, i) => `3 ${3 * i} ${3 * i + 1} ${3 * i + 2}`);
  return `${[...header, ...vertices, ...faces].join('\n')}\n`;
}

export function binaryPly(triangles) {
  const [header] = textPly(triangles).split('end_header\n');
  const vertices = Buffer.alloc(36 * triangles.length);
  triangles.flat(2).forEach((value, i) => {
    vertices.writeFloatLE(value, 4 * i);
  });
  const faces = Buffer.alloc(13 * triangles.length);
  triangles.forEach((_, i) => {
    faces.writeUInt8(3, 13 * i);
    for (let k = 0; k < 3; k++) faces.writeInt32LE(3 * i + k, 13 * i + 1 + 4 * k);
  });
  const head = `${header.replace('ascii', 'binary_little_endian')}end_header\n`;
  return Buffer.concat([Buffer.from(head), vertices, faces]);
}

/** A 3MF package with one object; `transform` is the build item's, twelve numbers or none. */
export function threeMf(triangles, { transform, unit = 'millimeter' } = {}) {
  const vertices = triangles.flat().map(([x, y, z]) => `<vertex x="${x}" y="${y}" z="${z}"/>`);
  const faces = triangles.map(
    (_, i) => `<triangle v1="${3 * i}" v2="${3 * i + 1}" v3="${3 * i + 2}"/>`,
  );
  const item = `<item objectid="1"${transform ? ` transform="${transform.join(' ')}"` : ''}/>`;
  const model = `<?xml version="1.0" encoding="UTF-8"?>
<model unit="${unit}" xmlns="http://schemas.microsoft.com/3dmanufacturing/core/2015/02">
<resources><object id="1" type="model"><mesh><vertices>${vertices.join('')}</vertices><triangles>${faces.join('')}</triangles></mesh></object></resources>
<build>${item}</build></model>`;
  const relations = `<?xml version="1.0" encoding="UTF-8"?>
<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">
<Relationship Target="/3D/3dmodel.model" Id="rel0" Type="http://schemas.microsoft.com/3dmanufacturing/2013/01/3dmodel"/></Relationships>`;
  const types = `<?xml version="1.0" encoding="UTF-8"?>
<Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types">
<Default Extension="rels" ContentType="application/vnd.openxmlformats-package.relationships+xml"/>
<Default Extension="model" ContentType="application/vnd.ms-package.3dmanufacturing-3dmodel+xml"/></Types>`;
  return zipSync({
    '[Content_Types].xml': strToU8(types),
    '_rels/.rels': strToU8(relations),
    '3D/3dmodel.model': strToU8(model),
  });
}
