// The C and the C++ interface, from their headers, by doxygen.
import { execFileSync } from 'node:child_process';
import { mkdtempSync, readFileSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { XMLParser } from 'fast-xml-parser';
import { root } from './root.mjs';

const folder = join(root, 'include/stiltforge');
const parser = new XMLParser({
  preserveOrder: true,
  ignoreAttributes: false,
  attributeNamePrefix: '',
  trimValues: false,
  processEntities: true,
});

/** Elements of doxygen's XML: a name, attributes, and elements and texts in their order. */
class Element {
  constructor(name, attributes, contents) {
    this.name = name;
    this.attributes = attributes;
    this.contents = contents.map((content) => {
      if ('#text' in content) return String(content['#text']);
      const [inner] = Object.keys(content).filter((key) => key !== ':@');
      return new Element(inner, content[':@'] ?? {}, content[inner]);
    });
  }

  all(name) {
    return this.contents.filter((content) => content.name === name);
  }

  text(name) {
    const [first] = this.all(name);
    return first === undefined ? '' : first.plain().trim();
  }

  plain() {
    return this.contents
      .map((content) => (typeof content === 'string' ? content : content.plain()))
      .join('');
  }
}

/** Compounds of a header: itself and its structures and classes, in the order of the file. */
function compoundsOf(header) {
  const out = mkdtempSync(join(tmpdir(), 'stiltforge-doxygen-'));
  try {
    const settings = {
      INPUT: join(folder, header),
      OUTPUT_DIRECTORY: out,
      STRIP_FROM_PATH: folder,
      GENERATE_HTML: 'NO',
      GENERATE_LATEX: 'NO',
      GENERATE_XML: 'YES',
      XML_PROGRAMLISTING: 'NO',
      EXTRACT_ALL: 'YES',
      SORT_MEMBER_DOCS: 'NO',
      MACRO_EXPANSION: 'YES',
      EXPAND_ONLY_PREDEF: 'YES',
      PREDEFINED: 'STILTFORGE_API=',
      QUIET: 'YES',
      WARNINGS: 'NO',
    };
    const lines = Object.entries(settings).map(([key, value]) => `${key} = ${value}\n`);
    execFileSync('doxygen', ['-'], { input: lines.join(''), stdio: ['pipe', 'ignore', 'inherit'] });
    const read = (name) => {
      const text = readFileSync(join(out, 'xml', `${name}.xml`), 'utf8');
      const [document] = new Element('', {}, parser.parse(text)).all('doxygen');
      return document.all('compounddef')[0] ?? document;
    };
    const index = new Element(
      '',
      {},
      parser.parse(readFileSync(join(out, 'xml', 'index.xml'), 'utf8')),
    );
    return index
      .all('doxygenindex')[0]
      .all('compound')
      .map(({ attributes: { refid, kind } }) => ({ kind, compound: read(refid) }))
      .filter(({ kind }) => ['file', 'namespace', 'struct', 'class'].includes(kind));
  } finally {
    rmSync(out, { recursive: true });
  }
}

const lineOf = (element) => Number(element.all('location')[0]?.attributes.line ?? 0);

/** Brief and detailed description as paragraphs. */
function described(element) {
  return ['briefdescription', 'detaileddescription']
    .flatMap((name) => element.all(name))
    .flatMap((description) => description.all('para'))
    .map((paragraph) => `${paragraph.plain().replaceAll(/\s+/g, ' ').trim()}\n`)
    .map((text) => text.replaceAll(/([<>*_])/g, '\\$1'))
    .join('\n');
}

const isPublic = ({ attributes: { prot = 'public' } }) => prot === 'public';

const membersOf = (compound) =>
  compound
    .all('sectiondef')
    .flatMap((section) => section.all('memberdef'))
    .filter(isPublic);

/** "const char* text", not "const char *text" or "T * *". */
const pointersLeft = (text) =>
  text
    .replaceAll(/\s+([*&])/g, '$1')
    .replaceAll(/([*&])(?=\w)/g, '$1 ')
    .trim();

/** `type name(arguments)`, as one would write it. */
function declaration(member) {
  const type = member.text('type');
  const name = member.text('name');
  const parameters = member.all('param').map((parameter) => {
    const value = parameter.text('defval');
    const array = parameter.text('array');
    const named = `${parameter.text('type')} ${parameter.text('declname')}${array}`.trim();
    return pointersLeft(value === '' ? named : `${named} = ${value}`);
  });
  const isConst = member.attributes.const === 'yes' ? ' const' : '';
  const isStatic = member.attributes.static === 'yes' ? 'static ' : '';
  const start = `${isStatic}${type === '' ? '' : `${pointersLeft(type)} `}${name}`;
  const short = `${start}(${parameters.join(', ')})${isConst};`;
  const long = `${start}(\n    ${parameters.join(',\n    ')})${isConst};`;
  return short.length <= 80 ? short : long;
}

const code = (text, language) => `\`\`\`${language}\n${text}\n\`\`\`\n`;

/** A table of the fields of a structure, or of the values of an enumeration. */
function table(head, rows) {
  const cell = (text) => text.replaceAll('|', '\\|').replaceAll(/\s+/g, ' ').trim();
  const lines = rows.map((row) => `| ${row.map(cell).join(' | ')} |`);
  return `| ${head.join(' | ')} |\n|${head.map(() => '---').join('|')}|\n${lines.join('\n')}\n`;
}

function structure(compound, language) {
  const name = shortName(compound);
  const members = membersOf(compound);
  const fields = members.filter(({ attributes }) => attributes.kind === 'variable');
  const functions = members.filter(({ attributes }) => attributes.kind === 'function');
  return [
    `## ${name}\n`,
    described(compound),
    fields.length === 0
      ? ''
      : table(
          ['field', 'type', 'what it is'],
          fields.map((field) => [
            `\`${field.text('name')}${field.text('argsstring')}\``,
            `\`${field.text('type')}\``,
            described(field),
          ]),
        ),
    ...functions.flatMap((member) => [code(declaration(member), language), described(member)]),
  ].join('\n');
}

const shortName = (compound) => compound.text('compoundname').replace(/^stiltforge::(v0::)?/, '');

function enumeration(member) {
  const values = member.all('enumvalue').filter(isPublic);
  const name = member.text('name');
  // In C most have no name.
  const isNamed = name !== '' && !name.startsWith('@');
  return [
    `## ${isNamed ? name : `${values[0].text('name')}, …`}\n`,
    described(member),
    table(
      ['constant', 'value', 'what it is'],
      values.map((value) => [
        `\`${value.text('name')}\``,
        value.text('initializer').replace('= ', ''),
        described(value),
      ]),
    ),
  ].join('\n');
}

/** The comment at the head of a header, which is no documentation comment. */
function prose(header) {
  const text = readFileSync(join(folder, header), 'utf8');
  const [, comment = ''] = /^\/\*\n([\s\S]*?)\n \*\//.exec(text) ?? [];
  return code(comment.replaceAll(/^ \* ?/gm, ''), '');
}

function alias(member, language) {
  const definition = member
    .text('definition')
    .replaceAll('stiltforge::v0::', '')
    .replace('= typedef ', '= ');
  const text = `${definition.replace(/\)\s*\(/, ')(')};`;
  return [`## ${member.text('name')}\n`, code(text, language), described(member)].join('\n');
}

function operation(member, language) {
  const heading = `## ${member.text('name')}\n`;
  return [heading, code(declaration(member), language), described(member)].join('\n');
}

const writers = { enum: enumeration, function: operation, typedef: alias };

function pageOf(header, language) {
  const compounds = compoundsOf(header).filter(
    ({ compound }) => !/::detail\b|^std$/.test(compound.text('compoundname')),
  );
  const structures = new Set(compounds.map(({ compound }) => shortName(compound)));
  /** By the line of the header; an inline namespace shows what is in it twice. */
  const entries = new Map();
  for (const { kind, compound } of compounds) {
    if (kind === 'struct' || kind === 'class') {
      entries.set(lineOf(compound), structure(compound, language));
      continue;
    }
    for (const member of membersOf(compound)) {
      const writer = writers[member.attributes.kind];
      if (writer === undefined || member.text('definition').includes('::detail::')) continue;
      // That of a structure says nothing that the structure does not.
      if (writer === alias && structures.has(member.text('name'))) continue;
      entries.set(lineOf(member), writer(member, language));
    }
  }
  if (entries.size < 10) throw new Error(`${header}: doxygen found next to nothing`);
  const texts = [...entries].sort(([a], [b]) => a - b).map(([, text]) => text);
  return [`# ${header}\n`, prose(header), ...texts].join('\n');
}

export const cPages = [
  ['api-c', () => pageOf('stiltforge.h', 'c'), 'C: stiltforge.h'],
  ['api-cpp', () => pageOf('stiltforge.hpp', 'cpp'), 'C++: stiltforge.hpp'],
];
