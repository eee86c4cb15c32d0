import type { IslandRecord } from '../src/document.js';
import { checkFindings } from './check_findings.js';
import type { Finding, Weight } from './finding.js';
import type { ViewedPart } from './part.js';
import { droppedFindings, verdictFindings } from './verdict_findings.js';
import { area, counted, largest, millimetres, withSigns } from './words.js';

/** What a person should look at, the gravest first, then bottom up. */
export function findingsOf(part: ViewedPart): Finding[] {
  const { model, check, dropped = [] } = part.document.part;
  const found = [
    ...(model.warnings ?? []).map(warningFinding),
    ...(check === undefined ? [] : checkFindings(check)),
    ...judged(part),
    ...withoutWay(part),
    ...droppedFindings(dropped),
    ...telling(part),
  ];
  const order: Weight[] = ['fault', 'warning', 'note'];
  return found.sort(
    (a, b) =>
      order.indexOf(a.weight) - order.indexOf(b.weight) ||
      (a.places[0]?.layer ?? -1) - (b.places[0]?.layer ?? -1),
  );
}

/** What the points hold; a whole check tells of the islands, too. */
function judged(part: ViewedPart): Finding[] {
  const { verdict, check } = part.document.part;
  if (verdict !== undefined) return verdictFindings(part, verdict);
  return check?.counts === undefined ? islandFindings(part) : [];
}

function warningFinding(sentence: string): Finding {
  const [layer] = /(?<=\blayer )\d+/.exec(sentence) ?? [];
  const places = layer === undefined ? [] : [{ layer: Number(layer) }];
  return { weight: 'warning', title: 'Warning', detail: withSigns(sentence), places };
}

/** One finding for islands that have no point of their own for the same cause. */
function islandFindings(part: ViewedPart): Finding[] {
  const alone = part.document.islands.filter(({ points }) => points === 0);
  const found: Finding[] = [];
  const pixels = alone.filter((island) => island.pixels === 1);
  if (pixels.length > 0) {
    found.push({
      weight: 'note',
      title: counted(pixels.length, 'island of a single pixel', 'islands of a single pixel'),
      detail: 'Without a point of their own: the layers above decide about them.',
      places: pixels,
    });
  }
  const others = alone.filter((island) => island.pixels > 1);
  if (others.length > 0) {
    const { pixelSize } = part.document.part.print;
    const most = largest(others.map((island: IslandRecord) => island.pixels));
    found.push({
      weight: 'note',
      title: counted(others.length, 'island without a point of its own', 'islands without a point'),
      detail: `Up to ${area(most * pixelSize ** 2)}. A point beside them is within reach, or they weigh too little.`,
      places: others,
    });
  }
  return found;
}

/** Points that no support reaches. */
function withoutWay({ document, points }: ViewedPart): Finding[] {
  const places = (document.scaffold?.withoutWay ?? []).map((index) => points[index]);
  if (places.length === 0) return [];
  return [
    {
      weight: 'warning',
      title: `${counted(places.length, 'point')} without a way for a pillar`,
      detail:
        'The part is in the way wherever a pillar might go: turn it, or make supports thinner.',
      places,
    },
  ];
}

/** The layers that stand out. */
function telling(part: ViewedPart): Finding[] {
  const { overhang } = part.document.layers;
  const found: Finding[] = [];
  const widest = overhang.indexOf(largest(overhang));
  if (overhang[widest] > 0) {
    found.push({
      weight: 'note',
      title: 'Largest overhang of a layer',
      detail: `${area(overhang[widest])} hang over in layer ${widest}, ${millimetres(part.bottomOf(widest))} above the plate.`,
      places: [{ layer: widest }],
    });
  }
  const counts = part.pointsOfLayer.map(({ length }) => length);
  const densest = counts.indexOf(largest(counts));
  if (counts[densest] > 1) {
    found.push({
      weight: 'note',
      title: 'Most points in a layer',
      detail: `${counted(counts[densest], 'point')} in layer ${densest}, ${millimetres(part.bottomOf(densest))} above the plate.`,
      places: [{ layer: densest }],
    });
  }
  return found;
}
