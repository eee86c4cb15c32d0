// PNG pictures for tests, written here: a second writer beside those that are tested.
import { crc32, deflateSync } from 'node:zlib';

/** Not in zlib before Node 20.15. */
function checksum(bytes) {
  if (crc32) return crc32(bytes);
  let rest = ~0;
  for (const byte of bytes) {
    rest ^= byte;
    for (let bit = 0; bit < 8; bit++) rest = (rest >>> 1) ^ (rest & 1 ? 0xedb88320 : 0);
  }
  return ~rest >>> 0;
}

function chunk(name, content) {
  const body = Buffer.concat([Buffer.from(name), content]);
  const [size, sum] = [Buffer.alloc(4), Buffer.alloc(4)];
  size.writeUInt32BE(content.length);
  sum.writeUInt32BE(checksum(body));
  return Buffer.concat([size, body, sum]);
}

/** A PNG whose rows, filters included, are these bytes, whatever its header says. */
export function pngOfRows(width, height, rows, samples = 1) {
  const header = Buffer.alloc(13);
  header.writeUInt32BE(width);
  header.writeUInt32BE(height, 4);
  header.set([8, samples === 1 ? 0 : 2], 8);
  return Buffer.concat([
    Buffer.from('\x89PNG\r\n\x1a\n', 'latin1'),
    chunk('IHDR', header),
    chunk('IDAT', deflateSync(rows)),
    chunk('IEND', Buffer.alloc(0)),
  ]);
}

/** A PNG of bytes, `samples` of them a pixel: 1 grey, 3 RGB. */
export function png(width, height, pixels, samples = 1) {
  const rows = [];
  for (let y = 0; y < height; y++) {
    rows.push(Buffer.of(0), pixels.subarray(y * width * samples, (y + 1) * width * samples));
  }
  return pngOfRows(width, height, Buffer.concat(rows), samples);
}
