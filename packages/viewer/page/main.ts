import './style.css';
import type { ViewerDocument } from '../src/document.js';
import { binaryId, documentId } from '../src/report_html.js';
import { mountViewer } from './viewer.js';

/** The part that stands in this page. */
function embedded(): { document: ViewerDocument; binary: Uint8Array } {
  const textOf = (id: string): string => document.getElementById(id)?.textContent ?? '';
  const viewed = JSON.parse(textOf(documentId)) as ViewerDocument;
  const code = atob(textOf(binaryId));
  const binary = new Uint8Array(code.length);
  for (let i = 0; i < code.length; i++) binary[i] = code.charCodeAt(i);
  return { document: viewed, binary };
}

const root = document.getElementById('viewer') ?? document.body;
if (typeof DecompressionStream === 'undefined') {
  root.textContent = 'This browser is too old for this report: it needs one of 2023 or later.';
} else {
  const { document: viewed, binary } = embedded();
  document.title = `${viewed.part.model.file}: support report`;
  mountViewer(root, { document: viewed, binary });
}
