import type { ViewerSlice } from '../../src/slice_codec.js';
import { button, element } from '../dom.js';
import { markColour, markOf, markPath } from '../marks.js';
import type { ViewedPart } from '../part.js';
import type { ThemeChoice } from '../theme.js';
import type { ViewModel } from '../view_state.js';
import { area, counted } from '../words.js';
import { paintSlice, type SliceWindow } from './paint_slice.js';

/** Points placed up to this far below a slice are shown in it, mm. */
const memory = 8;
const pointRadius = 6;
const mostScale = 48;
/** Of the picture's smaller side, the air round the part. */
const air = 0.06;

/** The slice under the slider: regions, islands, overhang and points; to be zoomed and moved. */
export class SliceView {
  readonly panel: HTMLElement;
  private readonly canvas = element('canvas', {
    attributes: { role: 'img', tabindex: '0' },
  });
  private readonly readout = element('output', { class: 'readout' });
  private readonly title = element('h2', { text: 'Slice' });
  private readonly caption = element('p', { class: 'caption' });
  private slice: ViewerSlice | null = null;
  private shown = -1;
  private asked = -1;
  /** Slice pixels in the middle of the picture, and picture pixels for one of them; null fits the part. */
  private view: { column: number; row: number; scale: number } | null = null;
  private picture: ImageData | null = null;
  private isPlanned = false;
  private readonly pointers = new Map<number, PointerEvent>();

  constructor(
    private readonly part: ViewedPart,
    private readonly model: ViewModel,
    private readonly theme: ThemeChoice,
  ) {
    const tools = element(
      'div',
      { class: 'tools' },
      button('+', 'Zoom into the slice (+)', () => this.zoom(1.5)),
      button('−', 'Zoom out of the slice (-)', () => this.zoom(1 / 1.5)),
      button('Fit', 'Show the whole slice (0)', () => this.fit()),
    );
    this.panel = element(
      'section',
      { class: 'panel slice', attributes: { 'aria-label': 'Slice' } },
      element(
        'header',
        {},
        element('div', { class: 'panel-title' }, this.title, this.caption),
        tools,
      ),
      element('div', { class: 'canvas' }, this.canvas, this.readout),
      this.legend(),
    );
    this.listen();
    theme.listen(() => this.plan());
    new ResizeObserver(() => this.plan()).observe(this.canvas);
    model.listen((state, before) => {
      if (state.layer !== before.layer) void this.load();
      else if (state.point !== before.point || state.place !== before.place) this.plan();
    });
    void this.load();
  }

  fit(): void {
    this.view = null;
    this.plan();
  }

  /** Moves so that this pixel of the screen is in the middle, near enough to see what is there. */
  show(column: number, row: number): void {
    const { crop } = this.part.document.part.print;
    const fitted = this.fitted();
    const scale = Math.min(mostScale, Math.max(2.6 * fitted.scale, this.view?.scale ?? 0));
    this.view = { column: column - crop.column + 0.5, row: row - crop.row + 0.5, scale };
    this.plan();
  }

  zoom(factor: number, x = this.canvas.width / 2, y = this.canvas.height / 2): void {
    const { left, top, scale } = this.window();
    const least = 0.5 * this.fitted().scale;
    const next = Math.min(mostScale, Math.max(least, scale * factor));
    const column = left + x / scale + (this.canvas.width / 2 - x) / next;
    const row = top + y / scale + (this.canvas.height / 2 - y) / next;
    this.view = { column, row, scale: next };
    this.plan();
  }

  private async load(): Promise<void> {
    const { layer } = this.model.state;
    const started = performance.now();
    this.asked = layer;
    const slice = await this.part.slice(layer).catch((error: Error) => {
      this.readout.textContent = `This slice can't be shown: ${error.message}.`;
      return null;
    });
    // Somebody moved on meanwhile.
    if (this.asked !== layer) return;
    this.slice = slice;
    this.shown = layer;
    this.draw();
    performance.measure('layer shown', { start: started });
    // The neighbours are asked for next.
    for (const next of [layer + 1, layer - 1]) {
      if (next >= 0 && next < this.part.layerCount) this.part.slice(next).catch(() => {});
    }
  }

  private plan(): void {
    if (this.isPlanned) return;
    this.isPlanned = true;
    requestAnimationFrame(() => {
      this.isPlanned = false;
      this.draw();
    });
  }

  private fitted(): { column: number; row: number; scale: number } {
    const { crop } = this.part.document.part.print;
    const { width, height } = this.canvas;
    const scale = Math.min((width * (1 - air)) / crop.width, (height * (1 - air)) / crop.height);
    return { column: crop.width / 2, row: crop.height / 2, scale };
  }

  private window(): SliceWindow {
    const { column, row, scale } = this.view ?? this.fitted();
    const { width, height } = this.canvas;
    return { left: column - width / 2 / scale, top: row - height / 2 / scale, scale };
  }

  private draw(): void {
    const ratio = Math.min(2, devicePixelRatio);
    const width = Math.max(1, Math.round(this.canvas.clientWidth * ratio));
    const height = Math.max(1, Math.round(this.canvas.clientHeight * ratio));
    if (this.canvas.width !== width || this.canvas.height !== height) {
      this.canvas.width = width;
      this.canvas.height = height;
    }
    const context = this.canvas.getContext('2d');
    if (context === null || this.slice === null) return;
    if (this.picture?.width !== width || this.picture.height !== height) {
      this.picture = new ImageData(width, height);
    }
    const window = this.window();
    const islands = this.part.islandsOfLayer[this.part.keptLayer(this.shown)];
    const { palette } = this.theme;
    paintSlice(this.slice, window, islands, palette, Math.round(8 * ratio), this.picture);
    context.putImageData(this.picture, 0, 0);
    this.drawSmallIslands(context, window, ratio);
    this.drawPoints(context, window, ratio);
    this.drawScale(context, window, ratio);
    this.describe();
  }

  /** A ring where an island is too small to be seen as one. */
  private drawSmallIslands(
    context: CanvasRenderingContext2D,
    window: SliceWindow,
    ratio: number,
  ): void {
    const { palette } = this.theme;
    for (const island of this.part.islandRecords.get(this.shown) ?? []) {
      if (Math.sqrt(island.pixels) * window.scale > 14 * ratio) continue;
      const [x, y] = this.placeOf(island.column, island.row, window);
      context.beginPath();
      context.arc(x, y, 11 * ratio, 0, 2 * Math.PI);
      context.setLineDash([4 * ratio, 3 * ratio]);
      context.lineWidth = 1.5 * ratio;
      context.strokeStyle = palette.pointIsland;
      context.stroke();
      context.setLineDash([]);
    }
  }

  private drawPoints(context: CanvasRenderingContext2D, window: SliceWindow, ratio: number): void {
    const { palette } = this.theme;
    const { print } = this.part.document.part;
    const lowest = Math.max(0, this.shown - Math.floor(memory / print.layerHeight));
    context.strokeStyle = palette.pointBelow;
    context.lineWidth = ratio;
    for (let layer = lowest; layer < this.shown; layer++) {
      for (const index of this.part.pointsOfLayer[layer]) {
        const point = this.part.points[index];
        const [x, y] = this.placeOf(point.column, point.row, window);
        markPath(context, markOf(point), x, y, 2.4 * ratio);
        context.stroke();
      }
    }
    for (const index of this.part.pointsOfLayer[this.shown]) {
      const point = this.part.points[index];
      const mark = markOf(point);
      const [x, y] = this.placeOf(point.column, point.row, window);
      markPath(context, mark, x, y, pointRadius * ratio);
      context.fillStyle = markColour(mark, palette);
      context.fill();
      context.lineWidth = 2 * ratio;
      context.strokeStyle = palette.pointEdge;
      context.stroke();
    }
    this.drawDropped(context, window, ratio);
    const { point, place } = this.model.state;
    const chosen = point === null ? place : this.part.points[point];
    if (chosen?.column === undefined || chosen.row === undefined) return;
    if (chosen.layer > this.shown || chosen.layer < lowest) return;
    const [x, y] = this.placeOf(chosen.column, chosen.row, window);
    context.beginPath();
    context.arc(x, y, 13 * ratio, 0, 2 * Math.PI);
    context.lineWidth = 2.5 * ratio;
    context.strokeStyle = palette.accent;
    context.stroke();
  }

  /** Crosses where the analysis had placed points that were left out. */
  private drawDropped(context: CanvasRenderingContext2D, window: SliceWindow, ratio: number): void {
    const reach = 4 * ratio;
    context.strokeStyle = this.theme.palette.pointBelow;
    context.lineWidth = 2 * ratio;
    for (const { column, row } of this.part.droppedOfLayer.get(this.shown) ?? []) {
      const [x, y] = this.placeOf(column, row, window);
      context.beginPath();
      context.moveTo(x - reach, y - reach);
      context.lineTo(x + reach, y + reach);
      context.moveTo(x - reach, y + reach);
      context.lineTo(x + reach, y - reach);
      context.stroke();
    }
  }

  private drawScale(
    context: CanvasRenderingContext2D,
    { scale }: SliceWindow,
    ratio: number,
  ): void {
    const { palette } = this.theme;
    const perMillimetre = scale / this.part.document.part.print.pixelSize;
    const most = (0.3 * this.canvas.width) / perMillimetre;
    const power = 10 ** Math.floor(Math.log10(most));
    const length = [5, 2, 1].map((digit) => digit * power).find((value) => value <= most) ?? power;
    const [x, y] = [14 * ratio, this.canvas.height - 14 * ratio];
    context.globalAlpha = 0.75;
    context.fillStyle = palette.surface;
    const room = [x - 6 * ratio, y - 22 * ratio] as const;
    context.fillRect(...room, length * perMillimetre + 12 * ratio, 28 * ratio);
    context.globalAlpha = 1;
    context.lineWidth = 2 * ratio;
    context.strokeStyle = palette.muted;
    context.beginPath();
    context.moveTo(x, y - 4 * ratio);
    context.lineTo(x, y);
    context.lineTo(x + length * perMillimetre, y);
    context.lineTo(x + length * perMillimetre, y - 4 * ratio);
    context.stroke();
    context.fillStyle = palette.muted;
    context.font = `500 ${12 * ratio}px Roboto, system-ui, sans-serif`;
    context.textBaseline = 'bottom';
    context.fillText(`${Number(length.toPrecision(1))} mm`, x + 6 * ratio, y - 4 * ratio);
  }

  private placeOf(
    column: number,
    row: number,
    { left, top, scale }: SliceWindow,
  ): [number, number] {
    const { crop } = this.part.document.part.print;
    return [(column - crop.column + 0.5 - left) * scale, (row - crop.row + 0.5 - top) * scale];
  }

  private describe(): void {
    const layer = this.shown;
    const { layers } = this.part.document;
    const points = this.part.pointsOfLayer[layer].length;
    const islands = this.part.islandsOfLayer[layer].size;
    const told = [
      counted(layers.regions[layer], 'region'),
      counted(islands, 'island'),
      `${area(layers.overhang[layer])} overhang`,
      counted(points, 'new point'),
    ].join(' · ');
    const kept = this.part.keptLayer(layer);
    const substitute = kept === layer ? '' : ` · slice of layer ${kept}, the nearest that was kept`;
    this.title.textContent = `Slice of layer ${layer}`;
    this.caption.textContent = `${told}${substitute}`;
    this.canvas.setAttribute('aria-label', `Slice of layer ${layer}: ${told}`);
  }

  private legend(): HTMLElement {
    const entry = (swatch: string, text: string): HTMLElement =>
      element('li', {}, element('i', { class: `swatch ${swatch}` }), text);
    return element(
      'ul',
      { class: 'legend' },
      entry('regions', 'regions'),
      entry('island', 'island'),
      entry('partly', 'overhang'),
      entry('freely', 'hangs freely'),
      entry('mark-island', 'new point under an island'),
      entry('mark-overhang', 'new point under an overhang'),
      this.part.hasAddedPoints && entry('mark-added', 'new point that was added'),
      entry('mark-below', `points up to ${memory} mm below`),
      this.part.document.part.dropped !== undefined && entry('mark-dropped', 'point left out'),
    );
  }

  private listen(): void {
    const { canvas } = this;
    const at = (event: MouseEvent): [number, number] => {
      const box = canvas.getBoundingClientRect();
      const ratio = canvas.width / box.width;
      return [(event.clientX - box.left) * ratio, (event.clientY - box.top) * ratio];
    };
    canvas.addEventListener(
      'wheel',
      (event) => {
        event.preventDefault();
        this.zoom(Math.exp(-0.0016 * event.deltaY), ...at(event));
      },
      { passive: false },
    );
    canvas.addEventListener('dblclick', () => this.fit());
    let travelled = 0;
    canvas.addEventListener('pointerdown', (event) => {
      canvas.setPointerCapture(event.pointerId);
      this.pointers.set(event.pointerId, event);
      travelled = 0;
    });
    canvas.addEventListener('pointermove', (event) => {
      const before = this.pointers.get(event.pointerId);
      if (before === undefined) {
        this.tell(...at(event));
        return;
      }
      const [x, y] = at(event);
      const [oldX, oldY] = at(before);
      travelled += Math.hypot(x - oldX, y - oldY);
      const others = [...this.pointers.values()].filter((one) => one.pointerId !== event.pointerId);
      if (others.length > 0) {
        const [otherX, otherY] = at(others[0]);
        const factor =
          Math.hypot(x - otherX, y - otherY) / Math.hypot(oldX - otherX, oldY - otherY);
        this.zoom(factor, (x + otherX) / 2, (y + otherY) / 2);
      } else {
        const { column, row, scale } = this.view ?? this.fitted();
        this.view = { column: column - (x - oldX) / scale, row: row - (y - oldY) / scale, scale };
        this.plan();
      }
      this.pointers.set(event.pointerId, event);
    });
    const release = (event: PointerEvent): void => {
      this.pointers.delete(event.pointerId);
    };
    canvas.addEventListener('pointerup', (event) => {
      release(event);
      if (travelled < 6) this.choose(...at(event));
    });
    canvas.addEventListener('pointercancel', release);
    canvas.addEventListener('pointerleave', () => {
      this.readout.textContent = '';
    });
  }

  /** The point that is drawn nearest, if it is near. */
  private choose(x: number, y: number): void {
    const window = this.window();
    const reach = 14 * Math.min(2, devicePixelRatio);
    const distance = (index: number): number => {
      const { column, row } = this.part.points[index];
      const [pointX, pointY] = this.placeOf(column, row, window);
      return Math.hypot(pointX - x, pointY - y);
    };
    const near = this.part.pointsOfLayer[this.shown]
      .filter((index) => distance(index) < reach)
      .sort((a, b) => distance(a) - distance(b));
    this.model.set({ point: near[0] ?? null, finding: null, place: null });
  }

  /** What lies under the pointer. */
  private tell(x: number, y: number): void {
    if (this.slice === null) return;
    const { left, top, scale } = this.window();
    const { crop } = this.part.document.part.print;
    const column = Math.floor(left + x / scale);
    const row = Math.floor(top + y / scale);
    const { rowStart, begin, end, value } = this.slice.material;
    let region = 0;
    if (row >= 0 && row < crop.height) {
      for (let run = rowStart[row]; run < rowStart[row + 1]; run++) {
        if (begin[run] <= column && column < end[run]) region = value[run];
      }
    }
    const [alongX, alongY] = this.part.placeOf(crop.column + column, crop.row + row);
    const place = `x ${alongX.toFixed(2)}, y ${alongY.toFixed(2)} mm`;
    this.readout.textContent = region === 0 ? place : `${place} · region ${region}`;
  }
}
