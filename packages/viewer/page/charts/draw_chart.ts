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
  if (stacked) drawPoints(plot, sums, series.values[1], palette);
  else if (series.form === 'filled') drawCurve(plot, series.values[0], palette.overhang, 0.28, []);
  else if (series.form === 'steps') drawCurve(plot, series.values[0], palette.muted, 0.1, []);
  else {
    drawCurve(plot, series.values[0], palette.muted, 0.16, [3 * ratio, 2 * ratio]);
    drawBars(plot, series.values[1], palette.accent);
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

const barWidth = ({ ratio, columns, layers }: Plot): number =>
  Math.max(1.6 * ratio, Math.min(8 * ratio, (0.7 * columns) / layers));

function drawBars(plot: Plot, values: readonly number[], colour: string): void {
  const { context, floor, unit } = plot;
  const width = barWidth(plot);
  context.fillStyle = colour;
  values.forEach((value, layer) => {
    if (value > 0) {
      context.fillRect(
        columnOf(plot, layer) - width / 2,
        floor - value * unit,
        width,
        value * unit,
      );
    }
  });
}

/** Bars of all points; the share of islands is drawn over, and topped with a rhomb. */
function drawPoints(
  plot: Plot,
  sums: readonly number[],
  islands: readonly number[],
  palette: Palette,
): void {
  const { context, floor, unit, ratio } = plot;
  const width = barWidth(plot);
  drawBars(plot, sums, palette.pointOverhang);
  drawBars(plot, islands, palette.pointIsland);
  islands.forEach((count, layer) => {
    if (count === 0) return;
    const top = floor - count * unit;
    const reach = Math.max(3 * ratio, width);
    const middle = columnOf(plot, layer);
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
