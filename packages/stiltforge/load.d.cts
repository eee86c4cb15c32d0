/**
 * Loads a native binary of stiltforge and returns its exports. It is looked for in the folder that the
 * variable STILTFORGE_BINARIES names; without the variable first, in a clone of the repository, in its
 * build/Release, then in the installed package of this platform, such as @stiltforge/linux-x64-gnu, if it
 * is of the same version.
 *
 * Throws an Error with code ERR_STILTFORGE_BINARY, whose one sentence says what was tried and what to do.
 */
export declare function loadBinary(name: 'stiltforge.node' | 'binding.node'): unknown;
