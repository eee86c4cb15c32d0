import { readFileSync } from 'node:fs';
import { type Command, InvalidArgumentError, Option } from 'commander';
import type { AnalysisParameters } from 'stiltforge';
import { type ParameterRow, parameterTable } from 'stiltforge/analysis';
import { ExitCode, reasonOf, UserError } from '../errors.js';
import { suggestion } from '../nearest_name.js';

/** Parameters that take the place of those that follow from the settings. */
export type GivenParameters = Partial<AnalysisParameters>;

export interface ParameterOptions {
  params?: string;
  set: [key: string, value: string][];
}

/** Those that follow from the slices, and one without which there is nothing to find. */
const fixed: readonly string[] = ['width', 'height', 'numLayer', 'needBuffer', 'addSupport'];

const mostFileBytes = 1e6;

export function addParameterOptions(command: Command): Command {
  return command
    .optionsGroup('The parameters, for those who know them (stiltforge params):')
    .option('--params <file>', 'take parameters from a JSON file, like {"ghostRadius": 80}')
    .addOption(
      new Option('--set <key=value>', 'set a parameter; may be repeated')
        .argParser(keyAndValue)
        .default([], 'none'),
    );
}

/** Parameters of the file and, over them, those set one by one. Throws a UserError that names what is wrong. */
export function givenParameters({ params, set }: ParameterOptions): GivenParameters {
  if (params === undefined && set.length === 0) return {};
  const rows = new Map(parameterTable().map((row) => [row.name as string, row]));
  const given = new Map<string, unknown>();
  const take = (key: string, value: unknown, place: string): void => {
    const row = rows.get(key);
    if (row === undefined) {
      const like = suggestion(key, [...rows.keys()].filter(isFree));
      throw wrong(`${place}: there is no parameter ${key}.${like} stiltforge params lists them.`);
    }
    if (!isFree(key)) throw wrong(`${place}: ${key} follows from the part and can't be set.`);
    if (!isRight(value, row)) {
      throw wrong(`${place}: ${key} must be ${wanted(row)}, not ${JSON.stringify(value)}.`);
    }
    given.set(key, value);
  };
  if (params !== undefined) {
    for (const [key, value] of Object.entries(fileContent(params))) {
      take(key, value, `--params ${params}`);
    }
  }
  for (const [key, text] of set) take(key, parsed(text), `--set ${key}=${text}`);
  return Object.fromEntries(given);
}

export function isFree(name: string): boolean {
  return !fixed.includes(name);
}

/** "from 0 to 4096", "from 0": the largest float is no limit that a person wants to know. */
export function rangeText({ least, most }: Readonly<ParameterRow>): string {
  return most > 1e30 ? `from ${least}` : `from ${least} to ${most}`;
}

function wanted(row: Readonly<ParameterRow>): string {
  if (row.kind === 'flag') return 'true or false';
  return `a ${row.kind === 'integer' ? 'whole ' : ''}number ${rangeText(row)}`;
}

function isRight(value: unknown, { kind, least, most }: Readonly<ParameterRow>): boolean {
  if (kind === 'flag') return typeof value === 'boolean';
  if (typeof value !== 'number' || !(value >= least && value <= most)) return false;
  return kind === 'number' || Number.isInteger(value);
}

function fileContent(path: string): object {
  let content: unknown;
  try {
    const text = readFileSync(path);
    if (text.length > mostFileBytes) throw new Error('it is too large for a file of parameters');
    content = JSON.parse(text.toString());
  } catch (error) {
    throw wrong(
      `--params ${path}: it can't be read (${reasonOf(error)}). Give a file with an object of parameters.`,
    );
  }
  if (typeof content === 'object' && content !== null && !Array.isArray(content)) return content;
  throw wrong(`--params ${path}: it must hold an object of parameters, like {"ghostRadius": 80}.`);
}

function keyAndValue(
  text: string,
  earlier: [key: string, value: string][],
): [key: string, value: string][] {
  const match = /^([^=]+)=(.+)$/.exec(text);
  if (match === null) {
    throw new InvalidArgumentError('It must be a parameter and its value, like ghostRadius=80.');
  }
  return [...earlier, [match[1].trim(), match[2].trim()]];
}

/** A number or a flag where it is one, else the text itself, which is then refused by its range. */
function parsed(text: string): unknown {
  if (text === 'true' || text === 'false') return text === 'true';
  return /^[+-]?(\d+\.?\d*|\.\d+)(e[+-]?\d+)?$/i.test(text) ? Number(text) : text;
}

function wrong(sentence: string): UserError {
  return new UserError(ExitCode.usage, sentence);
}
