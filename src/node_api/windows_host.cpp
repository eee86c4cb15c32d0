// Node-API on Windows. A module imports from a program by the program's name, which is node.exe for
// the usual import library; in Electron and in programs that carry Node inside it is another. So
// the pointers that calls of imported functions go through are ours, and are looked up in whatever
// program this is.
#include <node_api.h>
#include <windows.h>

#include <initializer_list>

namespace {

// A host too old for a function gets a failed status for it, as for any other call that fails.
napi_status missingFunction() {
  return napi_generic_failure;
}

}  // namespace

#define STILTFORGE_NODE_API(name)                             \
  extern "C" void* stiltforge_##name __asm__("__imp_" #name); \
  void* stiltforge_##name = reinterpret_cast<void*>(&missingFunction);
#include "node_api_names.inc"
#undef STILTFORGE_NODE_API

namespace {

struct Import {
  const char* name;
  void** pointer;
};

#define STILTFORGE_NODE_API(name) {#name, &stiltforge_##name},
constexpr Import imports[] = {
#include "node_api_names.inc"
};
#undef STILTFORGE_NODE_API

HMODULE host() {
  constexpr const char* anyFunction = "napi_create_function";
  const HMODULE program = GetModuleHandleW(nullptr);
  if (GetProcAddress(program, anyFunction) != nullptr) return program;
  // Programs that have Node as a library.
  for (const wchar_t* name : {L"node.dll", L"libnode.dll"}) {
    const HMODULE library = GetModuleHandleW(name);
    if (library != nullptr && GetProcAddress(library, anyFunction) != nullptr) return library;
  }
  return program;
}

void bindToHost() {
  const HMODULE from = host();
  for (const auto& [name, pointer] : imports) {
    if (FARPROC function = GetProcAddress(from, name)) {
      *pointer = reinterpret_cast<void*>(function);
    }
  }
}

// The C library calls what is in this section before it runs constructors, one of which registers
// the module.
[[gnu::section(".CRT$XCT"), gnu::used]] void (*const bindAtLoad)() = bindToHost;

}  // namespace
