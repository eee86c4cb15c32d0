# stiltforge_add_addon(NAME source...): a Node-API module build/Release/NAME.node, against the
# headers of the npm packages node-api-headers and node-addon-api. No Node installation is linked;
# the host process provides the symbols at load.
function(stiltforge_add_addon name)
  set(modules ${PROJECT_SOURCE_DIR}/node_modules)
  if(NOT EXISTS ${modules}/node-api-headers/include/node_api.h)
    message(FATAL_ERROR "node-api-headers is missing: run `npm install` first, or configure with -DSTILTFORGE_ADDON=OFF")
  endif()
  add_library(${name}_addon MODULE ${ARGN})
  set_target_properties(${name}_addon PROPERTIES
    PREFIX "" SUFFIX ".node" OUTPUT_NAME ${name}
    LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/Release
    CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  target_include_directories(${name}_addon SYSTEM PRIVATE
    ${modules}/node-api-headers/include ${modules}/node-addon-api)
  target_compile_definitions(${name}_addon PRIVATE NAPI_CPP_EXCEPTIONS NAPI_VERSION=8)
  target_link_libraries(${name}_addon PRIVATE stiltforge_options)
  if(APPLE)
    target_link_options(${name}_addon PRIVATE -undefined dynamic_lookup)
  endif()
endfunction()
