# What every file that speaks Node-API is compiled with: the headers of the npm packages
# node-api-headers, for WebAssembly emnapi, and node-addon-api. No Node installation is linked; the
# host process provides the symbols at load.
set(modules ${PROJECT_SOURCE_DIR}/node_modules)
if(EMSCRIPTEN)
  set(node_api_headers ${modules}/emnapi/include/node)
else()
  set(node_api_headers ${modules}/node-api-headers/include)
endif()
if(NOT EXISTS ${node_api_headers}/node_api.h)
  message(FATAL_ERROR "${node_api_headers} is missing: run `npm install` first, or configure with -DSTILTFORGE_ADDON=OFF")
endif()
add_library(stiltforge_node_headers INTERFACE)
target_include_directories(stiltforge_node_headers SYSTEM INTERFACE
  ${node_api_headers} ${modules}/node-addon-api)
# What the core throws inside an exported function becomes a script Error too. In an environment that
# is being shut down jobs still complete, but script calls fail without an exception to throw on; that
# is no reason to abort the process.
target_compile_definitions(stiltforge_node_headers INTERFACE
  NAPI_CPP_EXCEPTIONS NAPI_VERSION=8
  NODE_ADDON_API_CPP_EXCEPTIONS_ALL NODE_API_SWALLOW_UNTHROWABLE_EXCEPTIONS)
if(WIN32)
  # All calls go through pointers, also in files that include the header for any engine first: see
  # src/node_api/windows_host.cpp.
  target_compile_definitions(stiltforge_node_headers INTERFACE "NAPI_EXTERN=__declspec(dllimport)")
endif()

# stiltforge_add_addon(NAME source...): a Node-API module build/Release/NAME.node.
function(stiltforge_add_addon name)
  add_library(${name}_addon MODULE ${ARGN})
  set_target_properties(${name}_addon PROPERTIES
    PREFIX "" SUFFIX ".node" OUTPUT_NAME ${name}
    LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/Release
    CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  target_link_libraries(${name}_addon PRIVATE stiltforge_options stiltforge_node_api)
  if(APPLE)
    target_link_options(${name}_addon PRIVATE -undefined dynamic_lookup)
  elseif(UNIX)
    # The libraries are linked in; their symbols are no business of other modules in the process.
    set(exports ${PROJECT_SOURCE_DIR}/cmake/addon_exports.map)
    target_link_options(${name}_addon PRIVATE -Wl,--version-script=${exports})
    set_target_properties(${name}_addon PROPERTIES LINK_DEPENDS ${exports})
  endif()
  if(STILTFORGE_SANITIZE)
    # A report of what happened in a module that has been unloaded since would name none of its functions.
    target_link_options(${name}_addon PRIVATE -Wl,-z,nodelete)
  endif()
  if(STILTFORGE_RELEASED)
    target_link_options(${name}_addon PRIVATE -s)
  endif()
endfunction()
