# What CMake's modules for macOS ask of Apple's compiler and this one does not know. Node loads a shared
# library as well as a bundle.
if(APPLE)
  foreach(language C CXX)
    set(CMAKE_SHARED_MODULE_CREATE_${language}_FLAGS "-shared")
  endforeach()
endif()
