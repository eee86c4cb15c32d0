type Child = Node | string | null | undefined | false;

interface Properties {
  class?: string;
  text?: string;
  title?: string;
  /** Attributes, ARIA ones among them. */
  attributes?: Record<string, string>;
  on?: Partial<Record<keyof HTMLElementEventMap, (event: never) => void>>;
}

/** An element with its children. Texts become text nodes: nothing of a document is ever read as HTML. */
export function element<Name extends keyof HTMLElementTagNameMap>(
  name: Name,
  { class: className, text, title, attributes = {}, on = {} }: Properties = {},
  ...children: Child[]
): HTMLElementTagNameMap[Name] {
  const made = document.createElement(name);
  if (className) made.className = className;
  if (text !== undefined) made.textContent = text;
  if (title !== undefined) made.title = title;
  for (const [key, value] of Object.entries(attributes)) made.setAttribute(key, value);
  for (const [type, listener] of Object.entries(on)) {
    made.addEventListener(type, listener as EventListener);
  }
  made.append(...children.filter((child): child is Node | string => !!child));
  return made;
}

const namespace = 'http://www.w3.org/2000/svg';

/** An SVG element. */
export function drawing(
  name: string,
  attributes: Record<string, string | number>,
  ...children: Node[]
): SVGElement {
  const made = document.createElementNS(namespace, name);
  for (const [key, value] of Object.entries(attributes)) made.setAttribute(key, String(value));
  made.append(...children);
  return made;
}

/** A push button; `pressed` makes it one that stays down. */
export function button(
  label: string | Node,
  title: string,
  act: () => void,
  options: { class?: string; pressed?: boolean } = {},
): HTMLButtonElement {
  const attributes = { type: 'button' };
  const made = element(
    'button',
    { class: options.class, title, attributes, on: { click: act } },
    label,
  );
  // A word is its name; a sign or a picture has none.
  if (typeof label !== 'string' || label.length < 2) made.setAttribute('aria-label', title);
  if (options.pressed !== undefined) made.setAttribute('aria-pressed', String(options.pressed));
  return made;
}

/** Brings a row into the sight of the list that scrolls it; the page itself stays where it is. */
export function bringIntoList(row: HTMLElement): void {
  const list = row.closest<HTMLElement>('.tab-body');
  if (list === null) return;
  const room = list.getBoundingClientRect();
  const { top, bottom } = row.getBoundingClientRect();
  if (top < room.top) list.scrollTop -= room.top - top;
  else if (bottom > room.bottom) list.scrollTop += bottom - room.bottom;
}

/** Whether a person wants nothing to move by itself. */
export const wantsStillness = (): boolean => matchMedia('(prefers-reduced-motion: reduce)').matches;
