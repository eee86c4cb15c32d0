import { optionLabels } from './settings/fields.js';

export interface PlainWords {
  sentence: string;
  /** The first option of the command that it named: the setting to look at. */
  option?: string;
}

/** A sentence of the analysis, which calls settings as the command's options are, in words of this page. */
export function plainWords(sentence: string): PlainWords {
  const [option] = /--[a-z-]+/.exec(sentence) ?? [];
  const words = sentence
    // A browser gives no more than it gives.
    .replace(/; --memory \S+ starts it anyway/, '')
    .replace(/--[a-z-]+/g, (name) => {
      const label = optionLabels[name];
      return label === undefined ? `${name} of the command` : `“${label}”`;
    });
  return { sentence: words.replace(/^“([^”]+)”/, '$1'), option };
}
