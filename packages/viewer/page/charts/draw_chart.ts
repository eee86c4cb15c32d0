import type { Palette } from '../palette.js';
import { largest } from '../words.js';
import type { Series } from './series.js';

/** Picture pixels of a chart; `inset` is left free at both ends, where the slider has its ends. */
export interface ChartFrame {
  width: number;
  height: number;
  inset: number;
  /** Picture pixels for one of the page. */
  ratio: number;
}

/**
 * Draws one chart. Where several layers share a column of the picture the largest value shows: nothing
 * that stands out is lost.
 */
export function drawChart(
  context: CanvasRenderingContext2D,
  series: Series,
  frame: ChartFrame,
  palette: Palette,
): void {
  const { width, height, inset, ratio } = frame;
  context.clearRect(0, 0, width, height);
  context.fillStyle = palette.line;
  context.fillRect(inset, height - ratio, width - 2 * inset, ratio);
  const stacked = series.form === 'bars';
  const layers = series.values[0].length;
  const sums = stacked ? series.values[0].map((value, i) => value + series.values[1][i]) : [];
  const most = largest(stacked ? sums : series.values.flatMap((values) => [largest(values)]));
  if (most === 0) return;
  const roof = 5 * ratio;
  const plot: Plot = {
    context,
    columns: Math.max(1, Math.floor(width - 2 * inset)),
    layers,
    left: inset,
    floor: height - ratio,
    unit: (height - ratio - roof) / most,
    ratio,
  };
  if (stacked) drawBars(plot, sums, series.values[1], palette);
  else if (series.form === 'filled') drawCurve(plot, series.values[0], palette.overhang, 0.28, []);
  else if (series.form === 'steps') drawCurve(plot, series.values[0], palette.muted, 0.1, []);
  else {
    drawCurve(plot, series.values[0], palette.muted, 0.16, [3 * ratio, 2 * ratio]);
    drawCurve(plot, series.values[1], palette.accent, 0, []);
  }
}

interface Plot {
  context: CanvasRenderingContext2D;
  columns: number;
  layers: number;
  left: number;
  floor: number;
  /** Picture pixels for a value of 1. */
  unit: number;
  ratio: number;
}

/** The first column of the picture of a layer. */
const columnOf = ({ columns, layers, left }: Plot, layer: number): number =>
  left + (layers < 2 ? 0 : (layer / (layers - 1)) * columns);

/** Bars of all points; the share of islands is drawn over, and topped with a rhomb. */
function drawBars(
  plot: Plot,
  sums: readonly number[],
  islands: readonly number[],
  palette: Palette,
): void {
  const { context, floor, unit, ratio, columns, layers } = plot;
  const width = Math.max(1.6 * ratio, Math.min(8 * ratio, (0.7 * columns) / layers));
  sums.forEach((sum, layer) => {
    if (sum === 0) return;
    const x = columnOf(plot, layer) - width / 2;
    context.fillStyle = palette.pointOverhang;
    context.fillRect(x, floor - sum * unit, width, sum * unit);
    if (islands[layer] === 0) return;
    const top = floor - islands[layer] * unit;
    context.fillStyle = palette.pointIsland;
    context.fillRect(x, top, width, floor - top);
    const reach = Math.max(3 * ratio, width);
    const middle = x + width / 2;
    context.beginPath();
    context.moveTo(middle, top - reach);
    context.lineTo(middle + reach, top);
    context.lineTo(middle, top + reach);
    context.lineTo(middle - reach, top);
    context.fill();
  });
}

function drawCurve(
  plot: Plot,
  values: readonly number[],
  colour: string,
  filled: number,
  dash: number[],
): void {
  const { context, columns, layers, left, floor, unit, ratio } = plot;
  const heights = new Float32Array(columns + 1);
  values.forEach((value, layer) => {
    const first = Math.round(columnOf(plot, layer) - left);
    const last = Math.max(first, Math.round(columnOf(plot, layer + 1) - left) - 1);
    for (let column = first; column <= Math.min(columns, last); column++) {
      heights[column] = Math.max(heights[column], value);
    }
  });
  context.beginPath();
  heights.forEach((value, column) => {
    const y = floor - value * unit;
    if (column === 0) context.moveTo(left, y);
    else context.lineTo(left + column, y);
  });
  context.strokeStyle = colour;
  context.lineWidth = 1.4 * ratio;
  context.setLineDash(dash);
  context.lineJoin = 'round';
  context.stroke();
  context.setLineDash([]);
  if (filled === 0 || layers === 0) return;
  context.lineTo(left + columns, floor);
  context.lineTo(left, floor);
  context.globalAlpha = filled;
  context.fillStyle = colour;
  context.fill();
  context.globalAlpha = 1;
}
