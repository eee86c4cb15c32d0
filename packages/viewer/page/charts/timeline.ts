import { button, element } from '../dom.js';
import type { ViewedPart } from '../part.js';
import type { ThemeChoice } from '../theme.js';
import type { ViewModel } from '../view_state.js';
import { countText, millimetres } from '../words.js';
import { drawChart } from './draw_chart.js';
import { type Series, seriesOf } from './series.js';

/** Page pixels left free at both ends of a chart: half the slider's thumb. */
const inset = 9;

/** The slider through the layers, with charts over them that serve as its scale. */
export class Timeline {
  readonly panel: HTMLElement;
  private readonly slider: HTMLInputElement;
  private readonly place = element('output', { class: 'place' });
  private readonly cursor = element('div', { class: 'cursor' });
  private readonly rows: {
    series: Series;
    canvas: HTMLCanvasElement;
    value: HTMLElement;
  }[];

  constructor(
    private readonly part: ViewedPart,
    private readonly model: ViewModel,
    private readonly theme: ThemeChoice,
  ) {
    const last = part.layerCount - 1;
    this.slider = element('input', {
      attributes: {
        ...{ type: 'range', min: '0', max: String(last), step: '1', 'aria-label': 'Layer' },
      },
      on: { input: () => model.set({ layer: Number(this.slider.value) }) },
    });
    this.rows = seriesOf(part).map((series) => ({
      series,
      canvas: element('canvas', { attributes: { 'aria-hidden': 'true' } }),
      value: element('span', { class: 'value' }),
    }));
    const plots = element(
      'div',
      { class: 'plots' },
      ...this.rows.map(({ series, canvas, value }) =>
        element(
          'div',
          { class: 'row' },
          element(
            'div',
            { class: 'gutter' },
            element('span', { class: 'name', text: series.name }),
            value,
            element('span', { class: 'most', text: `most ${series.most}` }),
          ),
          canvas,
        ),
      ),
      this.cursor,
    );
    const step = (by: number): void => model.set({ layer: model.state.layer + by });
    this.panel = element(
      'section',
      { class: 'panel timeline', attributes: { 'aria-label': 'Layers' } },
      plots,
      element(
        'div',
        { class: 'row scrubber' },
        element(
          'div',
          { class: 'gutter' },
          button('‹', 'One layer down (left arrow)', () => step(-1)),
          this.place,
          button('›', 'One layer up (right arrow)', () => step(1)),
        ),
        this.slider,
      ),
    );
    this.drag(plots);
    theme.listen(() => this.draw());
    new ResizeObserver(() => this.draw()).observe(this.rows[0].canvas);
    model.listen((state, before) => {
      if (state.layer !== before.layer) this.move();
    });
    this.move();
  }

  private draw(): void {
    const ratio = Math.min(2, devicePixelRatio);
    for (const { series, canvas } of this.rows) {
      const width = Math.round(canvas.clientWidth * ratio);
      const height = Math.round(canvas.clientHeight * ratio);
      if (width === 0 || height === 0) return;
      canvas.width = width;
      canvas.height = height;
      const context = canvas.getContext('2d');
      const frame = { width, height, inset: inset * ratio, ratio };
      if (context !== null) drawChart(context, series, frame, this.theme.palette);
    }
    this.move();
  }

  private move(): void {
    const { layer } = this.model.state;
    const last = this.part.layerCount - 1;
    this.slider.value = String(layer);
    const height = millimetres(this.part.bottomOf(layer));
    this.place.textContent = `${countText(layer)} · ${height}`;
    this.slider.setAttribute(
      'aria-valuetext',
      `layer ${layer} of ${last}, ${height} above the plate`,
    );
    for (const { series, value } of this.rows) value.textContent = series.tell(layer);
    const { canvas } = this.rows[0];
    const share = last === 0 ? 0 : layer / last;
    const x = canvas.offsetLeft + inset + share * (canvas.clientWidth - 2 * inset);
    this.cursor.style.transform = `translateX(${x}px)`;
  }

  /** A press or a drag on the charts moves the slider. */
  private drag(plots: HTMLElement): void {
    const seek = (event: PointerEvent): void => {
      const box = this.rows[0].canvas.getBoundingClientRect();
      const share = (event.clientX - box.left - inset) / (box.width - 2 * inset);
      this.model.set({ layer: share * (this.part.layerCount - 1) });
    };
    plots.addEventListener('pointerdown', (event) => {
      if (!(event.target instanceof HTMLCanvasElement)) return;
      plots.setPointerCapture(event.pointerId);
      seek(event);
    });
    plots.addEventListener('pointermove', (event) => {
      if (plots.hasPointerCapture(event.pointerId)) seek(event);
    });
  }
}
