import type { PackedPart } from '../src/document.js';
import { Timeline } from './charts/timeline.js';
import { element, wantsStillness } from './dom.js';
import type { Finding, Place } from './finding.js';
import { findingsOf } from './findings.js';
import { listenToKeys } from './keyboard.js';
import { findingsList } from './panels/findings_list.js';
import { head } from './panels/head.js';
import { helpDialog } from './panels/help.js';
import { pointsList } from './panels/points_list.js';
import { settingsList } from './panels/settings_list.js';
import { Tabs } from './panels/tabs.js';
import { ViewedPart } from './part.js';
import { SceneView } from './scene/scene_view.js';
import { SliceView } from './slice/slice_view.js';
import { ThemeChoice } from './theme.js';
import { ViewModel } from './view_state.js';
import { countText } from './words.js';

/**
 * Fills `root` with all there is to see of a part. What it returns takes it away again, with all that
 * listens; `theme` is for a page that has a choice of its own.
 */
export function mountViewer(
  root: HTMLElement,
  packed: PackedPart,
  theme = new ThemeChoice(document.documentElement),
): () => void {
  const part = new ViewedPart(packed);
  const model = new ViewModel(
    {
      layer: firstLayer(part),
      point: null,
      finding: null,
      place: null,
      isCut: true,
      isTinted: true,
      hasSupports: true,
    },
    part.layerCount,
  );
  const scene = new SceneView(part, model, theme);
  const slice = new SliceView(part, model, theme);
  const timeline = new Timeline(part, model, theme);

  const reveal = (): void => {
    const { top, bottom } = slice.panel.getBoundingClientRect();
    if (bottom < 120 || top > innerHeight - 120) {
      const behavior = wantsStillness() ? 'auto' : 'smooth';
      scene.panel.scrollIntoView({ block: 'start', behavior });
    }
  };
  const goToPoint = (index: number): void => {
    const { x, y, z, column, row, layer } = part.points[index];
    model.set({ layer, point: index, finding: null, place: null });
    slice.show(column, row);
    scene.show(x, y, z);
    reveal();
  };
  const goToFinding = (finding: Finding, place: Place): void => {
    const { layer, column, row } = place;
    model.set({ layer, point: null, finding, place });
    if (column === undefined || row === undefined) {
      slice.fit();
    } else {
      slice.show(column, row);
      scene.show(...part.placeOf(column, row), part.plateZ + part.bottomOf(layer));
    }
    reveal();
  };

  const findings = findingsOf(part);
  const tabs = new Tabs('Findings, points and settings', [
    {
      name: 'Findings',
      count: countText(findings.length),
      content: findingsList(findings, model, goToFinding),
    },
    {
      name: 'Points',
      count: countText(part.points.length),
      content: pointsList(part, model, goToPoint),
    },
    { name: 'Settings', content: settingsList(part) },
  ]);
  const help = helpDialog();
  const openHelp = (): void => {
    if (!help.open) help.showModal();
  };
  root.replaceChildren(
    head(part, () => theme.toggle(), openHelp),
    element('main', {}, scene.panel, slice.panel, timeline.panel, tabs.panel),
    help,
  );

  // A point that is chosen in a picture is explained in the list.
  model.listen(({ point }, before) => {
    if (point !== null && point !== before.point) tabs.show(1);
  });
  const places = findings.flatMap((finding) => finding.places.map((place) => ({ finding, place })));
  const byLayer = part.points
    .map((_, index) => index)
    .sort((a, b) => part.points[a].layer - part.points[b].layer || a - b);
  const stepPoint = (by: 1 | -1): void => {
    const { point, layer } = model.state;
    let place = point === null ? -1 : byLayer.indexOf(point) + by;
    if (point === null) {
      place = byLayer.findIndex((index) => part.points[index].layer > layer - (by > 0 ? 1 : 0));
      if (by < 0) place = (place < 0 ? byLayer.length : place) - 1;
    }
    if (byLayer[place] !== undefined) goToPoint(byLayer[place]);
  };
  const stepFinding = (by: 1 | -1): void => {
    if (places.length === 0) return;
    const now = places.findIndex(({ place }) => place === model.state.place);
    const next = now < 0 ? (by > 0 ? 0 : places.length - 1) : now + by;
    const { finding, place } = places[(next + places.length) % places.length];
    tabs.show(0);
    goToFinding(finding, place);
  };
  const step = (by: number) => () => model.set({ layer: model.state.layer + by });
  const mounted = new AbortController();
  const actions = {
    ArrowLeft: step(-1),
    ArrowRight: step(1),
    'Shift+ArrowLeft': step(-10),
    'Shift+ArrowRight': step(10),
    Home: () => model.set({ layer: 0 }),
    End: () => model.set({ layer: part.layerCount - 1 }),
    n: () => stepPoint(1),
    p: () => stepPoint(-1),
    f: () => stepFinding(1),
    F: () => stepFinding(-1),
    c: () => model.set({ isCut: !model.state.isCut }),
    o: () => model.set({ isTinted: !model.state.isTinted }),
    s: () => model.set({ hasSupports: !model.state.hasSupports }),
    ...Object.fromEntries(
      ['1', '2', '3', '4', '5', '6'].map((key) => [key, () => scene.lookFrom(key)]),
    ),
    '+': () => slice.zoom(1.5),
    '=': () => slice.zoom(1.5),
    '-': () => slice.zoom(1 / 1.5),
    0: () => slice.fit(),
    t: () => theme.toggle(),
    '?': openHelp,
    Escape: () => model.set({ point: null, finding: null, place: null }),
  };
  listenToKeys(actions, mounted.signal);
  return () => {
    mounted.abort();
    theme.forgetListeners();
    scene.dispose();
    root.replaceChildren();
  };
}

/** The layer with the most points, where a part shows best what the report is about. */
function firstLayer(part: ViewedPart): number {
  let first = Math.floor(part.layerCount / 2);
  let most = 0;
  part.pointsOfLayer.forEach(({ length }, layer) => {
    // The first layers show next to nothing of the part.
    if (length > most && layer > 0.08 * part.layerCount) {
      most = length;
      first = layer;
    }
  });
  return first;
}
