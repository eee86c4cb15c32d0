import type { PackedPart } from './document.js';

/** Where the built page takes its data from, and where reportHtml() puts it. */
export const dataMarker = '<!--stiltforge-data-->';
export const documentId = 'stiltforge-document';
export const binaryId = 'stiltforge-binary';

/** The page `template`, the package's report.html, with a part in it: one file that needs nothing else. */
export function reportHtml(template: string, { document, binary }: PackedPart): string {
  const [before, after, ...more] = template.split(dataMarker);
  if (after === undefined || more.length > 0) {
    throw new Error('the page has no place for its data: build the viewer anew');
  }
  // No text of the document can end the element: neither names of files nor what others write.
  const json = JSON.stringify(document).replace(/</g, '\\u003c');
  return [
    before,
    `<script type="application/json" id="${documentId}">${json}</script>\n`,
    `<script type="text/plain" id="${binaryId}">${base64(binary)}</script>`,
    after,
  ].join('');
}

/** Divisible by 3, so that the codes of chunks can be joined. */
const chunkBytes = 24_576;

function base64(bytes: Uint8Array): string {
  const codes: string[] = [];
  for (let at = 0; at < bytes.length; at += chunkBytes) {
    codes.push(btoa(String.fromCharCode(...bytes.subarray(at, at + chunkBytes))));
  }
  return codes.join('');
}
