// Small prints as slicers and printers have them, written here.
import { crc32 } from 'node:zlib';
import { png } from '../../../tests/pictures.mjs';

export { png };

/** A zip archive of [name, content] pairs, stored. */
export function zip(entries) {
  const parts = [];
  const directory = [];
  let offset = 0;
  for (const [name, content] of entries) {
    const bytes = Buffer.from(content);
    const common = Buffer.alloc(26);
    common.writeUInt16LE(20);
    common.writeUInt32LE(crc32(bytes), 10);
    common.writeUInt32LE(bytes.length, 14);
    common.writeUInt32LE(bytes.length, 18);
    common.writeUInt16LE(name.length, 22);
    const place = Buffer.alloc(4);
    place.writeUInt32LE(offset);
    const head = Buffer.from('PK\x03\x04', 'latin1');
    const part = Buffer.concat([head, common, Buffer.from(name), bytes]);
    directory.push(Buffer.from('PK\x01\x02\x14\x00', 'latin1'), common, Buffer.alloc(10), place);
    directory.push(Buffer.from(name));
    parts.push(part);
    offset += part.length;
  }
  const list = Buffer.concat(directory);
  const end = Buffer.alloc(22);
  end.write('PK\x05\x06', 'latin1');
  end.writeUInt16LE(entries.length, 8);
  end.writeUInt16LE(entries.length, 10);
  end.writeUInt32LE(list.length, 12);
  end.writeUInt32LE(offset, 16);
  return Buffer.concat([...parts, list, end]);
}

export const screen = { width: 160, height: 100 };

function filled(boxes) {
  const pixels = Buffer.alloc(screen.width * screen.height);
  for (const [left, top, right, bottom] of boxes) {
    for (let y = top; y < bottom; y++) {
      pixels.fill(255, y * screen.width + left, y * screen.width + right);
    }
  }
  return pixels;
}

/** Grey layers of a table: a foot of 40 layers, a top of 10 that reaches far to its right. */
export const tableLayers = Array.from({ length: 50 }, (_, layer) =>
  filled([layer < 40 ? [20, 30, 50, 60] : [20, 30, 140, 60]]),
);

export const tablePngs = tableLayers.map((grey) => png(screen.width, screen.height, grey));

/** An SL1 of those pictures, on a screen 16 mm wide unless told, with layers of 0.05 mm. */
export function sl1(pngs = tablePngs, { width = 16, more = '' } = {}) {
  const name = (layer) => `table${String(layer).padStart(5, '0')}.png`;
  return zip([
    [
      'config.ini',
      `jobDir = table\nlayerHeight = 0.05\nprinterModel = SL1\nmaterialName = clear\n`,
    ],
    [
      'prusaslicer.ini',
      `display_width = ${width}\ndisplay_height = 10\n` +
        `display_pixels_x = ${screen.width}\ndisplay_pixels_y = ${screen.height}\n${more}`,
    ],
    ...pngs.map((content, layer) => [name(layer), content]),
  ]);
}

/** The same layers as a NanoDLP archive. */
export function nanoDlp() {
  const options = {
    ...{ PWidth: screen.width, PHeight: screen.height },
    ...{ Thickness: 50, XPixelSize: 0.1, YPixelSize: 0.1 },
  };
  return zip([
    ['plate.json', JSON.stringify({ LayersCount: tablePngs.length })],
    ['options.json', JSON.stringify(options)],
    ...tablePngs.map((content, layer) => [`${layer + 1}.png`, content]),
  ]);
}

/** Runs of black and white with the byte before and the checksum behind them. */
function gooLayer(grey) {
  const bytes = [];
  for (let begin = 0; begin < grey.length; ) {
    let end = begin;
    while (end < grey.length && grey[end] === grey[begin]) end++;
    const length = end - begin;
    // 20 bits are enough for a layer of these.
    bytes.push((grey[begin] === 0 ? 0 : 0xc0) | 0x20 | (length & 15));
    bytes.push((length >> 12) & 255, (length >> 4) & 255);
    begin = end;
  }
  const sum = bytes.reduce((a, b) => a + b, 0);
  return Buffer.from([0x55, ...bytes, ~sum & 255]);
}

/** The same layers as a GOO file. */
export function goo() {
  const counts = 0x2faee;
  const header = Buffer.alloc(0x2fb95);
  header.write('V3.0\x07\0\0\0DLP\0', 'latin1');
  header.write('a printer', 0x5c);
  header.writeUInt32BE(tableLayers.length, counts);
  header.writeUInt16BE(screen.width, counts + 4);
  header.writeUInt16BE(screen.height, counts + 6);
  header.writeFloatBE(0.1 * screen.width, counts + 10);
  header.writeFloatBE(0.1 * screen.height, counts + 14);
  header.writeFloatBE(0.05, counts + 22);
  header.writeUInt32BE(header.length, 0x2fb8e);
  const lineEnd = Buffer.from('\r\n');
  const layers = tableLayers.flatMap((grey) => {
    const runs = gooLayer(grey);
    const size = Buffer.alloc(4);
    size.writeUInt32BE(runs.length);
    return [Buffer.alloc(64), lineEnd, size, runs, lineEnd];
  });
  return Buffer.concat([header, ...layers]);
}
