# Printer files as other programs write them, for the tests, the fuzzers and the benchmark.
include_guard(GLOBAL)

find_package(ZLIB REQUIRED)
set(tests ${PROJECT_SOURCE_DIR}/tests)
add_library(stiltforge_test_prints STATIC EXCLUDE_FROM_ALL
  ${tests}/files/zip_writer.cpp
  ${tests}/printer_files/goo_writer.cpp
  ${tests}/printer_files/png_writer.cpp
  ${tests}/printer_files/prints.cpp)
target_include_directories(stiltforge_test_prints PUBLIC ${tests})
target_link_libraries(stiltforge_test_prints
  PUBLIC stiltforge_printer_files
  PRIVATE stiltforge_options ZLIB::ZLIB)
