import type { CheckReport, Finding, FindingKind, Severity } from 'stiltforge/check';
import { textTable, wrapped } from '../plain_text.js';
import { counted, countText, volumeText } from '../wording.js';
import { type CheckedFile, isAsBadAs } from './check_files.js';

/** What a person calls it. */
const names: Record<FindingKind, string> = {
  emptyLayers: 'empty layers',
  floatingPart: 'part on nothing',
  island: 'island',
  overhang: 'overhang',
  screenEdge: "screen's edge",
  resinTrap: 'resin trap',
  suctionCup: 'suction cup',
  specks: 'specks',
  idlePoints: 'idle points',
};

const words: Record<Severity, string> = { fails: 'FAILS', risk: 'risk', note: 'note' };

const textWidth = 78;

/** Rows of a file's table; the others are counted. */
const mostRows = 25;

/** The findings of a file, worst first, and what to do about them. */
export function fileText(file: string, report: CheckReport): string {
  const { layers, volume, counts, findings } = report;
  const head = `${file}: ${counted(layers, 'layer')}, ${volumeText(volume)}`;
  if (findings.length === 0) return `${head}\n  holds; nothing was found\n`;
  const shown = findings.slice(0, mostRows);
  const total = counts.fails + counts.risk + counts.note;
  const lines = [head, '', ...indented(textTable(shown.map(rowOf), header, right))];
  if (total > shown.length) {
    lines.push(`  and ${counted(total - shown.length, 'more finding')}; --json lists them`);
  }
  lines.push('', ...indented(remedies(shown)));
  return `${lines.join('\n')}\n`;
}

const header = ['', 'finding', 'layers', 'x mm', 'y mm', 'z mm', 'size'];
const right = [false, false, true, true, true, true, true];

function rowOf(finding: Finding): string[] {
  const { kind, severity, firstLayer, lastLayer, place } = finding;
  const layers = firstLayer === lastLayer ? `${firstLayer}` : `${firstLayer}-${lastLayer}`;
  const at = place ? [place.x, place.y, place.z].map((value) => value.toFixed(2)) : ['', '', ''];
  return [words[severity], names[kind], layers, ...at, sizeOf(finding)];
}

function sizeOf({ kind, volume, area, count }: Finding): string {
  if (kind === 'idlePoints') return counted(count, 'point');
  if (kind === 'overhang' || kind === 'island') return areaText(area);
  return volume > 0 ? volumeText(volume) : '';
}

function areaText(area: number): string {
  return `${area.toLocaleString('en-US', area < 100 ? { maximumSignificantDigits: 3 } : { maximumFractionDigits: 0 })} mm2`;
}

/** Each remedy once, with what it is for. */
function remedies(findings: readonly Finding[]): string[] {
  const all = findings.map(({ kind, remedy }) => `${capitalized(names[kind])}: ${remedy}`);
  return [...new Set(all)].flatMap((text) => wrapped(text, textWidth, '  '));
}

/** One line a file, for a run with several; below, why some could not be checked. */
export function overviewText(checked: readonly CheckedFile[]): string {
  const rows = checked.map(({ file, report }) =>
    report
      ? [file, ...countsOf(report), verdictOf(report)]
      : [file, '', '', '', "can't be checked, see below"],
  );
  const lines = textTable(
    rows,
    ['', 'fails', 'risks', 'notes', ''],
    [false, true, true, true, false],
  );
  const failures = checked.flatMap(({ error }) => (error ? [error.message.split('\n')[0]] : []));
  if (failures.length > 0) {
    lines.push('', `${failures.length} of ${counted(checked.length, 'file')} can't be checked:`);
    lines.push(...failures.map((failure) => `  ${failure}`));
  }
  return `${lines.join('\n')}\n`;
}

function countsOf({ counts }: CheckReport): string[] {
  return [counts.fails, counts.risk, counts.note].map(countText);
}

function verdictOf(report: CheckReport): string {
  if (isAsBadAs(report, 'fails')) return 'WOULD FAIL';
  return isAsBadAs(report, 'risk') ? 'holds, at some risk' : 'holds';
}

const indented = (lines: readonly string[]): string[] => lines.map((line) => `  ${line}`);

const capitalized = (text: string): string => text[0].toUpperCase() + text.slice(1);
