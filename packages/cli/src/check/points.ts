import { readFile, stat } from 'node:fs/promises';
import { ExitCode, messageOf, reasonOf, UserError } from '../errors.js';

/** Where a support touches, mm in the coordinates of the mesh. */
export interface SupportPlace {
  x: number;
  y: number;
  z: number;
  /** Where the list says them. */
  region?: number;
  kind?: 'island' | 'overhang';
}

/** No real list is near it, and all of it is read at once. */
const mostBytes = 256e6;

/** mm from the origin along an axis; no part is as large. */
const furthest = 1e9;

/**
 * Reads the places of supports from a supports.json, or from a table whose first line names the columns
 * x_mm, y_mm and z_mm, or x, y and z; without such a line they are the first three. Throws a UserError
 * that names the file and the place in it.
 */
export async function loadPoints(file: string): Promise<SupportPlace[]> {
  const text = await textOf(file);
  return /^\s*\{/.test(text) ? fromDocument(file, text) : fromTable(file, text);
}

function refused(file: string, what: string): UserError {
  return new UserError(ExitCode.mesh, `${file}: ${what}`);
}

async function textOf(file: string): Promise<string> {
  try {
    const { size } = await stat(file);
    if (size > mostBytes) {
      throw refused(file, `it has ${Math.round(size / 1e6)} MB, which no list of supports has.`);
    }
    return (await readFile(file, 'utf8')).replace(/^\uFEFF/, '');
  } catch (error) {
    if (error instanceof UserError) throw error;
    throw refused(file, `it can't be read (${reasonOf(error)}). Check the name.`);
  }
}

function fromDocument(file: string, text: string): SupportPlace[] {
  let document: { supports?: unknown };
  try {
    document = JSON.parse(text) as typeof document;
  } catch (error) {
    throw refused(file, `it is no JSON (${messageOf(error)}). Write it again.`);
  }
  const { supports } = document;
  if (!Array.isArray(supports)) {
    throw refused(file, 'it has no list "supports". Give a supports.json or a points.csv.');
  }
  return supports.map((support: unknown, i) => {
    const { x, y, z, region, kind } = Object(support) as Record<string, unknown>;
    return { ...place([x, y, z], file, `support ${i + 1}`), ...cause(region, kind) };
  });
}

function fromTable(file: string, text: string): SupportPlace[] {
  const lines = text.split(/\r\n|\n|\r/);
  const cells = (line: string): string[] => line.split(/[,;\t]/).map((cell) => cell.trim());
  const names = cells(lines[0]).map((name) => name.toLowerCase().replace(/_mm$/, ''));
  const named = ['x', 'y', 'z'].map((name) => names.indexOf(name));
  const hasNames = named.every((column) => column >= 0);
  const columns = hasNames ? named : [0, 1, 2];
  const [regionColumn, kindColumn] = ['region', 'kind'].map((name) => names.indexOf(name));
  return lines.flatMap((line, i) => {
    if (line.trim() === '' || (i === 0 && hasNames)) return [];
    const row = cells(line);
    const numbers = columns.map((column) => numberFrom(row[column]));
    return {
      ...place(numbers, file, `line ${i + 1}`, asTable),
      ...cause(numberFrom(row[regionColumn]), row[kindColumn]),
    };
  });
}

/** Of a list of this program, why the support is there. */
function cause(region: unknown, kind: unknown): Pick<SupportPlace, 'region' | 'kind'> {
  if (!Number.isInteger(region) || (kind !== 'island' && kind !== 'overhang')) return {};
  return { region: region as number, kind };
}

function numberFrom(text: string | undefined): number {
  return text === undefined || text === '' ? Number.NaN : Number(text);
}

const asTable =
  ', with decimal points and commas between, under a line of names or first in each line';

function place(
  numbers: readonly unknown[],
  file: string,
  where: string,
  layout = '',
): Pick<SupportPlace, 'x' | 'y' | 'z'> {
  const remedy = `Write them in millimetres${layout}.`;
  if (!numbers.every(Number.isFinite)) {
    throw refused(file, `${where} has no three numbers x, y and z. ${remedy}`);
  }
  const [x, y, z] = numbers as number[];
  if (Math.max(Math.abs(x), Math.abs(y), Math.abs(z)) > furthest) {
    throw refused(file, `${where} lies more than 1,000 km from the origin. ${remedy}`);
  }
  return { x, y, z };
}
