// Runs clang-tidy over files of a compilation database, each content once.
//
// Nearly all of its time goes into the system headers, which it walks through anew for every file.
// So files that are compiled alike are checked as one that includes them all; those that cannot
// stand together, and those in which something is found, are checked alone. A file that was clean is
// not checked again until it, a header it includes, its command, the configuration or the tool
// changes.
import { execFile } from 'node:child_process';
import { createHash } from 'node:crypto';
import { existsSync, mkdirSync, readFileSync, writeFileSync } from 'node:fs';
import { dirname, extname, join, resolve } from 'node:path';
import { sideBySide } from './side_by_side.mjs';

const filesTogether = 32;
// Reads the sources without walking through them, so only errors of the language are found.
const nothingToFind = '--checks=-*,readability-duplicate-include';

function capture(program, words, cwd) {
  return new Promise((done, fail) => {
    execFile(program, words, { cwd, maxBuffer: 2 ** 28 }, (error, stdout, stderr) => {
      if (typeof error?.code === 'string') fail(error);
      else done({ succeeded: !error, stdout, stderr });
    });
  });
}

function memoized(compute) {
  const known = new Map();
  return (key) => {
    if (!known.has(key)) known.set(key, compute(key));
    return known.get(key);
  };
}

function hashOf(...parts) {
  const hash = createHash('sha256');
  for (const part of parts) hash.update(part).update('\0');
  return hash.digest('hex');
}

/**
 * The compiler and its flags, the same for all files of a target: without the file, its object, and
 * sanitizers, which the compiler of this database need not have.
 */
function flagsOf({ command, file }) {
  const words = command.trim().split(/\s+/);
  return words.filter(
    (word, index) =>
      ![file, '-c', '-o'].includes(word) &&
      words[index - 1] !== '-o' &&
      !word.startsWith('-fsanitize'),
  );
}

/** The paths behind the colon of a make rule. */
function prerequisites(rule) {
  const list = rule.slice(rule.indexOf(': ') + 2).replaceAll('\\\n', ' ');
  return [...list.matchAll(/(?:\\ |\S)+/g)].map(([path]) => path.replaceAll('\\ ', ' '));
}

function readClean(file) {
  try {
    return JSON.parse(readFileSync(file, 'utf8'));
  } catch {
    return {};
  }
}

/** What is there to check files with: the tool, the compiler's words, and what was clean before. */
class Tidy {
  findings = [];
  #root;
  #database;
  #combinedFolder;
  #cleanFile;
  #clean;
  #headers;
  #contentOf = memoized((path) => (existsSync(path) ? hashOf(readFileSync(path)) : 'absent'));
  #configurationOf = memoized(async (folder) => {
    const { stdout } = await this.#run(['--dump-config', join(folder, 'any.cpp'), '--']);
    return stdout;
  });

  constructor(root, database) {
    this.#root = root;
    this.#database = database;
    this.#cleanFile = join(database, 'tidy/clean.json');
    this.#combinedFolder = join(database, 'tidy/combined');
    mkdirSync(this.#combinedFolder, { recursive: true });
    this.#clean = readClean(this.#cleanFile);
    this.#headers = `--header-filter=^${resolve(root).replace(/[.*+?^${}()|[\]\\]/g, '\\$&')}/`;
  }

  async version() {
    return (await this.#run(['--version'])).stdout;
  }

  /** The entry with all that its findings depend on. */
  async describe(entry, tool) {
    const flags = flagsOf(entry);
    const [compiler, ...options] = flags;
    // -MG: a header that comes with the tool, such as libFuzzer's, need not be found here.
    const words = [...options, '-w', '-M', '-MG', entry.file];
    const { succeeded, stdout, stderr } = await capture(compiler, words, entry.directory);
    if (!succeeded) throw new Error(`${entry.file} cannot be read:\n${stderr}`);
    const configuration = await this.#configurationOf(dirname(entry.file));
    const alike = hashOf(flags.join(' '), configuration, extname(entry.file));
    const contents = prerequisites(stdout).map((path) =>
      this.#contentOf(resolve(entry.directory, path)),
    );
    return { ...entry, flags, configuration, alike, state: hashOf(tool, alike, ...contents) };
  }

  wasClean({ file, state }) {
    return this.#clean[file] === state;
  }

  /** Reads a group of files that are alike at once, and those apart that don't go together. */
  async check(group, name) {
    if (group.length === 1) return this.#checkAlone(group);
    const without = (list) => group.filter((entry) => !list.includes(entry));
    const read = await this.#runCombined(group, name, nothingToFind);
    if (!read.succeeded) {
      const apart = read.named;
      const together = without(apart);
      if (apart.length === 0 || together.length === 0) return this.#checkAlone(group);
      await this.check(together, name);
      return this.check(apart, name);
    }
    const found = await this.#runCombined(group, name);
    if (found.succeeded) return this.#remember(group);
    // What stands in a header may come from any of the files.
    const suspects = found.elsewhere || found.named.length === 0 ? group : found.named;
    this.#remember(without(suspects));
    return this.#checkAlone(suspects);
  }

  async #checkAlone(entries) {
    for (const entry of entries) {
      const words = ['-p', this.#database, '--quiet', this.#headers, entry.file];
      const { succeeded, stdout, stderr } = await this.#run(words);
      if (succeeded) this.#remember([entry]);
      else this.findings.push(stdout || stderr);
    }
  }

  async #runCombined(group, name, ...options) {
    const [{ directory, flags, configuration, file: first }] = group;
    const folder = join(this.#combinedFolder, name);
    const file = join(folder, `all${extname(first)}`);
    mkdirSync(folder, { recursive: true });
    const includes = group.map((entry) => `#include "${entry.file}"  // NOLINT\n`);
    writeFileSync(file, includes.join(''));
    writeFileSync(
      join(folder, 'compile_commands.json'),
      JSON.stringify([{ directory, file, arguments: [...flags, '-c', file] }]),
    );
    writeFileSync(join(folder, 'configuration.yaml'), configuration);
    const { succeeded, stdout } = await this.#run([
      ...['-p', folder, '--quiet', this.#headers, '--extra-arg=-ferror-limit=0'],
      ...[`--config-file=${join(folder, 'configuration.yaml')}`, ...options],
      file,
    ]);
    const told = stdout.split('\n').filter((line) => /: (error|warning): /.test(line));
    const concerns = (line, entry) => line.startsWith(`${entry.file}:`);
    return {
      succeeded,
      named: group.filter((entry) => told.some((line) => concerns(line, entry))),
      elsewhere: told.some((line) => !group.some((entry) => concerns(line, entry))),
    };
  }

  #remember(group) {
    for (const { file, state } of group) this.#clean[file] = state;
    writeFileSync(this.#cleanFile, JSON.stringify(this.#clean));
  }

  #run(words) {
    return capture('clang-tidy', words, this.#root);
  }
}

/** Entries that are alike, some at a time, the largest groups first. */
function groupsOf(entries) {
  const alike = new Map();
  for (const entry of entries) {
    const together = alike.get(entry.alike) ?? [];
    alike.set(entry.alike, [...together, entry]);
  }
  return [...alike.values()]
    .flatMap((together) =>
      Array.from({ length: Math.ceil(together.length / filesTogether) }, (_, index) =>
        together.slice(index * filesTogether, (index + 1) * filesTogether),
      ),
    )
    .sort((a, b) => b.length - a.length)
    .map((group, index) => ({ group, name: String(index) }));
}

/**
 * Checks those of `files` that compile_commands.json in the folder `database` has a command for.
 * Gives { unchanged, checked, findings, commandless }: how many were clean before and are the same,
 * how many were checked now, the tool's words about each that is not clean, and the files without a
 * command. What was clean is remembered in the folder too.
 */
export async function clangTidy({ root, database, files, jobs }) {
  const commands = JSON.parse(readFileSync(join(database, 'compile_commands.json'), 'utf8'));
  const commandOf = new Map(commands.map((entry) => [entry.file, entry]));
  const commandless = files.filter((file) => !commandOf.has(resolve(root, file)));
  const entries = files
    .filter((file) => !commandless.includes(file))
    .map((file) => commandOf.get(resolve(root, file)));

  const tidy = new Tidy(root, database);
  const tool = await tidy.version();
  const described = await sideBySide(entries, (entry) => tidy.describe(entry, tool), jobs);
  const stale = described.filter((entry) => !tidy.wasClean(entry));
  await sideBySide(groupsOf(stale), ({ group, name }) => tidy.check(group, name), jobs);
  return {
    unchanged: entries.length - stale.length,
    checked: stale.length,
    findings: tidy.findings,
    commandless,
  };
}
