const format = (value) => (value >= 100 ? value.toFixed(0) : value.toPrecision(3));
const ms = (value) => `${format(value)} ms`;
const seconds = (value) => `${format(value)} s`;
const mib = (bytes) => `${(bytes / 2 ** 20).toFixed(0)} MiB`;

function quotient(what, [a, textA], [b, textB], bound) {
  return { what, value: a / b, unit: '', bound, from: `${textA} / ${textB}` };
}

function speedup(what, slow, fast, bound) {
  return quotient(what, [slow, ms(slow)], [fast, ms(fast)], bound);
}

/** The quotient of two native benchmarks, with the processor time of all their threads. */
function compared(what, a, b, bound) {
  const row = speedup(what, a.wall, b.wall, bound);
  const processor = `${ms(a.processor)} / ${ms(b.processor)}`;
  return { ...row, from: `${row.from}; processor ${processor}` };
}

const atMost = (limit) => ({ text: `≤ ${limit}`, holds: (value) => value <= limit });
const atLeast = (limit) => ({ text: `≥ ${limit}`, holds: (value) => value >= limit });

/** Bounds that a picture's segmentation is held to; others are shown without. */
const bounds = {
  'bunny-4k': { buffers: atMost(1.5), bare: atMost(1), plain: atLeast(12), openCv: atLeast(8) },
  'noise-4k': { plain: atLeast(3) },
};

/** Pictures of the user's own archives come last. */
const order = ['bunny-4k', 'bunny-2k', 'bunny-12k', 'noise-4k', 'full-4k', 'parts-4k'];

function segmentationRows(times) {
  const pictures = [...times.keys()]
    .filter((name) => name.startsWith('memcpy/'))
    .map((name) => name.slice('memcpy/'.length));
  const place = (name) => (order.includes(name) ? order.indexOf(name) : order.length);
  pictures.sort((a, b) => place(a) - place(b) || (a < b ? -1 : 1));
  return pictures.flatMap((picture) => {
    const of = (what) => times.get(`${what}/${picture}`);
    const bound = bounds[picture] ?? {};
    const [copy, bare, buffers] = [of('memcpy'), of('segment'), of('segment-buffers')];
    const rows = [
      compared(`${picture}: segmentation, no buffers / memcpy`, bare, copy, bound.bare),
      compared(`${picture}: segmentation with buffers / memcpy`, buffers, copy, bound.buffers),
      compared(
        `${picture}: plain / segmentation with buffers`,
        of('segment-plain'),
        buffers,
        bound.plain,
      ),
      compared(
        `${picture}: segmentation, no buffers / memcpy on large pages`,
        bare,
        of('memcpy-large-pages'),
      ),
      compared(
        `${picture}: segmentation with buffers / memcpy on large pages`,
        buffers,
        of('memcpy-large-pages'),
      ),
      compared(`${picture}: reading the slice on all cores / memcpy`, of('read'), copy),
    ];
    if (of('opencv')) {
      rows.push(
        compared(
          `${picture}: OpenCV on 1 thread / segmentation with buffers`,
          of('opencv-1-thread'),
          buffers,
          bound.openCv,
        ),
        compared(
          `${picture}: OpenCV on all threads / segmentation with buffers`,
          of('opencv'),
          buffers,
        ),
      );
    }
    return rows;
  });
}

const growthLabels = {
  segment: 'segmentation, no buffers',
  'segment-buffers': 'segmentation with buffers',
  memcpy: 'memcpy',
};

/** What a pixel costs on larger screens, as a multiple of its cost on the smallest. */
function growthRows(times, sizes) {
  const perPixel = (what, size) => {
    const { wall, processor } = times.get(`${what}-stream/bunny-${size.name}`);
    const scale = 1e6 / (size.width * size.height);
    const text = `${format(scale * wall)} ns (processor ${format(scale * processor)} ns)`;
    return [scale * wall, text];
  };
  return ['segment', 'segment-buffers', 'memcpy'].flatMap((what) =>
    sizes.slice(1).map((size) => {
      return quotient(
        `a pixel at ${size.name} / a pixel at ${sizes[0].name}, slices in a stream: ${growthLabels[what]}`,
        perPixel(what, size),
        perPixel(what, sizes[0]),
        what === 'memcpy' ? undefined : atMost(1.1),
      );
    }),
  );
}

function placementRows(times) {
  return [...times.keys()]
    .filter((name) => name.startsWith('place/'))
    .map((name) => {
      const lattice = name.slice('place/'.length);
      return compared(
        `placement, 4 million box pixels, 200 supports, 5 iterations, ${lattice}: plain / fast`,
        times.get(`place-plain/${lattice}`),
        times.get(name),
        atLeast(20),
      );
    });
}

function modelRows(times, plainLayers, { alone, buffers, overlapped, two }) {
  const perSecond = (layers, seconds) => [layers / seconds, `${format(layers / seconds)} layers/s`];
  const plain = perSecond(plainLayers, times.get('model-plain/bunny-4k').wall / 1000);
  const throughNode = perSecond(alone.layers, alone.seconds);
  return [
    quotient('whole model at 4k through Node / plain', throughNode, plain, atLeast(15)),
    quotient('the same with buffers / plain', perSecond(buffers.layers, buffers.seconds), plain),
    quotient(
      'the same, slicing included and overlapped / plain without slicing',
      perSecond(overlapped.layers, overlapped.seconds),
      plain,
    ),
    quotient(
      'RGBA at 4k through Node / reading such slices on all cores',
      throughNode,
      perSecond(1, times.get('read/bunny-4k').wall / 1000),
      atLeast(0.6),
    ),
    speedup(
      'AnalyseSlice on the main thread / a copy of the slice, medians',
      alone.medianCall,
      alone.medianCopy,
      atMost(0.5),
    ),
    speedup(
      'AnalyseSlice on the main thread / a copy of the slice, longest',
      alone.longestCall,
      alone.longestCopy,
    ),
    speedup('the same with buffers, medians', buffers.medianCall, buffers.medianCopy),
    {
      what: 'event loop, longest delay over the overlapped run',
      value: overlapped.longestDelay,
      unit: ' ms',
      from: `timer of 1 ms included`,
    },
    {
      what: 'whole model at 4k, peak memory of the process',
      value: overlapped.peakMemory / 2 ** 20,
      unit: ' MiB',
      from: `${mib(alone.peakMemory)} without overlap`,
    },
    {
      what: 'two models at 2k, one after the other / both at once',
      value: two.quotient,
      unit: '',
      bound: atLeast(1.5),
      from: `${seconds(two.oneAfterTheOther)} / ${seconds(two.together)}`,
    },
  ];
}

function memoryRows({ many, perPixel, perPixelOfBunny, perPixelBuffers }) {
  return [
    {
      what: `${many.layers} layers at 4k with 20 regions each, peak memory`,
      value: many.peakMemory / 2 ** 20,
      unit: ' MiB',
      bound: atMost(1024),
      from: `${many.supports} supports, no buffers`,
    },
    {
      what: "bytes a pixel beyond the host's slice, no buffers",
      value: perPixel.bytes,
      unit: '',
      bound: atMost(12),
      from: 'peak memory over 6 slices at 12k',
    },
    {
      what: "bytes a pixel beyond the host's slice, no buffers, slices of the bunny",
      value: perPixelOfBunny.bytes,
      unit: '',
      bound: atMost(0.6),
      from: 'peak memory over 6 slices at 12k',
    },
    {
      what: "bytes a pixel beyond the host's slice, with buffers",
      value: perPixelBuffers.bytes,
      unit: '',
      from: 'results of 9 bytes a pixel each, until the host lets go of them, included',
    },
  ];
}

function fileRows(times, run) {
  const screens = ['2k', '4k', '12k'];
  const processor = (name) => {
    const { processor: value } = times.get(name);
    return [value, ms(value)];
  };
  const perSecond = (what, name) => ({
    what,
    value: 1000 / times.get(name).wall,
    unit: ' layers/s',
    bound: atLeast(300),
    from: `${ms(times.get(name).wall)} a layer`,
  });
  return [
    ...screens.map((screen) =>
      quotient(
        `SL1 at ${screen}: decoding and analysing a layer / libpng's decoding, processor time`,
        processor(`sl1-analyse/${screen}`),
        processor(`libpng/${screen}`),
        atMost(0.5),
      ),
    ),
    ...screens.map((screen) =>
      quotient(
        `SL1 at ${screen}: libpng / decoding to runs, on 1 thread`,
        processor(`libpng/${screen}`),
        processor(`sl1-decode/${screen}`),
      ),
    ),
    perSecond('GOO at 12k: decoding on 1 thread', 'goo-decode/12k'),
    perSecond('GOO at 12k: decoding and analysing', 'goo-analyse/12k'),
    {
      what: 'stiltforge bunny.sl1 --no-pictures, 1,200 layers of 2560 x 1440',
      value: run.seconds,
      unit: ' s',
      bound: atMost(2),
      from: `whole process; peak memory ${mib(run.peak)}`,
    },
  ];
}

function orientRow({ tried, seconds: duration, peakMemory }) {
  return {
    what: 'orientations of the bunny, the best confirmed as they will be printed',
    value: (60 * tried) / duration,
    unit: ' a minute',
    bound: atLeast(100),
    from: `${tried} in ${seconds(duration)}, peak memory ${mib(peakMemory)}`,
  };
}

function wholeRunRows(what, run, rival, { longest, timesAsFast }) {
  const rows = [
    { what, value: run.seconds, unit: ' s', bound: atMost(longest), from: 'whole process' },
  ];
  if (rival) {
    rows.push({
      what: `the same, ${rival} / this`,
      value: run.quotient,
      unit: '',
      bound: atLeast(timesAsFast),
      from: `${seconds(run.rivalSeconds)} / ${seconds(run.seconds)}; of pairs of runs`,
    });
  }
  return rows;
}

function plateRows({ plate, rivalPlate, rival }) {
  const aside = (text) => (rival ? `; ${rival}: ${text(rivalPlate)}` : '');
  return [
    {
      what: 'plate of 65 mm at 5 micrometres, 13,000 x 13,000 pixels, beyond start-up',
      value: plate.layersPerSecond,
      unit: ' layers/s',
      bound: atLeast(100),
      from: `${plate.layers} layers${aside((of) => `${format(of.layersPerSecond)} layers/s`)}`,
    },
    {
      what: 'the same, peak memory of the process',
      value: plate.peak / 1e6,
      unit: ' MB',
      bound: atMost(500),
      from: `${plate.layers} layers${aside((of) => `${(of.peak / 1e6).toFixed(0)} MB`)}`,
    },
  ];
}

function commandRows(measured) {
  const { rival, at35, at19, beyondStartUp } = measured;
  const job = (micrometres) =>
    `stiltforge bunny.stl --no-pictures, 1,200 layers at ${micrometres} micrometres`;
  return [
    ...wholeRunRows(job(35), at35, rival, { longest: 0.9, timesAsFast: 4 }),
    ...wholeRunRows(job(19), at19, rival, { longest: 1.2, timesAsFast: 10 }),
    quotient(
      'slicing and analysis at 19 / at 50 micrometres, 6.9 times the pixels, beyond start-up',
      [beyondStartUp.at19, seconds(beyondStartUp.at19)],
      [beyondStartUp.at50, seconds(beyondStartUp.at50)],
      atMost(2.5),
    ),
    ...plateRows(measured),
  ];
}

const nameOf = (entry) => entry.run_name.replace(/\/(iterations:|manual_time).*/, '');

function timesOf(entries) {
  return new Map(
    entries.map((entry) => [
      nameOf(entry),
      { wall: entry.real_time, processor: entry.processor_ms },
    ]),
  );
}

/** Seconds are of the processor: compiling goes on beside the work. */
function wasmRows({ addon, wasm }) {
  const row = (what, a, b, bound) => quotient(what, [a, seconds(a)], [b, seconds(b)], bound);
  return [
    row(
      'bunny, mesh to finished points: in WebAssembly / the addon on one core',
      ...[wasm.seconds, addon.seconds, atMost(3)],
    ),
    row(
      '... the first part of a process, compiling included',
      ...[wasm.first, addon.first, atMost(3)],
    ),
  ];
}

/** All measurements as the rows of one table; what was not measured has none. */
export function rowsOf({ native, sizes, models, memory, files, orient, wasm, command }) {
  const rows = [];
  if (native) {
    const times = timesOf(native);
    const plainLayers = native.find((entry) => nameOf(entry) === 'model-plain/bunny-4k').layers;
    rows.push(...segmentationRows(times), ...growthRows(times, sizes), ...placementRows(times));
    if (models) rows.push(...modelRows(times, plainLayers, models));
  }
  if (memory) rows.push(...memoryRows(memory));
  if (files) rows.push(...fileRows(timesOf(files.times), files.run));
  if (orient) rows.push(orientRow(orient));
  if (wasm) rows.push(...wasmRows(wasm));
  if (command) rows.push(...commandRows(command));
  return rows;
}

/** The rows as a Markdown table that is also readable as it is. */
export function tableOf(rows) {
  const cells = rows.map(({ what, value, unit, bound, from }) => [
    what,
    `${format(value)}${unit}`,
    bound ? bound.text : '',
    bound ? (bound.holds(value) ? 'yes' : 'NO') : '',
    from,
  ]);
  const table = [['measured', 'figure', 'goal', 'met', 'from (medians)'], ...cells];
  const widths = table[0].map((_, column) => Math.max(...table.map((row) => row[column].length)));
  const line = (row) => `| ${row.map((cell, i) => cell.padEnd(widths[i])).join(' | ')} |`;
  const rule = `|${widths.map((width) => '-'.repeat(width + 2)).join('|')}|`;
  return [line(table[0]), rule, ...table.slice(1).map(line)].join('\n');
}
