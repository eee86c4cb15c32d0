#pragma once

/// A step that is compiled as a function of its own, never into the one that calls it.
///
/// Engines of WebAssembly optimize a function as a whole once time is spent in it, and take more
/// than twice as long for one of twice the size. A compiler that puts the steps of a computation
/// together has them all optimized for the sake of one, while the first part of a process waits.
#define STILTFORGE_APART [[gnu::noinline]]
