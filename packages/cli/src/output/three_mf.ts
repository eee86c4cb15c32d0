import { strToU8, Zip, ZipDeflate, ZipPassThrough } from 'fflate';
import { Breather } from '../breather.js';
import { ExitCode, UserError } from '../errors.js';
import type { SupportedPart } from '../supported_part.js';
import { type IndexedMesh, indexedMesh } from './indexed_mesh.js';

/** What a project tells of a part. */
export type ProjectPart = Pick<SupportedPart, 'document' | 'mesh'>;

/** mm: half of what a tip's front is wide unless the slicer's user changes it. */
const tipRadius = 0.2;

/** Elements of the model in one piece of text. */
const piece = 4096;

/** Of deflate: higher levels make the text of a mesh smaller by less than a twentieth, in twice the time. */
const level = 1;

/** What an archive without 64-bit sizes can hold, bytes. */
const mostBytes = 2 ** 32 - 1;

const contentTypes = `<?xml version="1.0" encoding="UTF-8"?>
<Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types">
 <Default Extension="rels" ContentType="application/vnd.openxmlformats-package.relationships+xml"/>
 <Default Extension="model" ContentType="application/vnd.ms-package.3dmanufacturing-3dmodel+xml"/>
 <Default Extension="txt" ContentType="text/plain"/>
</Types>
`;

const relationships = `<?xml version="1.0" encoding="UTF-8"?>
<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">
 <Relationship Target="/3D/3dmodel.model" Id="model" Type="http://schemas.microsoft.com/3dmanufacturing/2013/01/3dmodel"/>
</Relationships>
`;

/**
 * A 3MF project, in pieces: the mesh, standing in the middle of the screen, and the points as PrusaSlicer
 * keeps them. The object's origin is the middle of its box: PrusaSlicer moves any other object there when
 * it reads it, but leaves the points behind. The same part gives the same bytes. `progress` is told the
 * share that is made, from 0 to 1. Throws a UserError when the mesh is too large for the format, the
 * signal's reason when it is aborted.
 */
export async function* threeMfProject(
  part: ProjectPart,
  signal?: AbortSignal,
  progress?: (share: number) => void,
): AsyncGenerator<Uint8Array, void, void> {
  const archive = new Archive();
  archive.file('[Content_Types].xml', contentTypes);
  archive.file('_rels/.rels', relationships);
  archive.file('Metadata/Slic3r_PE_sla_support_points.txt', supportPoints(part));
  const model = archive.begin('3D/3dmodel.model');
  const breather = new Breather(signal);
  const mesh = await indexedMesh(part.mesh, breather);
  let bytes = 0;
  for (const { text, share } of modelText(part, mesh)) {
    const data = strToU8(text);
    bytes += data.length;
    if (bytes > mostBytes) throw tooLarge(part.document.model.file);
    model.push(data);
    progress?.(share);
    await breather.breathe();
    yield* archive.written();
  }
  model.push(new Uint8Array(), true);
  archive.end();
  yield* archive.written();
}

/** A line for each object: five numbers a point, the last 1 for one under an island. */
function supportPoints(part: ProjectPart): string {
  const centre = centreOf(part);
  const points = part.document.supports.map(({ x, y, z, kind }) => {
    const place = [x, y, z].map((value, axis) => shortest(value - centre[axis]));
    return `${place.join(' ')} ${tipRadius} ${kind === 'island' ? '1.0' : '0.0'}`;
  });
  const objects = points.length === 0 ? '' : `object_id=1|${points.join(' ')}\n`;
  return `support_points_format_version=1\n${objects}`;
}

function centreOf({ document }: ProjectPart): number[] {
  const { min, max } = document.model;
  return min.map((value, axis) => (value + max[axis]) / 2);
}

/** A piece of the model's text, and the share of it that ends there. */
interface ModelPiece {
  text: string;
  share: number;
}

function* modelText(
  part: ProjectPart,
  { vertices, triangles }: IndexedMesh,
): Generator<ModelPiece> {
  const { print, model } = part.document;
  const centre = centreOf(part);
  const [corners, faces] = [vertices.length / 3, triangles.length / 3];
  const shareOf = (elements: number): number => elements / (corners + faces);
  const head = `<?xml version="1.0" encoding="UTF-8"?>
<model unit="millimeter" xml:lang="en-US" xmlns="http://schemas.microsoft.com/3dmanufacturing/core/2015/02">
 <resources>
  <object id="1" name="${escaped(model.file)}" type="model">
   <mesh>
    <vertices>
`;
  yield { text: head, share: 0 };
  const vertexPieces = inPieces(corners, (i) => {
    const [x, y, z] = [0, 1, 2].map((axis) => shortest(vertices[3 * i + axis] - centre[axis]));
    return `     <vertex x="${x}" y="${y}" z="${z}"/>\n`;
  });
  for (const { text, end } of vertexPieces) yield { text, share: shareOf(end) };
  yield { text: '    </vertices>\n    <triangles>\n', share: shareOf(corners) };
  const trianglePieces = inPieces(faces, (i) => {
    const [a, b, c] = triangles.subarray(3 * i, 3 * i + 3);
    return `     <triangle v1="${a}" v2="${b}" v3="${c}"/>\n`;
  });
  for (const { text, end } of trianglePieces) yield { text, share: shareOf(corners + end) };
  const place = [
    (print.screenWidth * print.pixelSize) / 2,
    (print.screenHeight * print.pixelSize) / 2,
    centre[2] - model.min[2],
  ];
  const tail = `    </triangles>
   </mesh>
  </object>
 </resources>
 <build>
  <item objectid="1" transform="1 0 0 0 1 0 0 0 1 ${place.map(shortest).join(' ')}"/>
 </build>
</model>
`;
  yield { text: tail, share: 1 };
}

/** Lines of text, some at a time, and how many there are with these. */
function* inPieces(
  count: number,
  line: (index: number) => string,
): Generator<{ text: string; end: number }> {
  for (let first = 0; first < count; first += piece) {
    const end = Math.min(first + piece, count);
    let text = '';
    for (let i = first; i < end; i++) text += line(i);
    yield { text, end };
  }
}

/** Nine digits are enough for a 32-bit float. Adding 0 leaves no -0. */
function shortest(value: number): string {
  return String(Number(value.toPrecision(9)) + 0);
}

const entities: Record<string, string> = {
  '&': '&amp;',
  '<': '&lt;',
  '>': '&gt;',
  '"': '&quot;',
};

function escaped(text: string): string {
  return text
    .replace(/[&<>"]/g, (character) => entities[character])
    .replace(/[^\t\n\r\u{20}-\u{d7ff}\u{e000}-\u{fffd}\u{10000}-\u{10ffff}]/gu, '?');
}

function tooLarge(name: string): UserError {
  return new UserError(
    ExitCode.output,
    `${name}: the mesh takes more than 4 GiB in a 3MF file, which readers of such files refuse. ` +
      'Simplify it, or choose another format.',
  );
}

/** A zip archive whose bytes are taken as they come. */
class Archive {
  private readonly chunks: Uint8Array[] = [];
  private readonly zip = new Zip((error, chunk) => {
    if (error) throw error;
    this.chunks.push(chunk);
  });

  file(name: string, text: string): void {
    const file = new ZipPassThrough(name);
    this.add(file);
    file.push(strToU8(text), true);
  }

  begin(name: string): ZipDeflate {
    const file = new ZipDeflate(name, { level });
    this.add(file);
    return file;
  }

  end(): void {
    this.zip.end();
  }

  *written(): Generator<Uint8Array> {
    yield* this.chunks.splice(0);
  }

  private add(file: ZipDeflate | ZipPassThrough): void {
    // Local time is what archives keep: the same everywhere.
    file.mtime = new Date(1980, 0, 1);
    this.zip.add(file);
  }
}
